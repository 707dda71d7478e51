#include "platform/linux/AutostartEntry.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/FileLocations.h"
#include "platform/Files.h"
#include "platform/PrintedError.h"

namespace quillbay {

namespace {

/// Many times what the longest path takes.
constexpr std::size_t fileLimitBytes = std::size_t{64} * 1024;

// Two layers of escapes lie on each other: those of every text in such a file, and below them, in `Exec`,
// those of a command line.

std::string escapedText(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '\\':
                escaped += R"(\\)";
                break;
            case '\n':
                escaped += R"(\n)";
                break;
            case '\r':
                escaped += R"(\r)";
                break;
            case '\t':
                escaped += R"(\t)";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

std::string plainText(std::string_view escaped) {
    std::string text;
    for (std::size_t at = 0; at < escaped.size(); ++at) {
        if (escaped[at] != '\\' || at + 1 == escaped.size()) {
            text += escaped[at];
            continue;
        }
        const char code = escaped[++at];
        constexpr std::string_view codes = "sntr\\";
        constexpr std::string_view meanings = " \n\t\r\\";
        const std::size_t known = codes.find(code);
        if (known == std::string_view::npos)
            text.append({'\\', code});
        else
            text += meanings[known];
    }
    return text;
}

/// One argument of a command line. A percent sign begins what the desktop fills in, so a real one is doubled.
std::string quoted(std::string_view argument) {
    std::string text = "\"";
    for (const char character : argument) {
        constexpr std::string_view special = "\"`$\\";
        if (special.find(character) != std::string_view::npos) text += '\\';
        if (character == '%') text += '%';
        text += character;
    }
    return text + "\"";
}

std::string firstArgument(std::string_view commandLine) {
    std::string argument;
    bool inQuotes = false;
    for (std::size_t at = 0; at < commandLine.size(); ++at) {
        const char character = commandLine[at];
        const char next = at + 1 < commandLine.size() ? commandLine[at + 1] : '\0';
        if (character == '"') {
            inQuotes = !inQuotes;
        } else if ((character == '\\' && next != '\0') || (character == '%' && next == '%')) {
            argument += next;
            ++at;
        } else if (character == ' ' && !inQuotes) {
            if (!argument.empty()) break;
        } else {
            argument += character;
        }
    }
    return argument;
}

std::string_view withoutBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The keys of the group that describes the program, with their values as they are written.
std::map<std::string, std::string, std::less<>> keysOf(std::string_view entry) {
    std::map<std::string, std::string, std::less<>> keys;
    bool inGroup = false;
    while (!entry.empty()) {
        const std::size_t end = entry.find('\n');
        const std::string_view line = withoutBlanks(entry.substr(0, end));
        entry.remove_prefix(end == std::string_view::npos ? entry.size() : end + 1);
        const std::size_t equals = line.find('=');
        if (line.starts_with('['))
            inGroup = line == "[Desktop Entry]";
        else if (inGroup && !line.starts_with('#') && equals != std::string_view::npos)
            keys[std::string(withoutBlanks(line.substr(0, equals)))] = withoutBlanks(line.substr(equals + 1));
    }
    return keys;
}

}  // namespace

std::string autostartEntry(std::string_view program) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Version=1.4\n"
           "Name=Quillbay\n"
           "Comment=Wireless debugging of an iPhone that is far away\n"
           "Icon=com.local.mirel.Quillbay\n"
           "TryExec=" +
           escapedText(program) +
           "\n"
           "Exec=" +
           escapedText(quoted(program)) +
           " --hidden\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

bool autostarts(std::string_view entry, std::string_view program) {
    const auto keys = keysOf(entry);
    const auto is = [&keys](std::string_view key, std::string_view value) {
        const auto found = keys.find(key);
        return found != keys.end() && found->second == value;
    };
    if (is("Hidden", "true") || is("X-GNOME-Autostart-enabled", "false")) return false;
    const auto command = keys.find("Exec");
    return command != keys.end() && firstArgument(plainText(command->second)) == program;
}

AutostartEntry::AutostartEntry(const std::filesystem::path& program,
                               const std::filesystem::path& configuration)
    : program_(program.string()), file_(configuration / "autostart" / "com.local.mirel.Quillbay.desktop") {}

bool AutostartEntry::isEnabled() const {
    const std::optional<std::string> entry = readFile(file_, fileLimitBytes);
    return entry && autostarts(*entry, program_);
}

void AutostartEntry::enable() {
    try {
        makeDirectories(file_.parent_path());
        replaceFile(file_, autostartEntry(program_));
    } catch (const std::system_error& error) {
        throw std::runtime_error("Launch at login could not be switched on. " + file_.string() +
                                 " cannot be written: " + error.code().message() + ".");
    }
}

void AutostartEntry::disable() {
    if (::unlink(file_.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR) return;
    const std::string reason = systemError(errno).code().message();
    throw std::runtime_error("Launch at login could not be switched off. " + file_.string() +
                             " cannot be removed: " + reason + ".");
}

std::unique_ptr<LaunchAtLogin> LaunchAtLogin::system(const std::filesystem::path& program) {
    return std::make_unique<AutostartEntry>(program, FileLocations::system().configuration);
}

}  // namespace quillbay
