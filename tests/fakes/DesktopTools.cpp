#include "fakes/DesktopTools.h"

#include <signal.h>

#include <fstream>
#include <sstream>
#include <utility>

namespace quillbay::fakes {

namespace {

const char* ending(DesktopTools::Manner manner) {
    switch (manner) {
        case DesktopTools::Manner::succeeds:
            return "exit 0\n";
        case DesktopTools::Manner::fails:
            return "exit 4\n";
        case DesktopTools::Manner::failsWithAttachment:
            return "for word in \"$@\"; do [ \"$word\" = --attach ] && exit 2; done\nexit 0\n";
        case DesktopTools::Manner::staysRunning:
            return "exec sleep 600\n";
    }
    return "";
}

}  // namespace

void DesktopTools::endAll() const {
    for (const char* name : {"xdg-open", "xdg-email"}) {
        const std::filesystem::path path = folder_ / (std::string(name) + ".pid");
        pid_t pid = 0;
        if (std::ifstream(path) >> pid && pid > 0) ::kill(pid, SIGKILL);
        std::filesystem::remove(path);  // the id may be a stranger's afterwards
    }
}

void DesktopTools::install(const std::string& name, Manner manner) const {
    const std::filesystem::path path = folder_ / name;
    const std::string record = "'" + path.string() + ".calls'";
    std::ofstream(path, std::ios::binary)
        << "#!/bin/sh\n"
        << (manner == Manner::staysRunning ? "echo $$ > '" + path.string() + ".pid'\n" : std::string())
        // One write per call: the zero bytes end arguments, the last one the call.
        << "printf '%s\\0' \"$@\" '' >> " << record << "\n"
        << ending(manner);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

std::vector<std::vector<std::string>> DesktopTools::calls(const std::string& name) const {
    std::ifstream file(folder_ / (name + ".calls"), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    std::vector<std::vector<std::string>> calls;
    std::vector<std::string> arguments;
    std::string argument;
    for (const char character : content.str()) {
        if (character != '\0')
            argument += character;
        else if (argument.empty())
            calls.push_back(std::exchange(arguments, {}));
        else
            arguments.push_back(std::exchange(argument, {}));
    }
    return calls;
}

}  // namespace quillbay::fakes
