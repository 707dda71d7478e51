// The real program and the tray: what can be reached, whatever becomes of the tray.

#include <signal.h>

#include "ui/shell/ProgramFixture.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;

class ProgramTray : public ProgramFixture {
 protected:
    void closeMainWindow() const {
        ASSERT_TRUE(until([&] {
            const auto window = desktop->mainWindow();
            return window && desktop->active() == window->id;
        }));
        desktop->closeActiveWindow();
    }
    [[nodiscard]] bool hasWindow() const { return desktop->mainWindow().has_value(); }
    [[nodiscard]] bool hasPanel() const { return desktop->panel().has_value(); }
    void openPanel() {
        desktop->clickTrayItem();
        ASSERT_TRUE(until([&] {
            const auto panel = desktop->panel();
            return panel && desktop->active() == panel->id;
        }));
    }
    static void end(const ChildProcess& program) {
        program.terminate();
        EXPECT_EQ(statusOf(program), 0);
    }
};

TEST_F(ProgramTray, a_hidden_start_shows_the_item_alone) {
    const ChildProcess program = startInTray();
    EXPECT_EQ(desktop->windows().size(), 1U);
    end(program);
}

TEST_F(ProgramTray, without_one_a_hidden_start_shows_the_window_after_some_time) {
    const ChildProcess program = start({"--hidden"});
    ASSERT_TRUE(until([&] { return isServed(); }));
    EXPECT_FALSE(hasWindow());
    EXPECT_TRUE(until([&] { return hasWindow(); }));
    end(program);
}

TEST_F(ProgramTray, without_one_closing_the_window_ends_the_program) {
    const ChildProcess program = startWithWindow();
    closeMainWindow();
    EXPECT_EQ(statusOf(program), 0);
    EXPECT_TRUE(until([] { return strangers().empty(); }));
}

TEST_F(ProgramTray, with_one_closing_the_window_leaves_the_item) {
    desktop->startTray();
    const ChildProcess program = startWithWindow();
    ASSERT_TRUE(until([&] { return desktop->trayItem().has_value(); }));
    closeMainWindow();
    EXPECT_TRUE(until([&] { return !hasWindow(); }));
    EXPECT_TRUE(isServed());
    EXPECT_TRUE(desktop->trayItem());
    end(program);
}

TEST_F(ProgramTray, one_that_comes_later_is_used) {
    const ChildProcess program = startWithWindow();
    EXPECT_FALSE(desktop->trayItem());
    desktop->startTray();
    EXPECT_TRUE(until([&] { return desktop->trayItem().has_value(); }));
    closeMainWindow();
    EXPECT_TRUE(until([&] { return !hasWindow(); }));
    EXPECT_TRUE(program.isRunning());
    end(program);
}

TEST_F(ProgramTray, one_that_goes_is_replaced_by_the_window_unless_it_returns) {
    const ChildProcess program = startInTray();
    desktop->stopTray();
    EXPECT_TRUE(until([&] { return !desktop->trayItem(); }));
    desktop->startTray();
    EXPECT_TRUE(until([&] { return desktop->trayItem().has_value(); }));
    EXPECT_FALSE(hasWindow());
    desktop->stopTray();
    EXPECT_TRUE(until([&] { return hasWindow(); }));
    closeMainWindow();
    EXPECT_EQ(statusOf(program), 0);
}

TEST_F(ProgramTray, its_item_opens_the_panel_beside_it_and_closes_it) {
    const ChildProcess program = startInTray();
    const auto item = desktop->trayItem();
    openPanel();
    const auto panel = desktop->panel();
    EXPECT_LE(panel->y + panel->height, item->y);
    EXPECT_GE(panel->y + panel->height, item->y - 16);
    EXPECT_LE(panel->x + panel->width, 1600 - 8);
    EXPECT_LE(panel->x, item->x);
    desktop->clickTrayItem();
    EXPECT_TRUE(until([&] { return !hasPanel(); }));
    openPanel();
    end(program);
}

TEST_F(ProgramTray, the_panel_closes_by_escape_and_when_the_user_goes_elsewhere) {
    const ChildProcess program = startInTray();
    openPanel();
    desktop->press("Escape");
    EXPECT_TRUE(until([&] { return !hasPanel(); }));
    ASSERT_EQ(runProgram().status.code, 0);
    ASSERT_TRUE(until([&] { return hasWindow(); }));
    openPanel();
    const auto window = desktop->mainWindow();
    desktop->click(window->x + 500, window->y + 300);
    EXPECT_TRUE(until([&] { return !hasPanel(); }));
    EXPECT_TRUE(hasWindow());
    end(program);
}

TEST_F(ProgramTray, a_panel_that_is_given_no_keyboard_closes_at_a_click_elsewhere_too) {
    const ChildProcess program = startInTray();
    desktop->killWindowManager();
    desktop->clickTrayItem();
    ASSERT_TRUE(until([&] { return hasPanel(); }));
    const auto panel = desktop->panel();
    // Until it no longer waits for the keyboard.
    EXPECT_TRUE(until([&] {
        desktop->click(panel->x - 200, panel->y + 50);
        return !hasPanel();
    }));
    desktop->clickTrayItem();
    EXPECT_TRUE(until([&] { return hasPanel(); })) << "the pointer is free again";
    end(program);
}

TEST_F(ProgramTray, the_panels_actions_open_the_windows_and_quit) {
    const ChildProcess program = startInTray();
    openPanel();
    const auto panel = desktop->panel();
    // From the bottom: Quit, Settings, Add Device, 30 high each.
    const int x = panel->x + 100;
    const int bottom = panel->y + panel->height - 6;
    desktop->click(x, bottom - 45);
    EXPECT_TRUE(until([&] { return desktop->settings() && desktop->active() == desktop->settings()->id; }));
    EXPECT_TRUE(until([&] { return !hasPanel(); }));
    EXPECT_FALSE(hasWindow());
    openPanel();
    desktop->click(x, bottom - 75);
    EXPECT_TRUE(until([&] { return hasWindow() && !hasPanel(); }));
    openPanel();
    desktop->click(x, bottom - 15);
    EXPECT_EQ(statusOf(program), 0);
    EXPECT_TRUE(until([] { return strangers().empty(); }));
}

TEST_F(ProgramTray, the_windows_place_is_remembered) {
    const ChildProcess program = startInTray();
    ASSERT_EQ(runProgram().status.code, 0);
    ASSERT_TRUE(until([&] { return hasWindow(); }));
    const std::string id = desktop->mainWindow()->id;
    static_cast<void>(desktop->xdotool({"windowsize", "--sync", id, "900", "600"}));
    static_cast<void>(desktop->xdotool({"windowmove", "--sync", id, "111", "97"}));
    const auto placed = desktop->mainWindow();
    ASSERT_EQ(placed->width, 900);
    closeMainWindow();
    ASSERT_TRUE(until([&] { return !hasWindow(); }));
    const auto isBack = [&] {
        const auto window = desktop->mainWindow();
        return window && window->x == placed->x && window->y == placed->y && window->width == 900 &&
               window->height == 600;
    };
    ASSERT_EQ(runProgram().status.code, 0);
    EXPECT_TRUE(until(isBack));
    end(program);
    const ChildProcess next = startWithWindow();
    EXPECT_TRUE(until(isBack));
    end(next);
}

TEST_F(ProgramTray, a_window_that_was_on_a_larger_screen_is_brought_back) {
    write("config/Quillbay/settings.json", "{ \"window.main.geometry\": \"3000,2000,1024,700\" }");
    const ChildProcess program = startWithWindow();
    const auto window = desktop->mainWindow();
    EXPECT_LE(window->x + window->width, 1600);
    EXPECT_LE(window->y + window->height, 1200);
    end(program);
}

}  // namespace
}  // namespace quillbay
