#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <string>

namespace quillbay {

/// An IPv4 or IPv6 address and port, in a third of the room of the system's largest address.
class SocketAddress {
 public:
    /// Nothing when `host` is no numeric address.
    static std::optional<SocketAddress> numeric(const std::string& host, std::uint16_t port);

    [[nodiscard]] int family() const { return any_.sa_family; }
    [[nodiscard]] const sockaddr* get() const { return &any_; }
    [[nodiscard]] socklen_t size() const {
        return any_.sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    }

 private:
    explicit SocketAddress(const sockaddr_in& v4) : v4_(v4) {}
    explicit SocketAddress(const sockaddr_in6& v6) : v6_(v6) {}

    union {
        sockaddr any_;
        sockaddr_in v4_;
        sockaddr_in6 v6_;
    };
};

}  // namespace quillbay
