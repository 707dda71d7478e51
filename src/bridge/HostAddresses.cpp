#include "bridge/HostAddresses.h"

#include <netdb.h>
#include <netinet/in.h>

#include <array>
#include <cstring>
#include <memory>

namespace quillbay {

namespace {

std::vector<HostAddress> lookUp(const std::string& host, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* list = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0) return {};
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(list, &::freeaddrinfo);

    std::vector<HostAddress> addresses;
    for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_family != AF_INET && entry->ai_family != AF_INET6) continue;
        HostAddress address;
        std::memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
        address.length = entry->ai_addrlen;
        addresses.push_back(address);
    }
    return addresses;
}

}  // namespace

HostAddress HostAddress::withPort(std::uint16_t port) const {
    HostAddress copy = *this;
    if (family() == AF_INET6) {
        reinterpret_cast<sockaddr_in6*>(&copy.storage)->sin6_port = htons(port);
    } else {
        reinterpret_cast<sockaddr_in*>(&copy.storage)->sin_port = htons(port);
    }
    return copy;
}

std::string HostAddress::text() const {
    std::array<char, NI_MAXHOST> buffer{};
    const int failed = ::getnameinfo(get(), length, buffer.data(), buffer.size(), nullptr, 0, NI_NUMERICHOST);
    return failed == 0 ? buffer.data() : std::string();
}

std::vector<HostAddress> resolveHost(const std::string& host) {
    // The system's call would see only what stands before a zero byte, and ask for that.
    if (host.empty() || host.find('\0') != std::string::npos) return {};
    std::vector<HostAddress> literal = lookUp(host, AI_NUMERICHOST);
    return literal.empty() ? lookUp(host, 0) : literal;
}

}  // namespace quillbay
