#include "dns-sd/SRVRecord.h"

namespace quillbay::dnssd {

namespace {

constexpr std::size_t fixedBytes = 6;
constexpr std::size_t maximumLabelBytes = 63;

std::uint16_t number(std::string_view data, std::size_t at) {
    const auto high = static_cast<unsigned char>(data[at]);
    const auto low = static_cast<unsigned char>(data[at + 1]);
    return static_cast<std::uint16_t>(high << 8U | low);
}

}  // namespace

std::optional<SRVRecord> SRVRecord::decode(std::string_view data) {
    if (data.size() < fixedBytes) return std::nullopt;
    SRVRecord record;
    record.priority = number(data, 0);
    record.weight = number(data, 2);
    record.port = number(data, 4);
    data.remove_prefix(fixedBytes);
    if (data.size() > maximumNameBytes) return std::nullopt;
    while (!data.empty()) {
        const std::size_t length = static_cast<unsigned char>(data.front());
        data.remove_prefix(1);
        if (length == 0) return data.empty() ? std::optional(std::move(record)) : std::nullopt;
        if (length > maximumLabelBytes || length > data.size()) return std::nullopt;
        record.target.emplace_back(data.substr(0, length));
        data.remove_prefix(length);
    }
    return std::nullopt;
}

}  // namespace quillbay::dnssd
