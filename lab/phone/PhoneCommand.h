#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillbay::lab {

/// How the phone treats those who connect to it.
enum class PhoneMode {
    /// Answers.
    normal,
    /// Accepts on the pairing port and reads, and never says a word.
    silent,
    /// Listens on no pairing port.
    refuse,
    /// Lets the system accept, and neither reads nor writes any more, on the pairing port and the tunnel
    /// ports.
    stall
};

/// One line of control: "move PORT", "tunnel PORT", "normal", "silent", "refuse", "stall", "announce",
/// "withdraw", "quit".
struct PhoneCommand {
    enum class Verb { move, tunnel, mode, announce, withdraw, quit };

    Verb verb = Verb::quit;
    std::uint16_t port = 0;
    PhoneMode mode = PhoneMode::normal;
};

/// Nothing when the line is no command.
std::optional<PhoneCommand> parsePhoneCommand(std::string_view line);

}  // namespace quillbay::lab
