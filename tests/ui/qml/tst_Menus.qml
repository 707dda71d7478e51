import QtQuick
import QtTest
import Quillbay
import QuillbayTest

Item {
    id: place
    width: 600
    height: 400

    Component {
        id: menu
        ActionMenu {
            property alias edit: editItem
            property alias rename: renameItem
            property alias remove: removeItem
            ActionMenuItem { id: editItem; text: "Edit"; symbol: "pencil"; enabled: false; help: "Stop the bridge before editing this device." }
            ActionMenuItem { id: renameItem; text: "Rename"; symbol: "textformat" }
            MenuDivider {}
            ActionMenuItem { id: removeItem; text: "Remove"; symbol: "trash"; destructive: true }
        }
    }
    Component { id: spy; SignalSpy {} }
    Component { id: host; Item { width: 100; height: 20; property alias help: help; HelpText { id: help; delay: 0 } } }

    TestCase {
        name: "Menus"
        when: windowShown

        function init() {
            Appearance.dark = false;
            Appearance.reducedMotion = true;
            Appearance.fontFamily = "Inter";
            mouseMove(place, 590, 390);
        }
        function cleanup() { Appearance.reducedMotion = false; }
        function make(component, properties) { return createTemporaryObject(component, place, properties || {}); }
        function opened() {
            const item = make(menu, { x: 20, y: 20 });
            item.open();
            tryCompare(item, "opened", true);
            return item;
        }
        function texts(item, found) {
            found = found || [];
            if (!item.visible) return found;
            if (item.textStyle && item.font) found.push(item.text);
            for (const child of Array.from(item.children)) texts(child, found);
            return found;
        }
        function seen(text) {
            let top = place;
            while (top.parent) top = top.parent;
            return texts(top).indexOf(text) >= 0;
        }

        function test_a_menu_has_rows_of_26_within_6() {
            const item = opened();
            compare(item.width, 152);
            compare(item.height, 6 + 26 + 26 + 9 + 26 + 6);
            compare(item.rename.height, 26);
            compare(item.rename.mapToItem(item.contentItem.parent, 0, 0).x, 6);
        }
        function test_a_menu_is_as_wide_as_its_longest_text() {
            const item = make(menu, { x: 20, y: 20 });
            item.rename.text = "Rename this device to something else";
            item.open();
            tryCompare(item, "opened", true);
            verify(item.width > 200);
            const label = findChild(item.rename, "label");
            compare(label.truncated, false);
        }
        function test_a_click_acts_and_closes() {
            const item = opened();
            const triggered = make(spy, { target: item.rename, signalName: "triggered" });
            mouseMove(item.rename, 10, 10);
            tryCompare(item.rename, "highlighted", true);
            compare(String(item.rename.background.color), "#0066db");
            mouseClick(item.rename);
            compare(triggered.count, 1);
            tryCompare(item, "visible", false);
        }
        function test_arrows_and_return_act_data() {
            return [{ tag: "return", key: Qt.Key_Return }, { tag: "space", key: Qt.Key_Space }];
        }
        function test_arrows_and_return_act(data) {
            const item = opened();
            const triggered = make(spy, { target: item.remove, signalName: "triggered" });
            for (let i = 0; i < 5 && !item.remove.highlighted; ++i) keyClick(Qt.Key_Down);
            verify(item.remove.highlighted);
            keyClick(data.key);
            compare(triggered.count, 1);
            tryCompare(item, "visible", false);
        }
        function test_escape_closes_and_does_nothing() {
            const item = opened();
            const triggered = make(spy, { target: item.rename, signalName: "triggered" });
            keyClick(Qt.Key_Down);
            keyClick(Qt.Key_Escape);
            tryCompare(item, "visible", false);
            compare(triggered.count, 0);
        }
        function test_an_unavailable_action_does_nothing_and_says_why() {
            const item = opened();
            const triggered = make(spy, { target: item.edit, signalName: "triggered" });
            compare(seen("Stop the bridge before editing this device."), false);
            mouseMove(item.edit, 10, 10);
            mouseMove(item.edit, 14, 12);
            tryVerify(() => seen("Stop the bridge before editing this device."), 2000);
            mouseClick(item.edit);
            compare(triggered.count, 0);
            mouseMove(item.remove, 10, 10);
            tryVerify(() => !seen("Stop the bridge before editing this device."), 2000);
            item.close();
        }
        function test_an_available_action_says_nothing() {
            const item = make(menu, { x: 20, y: 20 });
            item.edit.enabled = true;
            item.open();
            tryCompare(item, "opened", true);
            mouseMove(item.edit, 10, 10);
            mouseMove(item.edit, 14, 12);
            wait(500);
            compare(seen("Stop the bridge before editing this device."), false);
            item.close();
        }
        function test_items_tell_their_names_and_why_they_are_unavailable() {
            const item = opened();
            compare(Samples.accessibleName(item.rename), "Rename");
            compare(Samples.accessibleRole(item.rename), "MenuItem");
            compare(item.edit.Accessible.description, "Stop the bridge before editing this device.");
            compare(item.rename.Accessible.description, "");
        }
        function test_a_destructive_action_is_red() {
            const item = opened();
            compare(String(findChild(item.remove, "label").color), "#ab140e");
            compare(String(findChild(item.rename, "label").color), "#1c1c1f");
        }

        function test_a_help_text_shows_while_it_is_asked_for() {
            const item = make(host, { x: 200, y: 100 });
            item.help.text = "Stop the bridge before editing this device.";
            compare(item.help.visible, false);
            item.help.shown = true;
            tryCompare(item.help, "opened", true);
            compare(item.help.height, 13 + 2 * 6);
            item.help.shown = false;
            tryCompare(item.help, "visible", false);
        }
        function test_a_help_text_without_words_does_not_show() {
            const item = make(host, { x: 200, y: 100 });
            item.help.shown = true;
            wait(50);
            compare(item.help.visible, false);
        }
        function test_a_long_help_text_wraps_and_stays_in_the_window() {
            const item = make(host, { x: 560, y: 380 });
            item.help.text = "word ".repeat(60);
            item.help.shown = true;
            tryCompare(item.help, "opened", true);
            verify(item.help.width <= 318);
            verify(item.help.height > 50);
            const corner = item.help.contentItem.mapToItem(place, item.help.contentItem.width, item.help.contentItem.height);
            verify(corner.x <= 600 - 8);
            verify(corner.y <= 400 - 8);
            item.help.shown = false;
        }
    }
}
