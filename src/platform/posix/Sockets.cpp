#include "platform/Sockets.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cerrno>

#include "platform/DescriptorShares.h"
#include "platform/PrintedError.h"
#include "platform/posix/SystemSockets.h"

namespace quillbay {

namespace {

void bindTo(int descriptor, const sockaddr_in& endpoint) {
    if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) != 0) {
        throw systemError(errno);
    }
}

}  // namespace

sockaddr_in ipv4Endpoint(const std::string& address, std::uint16_t port) {
    sockaddr_in endpoint{};
    endpoint.sin_family = AF_INET;
    endpoint.sin_port = htons(port);
    if (::inet_pton(AF_INET, address.c_str(), &endpoint.sin_addr) != 1) throw systemError(EINVAL);
    return endpoint;
}

UniqueDescriptor listenTCP(const std::string& address, std::uint16_t port) {
    // Connections that wait to be accepted. That is soon, but 500 clients that come at once while the loop is
    // busy overflow a queue of 128 and each wait a second for their next try. (The Mac cuts it down to 128.)
    constexpr int backlog = 1024;
    const sockaddr_in endpoint = ipv4Endpoint(address, port);
    UniqueDescriptor listener = withinShare(openSocket(AF_INET, SOCK_STREAM), DescriptorUse::relay);
    const int on = 1;
    if (::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) throw systemError(errno);
    bindTo(listener.get(), endpoint);
    if (::listen(listener.get(), backlog) != 0) throw systemError(errno);
    return listener;
}

UniqueDescriptor bindUDP(const std::string& address, std::uint16_t port) {
    const sockaddr_in endpoint = ipv4Endpoint(address, port);
    UniqueDescriptor bound = withinShare(openSocket(AF_INET, SOCK_DGRAM), DescriptorUse::relay);
    if (prepareDatagramBind(bound.get()) != 0) throw systemError(errno);
    bindTo(bound.get(), endpoint);
    return bound;
}

std::uint16_t boundPort(int descriptor) {
    sockaddr_in endpoint{};
    socklen_t length = sizeof endpoint;
    if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&endpoint), &length) != 0)
        throw systemError(errno);
    return ntohs(endpoint.sin_port);
}

}  // namespace quillbay
