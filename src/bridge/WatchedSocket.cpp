#include "bridge/WatchedSocket.h"

#include <poll.h>

#include <utility>

namespace quillbay {

namespace {

#ifdef POLLRDHUP
// Tells of a shutdown for receiving alone, which elsewhere is a hang-up like that of both directions.
constexpr short shutDownEvents = POLLRDHUP;
#else
constexpr short shutDownEvents = 0;
#endif

}  // namespace

void WatchedSocket::adopt(UniqueDescriptor socket, SocketEvents first, const std::shared_ptr<void>& keeper) {
    close();
    watch_ = loop_.watch(socket.get(), std::shared_ptr<EventLoop::Watcher>(keeper, this), first);
    socket_ = std::move(socket);
}

void WatchedSocket::close() {
    if (!socket_.valid()) return;  // its owner may be gone from the loop
    const UniqueDescriptor closed = std::move(socket_);
    loop_.forget(std::exchange(watch_, 0));
}

void WatchedSocket::ready(SocketEvents events) {
    const EventLoop::Watch before = watch_;
    const bool read = (events & SocketEvents::read) != SocketEvents::none;
    if ((events & SocketEvents::write) != SocketEvents::none) {
        user_.writable(*this);
        if (!read || watch_ != before) return;
    }
    if (read) user_.readable(*this);
}

bool receivingIsShutDown(int socket) {
    pollfd asked{socket, shutDownEvents, 0};
    return ::poll(&asked, 1, 0) == 1 && (asked.revents & (shutDownEvents | POLLHUP)) != 0;
}

}  // namespace quillbay
