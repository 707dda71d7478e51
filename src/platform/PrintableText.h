#pragma once

#include <string>
#include <string_view>

namespace quillbay {

/// `text` with whatever could change a terminal's state or the order of what it shows written out: control
/// characters (\x1b, \n), those of Unicode's second range and the ones that turn the direction of writing
/// (\u{202e}). Names and records come from the network. What is not UTF-8 appears as U+FFFD.
std::string printable(std::string_view text);

}  // namespace quillbay
