#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillbay {

/// A multicast DNS query for everything about a host name, in the layout of RFC 1035, asking for a unicast
/// answer (RFC 6762, section 5.4):
///
///     offset  size      field
///     0       2         transaction ID, big-endian
///     2       2         flags: 0, a standard query
///     4       2         questions: 1
///     6       6         answers, authorities, additional records: 0
///     12      variable  the name: labels, each behind its length in one byte,
///                       then a zero byte; no compression
///     then    2         type 0x00FF, any
///     then    2         class 0x8001, IN with the unicast-response bit
///
/// Letter case and one final dot of the host make no difference. Nothing for a name that cannot be asked for:
/// an empty one, or one with a label of more than 63 bytes.
std::optional<std::vector<std::uint8_t>> makeMulticastQuery(const std::string& host,
                                                            std::uint16_t transactionID);

/// The same for any name, letter for letter: whoever answers takes only ASCII letters for the same in both
/// cases (RFC 6762, section 16), and the name of a service instance may hold others.
std::optional<std::vector<std::uint8_t>> makeMulticastQueryAsGiven(std::string_view name,
                                                                   std::uint16_t transactionID);

/// True for a response with this transaction ID that holds at least one answer record. Nothing behind the
/// header is looked at.
bool isMulticastAnswer(std::span<const std::uint8_t> message, std::uint16_t transactionID);

}  // namespace quillbay
