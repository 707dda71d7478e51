#include "bridge/MulticastQuery.h"

#include <string_view>

#include "platform/Text.h"

namespace quillbay {

namespace {

constexpr std::size_t headerBytes = 12;
constexpr std::size_t longestLabelBytes = 63;

void appendBigEndian(std::vector<std::uint8_t>& bytes, std::uint16_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(value & 0xFFU));
}

std::uint16_t bigEndianAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>((bytes[offset] << 8U) | bytes[offset + 1]);
}

/// Appends the labels of `name`; false when one is too long. Empty ones, between two dots, are left out.
bool appendName(std::vector<std::uint8_t>& bytes, std::string_view name) {
    while (!name.empty()) {
        const std::size_t dot = name.find('.');
        const std::string_view label = name.substr(0, dot);
        name.remove_prefix(dot == std::string_view::npos ? name.size() : dot + 1);
        if (label.empty()) continue;
        if (label.size() > longestLabelBytes) return false;
        bytes.push_back(static_cast<std::uint8_t>(label.size()));
        bytes.insert(bytes.end(), label.begin(), label.end());
    }
    bytes.push_back(0);
    return true;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> makeMulticastQuery(const std::string& host,
                                                            std::uint16_t transactionID) {
    return makeMulticastQueryAsGiven(lowercased(host), transactionID);
}

std::optional<std::vector<std::uint8_t>> makeMulticastQueryAsGiven(std::string_view name,
                                                                   std::uint16_t transactionID) {
    constexpr std::uint16_t anyType = 0x00FF;
    constexpr std::uint16_t internetClassUnicastResponse = 0x8001;

    if (name.ends_with('.')) name.remove_suffix(1);
    if (name.empty()) return std::nullopt;

    std::vector<std::uint8_t> query;
    appendBigEndian(query, transactionID);
    appendBigEndian(query, 0);
    appendBigEndian(query, 1);
    query.insert(query.end(), 6, 0);
    if (!appendName(query, name)) return std::nullopt;
    appendBigEndian(query, anyType);
    appendBigEndian(query, internetClassUnicastResponse);
    return query;
}

bool isMulticastAnswer(std::span<const std::uint8_t> message, std::uint16_t transactionID) {
    constexpr std::uint8_t responseBit = 0x80;
    if (message.size() < headerBytes) return false;
    return bigEndianAt(message, 0) == transactionID && (message[2] & responseBit) != 0 &&
           bigEndianAt(message, 6) != 0;
}

}  // namespace quillbay
