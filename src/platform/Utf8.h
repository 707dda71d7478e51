#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// True when `bytes` is well-formed UTF-8 (Unicode 15, table 3-7: no surrogates, no overlong forms).
bool isValidUtf8(std::string_view bytes);

/// How many bytes at the beginning of `bytes` are whole, well-formed characters.
std::size_t validUtf8Prefix(std::string_view bytes);

/// `bytes` as text, with U+FFFD in place of what is not well-formed.
std::string wellFormedUtf8(std::string_view bytes);

/// Turns a stream of byte chunks into text.
class Utf8ChunkDecoder {
 public:
    /// The text of this chunk, with the beginning of a character that an earlier chunk ended in; an
    /// unfinished character at the end is kept for the next chunk. Nothing when the chunk is not valid UTF-8:
    /// it is dropped, but not what is left of it at its end.
    std::optional<std::string> decode(std::string_view chunk);

 private:
    std::string unfinished_;
};

}  // namespace quillbay
