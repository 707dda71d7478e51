#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/ChildProcess.h"

namespace quillbay::fakes {

/// A desktop of X11 without a screen: a display of the test's own with a window manager, and a tray when one
/// is wanted. Real programs, which end with this.
class XDesktop {
 public:
    /// One of the program's windows that can be seen.
    struct Window {
        std::string id;
        std::string title;
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };

    /// Throws std::runtime_error when the display does not come. `width` and `height` are the screen's.
    XDesktop(int width, int height);
    ~XDesktop();
    XDesktop(const XDesktop&) = delete;
    XDesktop& operator=(const XDesktop&) = delete;

    /// ":12345".
    [[nodiscard]] const std::string& display() const { return display_; }

    /// A panel at the bottom of the screen whose tray takes items in.
    void startTray();
    void stopTray();
    /// At once: what it has promised to do for windows still stands there, and nobody does it.
    void killWindowManager();
    /// The display goes, and everything on it.
    void stopDisplay();

    /// The program's windows that can be seen; in a tray, its item too.
    [[nodiscard]] std::vector<Window> windows() const;
    [[nodiscard]] std::optional<Window> mainWindow() const;
    [[nodiscard]] std::optional<Window> settings() const;
    [[nodiscard]] std::optional<Window> panel() const;
    [[nodiscard]] std::optional<Window> trayItem() const;
    /// The id of the window that has the keyboard.
    [[nodiscard]] std::string active() const;

    void click(int x, int y) const;
    /// On the item, which must be there. Two clicks one after the other are no double click: they are at its
    /// two sides.
    void clickTrayItem();
    void press(const std::string& key) const;
    /// As the window manager's key does, which is pressed again where it got lost: a window manager that is
    /// at work with a window that has just appeared may miss one. Returns when the window is no longer
    /// active, or after some seconds.
    void closeActiveWindow() const;

    /// What `xdotool` prints, without the last line feed.
    [[nodiscard]] std::string xdotool(const std::vector<std::string>& words) const;

 private:
    [[nodiscard]] ChildProcess launch(std::string executable, std::vector<std::string> arguments) const;

    std::string display_;
    std::optional<ChildProcess> server_;
    std::optional<ChildProcess> windowManager_;
    std::optional<ChildProcess> tray_;
    bool clickedLeft_ = false;
};

}  // namespace quillbay::fakes
