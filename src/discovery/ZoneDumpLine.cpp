#include "discovery/ZoneDumpLine.h"

#include <arpa/inet.h>

#include <charconv>

namespace quillbay {

namespace {

std::vector<std::string_view> words(std::string_view line) {
    std::vector<std::string_view> tokens;
    while (true) {
        const std::size_t begin = line.find_first_not_of(' ');
        if (begin == std::string_view::npos) return tokens;
        line.remove_prefix(begin);
        const std::string_view word = line.substr(0, line.find(' '));
        tokens.push_back(word);
        line.remove_prefix(word.size());
    }
}

std::optional<std::uint16_t> portNumber(std::string_view digits) {
    if (digits.starts_with('+')) digits.remove_prefix(1);
    std::uint16_t port = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (result.ec != std::errc{} || result.ptr != end) return std::nullopt;
    return port;
}

}  // namespace

std::optional<ZoneDumpLine> parseZoneDumpLine(std::string_view line, std::string_view serviceType) {
    ZoneDumpLine parsed{{}, {}, words(line)};
    if (parsed.tokens.size() < 2) return std::nullopt;
    std::string_view name = parsed.tokens[0];
    if (!name.ends_with(serviceType)) return std::nullopt;
    name.remove_suffix(serviceType.size());
    if (!name.ends_with('.')) return std::nullopt;
    name.remove_suffix(1);
    parsed.recordName = name;
    parsed.kind = parsed.tokens[1];
    return parsed;
}

std::optional<ZoneDumpSRV> parseSRV(const std::vector<std::string_view>& tokens) {
    if (tokens.size() < 6) return std::nullopt;
    const auto port = portNumber(tokens[4]);
    std::string_view host = tokens[5];
    if (host.ends_with('.')) host.remove_suffix(1);
    if (!port || host.empty()) return std::nullopt;
    return ZoneDumpSRV{std::string(host), *port};
}

std::map<std::string, std::string> parseTXT(const std::vector<std::string_view>& tokens) {
    std::map<std::string, std::string> entries;
    for (std::size_t i = 2; i < tokens.size(); ++i) {
        std::string_view string = tokens[i];
        if (string.starts_with('"')) string.remove_prefix(1);
        if (string.ends_with('"')) string.remove_suffix(1);
        const std::size_t equals = string.find('=');
        if (equals == std::string_view::npos) continue;
        entries.insert_or_assign(std::string(string.substr(0, equals)), string.substr(equals + 1));
    }
    return entries;
}

bool looksLikeHostname(const std::string& host) {
    if (host.find('%') != std::string::npos) return false;
    in6_addr address{};
    return ::inet_pton(AF_INET, host.c_str(), &address) != 1 &&
           ::inet_pton(AF_INET6, host.c_str(), &address) != 1;
}

}  // namespace quillbay
