#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

#include "ctl/Style.h"

namespace quillbay::ctl {

/// What came is none of the documents that answer the command.
class UnexpectedDocument : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// A document of an answer, as it is shown to a person.
struct ShownDocument {
    enum class Kind {
        /// More documents follow.
        more,
        /// The same, and a later one takes its place on a terminal; elsewhere it is not shown.
        progress,
        last,
        /// The request was refused: `text` is the sentence, for standard error.
        refused,
    };

    Kind kind = Kind::last;
    /// Whole lines; for progress and a refusal one line without its line feed. Safe for a terminal.
    std::string text;

    bool operator==(const ShownDocument&) const = default;
};

/// Reads a document that answers `command`. Ages are reckoned from `now`. Throws UnexpectedDocument.
ShownDocument showDocument(std::string_view command, std::string_view document, Style style,
                           std::chrono::system_clock::time_point now);

}  // namespace quillbay::ctl
