#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>

#include "platform/EventLoop.h"
#include "platform/NetworkThreads.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay::test {

inline constexpr std::chrono::seconds patience{10};

/// Asks until `condition` holds; false when it does not in time.
bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit = patience);

/// `size` bytes in which no stretch repeats at a distance that a mistake could shift by.
std::string pattern(std::size_t size, std::uint32_t seed = 1);

std::size_t openDescriptors();
std::size_t residentBytes();
/// False under a sanitizer, which has books of its own and keeps what was freed.
bool residentBytesTell();
std::chrono::microseconds processorTime();

/// A blocking socket on 127.0.0.1 whose calls give up after `patience`.
class Peer {
 public:
    Peer() = default;
    explicit Peer(UniqueDescriptor socket);
    static Peer tcpTo(std::uint16_t port, int receiveBufferBytes = 0);
    static Peer udpTo(std::uint16_t port);
    static Peer udpBound();

    [[nodiscard]] int fd() const { return socket_.get(); }
    [[nodiscard]] std::uint16_t localPort() const;

    /// All of it; false when the other side takes no more.
    bool send(const std::string& bytes) const;
    /// Exactly `size` bytes, or what came before the end, an error or the time-out.
    [[nodiscard]] std::string receive(std::size_t size) const;
    /// One datagram.
    [[nodiscard]] std::string datagram() const;
    /// One datagram and where it came from.
    [[nodiscard]] std::string datagramFrom(std::uint16_t& port) const;
    bool sendTo(std::uint16_t port, const std::string& datagram) const;

    enum class End { closed, reset, none };
    /// What follows the bytes that were received: waits for it. Bytes count as none.
    [[nodiscard]] End end() const;

    void endSending() const;
    /// Closes with a reset.
    void reset();
    void close() { socket_.reset(); }

 private:
    UniqueDescriptor socket_;
};

/// Stands for the phone's service: listens on a port of its own.
class PhoneService {
 public:
    explicit PhoneService(int backlog = 1024, int receiveBufferBytes = 0);
    [[nodiscard]] std::uint16_t port() const { return port_; }
    [[nodiscard]] Peer accept() const;

 private:
    UniqueDescriptor listener_;
    std::uint16_t port_ = 0;
};

/// A port of 127.0.0.1 that nobody listens on.
std::uint16_t refusedPort();

/// Whether a thread of this process waits for something.
bool isAsleep(pid_t thread);

/// Shuts down those of this process's own sockets that `which` picks, for receiving and sending, as an
/// interface that goes away does. Returns how many there were.
int shutDownSockets(const std::function<bool(int fd)>& which);
/// The listening or unconnected ones that are bound to a port of 127.0.0.1.
int breakListeners(std::uint16_t port);

/// Keeps the thread of a relay loop busy until it is destroyed.
class BlockedLoop {
 public:
    explicit BlockedLoop(EventLoop& loop);
    ~BlockedLoop();

 private:
    std::promise<void> release_;
    std::promise<void> ended_;
};

/// Two threads of each kind, and a look at the end whether every descriptor was given back.
class RelayTest : public ::testing::Test {
 protected:
    void SetUp() override;
    void TearDown() override;

    std::unique_ptr<NetworkThreads> network;

 private:
    std::size_t descriptorsBefore_ = 0;
};

/// Runs `body` in a process of its own, forked before any thread exists; it returns what is wrong, empty for
/// nothing.
std::string inChild(const std::function<std::string()>& body);

}  // namespace quillbay::test
