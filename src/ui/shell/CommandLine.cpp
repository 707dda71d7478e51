#include "ui/shell/CommandLine.h"

#include "platform/PrintableText.h"

namespace quillbay {

const char* const usageText =
    "usage: quillbay [--hidden | --help | --version]\n"
    "\n"
    "Opens Quillbay's window; one that runs already comes to the front instead. With --hidden, only the item "
    "in\n"
    "the menu bar or the tray appears, as when the program starts at login.\n";

std::optional<StartMode> parseCommandLine(const std::vector<std::string>& arguments) {
    if (arguments.empty()) return StartMode::window;
    if (arguments.size() > 1) return std::nullopt;
    const std::string& option = arguments.front();
    if (option == "--hidden") return StartMode::hidden;
    if (option == "--help" || option == "-h") return StartMode::help;
    if (option == "--version") return StartMode::version;
    return std::nullopt;
}

std::string wrongUsage(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments)
        if (!parseCommandLine({argument})) return "there is no argument \"" + printable(argument) + "\"";
    return "\"" + printable(arguments.back()) + "\" is one argument too many";
}

}  // namespace quillbay
