#include "phone/PhoneCommand.h"

#include <array>
#include <utility>

#include "phone/Words.h"

namespace quillbay::lab {

namespace {

using Verb = PhoneCommand::Verb;

constexpr std::array<std::pair<std::string_view, PhoneCommand>, 7> plainCommands{{
    {"normal", {Verb::mode, 0, PhoneMode::normal}},
    {"silent", {Verb::mode, 0, PhoneMode::silent}},
    {"refuse", {Verb::mode, 0, PhoneMode::refuse}},
    {"stall", {Verb::mode, 0, PhoneMode::stall}},
    {"announce", {Verb::announce}},
    {"withdraw", {Verb::withdraw}},
    {"quit", {Verb::quit}},
}};

}  // namespace

std::optional<PhoneCommand> parsePhoneCommand(std::string_view line) {
    for (const auto& [text, command] : plainCommands) {
        if (line == text) return command;
    }
    const auto words = split(line, ' ');
    if (words.size() != 2 || (words[0] != "move" && words[0] != "tunnel")) return std::nullopt;
    const auto port = parseNumber<std::uint16_t>(words[1]);
    if (!port || *port == 0) return std::nullopt;
    return PhoneCommand{words[0] == "move" ? Verb::move : Verb::tunnel, *port, PhoneMode::normal};
}

}  // namespace quillbay::lab
