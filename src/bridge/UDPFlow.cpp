#include "bridge/UDPFlow.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "bridge/ReceiveBuffer.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay {

namespace {

// Enough to make a burst cheap, few enough that others get their turn.
constexpr int datagramsPerTurn = 64;

// The phone's host or a router on the way said that nobody is there: this is how it appears on a directed
// socket.
bool isPeerGone(int error) {
    return error == ECONNREFUSED || error == EHOSTUNREACH || error == ENETUNREACH || error == ECONNRESET ||
           error == EPIPE || error == EBADF || error == ENOTCONN;
}

}  // namespace

UDPFlow::UDPFlow(boost::asio::io_context& loop, std::weak_ptr<UDPFlowOwner> owner, const sockaddr_in& client,
                 UniqueDescriptor opened, const SocketAddress& phone)
    : owner_(std::move(owner)), client_(client), socket_(loop) {
    if (::connect(opened.get(), phone.get(), phone.size()) != 0) throw systemError(errno);
    socket_.adopt(std::move(opened));
}

void UDPFlow::start() {
    socket_.whenReadable([self = shared_from_this()] { self->receive(); });
}

void UDPFlow::receive() {
    const auto owner = owner_.lock();
    if (!socket_.isOpen()) return;
    if (!owner) return socket_.close();
    ReceiveBuffer& buffer = receiveBuffer();
    bool any = false;
    for (int round = 0; round < datagramsPerTurn && socket_.isOpen(); ++round) {
        const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
        any = any || count > 0;
        if (count > 0) owner->reply(client_, {buffer.data(), static_cast<std::size_t>(count)});
        if (count >= 0 || errno == EINTR) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) break;
        return end(*owner);
    }
    // A socket that was shut down would be readable for ever.
    if (!any && socket_.receivingIsShutDown()) return end(*owner);
    start();
}

void UDPFlow::end(UDPFlowOwner& owner) {
    socket_.close();
    owner.flowEnded(*this);
}

UDPFlow::Sent UDPFlow::send(std::span<const char> datagram) {
    const ssize_t sent = ::send(socket_.get(), datagram.data(), datagram.size(), noSignalFlag());
    if (sent >= 0) return Sent::yes;
    return isPeerGone(errno) ? Sent::flowIsDead : Sent::dropped;
}

}  // namespace quillbay
