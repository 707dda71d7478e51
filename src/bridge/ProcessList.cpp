#include "bridge/ProcessList.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>
#include <system_error>

#include "platform/Text.h"
#include "platform/Utf8.h"

namespace quillbay::ProcessList {

namespace {

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

}  // namespace

std::optional<std::int32_t> processID(std::string_view line) {
    const std::size_t space = line.find(' ');
    if (space == std::string_view::npos) return std::nullopt;
    std::string_view digits = line.substr(0, space);
    if (digits.starts_with('+')) digits.remove_prefix(1);
    std::int32_t number = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec != std::errc{} || result.ptr != digits.data() + digits.size() || number <= 0)
        return std::nullopt;
    return number;
}

std::vector<std::int32_t> proxyRegistrations(std::string_view list,
                                             const std::function<bool(std::string_view line)>& matches) {
    std::vector<std::int32_t> ids;
    if (!isValidUtf8(list)) return ids;
    while (!list.empty()) {
        const std::size_t end = list.find('\n');
        const std::string line = trimmed(list.substr(0, end));
        list.remove_prefix(end == std::string_view::npos ? list.size() : end + 1);
        if (!contains(line, "dns-sd") || !contains(line, "-P") || !matches(line)) continue;
        if (const auto id = processID(line)) ids.push_back(*id);
    }
    return ids;
}

std::string clearedMessage(const std::vector<std::int32_t>& ids) {
    return fmt::format("Cleared {} leftover Bonjour proxy registration(s) from a previous launch (pid {}).",
                       ids.size(), fmt::join(ids, ", "));
}

}  // namespace quillbay::ProcessList
