#pragma once

#include <string>
#include <string_view>

namespace quillbay::ctl {

/// How text may look where it is printed.
struct Style {
    enum class Colour { none, red, green, yellow };

    /// Whether colours and bold letters are shown.
    bool coloured = false;

    /// That of a terminal, or of anything else, with this environment: `NO_COLOR` (see no-color.org) and a
    /// terminal that calls itself "dumb" leave the colours out.
    static Style of(bool isTerminal);

    [[nodiscard]] std::string bold(std::string_view text) const;
    [[nodiscard]] std::string in(Colour colour, std::string_view text) const;
};

/// `text` with whatever could change a terminal's state or the order of what it shows written out: control
/// characters (\x1b, \n), those of Unicode's second range and the ones that turn the direction of writing
/// (\u{202e}). Names and records come from the network. What is not UTF-8 appears as U+FFFD.
std::string printable(std::string_view text);

}  // namespace quillbay::ctl
