#pragma once

#include <memory>

#include "platform/EventLoop.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

class WatchedSocket;

/// Whether receiving was shut down: the socket is readable from then on, whether or not there is anything to
/// receive. A stream tells that by its end; a datagram socket has to be asked.
bool receivingIsShutDown(int socket);

/// Is told of its sockets. May close them meanwhile, and destroy one that it is told to be readable.
class SocketUser {
 public:
    virtual ~SocketUser() = default;
    virtual void readable(WatchedSocket& socket) = 0;
    /// Also at the end of a connect.
    virtual void writable(WatchedSocket& /*socket*/) {}
};

/// Owns a non-blocking socket and tells when it can be read or written. Used on its loop only.
///
/// A wait is for one event, and sees what is there already. What is both readable and writable is told to be
/// writable first.
class WatchedSocket : private EventLoop::Watcher {
 public:
    WatchedSocket(EventLoop& loop, SocketUser& user) : loop_(loop), user_(user) {}
    virtual ~WatchedSocket() { close(); }
    WatchedSocket(const WatchedSocket&) = delete;
    WatchedSocket& operator=(const WatchedSocket&) = delete;

    /// Takes over an open socket, after closing the one it had, and waits for the first events. Until it is
    /// closed, by `close` or with its loop, `keeper` is held. Throws std::system_error when the loop cannot
    /// watch it; the socket is closed then.
    void adopt(UniqueDescriptor socket, SocketEvents first, const std::shared_ptr<void>& keeper = nullptr);

    /// -1 when closed.
    [[nodiscard]] int get() const { return socket_.get(); }
    [[nodiscard]] bool isOpen() const { return socket_.valid(); }

    /// Nothing is told any more. May drop the last that held the keeper, and with it this socket.
    void close();

    void wait(SocketEvents events) { loop_.want(watch_, events); }
    [[nodiscard]] bool waitsFor(SocketEvents event) const {
        return (loop_.wanted(watch_) & event) != SocketEvents::none;
    }

 private:
    void ready(SocketEvents events) override;

    EventLoop& loop_;
    SocketUser& user_;
    UniqueDescriptor socket_;
    EventLoop::Watch watch_ = 0;
};

}  // namespace quillbay
