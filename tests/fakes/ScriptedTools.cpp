#include "fakes/ScriptedTools.h"

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <utility>

namespace quillbay::fakes {

namespace {

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void writeTo(const std::filesystem::path& path, const std::string& content) {
    const std::filesystem::path temporary = path.string() + ".new";
    std::ofstream(temporary, std::ios::binary) << content;
    std::filesystem::rename(temporary, path);
}

}  // namespace

ScriptedTools::ScriptedTools(std::filesystem::path folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_ / "running");
    writeTo(folder_ / "ps.txt", "");
    writeTo(folder_ / "system.log", "");
    writeTo(folder_ / "zone.txt", "");
    failDeviceCtl();
    const std::string home = "HOME_FOLDER='" + folder_.string() + "'\n";
    script("ps", home + "exec cat \"$HOME_FOLDER/ps.txt\"\n");
    // The marker goes when the child is asked to end; a counter keeps the calls apart. A zone dump becomes
    // the program that prints, so whoever ends it ends all of it, and its marker is that of a process that is
    // gone.
    script("dns-sd", home +
                         "if [ \"$1\" = -Z ]; then\n"
                         "  printf '%s\\0' \"$@\" > \"$HOME_FOLDER/dump-$$.part\"\n"
                         "  printf '\\n' >> \"$HOME_FOLDER/dump-$$.part\"\n"
                         "  cat \"$HOME_FOLDER/dump-$$.part\" >> \"$HOME_FOLDER/dumps\"\n"
                         "  echo $$ > \"$HOME_FOLDER/running/zone-$$\"\n"
                         "  exec tail -n +1 -s 0.02 -f \"$HOME_FOLDER/zone.txt\"\n"
                         "fi\n"
                         "marker=$HOME_FOLDER/running/dns-sd-$$\n"
                         "trap 'rm -f \"$marker\"; kill $waiting 2>/dev/null; exit 0' TERM\n"
                         "printf '%s\\0' \"$@\" > \"$HOME_FOLDER/call-$$.part\"\n"
                         "printf '\\n' >> \"$HOME_FOLDER/call-$$.part\"\n"
                         "cat \"$HOME_FOLDER/call-$$.part\" >> \"$HOME_FOLDER/calls\"\n"
                         "echo $$ > \"$marker\"\n"
                         "sleep 300 & waiting=$!\n"
                         "wait $waiting\n");
    script("log", home +
                      "marker=$HOME_FOLDER/running/log-$$\n"
                      "trap 'rm -f \"$marker\"; kill $waiting 2>/dev/null; exit 0' TERM\n"
                      "tail -n 0 -s 0.02 -f \"$HOME_FOLDER/system.log\" & waiting=$!\n"
                      "echo $$ > \"$marker\"\n"
                      "wait $waiting\n");
    script("xcrun", home +
                        "echo run >> \"$HOME_FOLDER/xcrun-runs\"\n"
                        "[ -f \"$HOME_FOLDER/xcrun-host\" ] || exit 1\n"
                        "state=$(head -n 1 \"$HOME_FOLDER/xcrun-states\")\n"
                        "if [ \"$(wc -l < \"$HOME_FOLDER/xcrun-states\")\" -gt 1 ]; then\n"
                        "  sed -i 1d \"$HOME_FOLDER/xcrun-states\"\n"
                        "fi\n"
                        "printf '{\"result\":{\"devices\":[{\"identifier\":\"A\",\"connectionProperties\":"
                        "{\"potentialHostnames\":[\"%s\"],\"tunnelState\":\"%s\"}}]}}' "
                        "\"$(cat \"$HOME_FOLDER/xcrun-host\")\" \"$state\" > \"$5\"\n");
}

HostTools ScriptedTools::table() const {
    HostTools tools;
    tools.dnsSD = {(folder_ / "dns-sd").string(), {}};
    tools.logFollower = {(folder_ / "log").string(), {}};
    tools.xcrun = {(folder_ / "xcrun").string(), {}};
    tools.ps = {(folder_ / "ps").string(), {}};
    tools.zip = {"/usr/bin/zip", {}};
    return tools;
}

void ScriptedTools::script(const std::string& name, const std::string& body) const {
    const std::filesystem::path path = folder_ / name;
    writeTo(path, "#!/bin/sh\n" + body);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

void ScriptedTools::setTunnelStates(const std::string& host, const std::vector<std::string>& states) const {
    std::string lines;
    for (const std::string& state : states)
        lines += state + "\n";
    writeTo(folder_ / "xcrun-states", lines);
    writeTo(folder_ / "xcrun-host", host);
}

void ScriptedTools::failDeviceCtl() const {
    std::filesystem::remove(folder_ / "xcrun-host");
}

int ScriptedTools::deviceCtlRuns() const {
    const std::string runs = contentOf(folder_ / "xcrun-runs");
    return static_cast<int>(std::count(runs.begin(), runs.end(), '\n'));
}

void ScriptedTools::setProcessList(const std::string& text) const {
    writeTo(folder_ / "ps.txt", text);
}

std::vector<std::vector<std::string>> ScriptedTools::registrations() const {
    return recorded("calls");
}

std::vector<std::vector<std::string>> ScriptedTools::zoneDumps() const {
    return recorded("dumps");
}

std::vector<std::vector<std::string>> ScriptedTools::recorded(const std::string& name) const {
    std::vector<std::vector<std::string>> calls;
    std::vector<std::string> arguments;
    std::string argument;
    for (const char character : contentOf(folder_ / name)) {
        if (character == '\0') {
            arguments.push_back(std::exchange(argument, {}));
        } else if (character == '\n' && argument.empty()) {
            calls.push_back(std::exchange(arguments, {}));
        } else {
            argument += character;
        }
    }
    return calls;
}

std::vector<pid_t> ScriptedTools::running(const std::string& prefix) const {
    std::vector<pid_t> pids;
    for (const auto& entry : std::filesystem::directory_iterator(folder_ / "running")) {
        if (!entry.path().filename().string().starts_with(prefix)) continue;
        const std::string pid = contentOf(entry.path());
        if (!pid.empty() && ::kill(std::stoi(pid), 0) == 0) pids.push_back(std::stoi(pid));
    }
    return pids;
}

int ScriptedTools::countRunning(const std::string& prefix) const {
    return static_cast<int>(running(prefix).size());
}

int ScriptedTools::runningRegistrations() const {
    return countRunning("dns-sd-");
}

int ScriptedTools::runningZoneDumps() const {
    return countRunning("zone-");
}

void ScriptedTools::killZoneDumps() const {
    for (const pid_t pid : running("zone-")) {
        // The id of one that ended long ago may be a stranger's by now.
        siginfo_t info{};
        const bool ours = ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0;
        if (ours) ::kill(pid, SIGKILL);
    }
}

void ScriptedTools::appendZoneText(const std::string& text) const {
    std::ofstream(folder_ / "zone.txt", std::ios::app | std::ios::binary) << text;
}

void ScriptedTools::clearZoneText() const {
    writeTo(folder_ / "zone.txt", "");
}

void ScriptedTools::removeDNSSD() const {
    std::filesystem::remove(folder_ / "dns-sd");
}

void ScriptedTools::removeLogFollower() const {
    std::filesystem::remove(folder_ / "log");
}

void ScriptedTools::appendLogLine(const std::string& line) const {
    std::ofstream(folder_ / "system.log", std::ios::app) << line << "\n";
}

bool ScriptedTools::logIsFollowed() const {
    return countRunning("log-") > 0;
}

}  // namespace quillbay::fakes
