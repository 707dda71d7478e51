#include "bridge/UDPRelayCore.h"

#include <sys/socket.h>

#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

#include "bridge/ReceiveBuffer.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay {

namespace {

constexpr int datagramsPerTurn = 64;

bool isFailureOfListener(int error) {
    return error == EBADF || error == EINVAL || error == ENOTSOCK || error == EFAULT || error == ENOTCONN;
}

std::uint64_t keyOf(const sockaddr_in& client) {
    return (static_cast<std::uint64_t>(client.sin_addr.s_addr) << 16U) | client.sin_port;
}

}  // namespace

UDPRelay::Core::Core(boost::asio::io_context& loop, std::string localIP, std::uint16_t localPort,
                     const std::string& remoteHost, std::uint16_t remotePort,
                     const RelayErrorCallback& onError)
    : RelayListener(loop, std::move(localIP), localPort, onError),
      phone_(SocketAddress::numeric(remoteHost, remotePort)) {}

UniqueDescriptor UDPRelay::Core::open(const std::string& address, std::uint16_t port) {
    return bindUDP(address, port);
}

void UDPRelay::Core::listen() {
    socket().whenReadable([weak = weak_from_this()] {
        if (const auto self = weak.lock()) static_cast<Core&>(*self).receive();
    });
}

void UDPRelay::Core::receive() {
    ReceiveBuffer& buffer = receiveBuffer();
    bool any = false;
    for (int round = 0; round < datagramsPerTurn; ++round) {
        if (!socket().isOpen()) return;
        sockaddr_in client{};
        socklen_t length = sizeof client;
        const ssize_t count = ::recvfrom(socket().get(), buffer.data(), buffer.size(), 0,
                                         reinterpret_cast<sockaddr*>(&client), &length);
        any = any || count > 0;
        if (count > 0) passOn(client, {buffer.data(), static_cast<std::size_t>(count)});
        if (count >= 0) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) break;
        if (isFailureOfListener(errno)) return fail(std::make_exception_ptr(systemError(errno)));
        // Anything else is about one datagram.
    }
    // A socket that was shut down is readable for ever and receives nothing, or the empty over and over.
    if (!any && socket().receivingIsShutDown()) return fail(std::make_exception_ptr(systemError(ESHUTDOWN)));
    listen();
}

void UDPRelay::Core::passOn(const sockaddr_in& client, std::span<const char> datagram) {
    // A flow that died since its last datagram is noticed here at the latest; this datagram then opens the
    // next one.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto flow = flowOf(client);
        if (!flow || flow->send(datagram) != UDPFlow::Sent::flowIsDead) return;
        flow->close();
        flowEnded(*flow);
    }
}

std::shared_ptr<UDPFlow> UDPRelay::Core::flowOf(const sockaddr_in& client) {
    const std::uint64_t key = keyOf(client);
    if (const auto known = flows_.find(key); known != flows_.end()) return known->second;
    if (!phone_) return nullptr;
    const auto self = std::static_pointer_cast<Core>(shared_from_this());
    try {
        const auto flow = std::make_shared<UDPFlow>(loop(), std::weak_ptr<UDPFlowOwner>(self), client,
                                                    openSocket(phone_->family(), SOCK_DGRAM), *phone_);
        flow->start();
        flows_.emplace(key, flow);
        flowCount_ = flows_.size();
        return flow;
    } catch (const std::system_error&) {
        return nullptr;  // no descriptor or no route for the moment: the client's next datagram tries again
    }
}

void UDPRelay::Core::reply(const sockaddr_in& client, std::span<const char> datagram) {
    // Best effort: a datagram that the network does not take is lost, like on any other hop.
    if (socket().isOpen()) {
        ::sendto(socket().get(), datagram.data(), datagram.size(), noSignalFlag(),
                 reinterpret_cast<const sockaddr*>(&client), sizeof client);
    }
}

void UDPRelay::Core::flowEnded(UDPFlow& flow) {
    const auto known = flows_.find(keyOf(flow.client()));
    // The client may have a newer flow already.
    if (known == flows_.end() || known->second.get() != &flow) return;
    flows_.erase(known);
    flowCount_ = flows_.size();
}

void UDPRelay::Core::cancelConnections() {
    const auto flows = std::exchange(flows_, {});
    flowCount_ = 0;
    for (const auto& [key, flow] : flows)
        flow->close();
}

// A flow cannot outlive the socket through which it answers, and nothing would ever end it.
void UDPRelay::Core::forgetConnections() {
    cancelConnections();
}

}  // namespace quillbay
