#include "ui/shell/XDesktop.h"

#include <signal.h>

#include <random>
#include <sstream>
#include <stdexcept>

#include "fakes/WaitUntil.h"

namespace quillbay::fakes {

namespace {

/// Of a tray's item; every other window is larger.
constexpr int largestItem = 64;
constexpr int panelWidth = 320;

void end(std::optional<ChildProcess>& program) {
    if (program) program->terminateAndWait();
    program.reset();
}

/// What became of a question that met a window which was just going.
bool isStumble(const std::optional<ChildResult>& result) {
    return result && !result->status.success() &&
           result->standardError.find("X Error of failed request") != std::string::npos;
}

/// "X=12" lines.
int numberOf(const std::string& lines, const std::string& name) {
    std::istringstream reader(lines);
    for (std::string line; std::getline(reader, line);)
        if (line.starts_with(name + "=")) return std::stoi(line.substr(name.size() + 1));
    return 0;
}

}  // namespace

XDesktop::XDesktop(int width, int height) {
    // Unlikely to be anybody's, because a display's lock lies where everybody's do.
    std::random_device random;
    display_ = ":" + std::to_string(20'000 + random() % 30'000);
    server_ = launch("/usr/bin/Xvfb",
                     {display_, "-screen", "0", std::to_string(width) + "x" + std::to_string(height) + "x24",
                      "-nolisten", "tcp", "-noreset"});
    if (!waitUntil([this] { return !xdotool({"getdisplaygeometry"}).empty(); }))
        throw std::runtime_error("the display does not come");
    windowManager_ = launch("/usr/bin/openbox", {});
    // It has read the keyboard's layout and manages windows when it names itself.
    if (!waitUntil([this] { return !xdotool({"get_num_desktops"}).empty(); }))
        throw std::runtime_error("the window manager does not come");
}

XDesktop::~XDesktop() {
    end(tray_);
    end(windowManager_);
    end(server_);
}

ChildProcess XDesktop::launch(std::string executable, std::vector<std::string> arguments) const {
    ChildCommand command{std::move(executable), std::move(arguments)};
    command.environment = {{"DISPLAY", display_}, {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"}};
    return ChildProcess::launch(command);
}

void XDesktop::startTray() {
    tray_ = launch("/usr/bin/tint2", {});
}

void XDesktop::stopTray() {
    end(tray_);
}

void XDesktop::killWindowManager() {
    ::kill(windowManager_->pid(), SIGKILL);
    static_cast<void>(windowManager_->waitForExit());
    windowManager_.reset();
}

void XDesktop::stopDisplay() {
    end(server_);
}

std::string XDesktop::xdotool(const std::vector<std::string>& words) const {
    constexpr std::size_t limitBytes = 65536;
    const ChildCommand command{"/usr/bin/xdotool",
                               words,
                               ChildCommand::Output::pipe,
                               ChildCommand::Output::pipe,
                               {{"DISPLAY", display_}}};
    auto result = runToEnd(command, limitBytes, StopToken(), std::chrono::seconds(20));
    // A window of anybody's that goes while a search walks over all of them ends that search.
    for (int again = 0; again < 10 && isStumble(result); ++again)
        result = runToEnd(command, limitBytes, StopToken(), std::chrono::seconds(20));
    if (!result || !result->status.success()) return "";
    std::string printed = result->standardOutput;
    while (printed.ends_with('\n'))
        printed.pop_back();
    return printed;
}

std::vector<XDesktop::Window> XDesktop::windows() const {
    std::vector<Window> all;
    std::istringstream ids(xdotool({"search", "--onlyvisible", "--class", "quillbay"}));
    for (std::string id; std::getline(ids, id);) {
        // One that goes meanwhile has no size.
        const std::string geometry = xdotool({"getwindowgeometry", "--shell", id});
        Window window{id, xdotool({"getwindowname", id})};
        window.x = numberOf(geometry, "X");
        window.y = numberOf(geometry, "Y");
        window.width = numberOf(geometry, "WIDTH");
        window.height = numberOf(geometry, "HEIGHT");
        if (window.width > 1) all.push_back(window);
    }
    return all;
}

std::optional<XDesktop::Window> XDesktop::mainWindow() const {
    for (const Window& window : windows())
        if (window.title == "Quillbay" && window.width > panelWidth) return window;
    return std::nullopt;
}

std::optional<XDesktop::Window> XDesktop::settings() const {
    for (const Window& window : windows())
        if (window.title == "Settings") return window;
    return std::nullopt;
}

std::optional<XDesktop::Window> XDesktop::panel() const {
    for (const Window& window : windows())
        if (window.title == "Quillbay" && window.width == panelWidth) return window;
    return std::nullopt;
}

std::optional<XDesktop::Window> XDesktop::trayItem() const {
    for (const Window& window : windows())
        if (window.width <= largestItem && window.height <= largestItem) return window;
    return std::nullopt;
}

std::string XDesktop::active() const {
    return xdotool({"getactivewindow"});
}

void XDesktop::click(int x, int y) const {
    static_cast<void>(xdotool({"mousemove", std::to_string(x), std::to_string(y), "click", "1"}));
}

void XDesktop::clickTrayItem() {
    const auto item = trayItem();
    if (!item) throw std::runtime_error("there is no item in the tray");
    constexpr int fromSide = 4;
    clickedLeft_ = !clickedLeft_;
    click(clickedLeft_ ? item->x + fromSide : item->x + item->width - fromSide, item->y + item->height / 2);
}

void XDesktop::press(const std::string& key) const {
    static_cast<void>(xdotool({"key", "--clearmodifiers", key}));
}

void XDesktop::closeActiveWindow() const {
    const std::string window = active();
    for (int attempt = 0; attempt < 5 && active() == window; ++attempt) {
        press("alt+F4");
        static_cast<void>(fakes::waitUntil([&] { return active() != window; }, std::chrono::seconds(2)));
    }
}

}  // namespace quillbay::fakes
