#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbay::dnssd {

/// The data of an SRV record (RFC 2782):
///
///     bytes      meaning
///     2          priority
///     2          weight
///     2          port, big-endian
///     …          target: labels, each a length (0 to 63) and its bytes, up to the empty label; not
///     compressed
struct SRVRecord {
    std::uint16_t priority = 0;
    std::uint16_t weight = 0;
    std::uint16_t port = 0;
    /// The labels of the target's name, any bytes; none for the root.
    std::vector<std::string> target;

    /// The longest name in wire form (RFC 1035 section 2.3.4).
    static constexpr std::size_t maximumNameBytes = 255;

    /// Nothing when the data is short, has something left over, or holds a name that is too long or
    /// compressed.
    static std::optional<SRVRecord> decode(std::string_view data);

    bool operator==(const SRVRecord&) const = default;
};

}  // namespace quillbay::dnssd
