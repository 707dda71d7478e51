#include "dns-sd/ZoneText.h"

#include <fmt/format.h>

#include <cstddef>

namespace quillbay::dnssd::ZoneText {

namespace {

/// How many bytes the well-formed UTF-8 character at the start of `text` has (Unicode 15, table 3-7); 0 for
/// none.
std::size_t characterLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto within = [&](std::size_t i, unsigned low, unsigned high) {
        return i < text.size() && byte(i) >= low && byte(i) <= high;
    };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return within(1, 0x80, 0xBF) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const unsigned low = first == 0xE0 ? 0xA0 : 0x80;
        const unsigned high = first == 0xED ? 0x9F : 0xBF;
        return within(1, low, high) && within(2, 0x80, 0xBF) ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const unsigned low = first == 0xF0 ? 0x90 : 0x80;
        const unsigned high = first == 0xF4 ? 0x8F : 0xBF;
        return within(1, low, high) && within(2, 0x80, 0xBF) && within(3, 0x80, 0xBF) ? 4 : 0;
    }
    return 0;
}

/// Control characters, and the separators that some readers take for the end of a line.
bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) return first < 0x20 || first == 0x7F;
    if (character.size() == 2) return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
    return character == "\u2028" || character == "\u2029";
}

void appendAsNumbers(std::string& out, std::string_view bytes) {
    for (const char byte : bytes)
        out += fmt::format("\\{:03}", static_cast<unsigned>(static_cast<unsigned char>(byte)));
}

/// `special`: the characters that get a backslash of their own; `numbered`: those that are written as a
/// number.
std::string escaped(std::string_view text, std::string_view special, std::string_view numbered) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        text.remove_prefix(character.size());
        if (length == 0 || isControl(character) || numbered.find(character) != std::string_view::npos) {
            appendAsNumbers(out, character);
        } else {
            if (special.find(character) != std::string_view::npos) out.push_back('\\');
            out += character;
        }
    }
    return out;
}

}  // namespace

std::string escapedLabel(std::string_view label) {
    return escaped(label, ".\\", " ");
}

std::string escapedName(const std::vector<std::string>& labels) {
    if (labels.empty()) return ".";
    std::string out;
    for (const std::string& label : labels)
        out += escapedLabel(label) + ".";
    return out;
}

std::string quotedString(std::string_view string) {
    return "\"" + escaped(string, "\"\\", "") + "\"";
}

std::string instanceLines(std::string_view serviceType, std::string_view instanceName,
                          const SRVRecord& service, const std::vector<std::string>& strings) {
    const std::string record = fmt::format("{}.{}", escapedLabel(instanceName), serviceType);
    std::string out = fmt::format("{:<47} PTR     {}\n", serviceType, record);
    // Priority and weight are always printed as 0: whoever copies the line into a zone chooses their own.
    out += fmt::format("{:<47} SRV     0 0 {} {} ; Replace with unicast FQDN of target host\n", record,
                       service.port, escapedName(service.target));
    out += fmt::format("{:<47} TXT    ", record);
    if (strings.empty()) out += " \"\"";
    for (const std::string& string : strings)
        out += " " + quotedString(string);
    out += "\n";
    return out;
}

}  // namespace quillbay::dnssd::ZoneText
