#include "platform/PrintableText.h"

#include <fmt/format.h>

#include <cstdint>

#include "platform/Utf8.h"

namespace quillbay {

namespace {

/// The character that well-formed UTF-8 begins with, and its length in bytes.
struct Character {
    std::uint32_t code;
    std::size_t bytes;
};

Character firstCharacter(std::string_view text) {
    const auto byte = [&](std::size_t index) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(text[index]));
    };
    const std::uint32_t first = byte(0);
    if (first < 0x80U) return {first, 1};
    const auto tail = [&](std::size_t index) { return byte(index) & 0x3fU; };
    if (first < 0xe0U) return {(first & 0x1fU) << 6U | tail(1), 2};
    if (first < 0xf0U) return {(first & 0x0fU) << 12U | tail(1) << 6U | tail(2), 3};
    return {(first & 0x07U) << 18U | tail(1) << 12U | tail(2) << 6U | tail(3), 4};
}

bool isControl(std::uint32_t code) {
    return code < 0x20U || (code >= 0x7fU && code <= 0x9fU);
}

/// Line and paragraph separators, and what embeds, overrides or isolates a direction of writing (Unicode
/// Standard Annex 9).
bool turnsText(std::uint32_t code) {
    return code == 0x61cU || code == 0x200eU || code == 0x200fU || (code >= 0x2028U && code <= 0x202eU) ||
           (code >= 0x2066U && code <= 0x2069U);
}

std::string writtenOut(std::uint32_t code) {
    if (code == '\n') return "\\n";
    if (code == '\r') return "\\r";
    if (code == '\t') return "\\t";
    return code < 0x100U ? fmt::format("\\x{:02x}", code) : fmt::format("\\u{{{:04x}}}", code);
}

}  // namespace

std::string printable(std::string_view text) {
    const std::string wellFormed = wellFormedUtf8(text);
    std::string_view rest = wellFormed;
    std::string written;
    while (!rest.empty()) {
        const Character character = firstCharacter(rest);
        if (isControl(character.code) || turnsText(character.code))
            written += writtenOut(character.code);
        else
            written += rest.substr(0, character.bytes);
        rest.remove_prefix(character.bytes);
    }
    return written;
}

}  // namespace quillbay
