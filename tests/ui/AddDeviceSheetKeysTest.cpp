#include "ui/AddDeviceSheetFixture.h"

namespace quillbay {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(AddDeviceSheetTest, arrows_choose_in_the_list_and_stop_at_its_ends) {
    seeTwoPhones();
    coordinator->upsertCapturedService(phone("Spare iPhone SE", "Spare.local", 50114));
    open();
    EXPECT_EQ(focused(), QStringLiteral("iPhones found on the local network"));
    press(Qt::Key_Down);
    EXPECT_EQ(model().selectedRow(), QStringLiteral("Lenas-iPhone.local"));
    press(Qt::Key_Down);
    EXPECT_EQ(model().selectedRow(), QStringLiteral("QA-iPhone-13-mini.local"));
    press(Qt::Key_End);
    EXPECT_EQ(model().selectedRow(), QStringLiteral("Spare.local"));
    press(Qt::Key_Down);
    EXPECT_EQ(model().selectedRow(), QStringLiteral("Spare.local"));
    press(Qt::Key_Home);
    EXPECT_EQ(model().selectedRow(), QStringLiteral("Lenas-iPhone.local"));
    press(Qt::Key_Up);
    EXPECT_EQ(model().selectedRow(), QStringLiteral("Lenas-iPhone.local"));
}

TEST_F(AddDeviceSheetTest, shows_five_phones_at_most_and_scrolls_to_the_others) {
    makeModels();
    for (int i = 100; i < 400; ++i)
        coordinator->upsertCapturedService(
            phone("Phone " + std::to_string(i), "phone-" + std::to_string(i) + ".local", 49152));
    open();
    const QQuickItem* list = ofType(QStringLiteral("DiscoveryList"));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->height(), 5 * 44 + 2);
    EXPECT_LT(allOfType(QStringLiteral("DiscoveryRowItem")).size(), 30U);
    press(Qt::Key_End);
    QQuickItem* last = row(QStringLiteral("Phone 399"));
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(visibleRect(last).height(), 44);
}

TEST_F(AddDeviceSheetTest, arrows_choose_among_the_tiles_and_stop_at_the_ends) {
    installAll();
    open();
    click(tile(QStringLiteral("Tailscale")));
    tile(QStringLiteral("Tailscale"))->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Left);
    EXPECT_EQ(model().selectedProvider(), QStringLiteral("tailscale"));
    press(Qt::Key_Right);
    EXPECT_EQ(model().selectedProvider(), QStringLiteral("zerotier"));
    EXPECT_EQ(focused(), QStringLiteral("ZeroTier"));
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    EXPECT_EQ(model().selectedProvider(), QStringLiteral("manual"));
    press(Qt::Key_Right);
    EXPECT_EQ(model().selectedProvider(), QStringLiteral("manual"));
    press(Qt::Key_Left);
    EXPECT_EQ(model().selectedProvider(), QStringLiteral("netbird"));
}

TEST_F(AddDeviceSheetTest, tab_goes_from_the_list_over_the_tiles_to_save_and_round) {
    installAll();
    seeTwoPhones();
    open();
    click(tile(QStringLiteral("Tailscale")));
    untilQuietSheet();
    model().setSelectedRow(QStringLiteral("Lenas-iPhone.local"));
    model().setSelectedPeer(QStringLiteral("lena-iphone"));
    model().setDisplayName(QStringLiteral("Lena"));
    control(QStringLiteral("iPhones found on the local network"))->forceActiveFocus(Qt::TabFocusReason);
    settleWindow();
    const QStringList stops = tabStops(7);
    EXPECT_EQ(stops,
              QStringList({QStringLiteral("Refresh"), QStringLiteral("Tailscale"),
                           QStringLiteral("Which device is this iPhone?"), QStringLiteral("Display name"),
                           QStringLiteral("Cancel"), QStringLiteral("Save"),
                           QStringLiteral("iPhones found on the local network")}));
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), QStringLiteral("Save"));
}

TEST_F(AddDeviceSheetTest, tab_reaches_the_typed_address_and_leaves_out_a_save_that_cannot_be) {
    open();
    click(tile(QStringLiteral("Manual IP")));
    tile(QStringLiteral("Manual IP"))->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_EQ(tabStops(5), QStringList({QStringLiteral("Manual IP IP address"),
                                        QStringLiteral("Display name"), QStringLiteral("Cancel"),
                                        QStringLiteral("Refresh"), QStringLiteral("Manual IP")}));
}

TEST_F(AddDeviceSheetTest, save_is_off_until_phone_connector_and_name_are_there) {
    seeTwoPhones();
    open();
    EXPECT_FALSE(canPress(QStringLiteral("Save")));
    click(row(QStringLiteral("Lena's iPhone 16 Pro")));
    EXPECT_FALSE(canPress(QStringLiteral("Save")));
    click(tile(QStringLiteral("Manual IP")));
    EXPECT_FALSE(canPress(QStringLiteral("Save")));
    click(field(QStringLiteral("Manual IP IP address")));
    type(QStringLiteral("   "));
    EXPECT_FALSE(canPress(QStringLiteral("Save"))) << "blanks are no address";
    type(QStringLiteral("100.92.14.7"));
    EXPECT_TRUE(canPress(QStringLiteral("Save"))) << "the phone's name stands in the field by itself";
    model().setDisplayName({});
    settleWindow();
    EXPECT_FALSE(canPress(QStringLiteral("Save")));
    click(field(QStringLiteral("Display name")));
    type(QStringLiteral("Lena"));
    EXPECT_TRUE(canPress(QStringLiteral("Save")));
}

TEST_F(AddDeviceSheetTest, return_in_a_field_saves_when_everything_is_there_and_does_nothing_before) {
    seeTwoPhones();
    open();
    click(row(QStringLiteral("QA iPhone 13 mini")));
    click(tile(QStringLiteral("Manual IP")));
    click(field(QStringLiteral("Display name")));
    press(Qt::Key_Return);
    EXPECT_TRUE(model().isOpen());
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
    click(field(QStringLiteral("Manual IP IP address")));
    type(QStringLiteral(" 100.92.14.8 "));
    press(Qt::Key_Return);
    EXPECT_FALSE(model().isOpen());
    ASSERT_THAT(coordinator->profiles(), SizeIs(1));
    EXPECT_EQ(coordinator->profiles()[0].displayName, "QA iPhone 13 mini");
    EXPECT_EQ(coordinator->profiles()[0].providerIP, "100.92.14.8");
    EXPECT_EQ(text(QStringLiteral("3 · Display name")), nullptr) << "the sheet still stands there";
}

TEST_F(AddDeviceSheetTest, return_on_cancel_cancels) {
    seeTwoPhones();
    open();
    click(row(QStringLiteral("QA iPhone 13 mini")));
    click(tile(QStringLiteral("Manual IP")));
    click(field(QStringLiteral("Manual IP IP address")));
    type(QStringLiteral("100.92.14.8"));
    ASSERT_TRUE(canPress(QStringLiteral("Save")));
    control(QStringLiteral("Cancel"))->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_FALSE(model().isOpen());
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

TEST_F(AddDeviceSheetTest, escape_closes_it_from_wherever_the_focus_is_and_changes_nothing) {
    seeTwoPhones();
    show(QStringLiteral("MainWindow"));
    for (const char* name :
         {"iPhones found on the local network", "Refresh", "Manual IP", "Display name", "Cancel"}) {
        mainWindow->beginAdd();
        untilQuietSheet();
        control(QString::fromUtf8(name))->forceActiveFocus(Qt::TabFocusReason);
        settleWindow();
        press(Qt::Key_Escape);
        EXPECT_FALSE(model().isOpen()) << name;
    }
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

TEST_F(AddDeviceSheetTest, escape_still_works_when_the_last_phone_leaves_the_list_that_had_the_focus) {
    seeTwoPhones();
    open();
    ASSERT_EQ(focused(), QStringLiteral("iPhones found on the local network"));
    world.clock.advance(std::chrono::minutes(5));
    coordinator->pruneStaleCapturedServices(std::chrono::seconds(1));
    settleWindow();
    ASSERT_NE(text(QString::fromUtf8(scanning)), nullptr);
    press(Qt::Key_Tab);
    EXPECT_NE(focused(), QString());
    press(Qt::Key_Escape);
    EXPECT_FALSE(model().isOpen());
}

TEST_F(AddDeviceSheetTest, cancel_closes_it_and_changes_nothing) {
    seeTwoPhones();
    open();
    click(row(QStringLiteral("QA iPhone 13 mini")));
    click(control(QStringLiteral("Cancel")));
    EXPECT_FALSE(model().isOpen());
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

TEST_F(AddDeviceSheetTest, in_a_small_window_it_scrolls_to_what_gets_the_focus) {
    installAll();
    seeTwoPhones();
    open(QSize(760, 520));
    EXPECT_EQ(sheetRect().height(), 520 - 56);
    model().setSelectedRow(QStringLiteral("Lenas-iPhone.local"));
    control(QStringLiteral("Display name"))->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    ASSERT_EQ(focused(), QStringLiteral("Cancel"));
    EXPECT_EQ(visibleRect(control(QStringLiteral("Cancel"))).height(), 28);
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    EXPECT_EQ(visibleRect(control(QStringLiteral("Refresh"))).height(), 20);
    grab(QStringLiteral("add-small-light"));
}

TEST_F(AddDeviceSheetTest, escape_in_the_open_picker_closes_only_the_picker) {
    installAll();
    open();
    click(tile(QStringLiteral("Tailscale")));
    untilQuietSheet();
    QQuickItem* picker = control(QStringLiteral("Which device is this iPhone?"));
    picker->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    ASSERT_NE(ofType(QStringLiteral("PickerItem")), nullptr);
    press(Qt::Key_Escape);
    EXPECT_EQ(ofType(QStringLiteral("PickerItem")), nullptr);
    EXPECT_TRUE(model().isOpen());
    press(Qt::Key_Escape);
    EXPECT_FALSE(model().isOpen());
}

TEST_F(AddDeviceSheetTest, the_list_shows_its_focus_after_keys_and_not_after_the_mouse) {
    seeTwoPhones();
    open();
    QQuickItem* list = control(QStringLiteral("iPhones found on the local network"));
    const auto ringed = [&] { return ofType(QStringLiteral("FocusRing"), list) != nullptr; };
    EXPECT_FALSE(ringed());
    press(Qt::Key_Down);
    EXPECT_TRUE(ringed());
    click(row(QStringLiteral("QA iPhone 13 mini")));
    EXPECT_FALSE(ringed());
    press(Qt::Key_Tab);
    EXPECT_FALSE(ringed());
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(ringed());
}

}  // namespace
}  // namespace quillbay
