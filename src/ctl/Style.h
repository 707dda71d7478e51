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

}  // namespace quillbay::ctl
