#include <QAccessible>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>

#include "ui/ShownMainWindow.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;

class MainWindowSidebar : public ShownMainWindow {
 protected:
    [[nodiscard]] QColor groundOf(QQuickItem* row) const {
        return row->property("background").value<QQuickItem*>()->property("color").value<QColor>();
    }
    /// The sidebar's edge, by its grip.
    [[nodiscard]] QPoint divider() const { return {static_cast<int>(mainWindow->sidebarWidth()) - 1, 400}; }
    void drag(int distance) {
        const QPoint from = divider();
        QTest::mousePress(window.get(), Qt::LeftButton, Qt::NoModifier, from);
        for (int step = 1; step <= 4; ++step)
            QTest::mouseMove(window.get(), from + QPoint(distance * step / 4, 0));
        QTest::mouseRelease(window.get(), Qt::LeftButton, Qt::NoModifier, from + QPoint(distance, 0));
        settleWindow();
    }
    /// One event of the left button, `offset` beside the divider as it was at `from`.
    void mouse(QEvent::Type type, QPoint from, int offset = 0) {
        const QPointF at = from + QPoint(offset, 0);
        const bool up = type == QEvent::MouseButtonRelease;
        QMouseEvent event(type, at, window->mapToGlobal(at),
                          type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                          up ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window.get(), &event);
    }
    /// What the open menu offers.
    [[nodiscard]] QStringList menuTexts() const { return texts(ofType("QQuickPopupItem")); }
};

TEST_F(MainWindowSidebar, says_what_to_do_when_no_device_has_been_added) {
    show("MainWindow");
    EXPECT_THAT(
        texts(),
        ElementsAre("Devices", "No device added yet", "Add an iPhone to bridge it over your mesh network.",
                    "Select a device from the list on the left to see its details, live status, and logs.",
                    mainWindow->footer()));
    EXPECT_NE(control("No device added yet. Add an iPhone to bridge it over your mesh network."), nullptr);
}

TEST_F(MainWindowSidebar, plus_pairs_a_new_iphone) {
    show("MainWindow");
    QQuickItem* const plus = control("Pair a new iPhone");
    ASSERT_NE(plus, nullptr);
    EXPECT_EQ(plus->property("symbol"), "plus");
    EXPECT_EQ(plus->property("help"), "Pair a new iPhone");
    EXPECT_TRUE(plus->property("inviting").toBool());
    click(plus);
    EXPECT_TRUE(mainWindow->addDevice()->isOpen());
    EXPECT_EQ(mainWindow->addDevice()->title(), "Add Device");
}

TEST_F(MainWindowSidebar, plus_invites_only_while_there_is_no_device) {
    save("iphone");
    show("MainWindow");
    EXPECT_FALSE(control("Pair a new iPhone")->property("inviting").toBool());
    EXPECT_EQ(text("No device added yet"), nullptr);
}

TEST_F(MainWindowSidebar, lists_the_devices_with_their_live_status) {
    threeDevices();
    show("MainWindow");
    EXPECT_THAT(
        texts(ofType("DeviceList")),
        ElementsAre("Lena's iPhone 16 Pro", "Bridge active", "QA iPhone 13 mini",
                    "Error: Couldn't determine this Mac's network address.", "Spare iPhone SE", "Off"));
    EXPECT_NE(control("Lena's iPhone 16 Pro, Bridge active"), nullptr);
    EXPECT_NE(control("QA iPhone 13 mini, Error: Couldn't determine this Mac's network address."), nullptr);
    pair(spare);
    EXPECT_NE(control("Spare iPhone SE, Pairing…"), nullptr);
}

TEST_F(MainWindowSidebar, a_click_selects_a_device) {
    threeDevices();
    show("MainWindow");
    click(row(spare));
    EXPECT_EQ(mainWindow->selection(), idOf(spare));
    EXPECT_TRUE(row(spare)->property("selected").toBool());
    EXPECT_FALSE(row(qa)->property("selected").toBool());
}

TEST_F(MainWindowSidebar, the_arrow_keys_go_through_the_devices_and_stay_at_the_ends) {
    threeDevices();
    show("MainWindow");
    select(lena);
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    QStringList went;
    for (const Qt::Key key :
         {Qt::Key_Up, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Home, Qt::Key_End, Qt::Key_Up}) {
        press(key);
        went.append(mainWindow->selection());
    }
    EXPECT_THAT(
        went, ElementsAre(idOf(lena), idOf(qa), idOf(spare), idOf(spare), idOf(lena), idOf(spare), idOf(qa)));
}

TEST_F(MainWindowSidebar, down_selects_the_first_device_where_none_is_selected) {
    threeDevices();
    show("MainWindow");
    mainWindow->setSelection({});
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Down);
    EXPECT_EQ(mainWindow->selection(), idOf(lena));
}

TEST_F(MainWindowSidebar, the_selected_row_has_the_ring_of_the_list) {
    threeDevices();
    show("MainWindow");
    select(qa);
    control("Pair a new iPhone")->forceActiveFocus(Qt::MouseFocusReason);
    press(Qt::Key_Tab);
    EXPECT_NE(ofType("FocusRing", row(qa)), nullptr);
    select(lena);
    QQuickItem* const ring = ofType("FocusRing", row(lena))->childItems().at(0);
    EXPECT_EQ(visibleRect(ring).size(), QSizeF(row(lena)->width() + 8, row(lena)->height() + 8))
        << "the first row's ring is not cut off";
    select(qa);
    EXPECT_EQ(ofType("FocusRing", row(lena)), nullptr);
    click(row(lena));
    EXPECT_EQ(ofType("FocusRing", row(lena)), nullptr) << "the mouse needs no ring";
}

TEST_F(MainWindowSidebar, a_row_offers_its_actions_under_the_pointer_and_while_it_is_selected) {
    threeDevices();
    show("MainWindow");
    select(lena);
    EXPECT_NE(control("Actions for Lena's iPhone 16 Pro"), nullptr);
    EXPECT_EQ(control("Actions for Spare iPhone SE"), nullptr);
    hover(row(spare));
    EXPECT_NE(control("Actions for Spare iPhone SE"), nullptr);
    hover(row(qa));
    EXPECT_EQ(control("Actions for Spare iPhone SE"), nullptr);
}

TEST_F(MainWindowSidebar, the_actions_button_opens_the_actions_of_its_row) {
    threeDevices();
    show("MainWindow");
    hover(row(spare));
    click(control("Actions for Spare iPhone SE"));
    EXPECT_THAT(menuTexts(), ElementsAre("Edit", "Rename", "Remove"));
    click(control("Rename"));
    EXPECT_TRUE(mainWindow->rename()->isOpen());
    EXPECT_EQ(mainWindow->rename()->text(), "Spare iPhone SE");
    EXPECT_EQ(mainWindow->selection(), "") << "to look at a row's actions is not to select it";
}

TEST_F(MainWindowSidebar, a_right_click_opens_the_actions_and_remove_asks_first) {
    threeDevices();
    show("MainWindow");
    click(row(spare), Qt::RightButton);
    click(control("Remove"));
    ASSERT_TRUE(mainWindow->removal()->isOpen());
    EXPECT_EQ(mainWindow->removal()->title(), "Remove \"Spare iPhone SE\"?");
    EXPECT_EQ(profiles->count(), 3);
}

TEST_F(MainWindowSidebar, a_menu_that_the_right_button_opened_takes_keys) {
    threeDevices();
    show("MainWindow");
    click(row(spare), Qt::RightButton);
    press(Qt::Key_Escape);
    EXPECT_TRUE(until([&] { return ofType("QQuickPopupItem") == nullptr; }));
    click(row(spare), Qt::RightButton);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_TRUE(mainWindow->rename()->isOpen());
}

TEST_F(MainWindowSidebar, edit_opens_the_device_of_its_row) {
    threeDevices();
    show("MainWindow");
    click(row(spare), Qt::RightButton);
    click(control("Edit"));
    ASSERT_TRUE(mainWindow->addDevice()->isOpen());
    EXPECT_EQ(mainWindow->addDevice()->title(), "Edit Device");
    EXPECT_EQ(mainWindow->addDevice()->displayName(), "Spare iPhone SE");
}

TEST_F(MainWindowSidebar, edit_is_unavailable_while_the_bridge_runs_and_says_why) {
    threeDevices();
    show("MainWindow");
    click(row(lena), Qt::RightButton);
    QQuickItem* const edit = control("Edit");
    ASSERT_NE(edit, nullptr);
    EXPECT_FALSE(edit->isEnabled());
    EXPECT_TRUE(control("Rename")->isEnabled());
    EXPECT_EQ(text("Stop the bridge before editing this device."), nullptr);
    hover(edit);
    EXPECT_TRUE(until([&] { return text("Stop the bridge before editing this device.") != nullptr; }));
    click(edit);
    EXPECT_FALSE(mainWindow->addDevice()->isOpen());
}

TEST_F(MainWindowSidebar, edit_becomes_available_in_the_open_menu_when_the_bridge_stops) {
    threeDevices();
    show("MainWindow");
    click(row(lena), Qt::RightButton);
    ASSERT_FALSE(control("Edit")->isEnabled());
    coordinator->stop(lena);
    settleWindow();
    EXPECT_TRUE(control("Edit")->isEnabled());
}

TEST_F(MainWindowSidebar, the_actions_close_when_their_device_goes) {
    threeDevices();
    show("MainWindow");
    click(row(spare), Qt::RightButton);
    ASSERT_THAT(menuTexts(), ElementsAre("Edit", "Rename", "Remove"));
    coordinator->deleteProfile(stored(spare));
    settleWindow();
    EXPECT_EQ(ofType("QQuickPopupItem"), nullptr);
    click(row(qa), Qt::RightButton);
    click(control("Rename"));
    EXPECT_EQ(mainWindow->rename()->text(), "QA iPhone 13 mini");
}

TEST_F(MainWindowSidebar, the_keyboard_goes_on_when_the_only_device_was_removed) {
    makeModels();
    spare = save("spare-se");
    show("MainWindow");
    select(spare);
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Delete);
    ASSERT_TRUE(until([&] { return focused() == "Cancel"; }));
    press(Qt::Key_Tab);
    press(Qt::Key_Return);
    ASSERT_TRUE(until([&] { return profiles->count() == 0; }));
    settleWindow();
    EXPECT_EQ(tabStops(1), QStringList{"Pair a new iPhone"});
}

TEST_F(MainWindowSidebar, the_list_and_its_rows_are_told_to_those_who_cannot_see_them) {
    threeDevices();
    show("MainWindow");
    select(spare);
    const auto seen = [](QQuickItem* item) { return QAccessible::queryAccessibleInterface(item); };
    EXPECT_EQ(seen(ofType("DeviceList"))->role(), QAccessible::List);
    EXPECT_EQ(seen(ofType("LogConsole"))->role(), QAccessible::List);
    EXPECT_EQ(seen(row(spare))->role(), QAccessible::ListItem);
    EXPECT_TRUE(seen(row(spare))->state().selected);
    EXPECT_FALSE(seen(row(qa))->state().selected);
    EXPECT_EQ(seen(control("Start Bridge"))->role(), QAccessible::CheckBox);
    EXPECT_EQ(seen(text("Danger Zone"))->role(), QAccessible::Heading);
}

TEST_F(MainWindowSidebar, the_menu_key_and_shift_f10_open_the_actions_which_the_keyboard_works) {
    threeDevices();
    show("MainWindow");
    select(spare);
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Menu);
    EXPECT_THAT(menuTexts(), ElementsAre("Edit", "Rename", "Remove"));
    press(Qt::Key_Escape);
    EXPECT_EQ(ofType("QQuickPopupItem"), nullptr);
    EXPECT_EQ(focused(), "Devices");
    press(Qt::Key_F10, Qt::ShiftModifier);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_TRUE(mainWindow->rename()->isOpen());
}

TEST_F(MainWindowSidebar, the_keyboard_returns_to_the_list_from_a_sheet_that_the_actions_opened) {
    threeDevices();
    show("MainWindow");
    select(spare);
    for (const bool motion : {false, true}) {
        appearance->setReducedMotion(!motion);
        ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
        press(Qt::Key_Menu);
        ASSERT_TRUE(until([&] { return focused() != "Devices"; }));
        press(Qt::Key_Down);
        press(Qt::Key_Down);
        press(Qt::Key_Return);
        ASSERT_TRUE(until([&] { return focused() == "Device name"; }));
        // The menu fades away meanwhile, and takes nothing with it.
        QTest::qWait(200);
        EXPECT_EQ(focused(), "Device name");
        press(Qt::Key_Escape);
        EXPECT_TRUE(until([&] { return focused() == "Devices"; }));
        QTest::qWait(200);
        EXPECT_EQ(focused(), "Devices");
    }
}

TEST_F(MainWindowSidebar, f2_renames_and_delete_asks_for_removal) {
    threeDevices();
    show("MainWindow");
    select(qa);
    ofType("DeviceList")->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_F2);
    EXPECT_TRUE(mainWindow->rename()->isOpen());
    EXPECT_EQ(mainWindow->rename()->text(), "QA iPhone 13 mini");
    press(Qt::Key_Escape);
    EXPECT_FALSE(mainWindow->rename()->isOpen());
    press(Qt::Key_Delete);
    EXPECT_TRUE(mainWindow->removal()->isOpen());
    EXPECT_EQ(mainWindow->removal()->title(), "Remove \"QA iPhone 13 mini\"?");
}

TEST_F(MainWindowSidebar, the_selection_is_grey_while_another_window_is_active) {
    threeDevices();
    show("MainWindow");
    select(lena);
    EXPECT_EQ(groundOf(row(lena)), QColor::fromRgbF(0, 122 / 255.0F, 1, 0.13F));
    QQuickWindow other;
    other.show();
    other.requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    settleWindow();
    EXPECT_EQ(groundOf(row(lena)), QColor::fromRgbF(0, 0, 0, 0.07F));
}

TEST_F(MainWindowSidebar, a_long_status_and_a_long_name_are_whole_in_their_help_texts) {
    makeModels();
    const std::string name = "The iPhone that nobody in this office has ever seen unlocked";
    const DeviceProfile longOne = named(save("iphone"), name);
    fail(longOne);
    show("MainWindow");
    hover(text(QString::fromStdString(name), row(longOne)));
    EXPECT_TRUE(until([&] {
        QQuickItem* const help = ofType("QQuickPopupItem");
        return help != nullptr && text(QString::fromStdString(name), help) != nullptr;
    }));
}

TEST_F(MainWindowSidebar, the_divider_follows_the_mouse_between_its_bounds) {
    show("MainWindow");
    EXPECT_EQ(mainWindow->sidebarWidth(), 248);
    drag(40);
    EXPECT_EQ(mainWindow->sidebarWidth(), 288);
    EXPECT_EQ(ofType("Sidebar")->width(), 288);
    drag(300);
    EXPECT_EQ(mainWindow->sidebarWidth(), 340);
    drag(-300);
    EXPECT_EQ(mainWindow->sidebarWidth(), 208);
    EXPECT_EQ(settings->string("window.sidebarWidth"), "208");
}

TEST_F(MainWindowSidebar, a_double_click_on_the_divider_takes_the_usual_width) {
    show("MainWindow");
    drag(60);
    QTest::mouseDClick(window.get(), Qt::LeftButton, Qt::NoModifier, divider());
    settleWindow();
    EXPECT_EQ(mainWindow->sidebarWidth(), 248);
}

TEST_F(MainWindowSidebar, a_double_click_that_trembles_takes_the_usual_width_too) {
    show("MainWindow");
    drag(60);
    const QPoint from = divider();
    mouse(QEvent::MouseButtonPress, from);
    mouse(QEvent::MouseButtonRelease, from);
    mouse(QEvent::MouseButtonPress, from);
    mouse(QEvent::MouseButtonDblClick, from);
    EXPECT_EQ(mainWindow->sidebarWidth(), 248);
    mouse(QEvent::MouseMove, from, 1);
    mouse(QEvent::MouseMove, from, 0);
    mouse(QEvent::MouseButtonRelease, from);
    settleWindow();
    EXPECT_EQ(mainWindow->sidebarWidth(), 248);
    EXPECT_EQ(settings->string("window.sidebarWidth"), "248");
}

TEST_F(MainWindowSidebar, the_divider_is_nine_points_wide_and_says_what_it_does) {
    show("MainWindow");
    QQuickItem* const grip = ofType("SidebarDivider");
    EXPECT_EQ(grip->width(), 9);
    EXPECT_EQ(grip->mapRectToScene(QRectF(0, 0, 9, 1)).x(), 243);
    EXPECT_EQ(grip->property("cursorShape").toInt(), Qt::SplitHCursor);
}

TEST_F(MainWindowSidebar, fifty_devices_scroll_and_the_selected_one_comes_into_sight) {
    makeModels();
    std::vector<DeviceProfile> all;
    for (int i = 0; i < 50; ++i)
        all.push_back(save("iphone-" + std::to_string(i)));
    show("MainWindow");
    EXPECT_EQ(row(all.back()), nullptr);
    select(all.back());
    ASSERT_NE(row(all.back()), nullptr);
    const QRectF seen = visibleRect(row(all.back()));
    EXPECT_EQ(seen.height(), 48);
}

}  // namespace
}  // namespace quillbay
