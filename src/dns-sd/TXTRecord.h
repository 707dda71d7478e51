#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The data of a TXT record (RFC 1035 section 3.3.14, RFC 6763 section 6):
///
///     bytes      meaning
///     1          length of the string, 0 to 255
///     length     the string, any bytes
///     …          further strings, to the end of the data
namespace quillbay::dnssd::TXTRecord {

/// The longest string of a record.
inline constexpr std::size_t maximumStringBytes = 255;

/// The largest record written: a multicast DNS message holds 9,000 bytes (RFC 6762 section 17), and names,
/// address and the other records of the service need room beside it.
inline constexpr std::size_t maximumBytes = 8000;

/// The strings in wire order, empty ones included; nothing when a length points past the end.
std::optional<std::vector<std::string>> decode(std::string_view data);

/// The data of a record with these strings, one empty string when there is none; nothing when a string or the
/// whole is too long.
std::optional<std::string> encode(const std::vector<std::string>& strings);

}  // namespace quillbay::dnssd::TXTRecord
