#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <optional>
#include <string>

#include "platform/UniqueDescriptor.h"
#include "update/HTTPSFetch.h"

namespace quillbay {

/// No name server is asked for a name whose first label has more than 63 letters: it cannot exist.
inline constexpr const char* unresolvableHost =
    "updates-updates-updates-updates-updates-updates-updates-updates-updates.invalid";

/// Linux connects to nobody on the broadcast address: the network is unreachable, with or without routes.
inline constexpr const char* unreachableHost = "255.255.255.255:443";

/// A port on loopback on which nobody listens, and which nobody else gets meanwhile.
class ClosedPort {
 public:
    ClosedPort() : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const address = reinterpret_cast<sockaddr*>(&address_);
        socklen_t length = sizeof address_;
        EXPECT_EQ(::bind(socket_.get(), address, length), 0);
        EXPECT_EQ(::getsockname(socket_.get(), address, &length), 0);
    }
    [[nodiscard]] std::string host() const { return "127.0.0.1:" + std::to_string(ntohs(address_.sin_port)); }

 private:
    UniqueDescriptor socket_;
    sockaddr_in address_{};
};

/// The class of the fetch's failure; nothing when it succeeds.
inline std::optional<FetchError::Code> fetchFailure(const std::string& url, const HTTPSOptions& options,
                                                    const StopToken& token = {}) {
    try {
        fetchHTTPS(url, options, token);
        return std::nullopt;
    } catch (const FetchError& error) {
        EXPECT_STRNE(error.what(), "");
        return error.code();
    }
}

}  // namespace quillbay
