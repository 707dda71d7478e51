#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/HostTools.h"
#include "platform/NetworkThreads.h"

namespace quillbay {

/// The port in a log line that announces a tunnel endpoint; nothing for any other line.
std::optional<std::uint16_t> tunnelPortInLogLine(std::string_view line);

/// Follows the system log through a child process and reports the port of every tunnel endpoint that the
/// pairing daemon announces, repeated ones too. A child that ends by itself is not started again. Used on the
/// main queue.
class TunnelPortWatcher {
 public:
    TunnelPortWatcher(HostTools tools, NetworkThreads& network);
    /// As `stop`.
    ~TunnelPortWatcher();
    TunnelPortWatcher(const TunnelPortWatcher&) = delete;
    TunnelPortWatcher& operator=(const TunnelPortWatcher&) = delete;

    /// Called on the watcher's queue, "com.local.mirel.Quillbay.tunnel-port-watcher"; set before `start`,
    /// cleared by assigning an empty function after `stop`.
    std::function<void(std::uint16_t)> onPort;

    /// As `onPort`, when the follower has ended by itself, or can no longer be read: no further port is
    /// found.
    std::function<void()> onEnd;

    /// Launches the follower, after ending one that runs. Throws std::system_error when it cannot be
    /// launched.
    void start();

    /// Asks the follower to end, without waiting. May be called more than once.
    void stop();

 private:
    struct Session;
    HostTools tools_;
    NetworkThreads& network_;
    std::shared_ptr<Session> session_;
};

}  // namespace quillbay
