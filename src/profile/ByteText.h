#pragma once

#include <string>
#include <string_view>

namespace quillbay {

// A phone's names and TXT values are bytes, JSON strings are Unicode text. What is valid UTF-8 is written as
// itself, so that any reader of the file understands it. A byte that is not part of valid UTF-8 is written as
// the private-use character U+10EE00 + byte, and so are the four bytes of such a character itself, should one
// ever occur in a name: every string of bytes has one text, and comes back from it unchanged.

/// The text for `bytes`; always valid UTF-8.
std::string textFromBytes(std::string_view bytes);

/// The bytes that `textFromBytes` made `text` from.
std::string bytesFromText(std::string_view text);

}  // namespace quillbay
