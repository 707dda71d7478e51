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
    storage = wellFormedUtf8(text);
    return withinBounds(storage);
}

/// The library's reader of character boundaries, made when first needed.
class Boundaries {
 public:
    ~Boundaries() { utext_close(&access_); }
    Boundaries() = default;
    Boundaries(const Boundaries&) = delete;
    Boundaries& operator=(const Boundaries&) = delete;

    /// Begins to read `text`, which must outlive the reading.
    void read(std::string_view text) {
        UErrorCode status = U_ZERO_ERROR;
        if (!iterator_) {
            iterator_.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
            check(status, "no character boundaries");
        }
        // Reads the bytes where they are; a converted copy would cost twice the memory of the text.
        utext_openUTF8(&access_, text.data(), static_cast<std::int64_t>(text.size()), &status);
        iterator_->setText(&access_, status);
        check(status, "no character boundaries");
    }

    /// The end of the next character, `icu::BreakIterator::DONE` after the last.
    std::int32_t next() { return iterator_->next(); }

 private:
    UText access_ = UTEXT_INITIALIZER;
    std::unique_ptr<icu::BreakIterator> iterator_;
};

bool isAscii(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

/// True when a character ends between the bytes before and at `position` whatever else the text holds:
/// nothing joins two ASCII characters but a carriage return and its line feed.
bool isPlainBoundary(std::string_view text, std::size_t position) {
    const char before = text[position - 1];
    const char after = text[position];
    return isAscii(before) && isAscii(after) && (before != '\r' || after != '\n');
}

/// The end of the stretch at `start` that the library has to read: a plain boundary from which on there are
/// only plain ones for a while. To begin anew costs the library as much as about this many characters.
std::size_t stretchEnd(std::string_view text, std::size_t start) {
    constexpr std::size_t enough = 16;
    std::size_t inARow = 0;
    for (std::size_t position = start + 1; position < text.size(); ++position) {
        inARow = isPlainBoundary(text, position) ? inARow + 1 : 0;
        if (inARow == enough) return position - enough + 1;
    }
    return text.size();
}

struct Walk {
    std::size_t characters = 0;
    std::size_t bytes = 0;
};

constexpr std::size_t toTheEnd = std::numeric_limits<std::size_t>::max();

/// Goes over up to `count` characters from the beginning of valid UTF-8: alone over plain boundaries, with
/// the library over the stretches between them.
///
/// Always forwards, also for the end of a text: whether two flags' letters belong together depends on how
/// many stand before them, so a step backwards may have to look back over the whole stretch, and on a hostile
/// one every step would.
Walk walk(std::string_view text, std::size_t count) {
    Walk done;
    Boundaries boundaries;
    while (done.characters < count && done.bytes < text.size()) {
        const std::size_t start = done.bytes;
        if (start + 1 == text.size() || isPlainBoundary(text, start + 1)) {
            ++done.characters;
            done.bytes = start + 1;
            continue;
        }
        boundaries.read(text.substr(start, stretchEnd(text, start) - start));
        while (done.characters < count) {
            const std::int32_t boundary = boundaries.next();
            if (boundary == icu::BreakIterator::DONE) break;
            ++done.characters;
            done.bytes = start + static_cast<std::size_t>(boundary);
        }
    }
    return done;
}

/// The character of valid UTF-8 at `position`, which then is its end.
UChar32 nextCharacter(std::string_view text, std::int64_t& position) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = static_cast<std::int64_t>(text.size());
    UChar32 character = 0;
    U8_NEXT(bytes, position, length, character);
    return character;
}

/// `text` without what `drops` says at both ends.
std::string trimmedOf(std::string_view text, bool (*drops)(UChar32 character)) {
    std::string storage;
    const std::string_view valid = repaired(text, storage);
    std::size_t first = valid.size();
    std::size_t end = valid.size();
    std::int64_t position = 0;
    while (static_cast<std::size_t>(position) < valid.size()) {
        const auto start = static_cast<std::size_t>(position);
        if (drops(nextCharacter(valid, position))) continue;
        if (first == valid.size()) first = start;
        end = static_cast<std::size_t>(position);
    }
    return std::string(valid.substr(first, end - first));
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
    return trimmedOf(text, [](UChar32 character) { return u_isUWhiteSpace(character) != 0; });
}

std::string trimmedBlanks(std::string_view text) {
    return trimmedOf(text, [](UChar32 character) { return u_isblank(character) != 0; });
}

}  // namespace quillbay
