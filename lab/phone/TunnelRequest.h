#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillbay::lab {

/// The first line of a connection to a tunnel port, without its line feed:
///
///     GET SEED BYTES   the phone sends that much of the seeded stream, then its SHA-256 and a line feed, and
///     closes PUT BYTES        the client sends that much; the phone answers with its SHA-256 and a line
///     feed, and closes ECHO             the phone sends everything back until the client closes
struct TunnelRequest {
    enum class Verb { get, put, echo };

    Verb verb = Verb::echo;
    std::uint64_t seed = 0;
    std::uint64_t bytes = 0;

    /// The longest line that can be a request.
    static constexpr std::size_t longestLine = 64;
};

/// Nothing when the line is no request.
std::optional<TunnelRequest> parseTunnelRequest(std::string_view line);

}  // namespace quillbay::lab
