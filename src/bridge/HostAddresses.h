#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quillbay {

/// One address of a host, of whichever family, in the form that the socket calls take.
struct HostAddress {
    sockaddr_storage storage{};
    socklen_t length = 0;

    [[nodiscard]] int family() const { return storage.ss_family; }
    [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    [[nodiscard]] HostAddress withPort(std::uint16_t port) const;
    /// The address in numbers; empty for one of a family that has none.
    [[nodiscard]] std::string text() const;
};

/// The host's addresses for TCP in the system's order of preference; empty when it has none. A literal
/// address is taken as it is; a name is looked up, which blocks the caller for as long as the system's
/// resolver takes.
std::vector<HostAddress> resolveHost(const std::string& host);

}  // namespace quillbay
