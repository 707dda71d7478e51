#include "ctl/Style.h"

#include <fmt/format.h>

#include <cstdlib>

namespace quillbay::ctl {

namespace {

std::string between(std::string_view code, std::string_view text) {
    return fmt::format("\x1b[{}m{}\x1b[0m", code, text);
}

}  // namespace

Style Style::of(bool isTerminal) {
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    const bool refused = noColour != nullptr && *noColour != '\0';
    const bool able = terminal != nullptr && std::string_view(terminal) != "dumb";
    return {isTerminal && able && !refused};
}

std::string Style::bold(std::string_view text) const {
    return coloured && !text.empty() ? between("1", text) : std::string(text);
}

std::string Style::in(Colour colour, std::string_view text) const {
    if (!coloured || text.empty()) return std::string(text);
    switch (colour) {
        case Colour::none:
            break;
        case Colour::red:
            return between("31", text);
        case Colour::green:
            return between("32", text);
        case Colour::yellow:
            return between("33", text);
    }
    return std::string(text);
}

}  // namespace quillbay::ctl
