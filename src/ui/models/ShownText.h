#pragma once

#include <QString>
#include <string_view>

namespace quillbay {

// Names, hosts and failures come from the network and from other programs. What is shown of them cannot turn
// the direction of writing, hide itself, or look like a second line.

/// `text` on one line: line breaks and tabs are blanks, other control characters are written out (\x1b).
QString shownLine(std::string_view text);

/// The same, with its line breaks.
QString shownLines(std::string_view text);

}  // namespace quillbay
