import QtQuick
import QtQuick.Layouts
import QtTest
import Quillbay

Item {
    id: place
    width: 700
    height: 500

    PushButton {
        id: below
        property int clicks: 0
        x: 10
        y: 10
        text: "Below"
        onClicked: clicks += 1
    }
    Shortcut {
        id: shortcut
        property int uses: 0
        sequence: "Ctrl+N"
        onActivated: uses += 1
    }
    Sheet {
        id: sheet
        property int dismissals: 0
        sheetWidth: 320
        cornerRadius: DS.radiusPanel
        initialFocus: name
        onDismissed: dismissals += 1

        ColumnLayout {
            width: parent.width
            InputField { id: name; name: "Device name"; Layout.fillWidth: true }
            PushButton { id: cancel; text: "Cancel" }
            Item { id: filler; implicitHeight: 10 }
            PushButton { id: save; text: "Save" }
        }
    }

    SignalSpy { id: cancels; target: cancel; signalName: "clicked" }

    TestCase {
        name: "Sheet"
        when: windowShown

        function init() {
            Appearance.reducedMotion = true;
            filler.implicitHeight = 10;
            sheet.dismissals = 0;
            below.clicks = 0;
            shortcut.uses = 0;
            mouseMove(place, 690, 490);
        }
        function cleanup() {
            sheet.open = false;
            tryCompare(sheet, "visibleNow", false);
            Appearance.reducedMotion = false;
        }
        function openSheet() {
            sheet.open = true;
            tryVerify(() => name.activeFocus);
        }
        function surface() {
            let at = name;
            while (at.parent && at.parent.parent) at = at.parent;
            return at;
        }
        function test_it_opens_in_the_middle_with_the_focus_where_it_was_asked_for() {
            openSheet();
            verify(name.activeFocus);
            const middle = name.mapToItem(place, name.width / 2, 0);
            verify(Math.abs(middle.x - 350) <= 1);
            compare(name.width, 320);
        }
        function test_tab_goes_round_within_it_and_never_below() {
            openSheet();
            keyClick(Qt.Key_Tab);
            verify(cancel.activeFocus);
            keyClick(Qt.Key_Tab);
            verify(save.activeFocus);
            keyClick(Qt.Key_Tab);
            verify(name.activeFocus);
            keyClick(Qt.Key_Backtab);
            verify(save.activeFocus);
            compare(below.activeFocus, false);
        }
        function test_escape_asks_for_its_dismissal_and_closes_nothing_itself() {
            openSheet();
            keyClick(Qt.Key_Escape);
            compare(sheet.dismissals, 1);
            compare(sheet.visibleNow, true);
        }
        function test_escape_on_a_button_of_it_dismisses_too() {
            openSheet();
            keyClick(Qt.Key_Tab);
            keyClick(Qt.Key_Escape);
            compare(sheet.dismissals, 1);
        }
        function test_what_is_below_cannot_be_clicked_or_typed_at() {
            mouseClick(below);
            compare(below.clicks, 1);
            openSheet();
            mouseClick(below);
            compare(below.clicks, 1);
            compare(sheet.visibleNow, true);
            compare(sheet.dismissals, 0);
            keyClick(Qt.Key_N, Qt.ControlModifier);
            compare(shortcut.uses, 0);
        }
        function test_the_shortcut_below_works_while_it_is_closed() {
            keyClick(Qt.Key_N, Qt.ControlModifier);
            compare(shortcut.uses, 1);
        }
        function test_the_focus_returns_to_where_it_was() {
            below.forceActiveFocus(Qt.TabFocusReason);
            openSheet();
            compare(below.activeFocus, false);
            sheet.open = false;
            tryVerify(() => below.activeFocus);
        }
        function test_a_high_sheet_scrolls_to_what_gets_the_focus() {
            filler.implicitHeight = 900;
            openSheet();
            keyClick(Qt.Key_Tab);
            keyClick(Qt.Key_Tab);
            verify(save.activeFocus);
            tryVerify(() => {
                const y = save.mapToItem(place, 0, 0).y;
                return y >= 28 && y + save.height <= 500 - 28;
            });
            keyClick(Qt.Key_Tab);
            tryVerify(() => name.mapToItem(place, 0, 0).y >= 28);
        }
        function test_a_high_sheet_leaves_56_of_the_window() {
            filler.implicitHeight = 900;
            openSheet();
            tryVerify(() => name.mapToItem(place, 0, 0).y === 28);
        }
        function test_its_buttons_can_be_clicked() {
            openSheet();
            cancels.clear();
            mouseClick(cancel);
            compare(cancels.count, 1);
        }
        function test_the_wheel_scrolls_a_high_sheet() {
            filler.implicitHeight = 900;
            openSheet();
            const before = name.mapToItem(place, 0, 0).y;
            mouseWheel(place, 350, 250, 0, -240);
            tryVerify(() => name.mapToItem(place, 0, 0).y < before);
        }
        function test_dragging_its_ground_scrolls_nothing() {
            filler.implicitHeight = 900;
            openSheet();
            tryVerify(() => name.mapToItem(place, 0, 0).y === 28);
            mouseDrag(place, 450, 300, 0, -150);
            wait(50);
            compare(name.mapToItem(place, 0, 0).y, 28);
        }
        function test_it_moves_in_with_motion_and_stands_at_once_without() {
            openSheet();
            Appearance.reducedMotion = false;
            sheet.open = false;
            compare(sheet.visibleNow, true);
            tryCompare(sheet, "visibleNow", false);
        }
    }
}
