#include "ui/shell/ProgramFixture.h"

#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <set>

#include "fakes/WaitUntil.h"

namespace quillbay {

namespace fs = std::filesystem;

ProgramFixture::ProgramFixture() {
    desktop.emplace(1600, 1200);
    const std::string home = folder_.path().string();
    environment = {{"DISPLAY", desktop->display()},
                   {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"},
                   {"HOME", home},
                   {"XDG_RUNTIME_DIR", home},
                   {"XDG_DATA_HOME", home + "/data"},
                   {"XDG_CONFIG_HOME", home + "/config"},
                   {"WAYLAND_DISPLAY", std::nullopt},
                   {"QT_QPA_PLATFORM", std::nullopt},
                   {"QT_QUICK_BACKEND", "software"}};
}

ProgramFixture::~ProgramFixture() = default;

ChildProcess ProgramFixture::start(const std::vector<std::string>& arguments) const {
    return ChildProcess::launch(
        {QUILLBAY, arguments, ChildCommand::Output::null, ChildCommand::Output::null, environment});
}

ChildProcess ProgramFixture::startWithWindow() const {
    ChildProcess program = start();
    EXPECT_TRUE(until([this] { return desktop->mainWindow().has_value(); }));
    EXPECT_TRUE(until([this] { return isServed(); }));
    return program;
}

ChildProcess ProgramFixture::startInTray() {
    desktop->startTray();
    ChildProcess program = start({"--hidden"});
    EXPECT_TRUE(until([this] { return desktop->trayItem().has_value(); }));
    EXPECT_TRUE(until([this] { return isServed(); }));
    return program;
}

ChildResult ProgramFixture::run(const std::string& executable,
                                const std::vector<std::string>& arguments) const {
    constexpr std::size_t limitBytes = 65536;
    const ChildCommand command{executable, arguments, ChildCommand::Output::pipe, ChildCommand::Output::pipe,
                               environment};
    const auto result = runToEnd(command, limitBytes, StopToken(), std::chrono::seconds(20));
    if (!result) ADD_FAILURE() << executable << " does not end";
    return result.value_or(ChildResult{});
}

ChildResult ProgramFixture::runProgram(const std::vector<std::string>& arguments) const {
    return run(QUILLBAY, arguments);
}

ChildResult ProgramFixture::ctl(const std::vector<std::string>& words) const {
    return run(QUILLBAYCTL, words);
}

int ProgramFixture::statusOf(const ChildProcess& program) {
    if (!until([&program] { return !program.isRunning(); })) return -1;
    return program.waitForExit().code;
}

bool ProgramFixture::until(const std::function<bool()>& condition, std::chrono::seconds limit) {
    return fakes::waitUntil(condition, limit);
}

std::vector<std::string> ProgramFixture::strangers() {
    const std::set<std::string> desktops{"Xvfb", "openbox", "tint2"};
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string pid = entry.path().filename().string();
        if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
        if (pid == std::to_string(::getpid())) continue;
        std::string name;
        std::getline(std::ifstream(entry.path() / "comm") >> std::ws, name);
        if (!name.empty() && !desktops.contains(name)) names.push_back(name);
    }
    return names;
}

void ProgramFixture::write(const std::string& path, const std::string& content) const {
    fs::create_directories((home() / path).parent_path());
    std::ofstream(home() / path) << content;
}

std::string ProgramFixture::read(const std::string& path) const {
    std::ifstream file(home() / path);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace quillbay
