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

/// The datagram twin of the TCP relay: what a client sends to one address and port of this computer goes to
/// the phone from a socket of that client's own, and the phone's replies go back to the client that asked.
/// Each datagram is passed on unchanged and in order; empty ones are dropped. A flow lives until an error
/// ends it or the relay is stopped.
class UDPRelay {
 public:
    /// Does nothing yet. The relay's queue is labelled "com.local.mirel.Quillbay.udp-relay." + `localPort`.
    /// `localPort` 0 lets the system choose (see `boundPort`). Without `access`, everybody may use it.
    UDPRelay(NetworkThreads& network, std::string localIP, std::uint16_t localPort,
             const std::string& remoteHost, std::uint16_t remotePort,
             std::shared_ptr<RelayAccess> access = nullptr);

    /// Closes the listener and, since no reply can be passed back any more, the flows.
    ~UDPRelay();
    UDPRelay(const UDPRelay&) = delete;
    UDPRelay& operator=(const UDPRelay&) = delete;

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

    /// Cancels the listener and every flow. May be called more than once and before any start. The sockets
    /// are closed on the relay's queue, before anything that is asked for later on the same port.
    void stop();

    /// Forgets the flows of those who may not use it now, after `access` has changed. Any thread; happens
    /// later, on the relay's queue.
    void endConnectionsOfOthers();

    /// How many flows (clients and their partners) are held. Any thread.
    [[nodiscard]] std::size_t connectionCount() const;

    /// The port that the listener has; 0 while it has none. Any thread.
    [[nodiscard]] std::uint16_t boundPort() const;

 private:
    class Core;
    std::shared_ptr<Core> core_;
};

}  // namespace quillbay
