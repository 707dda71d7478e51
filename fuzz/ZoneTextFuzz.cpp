// The printed form of a zone dump: whatever is in the names and strings, there are exactly three lines, no
// character in them can be taken for something else, and the bytes can be had back.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "dns-sd/SRVRecord.h"
#include "dns-sd/TXTRecord.h"
#include "dns-sd/ZoneText.h"
#include "fuzz/Fuzz.h"
#include "platform/Utf8.h"

using namespace quillbay::dnssd;
using quillbay::fuzz::require;

namespace {

/// The bytes behind an escaped text, read by RFC 1035's rules (section 5.1) alone.
std::string unescaped(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        require(i + 1 < text.size(), "no text ends in the middle of an escape");
        const char next = text[i + 1];
        if (next < '0' || next > '9') {
            bytes += next;
            i += 1;
            continue;
        }
        require(i + 3 < text.size(), "a numbered escape has three digits");
        const int value = (next - '0') * 100 + (text[i + 2] - '0') * 10 + (text[i + 3] - '0');
        require(value <= 255, "a numbered escape is one byte");
        bytes += static_cast<char>(value);
        i += 3;
    }
    return bytes;
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

void requirePrintable(std::string_view text) {
    require(quillbay::isValidUtf8(text), "what is printed is UTF-8");
    require(
        std::none_of(text.begin(), text.end(), [](char c) { return (c >= '\0' && c < ' ') || c == '\x7F'; }),
        "what is printed holds no control character");
    require(!contains(text, "\xC2\x85") && !contains(text, "\xE2\x80\xA8") && !contains(text, "\xE2\x80\xA9"),
            "what is printed holds no line break of another kind");
}

void checkLabel(std::string_view label) {
    const std::string escaped = ZoneText::escapedLabel(label);
    requirePrintable(escaped);
    require(!contains(escaped, " "), "a label holds no blank, which separates the columns");
    require(unescaped(escaped) == label, "a label can be had back");
}

void checkString(std::string_view string) {
    const std::string quoted = ZoneText::quotedString(string);
    requirePrintable(quoted);
    require(quoted.size() >= 2 && quoted.front() == '"' && quoted.back() == '"', "a string is in quotes");
    const std::string_view inner = std::string_view(quoted).substr(1, quoted.size() - 2);
    bool escape = false;
    for (const char c : inner) {
        require(escape || c != '"', "no quote ends a string early");
        escape = !escape && c == '\\';
    }
    require(!escape, "no escape reaches past the end of a string");
    require(unescaped(inner) == string, "a string can be had back");
}

/// One of the three lines, without its line feed: the name of the instance, blanks, the kind.
void checkLine(std::string_view line, std::string_view start, std::string_view kind) {
    requirePrintable(line);
    require(line.starts_with(start), "a line begins with its name");
    std::string_view rest = line.substr(start.size());
    require(rest.starts_with(' '), "a blank follows the name");
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    require(rest.starts_with(kind), "the kind follows the blanks");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    SRVRecord service;
    service.port = input.ConsumeIntegral<std::uint16_t>();
    const std::string instance = input.ConsumeRandomLengthString(63);
    while (service.target.size() < 4 && input.ConsumeBool()) {
        const std::string label = input.ConsumeRandomLengthString(63);
        if (!label.empty()) service.target.push_back(label);
    }
    std::vector<std::string> strings;
    while (strings.size() < 8 && input.remaining_bytes() > 0) {
        strings.push_back(input.ConsumeRandomLengthString(TXTRecord::maximumStringBytes));
    }

    checkLabel(instance);
    for (const std::string& string : strings)
        checkString(string);

    const std::string type = "_remotepairing._tcp";
    const std::string text = ZoneText::instanceLines(type, instance, service, strings);
    require(std::count(text.begin(), text.end(), '\n') == 3, "there are three lines");
    require(text.ends_with('\n'), "the last line ends");
    const std::size_t first = text.find('\n');
    const std::size_t second = text.find('\n', first + 1);
    const std::string name = ZoneText::escapedLabel(instance) + "." + type;
    const std::string_view view = text;
    checkLine(view.substr(0, first), type, "PTR ");
    checkLine(view.substr(first + 1, second - first - 1), name, "SRV ");
    checkLine(view.substr(second + 1, view.size() - second - 2), name, "TXT ");
    return 0;
}
