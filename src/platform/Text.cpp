#include "platform/Text.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>

#include "platform/Utf8.h"

namespace quillbay {

namespace {

void check(UErrorCode status, const char* what) {
    // Only a broken installation of the Unicode library or the end of memory brings this about, never a text.
    if (U_FAILURE(status)) throw std::runtime_error(std::string(what) + ": " + u_errorName(status));
}

/// The library counts positions in 32 bits. Everything that is read from outside has a far lower limit.
std::string_view withinBounds(std::string_view text) {
    if (text.size() > std::numeric_limits<std::int32_t>::max()) throw std::length_error("text too long");
    return text;
}

/// `text` with U+FFFD for what is not UTF-8. `storage` holds the result where it differs.
std::string_view repaired(std::string_view text, std::string& storage) {
    if (isValidUtf8(text)) return withinBounds(text);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = static_cast<std::int64_t>(text.size());
    std::int64_t position = 0;
    while (position < length) {
        const std::int64_t start = position;
        UChar32 character = 0;
        U8_NEXT(bytes, position, length, character);
        if (character < 0) {
            storage += "\xEF\xBF\xBD";
        } else {
            storage +=
                text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(position - start));
        }
    }
    return withinBounds(storage);
}

struct Walk {
    std::size_t characters = 0;
    std::size_t bytes = 0;
};

constexpr std::size_t toTheEnd = std::numeric_limits<std::size_t>::max();

/// Goes over up to `count` characters from the beginning of valid UTF-8.
///
/// Always forwards, also for the end of a text: whether two flags' letters belong together depends on how
/// many stand before them, so a step backwards may have to look back over the whole text, and on a hostile
/// one every step would.
Walk walk(std::string_view text, std::size_t count) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    check(status, "no character boundaries");
    // Works on the bytes where they are; a converted copy would cost twice the memory of the text.
    UText access = UTEXT_INITIALIZER;
    utext_openUTF8(&access, text.data(), static_cast<std::int64_t>(text.size()), &status);
    const std::unique_ptr<UText, UText* (*)(UText*)> closing(&access, &utext_close);
    characters->setText(&access, status);
    check(status, "no character boundaries");

    Walk done;
    while (done.characters < count) {
        const std::int32_t boundary = characters->next();
        if (boundary == icu::BreakIterator::DONE) break;
        ++done.characters;
        done.bytes = static_cast<std::size_t>(boundary);
    }
    return done;
}

}  // namespace

std::string lowercased(std::string_view text) {
    std::string storage;
    const std::string_view valid = repaired(text, storage);
    auto wide = icu::UnicodeString::fromUTF8({valid.data(), static_cast<std::int32_t>(valid.size())});
    std::string result;
    return wide.toLower(icu::Locale::getRoot()).toUTF8String(result);
}

std::size_t characterCount(std::string_view text) {
    std::string storage;
    return walk(repaired(text, storage), toTheEnd).characters;
}

std::string firstCharacters(std::string_view text, std::size_t count) {
    std::string storage;
    const std::string_view valid = repaired(text, storage);
    return std::string(valid.substr(0, walk(valid, count).bytes));
}

std::string lastCharacters(std::string_view text, std::size_t count) {
    std::string storage;
    const std::string_view valid = repaired(text, storage);
    const std::size_t all = walk(valid, toTheEnd).characters;
    if (all <= count) return std::string(valid);
    return std::string(valid.substr(walk(valid, all - count).bytes));
}

std::string trimmed(std::string_view text) {
    // The Unicode property White_Space is exactly the documented set.
    std::string storage;
    const std::string_view valid = repaired(text, storage);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(valid.data());
    const auto length = static_cast<std::int64_t>(valid.size());
    std::int64_t first = length;
    std::int64_t end = length;
    for (std::int64_t position = 0; position < length;) {
        const std::int64_t start = position;
        UChar32 character = 0;
        U8_NEXT(bytes, position, length, character);
        if (u_isUWhiteSpace(character)) continue;
        if (first == length) first = start;
        end = position;
    }
    return std::string(valid.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(end - first)));
}

}  // namespace quillbay
