#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

namespace quillbay::lab {

/// The parts of a text between single separators; empty parts are kept.
inline std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (true) {
        const auto end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

/// A whole text as a decimal number of this type; nothing when it is anything else.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number number = 0;
    const auto [stopped, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || stopped != text.data() + text.size()) return std::nullopt;
    return number;
}

}  // namespace quillbay::lab
