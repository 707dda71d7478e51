#include <QAccessible>

#include "ui/SettingsWindowFixture.h"

namespace quillbay {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(SettingsWindowTest, shows_its_cards_from_top_to_bottom) {
    open();
    QStringList titles;
    double bottom = 0;
    for (const QQuickItem* item : allOfType(QStringLiteral("SectionCard"))) {
        titles.append(item->property("title").toString());
        const double top = item->mapToScene(QPointF(0, 0)).y();
        EXPECT_EQ(top - bottom, bottom == 0 ? 24 : 16) << titles.last().toStdString();
        bottom = top + item->height();
    }
    EXPECT_EQ(titles, QStringList({QStringLiteral("General"), QStringLiteral("Tailscale CLI path"),
                                   QStringLiteral("ZeroTier CLI path"), QStringLiteral("Netbird CLI path"),
                                   QStringLiteral("Device profiles"), QStringLiteral("Support"),
                                   QStringLiteral("About")}));
    EXPECT_EQ(window->title(), QStringLiteral("Settings"));
    EXPECT_EQ(window->size(), QSize(560, 724));
    EXPECT_EQ(window->minimumSize(), QSize(480, 400));
}

TEST_F(SettingsWindowTest, says_these_words) {
    open();
    for (const char* words :
         {"Launch at login", "The app starts in the background when your Mac turns on.",
          "Only this computer may use the bridge", "Other computers on your network are turned away.",
          "CLI path", "No automatic device list for ZeroTier — paste the device's IP directly in Add Device.",
          "Test device list", "No saved devices.", "Send diagnostics to support team",
          "Attaches a detailed technical log (timestamps, bridge internals). The in-app Log panel stays "
          "short and readable.",
          "Version 1.4.2"})
        EXPECT_NE(text(QString::fromUtf8(words)), nullptr) << words;
    EXPECT_EQ(text(QStringLiteral("Up to date")), nullptr) << "before any check has answered";
    EXPECT_EQ(layoutFaults(), QStringList());
}

TEST_F(SettingsWindowTest, the_switch_sets_the_login_item) {
    open();
    QQuickItem* launch = ofType(QStringLiteral("ToggleSwitch"));
    EXPECT_FALSE(launch->property("checked").toBool());
    click(launch);
    EXPECT_TRUE(launchAtLogin.enabled);
    EXPECT_TRUE(launch->property("checked").toBool());
    click(launch);
    EXPECT_FALSE(launchAtLogin.enabled);
    EXPECT_FALSE(launch->property("checked").toBool());
}

TEST_F(SettingsWindowTest, the_switch_goes_back_with_a_sentence_when_the_desktop_refuses) {
    launchAtLogin.failure = "The folder for programs that start at login can't be written.";
    open();
    QQuickItem* launch = ofType(QStringLiteral("ToggleSwitch"));
    click(launch);
    EXPECT_FALSE(launch->property("checked").toBool());
    EXPECT_NE(text(QStringLiteral("The folder for programs that start at login can't be written.")), nullptr);
    EXPECT_EQ(layoutFaults(), QStringList());
    launchAtLogin.failure.reset();
    click(launch);
    EXPECT_TRUE(launch->property("checked").toBool());
    EXPECT_EQ(text(QStringLiteral("The folder for programs that start at login can't be written.")), nullptr);
    launchAtLogin.enabled = false;
    settingsModel->loadPersistedConfig();
    settleWindow();
    EXPECT_FALSE(launch->property("checked").toBool()) << "the switch does not follow the desktop any more";
}

TEST_F(SettingsWindowTest, a_switch_restricts_the_bridge_to_this_computer) {
    open();
    QQuickItem* only = toggle(QStringLiteral("Only this computer may use the bridge"));
    ASSERT_NE(only, nullptr);
    EXPECT_FALSE(only->property("checked").toBool());
    click(only);
    EXPECT_TRUE(coordinator->onlyThisComputer());
    EXPECT_TRUE(only->property("checked").toBool());
    coordinator->setOnlyThisComputer(false);
    settleWindow();
    EXPECT_FALSE(only->property("checked").toBool()) << "the switch does not follow the terminal";
}

TEST_F(SettingsWindowTest, the_bridge_is_restricted_by_keyboard_alone) {
    open();
    toggle(QStringLiteral("Launch at login"))->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    ASSERT_EQ(focused(), QStringLiteral("Only this computer may use the bridge"));
    press(Qt::Key_Space);
    EXPECT_TRUE(coordinator->onlyThisComputer());
    press(Qt::Key_Return);
    EXPECT_FALSE(coordinator->onlyThisComputer());
}

TEST_F(SettingsWindowTest, a_restriction_that_cannot_be_saved_says_so_below_its_switch) {
    open();
    const std::filesystem::path configuration = world.host.files.configuration;
    std::filesystem::remove_all(configuration);
    std::ofstream(configuration) << "a file";
    click(toggle(QStringLiteral("Only this computer may use the bridge")));
    EXPECT_NE(text(QStringLiteral("This holds until Quillbay quits. It could not be saved: Not a directory")),
              nullptr);
    EXPECT_EQ(layoutFaults(), QStringList());
}

TEST_F(SettingsWindowTest, lists_the_devices_with_their_ports) {
    save("Lena");
    open();
    EXPECT_NE(text(QStringLiteral("Lena")), nullptr);
    EXPECT_NE(text(QStringLiteral("40001–40002")), nullptr);
    EXPECT_EQ(text(QStringLiteral("No saved devices.")), nullptr);
}

TEST_F(SettingsWindowTest, asks_before_a_device_is_removed_and_return_does_not_remove_it) {
    save("Lena");
    open();
    click(control(QStringLiteral("Remove Lena")));
    EXPECT_NE(text(QStringLiteral("Remove \"Lena\"?")), nullptr);
    EXPECT_NE(text(QStringLiteral(
                  "The profile and bridge settings will be permanently deleted. This can't be undone.")),
              nullptr);
    EXPECT_EQ(focused(), QStringLiteral("Cancel"));
    press(Qt::Key_Return);
    EXPECT_EQ(text(QStringLiteral("Remove \"Lena\"?")), nullptr);
    EXPECT_THAT(coordinator->profiles(), SizeIs(1));
}

TEST_F(SettingsWindowTest, escape_answers_the_question_with_no_and_leaves_the_window_open) {
    save("Lena");
    open();
    click(control(QStringLiteral("Remove Lena")));
    press(Qt::Key_Escape);
    EXPECT_FALSE(settingsModel->removal()->isOpen());
    EXPECT_TRUE(window->isVisible());
    EXPECT_THAT(coordinator->profiles(), SizeIs(1));
}

TEST_F(SettingsWindowTest, removing_the_last_device_says_that_there_is_none) {
    save("Lena");
    open();
    click(control(QStringLiteral("Remove Lena")));
    click(control(QStringLiteral("Remove")));
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
    EXPECT_NE(text(QStringLiteral("No saved devices.")), nullptr);
}

TEST_F(SettingsWindowTest, removes_a_device_by_keyboard_alone) {
    save("Lena");
    save("Spare");
    open();
    control(QStringLiteral("Remove Lena"))->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    press(Qt::Key_Tab);
    ASSERT_EQ(focused(), QStringLiteral("Remove"));
    press(Qt::Key_Return);
    ASSERT_THAT(coordinator->profiles(), SizeIs(1));
    EXPECT_EQ(coordinator->profiles()[0].displayName, "Spare");
}

TEST_F(SettingsWindowTest, sends_diagnostics_and_says_in_the_log_who_wanted_it) {
    open();
    click(control(QStringLiteral("Send diagnostics to support team")));
    EXPECT_THAT(diagnosticLines(), Contains(HasSubstr("User requested Send diagnostics to support team")));
    EXPECT_TRUE(until([this] { return !desktop.mails.empty(); }));
}

TEST_F(SettingsWindowTest, a_double_click_asks_for_diagnostics_once) {
    open();
    doubleClick(control(QStringLiteral("Send diagnostics to support team")));
    EXPECT_THAT(diagnosticLines(),
                Contains(HasSubstr("User requested Send diagnostics to support team")).Times(1));
    EXPECT_TRUE(until([this] { return !desktop.mails.empty(); }));
}

TEST_F(SettingsWindowTest, offers_a_newer_version_and_opens_its_page) {
    offerUpdate("1.5.0");
    open();
    EXPECT_EQ(text(QStringLiteral("Get 1.5.0")), nullptr) << "before any check has answered";
    findUpdate();
    EXPECT_EQ(text(QStringLiteral("Up to date")), nullptr);
    QQuickItem* get = control(QStringLiteral("Get 1.5.0"));
    get->forceActiveFocus(Qt::TabFocusReason);
    settleWindow();
    doubleClick(get);
    EXPECT_THAT(desktop.opened, ::testing::ElementsAre("https://quillbay.example/get"))
        << "a double click is one";
}

TEST_F(SettingsWindowTest, tab_goes_from_top_to_bottom_and_scrolls_along) {
    save("Lena");
    open(QSize(480, 400));
    QStringList stops;
    for (int i = 0; i < 9; ++i) {
        press(Qt::Key_Tab);
        stops.append(focused());
        const QQuickItem* item = window->activeFocusItem();
        EXPECT_EQ(visibleRect(item).height(), item->height()) << stops.last().toStdString();
    }
    EXPECT_EQ(stops, QStringList({QStringLiteral("Launch at login"),
                                  QStringLiteral("Only this computer may use the bridge"),
                                  QStringLiteral("Tailscale CLI path"), QStringLiteral("Test device list"),
                                  QStringLiteral("ZeroTier CLI path"), QStringLiteral("Netbird CLI path"),
                                  QStringLiteral("Test device list"), QStringLiteral("Remove Lena"),
                                  QStringLiteral("Send diagnostics to support team")}));
}

TEST_F(SettingsWindowTest, escape_and_the_key_for_closing_close_it) {
    open();
    press(Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
    window->show();
    window->requestActivate();
    settleWindow();
    press(Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(SettingsWindowTest, escape_in_a_field_closes_it_too) {
    open();
    click(ofType(QStringLiteral("InputField")));
    press(Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(SettingsWindowTest, long_texts_and_many_devices_are_cut_or_wrapped_and_nothing_lies_over_anything) {
    offerUpdate("1.5.0");
    const std::string words = "Lena's very long iPhone name that goes on and on until sixty";
    for (int i = 0; i < 50; ++i) {
        DeviceProfile stored = profile("phone-" + std::to_string(i), 49733);
        stored.displayName = words + std::to_string(i);
        stored.tunnelPortRangeStart = 55000;
        stored.tunnelPortRangeEnd = 58000;
        save(stored);
    }
    use("tailscale", client("tailscale", "printf '%s' \"" + words + " " + words + " " + words + " " + words +
                                             " " + words + "\" >&2; exit 1"));
    launchAtLogin.failure = words + " " + words + " " + words;
    findUpdate();
    open(QSize(480, 400));
    click(ofType(QStringLiteral("ToggleSwitch")));
    testDeviceList();
    EXPECT_EQ(layoutFaults(), QStringList());
    grab(QStringLiteral("settings-long-light"));
    QQuickItem* remove =
        control(QStringLiteral("Remove ") + QString::fromStdString(words) + QStringLiteral("0"));
    remove->forceActiveFocus(Qt::TabFocusReason);
    settleWindow();
    click(remove);
    ASSERT_TRUE(settingsModel->removal()->isOpen());
    EXPECT_EQ(layoutFaults(ofType(QStringLiteral("DialogColumn"))), QStringList());
    grab(QStringLiteral("settings-remove-light"));
}

TEST_F(SettingsWindowTest, can_be_worked_by_what_it_is_for_people_who_cannot_see) {
    save("Lena");
    open();
    const auto press = [this](const QString& name) {
        QAccessibleInterface* seen = QAccessible::queryAccessibleInterface(control(name));
        ASSERT_NE(seen->actionInterface(), nullptr);
        seen->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    };
    QAccessible::queryAccessibleInterface(ofType(QStringLiteral("ToggleSwitch")))
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(launchAtLogin.enabled);
    press(QStringLiteral("Remove Lena"));
    settleWindow();
    ASSERT_TRUE(settingsModel->removal()->isOpen());
    press(QStringLiteral("Remove"));
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

}  // namespace
}  // namespace quillbay
