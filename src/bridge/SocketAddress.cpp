#include "bridge/SocketAddress.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <cstring>
#include <memory>

namespace quillbay {

std::optional<SocketAddress> SocketAddress::numeric(const std::string& host, std::uint16_t port) {
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &v4.sin_addr) == 1) return SocketAddress(v4);
    if (host.find(':') == std::string::npos) return std::nullopt;
    // Not inet_pton: a link-local address comes with its interface after a percent sign.
    addrinfo hints{};
    hints.ai_family = AF_INET6;
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0) return std::nullopt;
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(found, &::freeaddrinfo);
    sockaddr_in6 v6{};
    std::memcpy(&v6, found->ai_addr, sizeof v6);
    v6.sin6_port = htons(port);
    return SocketAddress(v6);
}

}  // namespace quillbay
