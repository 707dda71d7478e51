#include "platform/linux/RouteTable.h"

#include <linux/route.h>

#include <array>
#include <charconv>
#include <cstdint>

namespace quillbay {

namespace {

constexpr std::string_view blanks = " \t";

std::string_view nextPiece(std::string_view& rest, std::string_view separators) {
    rest.remove_prefix(std::min(rest.find_first_not_of(separators), rest.size()));
    const std::size_t end = std::min(rest.find_first_of(separators), rest.size());
    const std::string_view piece = rest.substr(0, end);
    rest.remove_prefix(end);
    return piece;
}

std::optional<std::uint32_t> number(std::string_view text, int base) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

struct DefaultRoute {
    std::string_view interface;
    std::uint32_t metric = 0;
};

std::optional<DefaultRoute> parseDefaultRoute(std::string_view line) {
    std::array<std::string_view, 8> columns;
    for (std::string_view& column : columns)
        column = nextPiece(line, blanks);
    const auto destination = number(columns[1], 16);
    const auto flags = number(columns[3], 16);
    const auto metric = number(columns[6], 10);
    const auto mask = number(columns[7], 16);
    if (!destination || !flags || !metric || !mask) return std::nullopt;
    // A route that only refuses leads through no interface.
    const bool usable = (*flags & RTF_UP) != 0 && (*flags & RTF_REJECT) == 0;
    if (!usable || *destination != 0 || *mask != 0) return std::nullopt;
    return DefaultRoute{columns[0], *metric};
}

}  // namespace

std::optional<std::string> defaultRouteInterface(std::string_view table) {
    std::optional<DefaultRoute> best;
    while (!table.empty()) {
        const auto route = parseDefaultRoute(nextPiece(table, "\n"));
        if (route && (!best || route->metric < best->metric)) best = route;
    }
    if (!best) return std::nullopt;
    return std::string(best->interface);
}

}  // namespace quillbay
