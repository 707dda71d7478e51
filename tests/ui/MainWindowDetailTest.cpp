#include <QTest>

#include "ui/ShownMainWindow.h"

namespace quillbay {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MainWindowDetail : public ShownMainWindow {
 protected:
    [[nodiscard]] bool isOn(const QString& name) const { return control(name)->property("checked").toBool(); }
    [[nodiscard]] BridgeStatus::Kind kindOf(const DeviceProfile& profile) const {
        return coordinator->status(profile.id()).kind;
    }
    /// One device, whose phone answers and whose bridge is off, is shown.
    void showReachable() {
        makeModels();
        lena = saveAndBridge("lena-iphone");
        coordinator->stop(lena);
        lena = stored(lena);
        show("MainWindow");
        select(lena);
    }
    /// One device, whose phone answers nowhere, is shown.
    void showUnreachable() {
        makeModels();
        spare = save("spare");
        show("MainWindow");
        select(spare);
    }
};

TEST_F(MainWindowDetail, says_what_to_do_when_nothing_is_selected) {
    threeDevices();
    show("MainWindow");
    EXPECT_NE(text("Select a device from the list on the left to see its details, live status, and logs."),
              nullptr);
    EXPECT_EQ(control("Start Bridge"), nullptr);
    select(lena);
    EXPECT_EQ(text("Select a device from the list on the left to see its details, live status, and logs."),
              nullptr);
    EXPECT_NE(control("Start Bridge"), nullptr);
}

TEST_F(MainWindowDetail, shows_the_name_over_the_status_and_the_facts_in_two_groups) {
    makeModels();
    DeviceProfile profile = DeviceProfile::draft("Lena's iPhone 16 Pro");
    profile.bonjourName = "7C3E51A2-0B41-4D92-9E37-5D2F6C8E1B07";
    profile.bonjourHost = "Lenas-iPhone.local";
    profile.serviceType = "_remotepairing._tcp";
    profile.providerID = "tailscale";
    profile.providerHostName = "lena-iphone";
    profile.providerIP = "100.92.14.7";
    profile.remotePairingPort = 49733;
    profile.tunnelPortRangeStart = 55000;
    profile.tunnelPortRangeEnd = 58000;
    profile.txtRecord = {{"ver", "1"}};
    save(profile);
    show("MainWindow");
    select(profile);
    EXPECT_THAT(texts(ofType("ProfileHeader")), ElementsAre("Lena's iPhone 16 Pro", "Off"));
    EXPECT_THAT(
        texts(ofType("ProfileFacts")),
        ElementsAre("Connection", "Device", "lena-iphone", "Connector", "Tailscale · 100.92.14.7",
                    "RemotePairing port", "49733", "Tunnel port range", "55000–58000", "Bonjour",
                    "Service name", "7C3E51A2-0B41-4D92-9E37-5D2F6C8E1B07", "Host", "Lenas-iPhone.local",
                    "Service type", "_remotepairing._tcp", "TXT record", "1 entry"));
}

TEST_F(MainWindowDetail, the_cards_stand_side_by_side_from_640_points_and_below_each_other_before) {
    makeModels();
    spare = save("spare");
    const auto columns = [this](int detailWidth) {
        window->resize(248 + 2 * 24 + detailWidth, 700);
        settleWindow();
        const std::vector<QQuickItem*> cards = allOfType("SectionCard", ofType("ProfileFacts"));
        return cards.at(0)->y() == cards.at(1)->y() ? 2 : 1;
    };
    show("MainWindow");
    select(spare);
    EXPECT_EQ(columns(640), 2);
    EXPECT_EQ(columns(639), 1);
}

TEST_F(MainWindowDetail, the_content_is_at_most_880_points_wide) {
    makeModels();
    spare = save("spare");
    show("MainWindow", {1600, 900});
    select(spare);
    EXPECT_EQ(ofType("ProfileHeader")->width(), 880);
    EXPECT_EQ(ofType("DangerZone")->width(), 880);
}

TEST_F(MainWindowDetail, the_switch_starts_the_bridge_and_reads_on_while_it_pairs_and_runs) {
    showReachable();
    EXPECT_FALSE(isOn("Start Bridge"));
    click(control("Start Bridge"));
    EXPECT_TRUE(isOn("Start Bridge"));
    untilStatus(lena, BridgeStatus::Kind::on);
    EXPECT_TRUE(isOn("Start Bridge"));
    EXPECT_THAT(texts(ofType("ProfileHeader")), Contains("Bridge active"));
}

TEST_F(MainWindowDetail, turning_the_switch_off_ends_the_bridge_and_says_so) {
    threeDevices();
    show("MainWindow");
    select(lena);
    EXPECT_TRUE(isOn("Start Bridge"));
    click(control("Start Bridge"));
    EXPECT_FALSE(isOn("Start Bridge"));
    EXPECT_EQ(kindOf(lena), BridgeStatus::Kind::off);
    EXPECT_EQ(stored(lena).bridgeEnabled, false);
    EXPECT_THAT(coordinator->logs().userLines(), Contains("Bridge is closed \"Lena's iPhone 16 Pro\""));
}

TEST_F(MainWindowDetail, the_switch_turns_itself_off_when_the_bridge_fails_and_can_be_tried_again) {
    showReachable();
    world.setAddress(std::nullopt);
    for (int attempt = 0; attempt < 2; ++attempt) {
        click(control("Start Bridge"));
        untilStatus(lena, BridgeStatus::Kind::error);
        EXPECT_FALSE(isOn("Start Bridge"));
        EXPECT_THAT(texts(ofType("ProfileHeader")),
                    Contains("Error: Couldn't determine this Mac's network address."));
    }
    world.setAddress(world.macIP);
    click(control("Start Bridge"));
    untilStatus(lena, BridgeStatus::Kind::on);
    EXPECT_TRUE(isOn("Start Bridge"));
}

TEST_F(MainWindowDetail, the_switch_is_that_of_the_selected_device) {
    threeDevices();
    show("MainWindow");
    select(lena);
    click(control("Start Bridge"));
    click(control("Start Bridge"));
    untilStatus(lena, BridgeStatus::Kind::on);
    select(spare);
    EXPECT_FALSE(isOn("Start Bridge"));
    select(lena);
    EXPECT_TRUE(isOn("Start Bridge"));
}

TEST_F(MainWindowDetail, the_keyboard_works_the_switch) {
    showReachable();
    control("Start Bridge")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    untilStatus(lena, BridgeStatus::Kind::on);
    press(Qt::Key_Return);
    EXPECT_EQ(kindOf(lena), BridgeStatus::Kind::off);
    EXPECT_FALSE(isOn("Start Bridge"));
}

TEST_F(MainWindowDetail, a_scan_shows_how_far_it_is_and_is_stopped) {
    showUnreachable();
    EXPECT_EQ(control("Stop scan"), nullptr);
    EXPECT_EQ(ofType("ProgressTrack"), nullptr);
    click(control("Scan port (probe device)"));
    EXPECT_FALSE(control("Scan port (probe device)")->isEnabled());
    ASSERT_NE(ofType("ProgressTrack"), nullptr);
    EXPECT_EQ(ofType("ProgressTrack")->height(), 4);
    EXPECT_THAT(texts(ofType("ScanRow")),
                Contains(::testing::ResultOf(
                    [](const QString& text) { return text.endsWith(" of 16,384 ports"); }, true)));
    click(control("Stop scan"));
    EXPECT_TRUE(control("Scan port (probe device)")->isEnabled());
    EXPECT_EQ(control("Stop scan"), nullptr);
    EXPECT_EQ(ofType("ProgressTrack"), nullptr);
}

TEST_F(MainWindowDetail, a_scan_that_ends_tells_its_result_in_the_log) {
    showUnreachable();
    click(control("Scan port (probe device)"));
    ASSERT_TRUE(until([this] { return !mainWindow->detail()->scanning(); }, std::chrono::seconds(60)));
    settleWindow();
    EXPECT_TRUE(control("Scan port (probe device)")->isEnabled());
    EXPECT_THAT(texts(ofType("LogConsole")), Contains("Port ping failed."));
}

TEST_F(MainWindowDetail, the_keyboard_goes_to_stop_when_a_scan_begins_and_back_when_it_ends) {
    showUnreachable();
    control("Scan port (probe device)")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_EQ(focused(), "Stop scan");
    press(Qt::Key_Space);
    EXPECT_EQ(focused(), "Scan port (probe device)");
}

TEST_F(MainWindowDetail, a_scan_that_ends_takes_the_keyboard_from_no_sheet) {
    showUnreachable();
    control("Scan port (probe device)")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    mainWindow->beginRename(idOf(spare));
    settleWindow();
    mainWindow->detail()->stopScan();
    settleWindow();
    EXPECT_EQ(focused(), "Device name");
    press(Qt::Key_Escape);
    EXPECT_EQ(focused(), "Scan port (probe device)");
}

TEST_F(MainWindowDetail, a_scan_that_ends_takes_the_keyboard_from_nothing_else) {
    showUnreachable();
    click(control("Scan port (probe device)"));
    control("Start Bridge")->forceActiveFocus(Qt::TabFocusReason);
    mainWindow->detail()->stopScan();
    settleWindow();
    EXPECT_EQ(focused(), "Start Bridge");
}

TEST_F(MainWindowDetail, the_log_is_cleared) {
    showUnreachable();
    coordinator->logs().user("Bridge is successful.");
    settleWindow();
    EXPECT_THAT(texts(ofType("LogCard")), ElementsAre("Log", "Clear log", "Expand", "Bridge is successful."));
    click(control("Clear log"));
    EXPECT_THAT(texts(ofType("LogCard")), ElementsAre("Log", "Clear log", "Expand", "No logs yet."));
    EXPECT_FALSE(control("Clear log")->isEnabled());
}

TEST_F(MainWindowDetail, the_log_is_expanded_and_collapsed) {
    showUnreachable();
    EXPECT_EQ(control("Expand")->property("symbol").toString(), "chevron.down");
    EXPECT_EQ(ofType("LogConsole")->height(), 62);
    click(control("Expand"));
    EXPECT_TRUE(mainWindow->isLogExpanded());
    EXPECT_EQ(control("Collapse")->property("symbol").toString(), "chevron.up");
    EXPECT_EQ(control("Expand"), nullptr);
    // 700 without the footer 28 and the padding 24 below, the danger zone 52, the gap 16 and the card's
    // padding 16.
    const QRectF console =
        ofType("LogConsole")->mapRectToScene(QRectF(0, 0, 1, ofType("LogConsole")->height()));
    EXPECT_EQ(console.bottom(), 700 - 28 - 24 - 52 - 16 - 16);
    click(control("Collapse"));
    EXPECT_EQ(ofType("LogConsole")->height(), 62);
}

TEST_F(MainWindowDetail, the_expanded_log_has_184_points_where_the_window_is_low) {
    showUnreachable();
    window->resize(760, 520);
    mainWindow->setLogExpanded(true);
    settleWindow();
    EXPECT_EQ(ofType("LogConsole")->height(), 184);
}

TEST_F(MainWindowDetail, the_danger_zone_asks_before_it_removes) {
    threeDevices();
    show("MainWindow");
    select(spare);
    EXPECT_THAT(texts(ofType("DangerZone")), ElementsAre("Danger Zone", "Remove device"));
    EXPECT_EQ(control("Remove device")->property("symbol").toString(), "trash");
    click(control("Remove device"));
    EXPECT_THAT(
        texts(ofType("QQuickPopupItem")),
        ElementsAre("Remove \"Spare iPhone SE\"?",
                    "The profile and bridge settings will be permanently deleted.", "Cancel", "Remove"));
    click(control("Remove"));
    EXPECT_EQ(profiles->count(), 2);
    EXPECT_EQ(mainWindow->selection(), idOf(qa));
}

TEST_F(MainWindowDetail, an_update_is_offered_at_the_top_and_opens_its_page) {
    offerUpdate("1.5.0");
    show("MainWindow");
    EXPECT_EQ(text("Quillbay 1.5.0 is available"), nullptr);
    findUpdate();
    QQuickItem* const banner = control("Quillbay 1.5.0 is available");
    ASSERT_NE(banner, nullptr);
    EXPECT_THAT(texts(banner), ElementsAre("Quillbay 1.5.0 is available", "Click to download"));
    EXPECT_EQ(banner->mapRectToScene(QRectF(0, 0, banner->width(), banner->height())),
              QRectF(248, 0, 776, 48));
    EXPECT_THAT(desktop.opened, IsEmpty());
    click(banner);
    EXPECT_THAT(desktop.opened, ElementsAre("https://quillbay.example/get"));
    banner->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    EXPECT_EQ(desktop.opened.size(), 3U);
    EXPECT_NE(control("Quillbay 1.5.0 is available"), nullptr) << "a click does not mark it as seen";
}

TEST_F(MainWindowDetail, a_double_click_on_the_banner_opens_the_page_once) {
    offerUpdate("1.5.0");
    show("MainWindow");
    findUpdate();
    settleWindow();
    doubleClick(ofType("UpdateAvailableBanner"));
    EXPECT_EQ(desktop.opened.size(), 1U);
    click(ofType("UpdateAvailableBanner"));
    EXPECT_EQ(desktop.opened.size(), 2U);
}

TEST_F(MainWindowDetail, the_banner_leaves_when_there_is_no_update_any_more) {
    offerUpdate("1.5.0");
    show("MainWindow");
    findUpdate();
    offerNow("1.4.2");
    findUpdate();
    settleWindow();
    EXPECT_EQ(text("Click to download"), nullptr);
    EXPECT_EQ(ofType("UpdateAvailableBanner"), nullptr);
}

TEST_F(MainWindowDetail, notices_stay_until_they_are_closed_or_no_longer_true) {
    show("MainWindow");
    EXPECT_EQ(ofType("NoticeBanner"), nullptr);
    notices->add("Quillbay can't save changes.");
    notices->add("quillbayctl can't reach Quillbay.");
    settleWindow();
    EXPECT_NE(control("Quillbay can't save changes."), nullptr);
    click(control("Close: Quillbay can't save changes."));
    EXPECT_EQ(control("Quillbay can't save changes."), nullptr);
    EXPECT_NE(control("quillbayctl can't reach Quillbay."), nullptr);
    notices->remove("quillbayctl can't reach Quillbay.");
    settleWindow();
    EXPECT_EQ(ofType("NoticeBanner"), nullptr);
}

TEST_F(MainWindowDetail, the_keyboard_goes_on_from_a_closed_notice_to_the_next_thing) {
    makeModels();
    spare = save("spare");
    show("MainWindow");
    select(spare);
    for (const char* sentence : {"One.", "Two.", "Three."})
        notices->add(sentence);
    settleWindow();
    control("Close: Two.")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_EQ(focused(), "Close: Three.");
    press(Qt::Key_Return);
    EXPECT_EQ(focused(), "Close: One.");
    press(Qt::Key_Space);
    EXPECT_EQ(ofType("NoticeBanner"), nullptr);
    EXPECT_EQ(focused(), "Start Bridge");
    EXPECT_TRUE(control("Start Bridge")->property("visualFocus").toBool());
}

TEST_F(MainWindowDetail, a_notice_that_is_closed_by_the_mouse_leaves_the_keyboard_where_it_is_shown) {
    makeModels();
    spare = save("spare");
    show("MainWindow");
    select(spare);
    notices->add("One.");
    settleWindow();
    click(control("Close: One."));
    EXPECT_EQ(focused(), "Start Bridge");
    EXPECT_FALSE(control("Start Bridge")->property("visualFocus").toBool());
}

TEST_F(MainWindowDetail, a_sheet_is_made_when_it_is_wanted_for_the_first_time) {
    const auto made = [this] {
        QStringList types;
        for (const QQuickItem* item : window->findChildren<QQuickItem*>()) {
            const QString type = QString::fromLatin1(item->metaObject()->className()).section('_', 0, 0);
            if (type == "AddDeviceSheet" || type == "RenameSheet" || type == "RemovalDialog") types += type;
        }
        return types;
    };
    makeModels();
    spare = save("spare");
    show("MainWindow");
    EXPECT_THAT(made(), ElementsAre());
    mainWindow->beginRename(idOf(spare));
    settleWindow();
    EXPECT_THAT(made(), ElementsAre("RenameSheet"));
    EXPECT_EQ(focused(), "Device name");
    press(Qt::Key_Escape);
    EXPECT_EQ(control("Device name"), nullptr);
    mainWindow->beginAdd();
    settleWindow();
    EXPECT_EQ(made().size(), 2);
    EXPECT_NE(control("Add Device"), nullptr);
}

TEST_F(MainWindowDetail, the_footer_names_the_program_and_its_version) {
    show("MainWindow");
    EXPECT_EQ(ofType("DetailFooter")->height(), 28);
    EXPECT_THAT(texts(ofType("DetailFooter")), ElementsAre(mainWindow->footer()));
    EXPECT_TRUE(mainWindow->footer().startsWith("Quillbay - v"));
    EXPECT_TRUE(mainWindow->footer().endsWith(")"));
}

TEST_F(MainWindowDetail, markup_in_a_name_is_shown_as_it_is) {
    makeModels();
    const DeviceProfile hostile = named(save("iphone"), "<b>bold</b><img src='http://127.0.0.1/x'>");
    show("MainWindow");
    select(hostile);
    QQuickItem* const name = text("<b>bold</b><img src='http://127.0.0.1/x'>", ofType("ProfileHeader"));
    ASSERT_NE(name, nullptr);
    for (QQuickItem* item : allOfType("QQuickText"))
        EXPECT_EQ(item->property("textFormat").toInt(), Qt::PlainText);
}

}  // namespace
}  // namespace quillbay
