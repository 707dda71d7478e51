#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillbay {

// Unicode text, the same on every system. Input that is not valid UTF-8 is read with U+FFFD in place of what
// is not. All functions may be called on any thread.

/// Full lower-casing, independent of any locale.
std::string lowercased(std::string_view text);

/// How many user-perceived characters (extended grapheme clusters, UAX #29) `text` has.
std::size_t characterCount(std::string_view text);

/// The first or last `count` user-perceived characters, the whole text when it has fewer.
std::string firstCharacters(std::string_view text, std::size_t count);
std::string lastCharacters(std::string_view text, std::size_t count);

/// `text` without the white space and line breaks at both ends (Unicode's general category Z, the horizontal
/// tab, U+000A to U+000D and U+0085).
std::string trimmed(std::string_view text);

/// `text` without the blanks at both ends (Unicode's general category Zs and the horizontal tab); line breaks
/// stay.
std::string trimmedBlanks(std::string_view text);

}  // namespace quillbay
