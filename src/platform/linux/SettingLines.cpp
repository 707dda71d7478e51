#include "platform/linux/SettingLines.h"

namespace quillbay {

namespace {

constexpr std::string_view blanks = " \t\r";

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string unquoted(std::string_view value) {
    const bool quoted =
        value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
    if (!quoted) return std::string(value);
    const bool escapes = value.front() == '"';
    std::string text;
    for (std::size_t i = 1; i + 1 < value.size(); ++i) {
        const bool escaped = escapes && value[i] == '\\' && i + 2 < value.size() &&
                             std::string_view("\"$`\\").find(value[i + 1]) != std::string_view::npos;
        if (escaped) ++i;
        text += value[i];
    }
    return text;
}

}  // namespace

std::optional<std::string> settingLine(std::string_view text, std::string_view key) {
    std::optional<std::string> found;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = withoutBlanks(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        const bool isKey = line.size() > key.size() && line.starts_with(key) && line[key.size()] == '=';
        if (isKey) found = unquoted(line.substr(key.size() + 1));
    }
    return found;
}

}  // namespace quillbay
