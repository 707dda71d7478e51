#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/UniqueDescriptor.h"

namespace quillbay::fakes {

/// Consecutive TCP ports on a loopback address that no other test uses, all with the same manners.
class ProbedServer {
 public:
    enum class Manner {
        /// Completes connections and never accepts them.
        ignores,
        /// Accepts, reads, and says nothing until the other side is gone.
        staysSilent,
        /// Accepts and closes without a byte.
        closesAtOnce,
        /// Sends `reply` once a whole handshake frame has come.
        answers,
    };

    explicit ProbedServer(Manner manner, std::size_t ports = 1, std::string reply = "R");
    ~ProbedServer();
    ProbedServer(const ProbedServer&) = delete;
    ProbedServer& operator=(const ProbedServer&) = delete;

    [[nodiscard]] const std::string& address() const { return address_; }
    [[nodiscard]] std::uint16_t firstPort() const { return firstPort_; }
    [[nodiscard]] std::uint16_t lastPort() const;
    /// Connections that are open, and the most that ever were at one moment.
    [[nodiscard]] std::size_t openConnections() const { return open_; }
    [[nodiscard]] std::size_t mostConnections() const { return most_; }
    /// What each connection sent, in the order in which they were accepted.
    [[nodiscard]] std::vector<std::string> received() const;

 private:
    struct Connection {
        UniqueDescriptor socket;
        std::size_t index;
    };
    bool listen();
    void run();
    void accept(int listener);
    /// False when the connection is over.
    bool serve(const Connection& connection);
    void sweep();

    const Manner manner_;
    const std::string reply_;
    const std::string address_;
    std::uint16_t firstPort_ = 0;
    std::vector<UniqueDescriptor> listeners_;
    std::vector<Connection> connections_;
    mutable std::mutex mutex_;
    std::vector<std::string> received_;
    std::atomic<std::size_t> open_{0};
    std::atomic<std::size_t> most_{0};
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

/// A loopback address and a port on it that is closed.
std::string randomLoopbackAddress();

}  // namespace quillbay::fakes
