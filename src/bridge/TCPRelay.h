#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "bridge/RelayErrorCallback.h"
#include "platform/NetworkThreads.h"

namespace quillbay {

class RelayAccess;

/// Makes one TCP port of the phone appear on one address and port of this computer: for every client that
/// connects, a fresh connection to the phone, and bytes are copied both ways until either side ends.
class TCPRelay {
 public:
    /// Does nothing yet. The relay's queue is labelled "com.local.mirel.Quillbay.tcp-relay." + `localPort`.
    /// `localPort` 0 lets the system choose (see `boundPort`). Without `access`, everybody may use it.
    TCPRelay(NetworkThreads& network, std::string localIP, std::uint16_t localPort,
             const std::string& remoteHost, std::uint16_t remotePort,
             std::shared_ptr<RelayAccess> access = nullptr);

    /// Closes the listener. Pairs that are up are not re-armed after their next receive.
    ~TCPRelay();
    TCPRelay(const TCPRelay&) = delete;
    TCPRelay& operator=(const TCPRelay&) = delete;

    /// Called on the relay's queue when the listener fails after `start` returned (its bind included), or
    /// after `startBlocking` succeeded. May be assigned at any time. It may stop or drop the relay, but must
    /// not wait for another thread that does: that one waits for its end. Never called after `stop`.
    RelayErrorCallback onError;

    /// Starts to listen without waiting for the result. Throws when the listener cannot be created.
    void start();

    /// Starts to listen and blocks until the listener is ready. Throws the system's error when it fails and
    /// RelayBindError when it is neither ready nor failed within `timeout`. A relay that was stopped does not
    /// start again: it throws std::system_error (ECANCELED) at once.
    void startBlocking(std::chrono::milliseconds timeout);

    /// Cancels the listener and every connection. May be called more than once and before any start. The
    /// sockets are closed on the relay's queue, before anything that is asked for later on the same port.
    void stop();

    /// Ends the connections of those who may not use it now, after `access` has changed. Any thread; happens
    /// later, on the relay's queue.
    void endConnectionsOfOthers();

    /// Client pairs whose outbound side has not yet failed or been cancelled. Any thread.
    [[nodiscard]] std::int64_t activeConnectionCount() const;

    /// How many connections (clients and their partners) are held. Any thread.
    [[nodiscard]] std::size_t connectionCount() const;

    /// The port that the listener has; 0 while it has none. Any thread.
    [[nodiscard]] std::uint16_t boundPort() const;

 private:
    class Core;
    std::shared_ptr<Core> core_;
};

}  // namespace quillbay
