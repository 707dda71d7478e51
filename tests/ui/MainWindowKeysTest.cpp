#include <QSignalSpy>
#include <QTest>

#include "ui/ShownMainWindow.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;

class MainWindowKeys : public ShownMainWindow {};

TEST_F(MainWindowKeys, tab_goes_through_everything_in_order_and_back) {
    offerUpdate("1.5.0");
    threeDevices();
    show("MainWindow");
    findUpdate();
    select(spare);
    mainWindow->setLogExpanded(true);
    settleWindow();
    EXPECT_THAT(tabStops(10), ElementsAre("Pair a new iPhone", "Devices", "Quillbay 1.5.0 is available",
                                          "Start Bridge", "Scan port (probe device)", "Clear log", "Collapse",
                                          "Log", "Remove device", "Pair a new iPhone"));
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), "Remove device");
}

TEST_F(MainWindowKeys, tab_reaches_stop_while_a_scan_runs) {
    makeModels();
    spare = save("spare");
    show("MainWindow");
    select(spare);
    click(control("Scan port (probe device)"));
    control("Start Bridge")->forceActiveFocus(Qt::TabFocusReason);
    ASSERT_TRUE(mainWindow->detail()->scanning());
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "Stop scan");
}

TEST_F(MainWindowKeys, tab_stays_in_the_sidebar_where_there_is_nothing_else) {
    show("MainWindow");
    EXPECT_THAT(tabStops(2), ElementsAre("Pair a new iPhone", "Pair a new iPhone"));
}

TEST_F(MainWindowKeys, what_gets_the_keyboard_scrolls_into_sight) {
    makeModels();
    spare = save("spare");
    show("MainWindow", {760, 520});
    select(spare);
    QQuickItem* const remove = ofType("PushButton", ofType("DangerZone"));
    EXPECT_TRUE(visibleRect(remove).isEmpty());
    remove->forceActiveFocus(Qt::TabFocusReason);
    settleWindow();
    EXPECT_EQ(visibleRect(remove).height(), 28);
    control("Start Bridge")->forceActiveFocus(Qt::BacktabFocusReason);
    settleWindow();
    EXPECT_EQ(visibleRect(control("Start Bridge")).height(), 22);
}

TEST_F(MainWindowKeys, control_n_opens_the_add_device_sheet) {
    show("MainWindow");
    press(Qt::Key_N, Qt::ControlModifier);
    EXPECT_TRUE(mainWindow->addDevice()->isOpen());
    EXPECT_EQ(mainWindow->addDevice()->title(), "Add Device");
}

TEST_F(MainWindowKeys, control_n_waits_while_a_sheet_is_open) {
    makeModels();
    spare = save("spare");
    show("MainWindow");
    mainWindow->beginRename(idOf(spare));
    settleWindow();
    press(Qt::Key_N, Qt::ControlModifier);
    EXPECT_FALSE(mainWindow->addDevice()->isOpen());
}

TEST_F(MainWindowKeys, control_comma_opens_the_settings_and_control_q_quits) {
    show("MainWindow");
    const QSignalSpy opened(actions.get(), &AppActions::showSettings);
    const QSignalSpy quit(actions.get(), &AppActions::quit);
    press(Qt::Key_Comma, Qt::ControlModifier);
    EXPECT_EQ(opened.count(), 1);
    EXPECT_EQ(quit.count(), 0);
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quit.count(), 1);
}

TEST_F(MainWindowKeys, control_w_closes_the_window) {
    show("MainWindow");
    QTest::keyClick(window.get(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_TRUE(until([this] { return !window->isVisible(); }));
}

TEST_F(MainWindowKeys, the_rename_sheet_begins_with_the_name_selected_and_return_saves) {
    makeModels();
    spare = save("spare");
    show("MainWindow");
    select(spare);
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_F2);
    EXPECT_THAT(texts(ofType("QQuickPopupItem")), ElementsAre("Rename Device", "Cancel", "Save"));
    EXPECT_EQ(focused(), "Device name");
    type("Workshop");
    EXPECT_EQ(control("Device name")->property("text"), "Workshop");
    press(Qt::Key_Return);
    EXPECT_FALSE(mainWindow->rename()->isOpen());
    EXPECT_EQ(stored(spare).displayName, "Workshop");
    EXPECT_EQ(focused(), "Devices");
}

TEST_F(MainWindowKeys, the_rename_sheet_begins_with_the_name_selected_every_time) {
    makeModels();
    spare = save("spare");
    show("MainWindow");
    for (int round = 0; round < 2; ++round) {
        mainWindow->beginRename(idOf(spare));
        settleWindow();
        EXPECT_EQ(control("Device name")->property("selectedText"), "spare");
        type("x");
        EXPECT_EQ(control("Device name")->property("text"), "x");
        press(Qt::Key_Escape);
    }
    EXPECT_EQ(stored(spare).displayName, "spare");
}

TEST_F(MainWindowKeys, a_device_cannot_be_renamed_to_nothing) {
    makeModels();
    spare = save("spare");
    show("MainWindow");
    mainWindow->beginRename(idOf(spare));
    settleWindow();
    EXPECT_TRUE(control("Save")->isEnabled());
    type(" ");
    EXPECT_FALSE(control("Save")->isEnabled());
    press(Qt::Key_Return);
    EXPECT_TRUE(mainWindow->rename()->isOpen());
    click(control("Cancel"));
    EXPECT_FALSE(mainWindow->rename()->isOpen());
    EXPECT_EQ(stored(spare).displayName, "spare");
}

TEST_F(MainWindowKeys, tab_stays_within_a_sheet) {
    makeModels();
    spare = save("spare");
    show("MainWindow");
    mainWindow->beginRename(idOf(spare));
    settleWindow();
    EXPECT_THAT(tabStops(4), ElementsAre("Cancel", "Save", "Device name", "Cancel"));
}

TEST_F(MainWindowKeys, what_lies_below_a_sheet_cannot_be_clicked) {
    threeDevices();
    show("MainWindow");
    select(lena);
    mainWindow->beginRename(idOf(spare));
    settleWindow();
    click(row(qa));
    EXPECT_EQ(mainWindow->selection(), idOf(lena));
    EXPECT_TRUE(mainWindow->rename()->isOpen());
}

TEST_F(MainWindowKeys, the_removal_dialog_begins_at_cancel_and_return_removes_nothing) {
    threeDevices();
    show("MainWindow");
    select(spare);
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Delete);
    EXPECT_THAT(
        texts(ofType("QQuickPopupItem")),
        ElementsAre("Remove \"Spare iPhone SE\"?",
                    "The profile and bridge settings will be permanently deleted. This can't be undone.",
                    "Cancel", "Remove"));
    EXPECT_EQ(focused(), "Cancel");
    press(Qt::Key_Return);
    EXPECT_FALSE(mainWindow->removal()->isOpen());
    EXPECT_EQ(profiles->count(), 3);
    EXPECT_EQ(focused(), "Devices");
}

TEST_F(MainWindowKeys, return_removes_when_remove_has_the_keyboard) {
    threeDevices();
    show("MainWindow");
    select(spare);
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Delete);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "Remove");
    press(Qt::Key_Return);
    EXPECT_EQ(profiles->count(), 2);
    EXPECT_EQ(focused(), "Devices");
}

TEST_F(MainWindowKeys, escape_leaves_the_removal_dialog) {
    threeDevices();
    show("MainWindow");
    mainWindow->askRemoval(idOf(spare));
    settleWindow();
    press(Qt::Key_Escape);
    EXPECT_FALSE(mainWindow->removal()->isOpen());
    EXPECT_EQ(profiles->count(), 3);
}

TEST_F(MainWindowKeys, the_keyboard_returns_to_where_it_was_when_the_add_device_sheet_closes) {
    show("MainWindow");
    press(Qt::Key_Tab);
    ASSERT_EQ(focused(), "Pair a new iPhone");
    press(Qt::Key_Space);
    ASSERT_TRUE(mainWindow->addDevice()->isOpen());
    press(Qt::Key_Escape);
    EXPECT_FALSE(mainWindow->addDevice()->isOpen());
    EXPECT_EQ(focused(), "Pair a new iPhone");
}

}  // namespace
}  // namespace quillbay
