#include "dns-sd/TXTRecord.h"

namespace quillbay::dnssd::TXTRecord {

std::optional<std::vector<std::string>> decode(std::string_view data) {
    std::vector<std::string> strings;
    while (!data.empty()) {
        const std::size_t length = static_cast<unsigned char>(data.front());
        data.remove_prefix(1);
        if (length > data.size()) return std::nullopt;
        strings.emplace_back(data.substr(0, length));
        data.remove_prefix(length);
    }
    return strings;
}

std::optional<std::string> encode(const std::vector<std::string>& strings) {
    // A TXT record holds at least one string, so that nothing to say is said by an empty one.
    if (strings.empty()) return std::string(1, '\0');
    std::string data;
    for (const std::string& string : strings) {
        if (string.size() > maximumStringBytes) return std::nullopt;
        if (data.size() + 1 + string.size() > maximumBytes) return std::nullopt;
        data.push_back(static_cast<char>(static_cast<unsigned char>(string.size())));
        data += string;
    }
    return data;
}

}  // namespace quillbay::dnssd::TXTRecord
