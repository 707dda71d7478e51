#include <QAccessible>
#include <QSignalSpy>
#include <algorithm>

#include "ui/WindowFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;

class MenuBarPanelTest : public WindowFixture {
 protected:
    void open() { show(QStringLiteral("MenuBarPanel")); }
    [[nodiscard]] QQuickItem* row(const QString& name) const {
        for (QQuickItem* item : allOfType(QStringLiteral("ProfileRow")))
            if (item->property("displayName").toString() == name) return item;
        return nullptr;
    }
    static QString lit(const QQuickItem* button) {
        return button->property("background").value<QQuickItem*>()->childItems().first()->opacity() > 0
                   ? QStringLiteral("lit")
                   : QStringLiteral("dark");
    }
};

TEST_F(MenuBarPanelTest, without_devices_shows_the_state_the_log_and_the_actions) {
    open();
    EXPECT_EQ(texts(),
              QStringList({QStringLiteral("Quillbay"), QStringLiteral("Off"), QStringLiteral("Recent logs"),
                           QStringLiteral("No logs yet."), QStringLiteral("Add Device"),
                           QStringLiteral("Settings"), QStringLiteral("Quit")}));
    EXPECT_EQ(window->width(), 320);
    EXPECT_EQ(layoutFaults(), QStringList());
    grab(QStringLiteral("panel-empty-light"));
    setDark(true);
    grab(QStringLiteral("panel-empty-dark"));
}

TEST_F(MenuBarPanelTest, shows_each_device_with_the_words_of_its_status) {
    offerUpdate("1.5.0");
    const DeviceProfile active = saveAndBridge("Lena's iPhone 16 Pro");
    const DeviceProfile failed = save("QA iPhone 13 mini");
    const DeviceProfile pairing = save("Spare iPhone SE");
    save("An old phone");
    fail(failed);
    pair(pairing);
    coordinator->logs().user("Bridge is successful.");
    findUpdate();
    open();
    const auto words = [this](const char* name) { return texts(row(QString::fromUtf8(name))).join(u'|'); };
    EXPECT_EQ(words("Lena's iPhone 16 Pro"), QStringLiteral("Lena's iPhone 16 Pro|Bridge active"));
    EXPECT_EQ(words("QA iPhone 13 mini"),
              QStringLiteral("QA iPhone 13 mini|Error: Couldn't determine this Mac's network address."));
    EXPECT_EQ(words("Spare iPhone SE"), QStringLiteral("Spare iPhone SE|Pairing…"));
    EXPECT_EQ(words("An old phone"), QStringLiteral("An old phone|Off"));
    EXPECT_EQ(layoutFaults(), QStringList());
    grab(QStringLiteral("panel-light"));
    setDark(true);
    hover(control(QStringLiteral("Add Device")));
    grab(QStringLiteral("panel-dark"));
}

TEST_F(MenuBarPanelTest, dot_and_badge_follow_all_bridges_together) {
    open();
    const QQuickItem* dot = ofType(QStringLiteral("StatusDot"));
    EXPECT_EQ(dot->property("kind").toInt(), 0);
    EXPECT_EQ(dot->width(), 8);
    saveAndBridge("Lena");
    settleWindow();
    EXPECT_EQ(dot->property("kind").toInt(), 2);
    EXPECT_NE(text(QStringLiteral("Bridge active"), ofType(QStringLiteral("StatusBadge"))), nullptr);
}

TEST_F(MenuBarPanelTest, a_click_on_a_device_shows_it_in_the_main_window_and_closes_the_panel) {
    save("Lena");
    const DeviceProfile spare = save("Spare");
    open();
    const QSignalSpy shown(actions.get(), &AppActions::showMainWindow);
    const QSignalSpy closed(actions.get(), &AppActions::closePanel);
    click(row(QStringLiteral("Spare")));
    ASSERT_EQ(shown.count(), 1);
    EXPECT_EQ(shown[0][0].toString(), QString::fromStdString(spare.id()));
    EXPECT_EQ(closed.count(), 1);
}

TEST_F(MenuBarPanelTest, each_action_does_its_own_and_closes_the_panel) {
    open();
    const QSignalSpy add(actions.get(), &AppActions::addDevice);
    const QSignalSpy shownSettings(actions.get(), &AppActions::showSettings);
    const QSignalSpy quit(actions.get(), &AppActions::quit);
    const QSignalSpy closed(actions.get(), &AppActions::closePanel);
    click(control(QStringLiteral("Add Device")));
    EXPECT_EQ(std::tuple(add.count(), shownSettings.count(), quit.count(), closed.count()),
              std::tuple(1, 0, 0, 1));
    click(control(QStringLiteral("Settings")));
    EXPECT_EQ(std::tuple(add.count(), shownSettings.count(), quit.count(), closed.count()),
              std::tuple(1, 1, 0, 2));
    click(control(QStringLiteral("Quit")));
    EXPECT_EQ(std::tuple(add.count(), shownSettings.count(), quit.count(), closed.count()),
              std::tuple(1, 1, 1, 3));
}

TEST_F(MenuBarPanelTest, offers_a_newer_version_while_there_is_one) {
    offerUpdate("1.5.0");
    open();
    EXPECT_EQ(ofType(QStringLiteral("UpdateBanner")), nullptr);
    const double before = window->height();
    findUpdate();
    ASSERT_NE(text(QStringLiteral("Version 1.5.0 is available")), nullptr);
    EXPECT_NE(text(QStringLiteral("Click to download")), nullptr);
    EXPECT_EQ(ofType(QStringLiteral("UpdateBanner"))->height(), 48);
    EXPECT_EQ(window->height(), before + 48);
    const QSignalSpy closed(actions.get(), &AppActions::closePanel);
    click(ofType(QStringLiteral("UpdateBanner")));
    EXPECT_THAT(desktop.opened, ElementsAre("https://quillbay.example/get"));
    EXPECT_EQ(closed.count(), 1);
}

TEST_F(MenuBarPanelTest, a_double_click_on_the_banner_opens_the_page_once) {
    offerUpdate("1.5.0");
    open();
    findUpdate();
    settleWindow();
    doubleClick(ofType(QStringLiteral("UpdateBanner")));
    EXPECT_THAT(desktop.opened, ElementsAre("https://quillbay.example/get"));
}

TEST_F(MenuBarPanelTest, shows_the_newest_three_lines_of_the_log) {
    makeModels();
    for (const char* line : {"first", "second", "third", "fourth"})
        coordinator->logs().user(line);
    open();
    EXPECT_EQ(texts(ofType(QStringLiteral("LogConsole"))),
              QStringList({QStringLiteral("second"), QStringLiteral("third"), QStringLiteral("fourth")}));
    EXPECT_EQ(ofType(QStringLiteral("LogConsole"))->height(), 62);
}

TEST_F(MenuBarPanelTest, arrows_and_tab_go_from_the_banner_over_the_devices_to_the_actions_and_round) {
    offerUpdate("1.5.0");
    save("Lena");
    findUpdate();
    open();
    const QStringList order = {QStringLiteral("Version 1.5.0 is available, Click to download"),
                               QStringLiteral("Lena, Off"),
                               QStringLiteral("Add Device"),
                               QStringLiteral("Settings"),
                               QStringLiteral("Quit"),
                               QStringLiteral("Version 1.5.0 is available, Click to download")};
    EXPECT_EQ(tabStops(6), order);
    for (int i = 4; i >= 0; --i) {
        press(Qt::Key_Up);
        EXPECT_EQ(focused(), order[i]);
    }
    for (int i = 1; i < 6; ++i) {
        press(Qt::Key_Down);
        EXPECT_EQ(focused(), order[i]);
    }
}

TEST_F(MenuBarPanelTest, the_first_arrow_down_goes_to_the_first_entry) {
    open();
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), QStringLiteral("Add Device"));
}

TEST_F(MenuBarPanelTest, the_first_arrow_up_goes_to_the_last_entry) {
    open();
    press(Qt::Key_Up);
    EXPECT_EQ(focused(), QStringLiteral("Quit"));
}

TEST_F(MenuBarPanelTest, begins_anew_each_time_it_opens) {
    open();
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    ASSERT_EQ(focused(), QStringLiteral("Settings"));
    window->hide();
    window->show();
    window->requestActivate();
    settleWindow();
    EXPECT_NE(focused(), QStringLiteral("Settings"));
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), QStringLiteral("Add Device"));
}

TEST_F(MenuBarPanelTest, return_and_space_press_what_has_the_focus) {
    open();
    const QSignalSpy add(actions.get(), &AppActions::addDevice);
    const QSignalSpy shownSettings(actions.get(), &AppActions::showSettings);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(add.count(), 1);
    press(Qt::Key_Down);
    press(Qt::Key_Space);
    EXPECT_EQ(shownSettings.count(), 1);
}

TEST_F(MenuBarPanelTest, escape_closes_it) {
    open();
    const QSignalSpy closed(actions.get(), &AppActions::closePanel);
    press(Qt::Key_Escape);
    EXPECT_EQ(closed.count(), 1);
    press(Qt::Key_Down);
    press(Qt::Key_Escape);
    EXPECT_EQ(closed.count(), 2);
}

TEST_F(MenuBarPanelTest, an_entry_is_lit_under_the_pointer_and_with_the_keyboards_focus) {
    open();
    QQuickItem* add = control(QStringLiteral("Add Device"));
    QQuickItem* quit = control(QStringLiteral("Quit"));
    EXPECT_EQ(lit(add), QStringLiteral("dark"));
    hover(add);
    EXPECT_EQ(lit(add), QStringLiteral("lit"));
    hover(quit);
    EXPECT_EQ(lit(add), QStringLiteral("dark"));
    EXPECT_EQ(lit(quit), QStringLiteral("lit"));
    press(Qt::Key_Down);
    EXPECT_EQ(lit(add), QStringLiteral("lit"));
}

TEST_F(MenuBarPanelTest, fifty_devices_scroll_below_the_greatest_height) {
    for (int i = 10; i < 60; ++i)
        save("Phone " + std::to_string(i));
    open();
    EXPECT_EQ(window->height(), 600);
    EXPECT_NE(text(QStringLiteral("Quit")), nullptr);
    EXPECT_EQ(visibleRect(control(QStringLiteral("Quit"))).height(), 30);
    EXPECT_EQ(layoutFaults(), QStringList());
    for (int i = 0; i < 50; ++i)
        press(Qt::Key_Down);
    EXPECT_EQ(focused(), QStringLiteral("Phone 59, Off"));
    EXPECT_EQ(visibleRect(row(QStringLiteral("Phone 59"))).height(), 44);
    grab(QStringLiteral("panel-many-light"));
}

TEST_F(MenuBarPanelTest, long_names_errors_and_lines_stay_on_one_line) {
    const std::string words = "Lena's very long iPhone name that goes on and on until sixty";
    const DeviceProfile failed = save(words);
    fail(failed);
    coordinator->logs().user(words + words + words);
    open();
    EXPECT_EQ(layoutFaults(), QStringList());
    EXPECT_EQ(row(QString::fromStdString(words))->height(), 44);
    for (const QQuickItem* item : allOfType(QStringLiteral("StatusLine")))
        EXPECT_EQ(item->height(), 13);
    EXPECT_EQ(ofType(QStringLiteral("StatusBadge"))->height(), 21) << "the badge is more than one line";
    grab(QStringLiteral("panel-long-light"));
}

TEST_F(MenuBarPanelTest, is_as_high_as_its_content) {
    open();
    EXPECT_EQ(window->height(), 49 + 12 + 14 + 8 + 30 + 12 + 1 + 6 + 3 * 30 + 6);
    save("Lena");
    EXPECT_EQ(window->height(), 49 + 6 + 44 + 6 + 1 + 12 + 14 + 8 + 30 + 12 + 1 + 6 + 3 * 30 + 6);
}

TEST_F(MenuBarPanelTest, a_status_that_does_not_fit_is_whole_in_the_help_text) {
    const QString whole = QStringLiteral(
        "Error: The device is still on this Mac's local network. Move it to a different Wi\u2011Fi before "
        "bridging. Cellular won't work.");
    const DeviceProfile failed = save("Lena");
    phonesAreNear();
    coordinator->start(failed);
    untilStatus(failed, BridgeStatus::Kind::error);
    open();
    const auto shownWhole = [&] {
        return std::ranges::any_of(allOfType(QStringLiteral("StyledText")), [&](const QQuickItem* item) {
            return item->property("text").toString() == whole && !item->property("truncated").toBool();
        });
    };
    EXPECT_NE(text(whole, row(QStringLiteral("Lena"))), nullptr);
    EXPECT_FALSE(shownWhole());
    hover(ofType(QStringLiteral("StatusLine")));
    EXPECT_TRUE(until(shownWhole, std::chrono::seconds(5)));
    EXPECT_EQ(row(QStringLiteral("Lena"))->height(), 44);
    grab(QStringLiteral("panel-help-light"));
}

TEST_F(MenuBarPanelTest, can_be_worked_by_what_it_is_for_people_who_cannot_see) {
    save("Lena");
    open();
    const QSignalSpy shown(actions.get(), &AppActions::showMainWindow);
    QAccessibleInterface* device = QAccessible::queryAccessibleInterface(row(QStringLiteral("Lena")));
    EXPECT_EQ(device->role(), QAccessible::Button);
    EXPECT_EQ(device->text(QAccessible::Name), QStringLiteral("Lena, Off"));
    device->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(shown.count(), 1);
}

}  // namespace
}  // namespace quillbay
