#include "bridge/UDPFlow.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "platform/PrintedError.h"

namespace quillbay {

namespace {

// The phone's host or a router on the way said that nobody is there: this is how it appears on a directed
// socket.
bool isPeerGone(int error) {
    return error == ECONNREFUSED || error == EHOSTUNREACH || error == ENETUNREACH || error == ECONNRESET ||
           error == EPIPE || error == EBADF || error == ENOTCONN;
}

}  // namespace

UDPFlow::UDPFlow(const sockaddr_in& client, UniqueDescriptor opened, const SocketAddress& phone,
                 EventLoop& loop, SocketUser& user)
    : WatchedSocket(loop, user), client_(client) {
    if (::connect(opened.get(), phone.get(), phone.size()) != 0) throw systemError(errno);
    makeRoomForBursts(opened.get());
    adopt(std::move(opened), SocketEvents::read);
}

std::size_t UDPFlow::send(std::span<const Datagram> datagrams) {
    std::size_t done = 0;
    while (done < datagrams.size()) {
        const DatagramCount sent = sendDatagrams(get(), Directed::yes, datagrams.subspan(done));
        done += sent.count;
        if (sent.error == 0) continue;
        if (isPeerGone(sent.error)) return done;
        ++done;  // that one is dropped
    }
    return done;
}

bool UDPFlow::receive(DatagramBatch& batch) {
    const auto received = batch.receive(get(), Directed::yes);
    for (Datagram& datagram : received.datagrams)
        datagram.peer = client_;
    if (received.error != 0) return false;
    wait(SocketEvents::read);
    // A socket that was shut down would be readable for ever.
    return !received.datagrams.empty() || !receivingIsShutDown(get());
}

}  // namespace quillbay
