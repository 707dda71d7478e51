#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/UniqueDescriptor.h"
#include "relay/Peers.h"

namespace quillbay::bench {

// What both ends of a measured connection do, with blocking sockets of the benchmark's process. Everything
// throws std::runtime_error when the connection breaks or a payload is wrong.

/// The far end of every connection.
class Target {
 public:
    Target();
    [[nodiscard]] std::uint16_t port() const { return port_; }
    /// The next connection; waits for a few seconds at most.
    [[nodiscard]] UniqueDescriptor accept() const;
    /// From now on `accept` fails, also one that is under way.
    void close() const;

 private:
    UniqueDescriptor listener_;
    std::uint16_t port_ = 0;
};

UniqueDescriptor connectTo(const Forwarder& through);
UniqueDescriptor connectTo(const std::string& address, std::uint16_t port);

/// A client and what its connection comes to at the target.
struct Connection {
    UniqueDescriptor client;
    UniqueDescriptor server;
};
/// `offset` is added to the forwarder's first port.
Connection connectThrough(const Forwarder& through, const Target& target, int offset = 0);
/// Small messages go out at once, both ways.
void sendAtOnce(const Connection& connection);

/// The same known bytes on every connection, beginning at `from` in their endless row.
void sendAll(int socket, std::size_t bytes, std::size_t from = 0);
/// Receives as many and compares them.
void receiveAll(int socket, std::size_t bytes, std::size_t from = 0);
/// Some of them; `place` is below 100,000 and `count` at most 64.
const char* knownBytes(std::size_t place);

/// What the forwarder has used of the processors so far; 0 for the direct way.
double processorSeconds(const Forwarder& forwarder);

}  // namespace quillbay::bench
