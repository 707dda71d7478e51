#include "profile/ByteText.h"

#include "platform/Utf8.h"

namespace quillbay {

namespace {

// U+10EE80 to U+10EEFF in UTF-8 is F4 8E BA 80 to F4 8E BB BF: the byte's upper bit and its next one are in
// the third byte, the other six in the fourth.
constexpr std::string_view standInLead = "\xF4\x8E";
constexpr std::size_t standInLength = 4;

unsigned char byteAt(std::string_view text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

void appendStandIn(std::string& text, unsigned char byte) {
    text += standInLead;
    text += static_cast<char>(byte < 0xC0 ? 0xBA : 0xBB);
    text += static_cast<char>(0x80 | (byte & 0x3F));
}

/// Where the first stand-in at or after `from` begins; npos without one.
std::size_t findStandIn(std::string_view text, std::size_t from) {
    std::size_t position = text.find(standInLead, from);
    while (position != std::string_view::npos) {
        if (text.size() - position < standInLength) return std::string_view::npos;
        const unsigned char third = byteAt(text, position + standInLead.size());
        if (third == 0xBA || third == 0xBB) return position;
        position = text.find(standInLead, position + 1);
    }
    return position;
}

void appendValid(std::string& text, std::string_view valid) {
    std::size_t done = 0;
    for (std::size_t found = findStandIn(valid, 0); found != std::string_view::npos;
         found = findStandIn(valid, done)) {
        text += valid.substr(done, found - done);
        for (std::size_t offset = 0; offset < standInLength; ++offset) {
            appendStandIn(text, byteAt(valid, found + offset));
        }
        done = found + standInLength;
    }
    text += valid.substr(done);
}

}  // namespace

std::string textFromBytes(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t valid = validUtf8Prefix(bytes);
        appendValid(text, bytes.substr(0, valid));
        bytes.remove_prefix(valid);
        if (bytes.empty()) break;
        appendStandIn(text, byteAt(bytes, 0));
        bytes.remove_prefix(1);
    }
    return text;
}

std::string bytesFromText(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    std::size_t done = 0;
    for (std::size_t found = findStandIn(text, 0); found != std::string_view::npos;
         found = findStandIn(text, done)) {
        bytes += text.substr(done, found - done);
        const unsigned upper = byteAt(text, found + 2) == 0xBA ? 0x80U : 0xC0U;
        bytes += static_cast<char>(upper | (byteAt(text, found + 3) & 0x3FU));
        done = found + standInLength;
    }
    bytes += text.substr(done);
    return bytes;
}

}  // namespace quillbay
