import QtQuick
import QtTest
import Quillbay
import QuillbayTest

Item {
    id: place
    width: 600
    height: 400

    Component {
        id: row
        Row {
            property alias first: save
            property alias second: refresh
            property alias third: plus
            property alias fourth: toggle
            spacing: 12
            PushButton { id: save; text: "Save"; role: PushButton.Prominent }
            LinkButton { id: refresh; text: "Refresh" }
            IconButton { id: plus; symbol: "plus"; help: "Pair a new iPhone" }
            ToggleSwitch { id: toggle; name: "Start Bridge" }
        }
    }
    Component { id: push; PushButton {} }
    Component { id: link; LinkButton {} }
    Component { id: icon; IconButton { symbol: "plus"; help: "Pair a new iPhone" } }
    Component { id: toggle; ToggleSwitch { name: "Start Bridge" } }
    Component { id: spy; SignalSpy {} }
    Component {
        id: boundSwitch
        ToggleSwitch {
            property bool running: false
            name: "Start Bridge"
            checked: running
        }
    }

    TestCase {
        name: "Buttons"
        when: windowShown

        function init() {
            Appearance.dark = false;
            Appearance.reducedMotion = true;
            Appearance.fontFamily = "Inter";
            mouseMove(place, 590, 390);
        }
        function cleanup() { Appearance.reducedMotion = false; }
        function make(component, properties) { return createTemporaryObject(component, place, properties || {}); }
        function spyOn(item, name) { return make(spy, { target: item, signalName: name }); }

        function test_a_push_button_is_28_high_and_at_least_72_wide() {
            const button = make(push, { text: "OK" });
            compare(button.height, 28);
            compare(button.width, 72);
        }
        function test_a_push_button_is_as_wide_as_its_text_and_padding() {
            const button = make(push, { text: "Send diagnostics to support team", symbol: "paperplane" });
            const label = labelOf(button);
            compare(label.text, "Send diagnostics to support team");
            compare(label.truncated, false);
            compare(button.leftPadding, 13);
            verify(button.width >= 13 + 14 + 6 + label.implicitWidth + 13);
            verify(button.width < 13 + 14 + 6 + label.implicitWidth + 13 + 1);
        }
        function test_a_text_that_does_not_fit_is_elided_inside_the_button() {
            const button = make(push, { text: "Scan port (probe device)", symbol: "stethoscope", width: 120 });
            const label = labelOf(button);
            compare(label.truncated, true);
            verify(label.mapToItem(button, label.width, 0).x <= 120 - 13);
        }
        function labelOf(button) { return findChild(button, "label"); }
        function test_the_fill_says_the_role_and_the_state_data() {
            return [
                { tag: "standard", role: PushButton.Standard, normal: DS.control, hover: "#f1f1f4", pressed: DS.controlPressed },
                { tag: "prominent", role: PushButton.Prominent, normal: "#0066db", hover: "#0a70e6", pressed: "#0055b8" },
                { tag: "remove", role: PushButton.Remove, normal: "#c9211a", hover: DS.redFillHover, pressed: DS.redFillPressed },
                { tag: "destructive", role: PushButton.Destructive, normal: DS.dangerControl, hover: DS.dangerControlHover, pressed: DS.dangerControlPressed },
                { tag: "danger", role: PushButton.Danger, normal: DS.dangerControl, hover: DS.dangerControlHover, pressed: DS.dangerControlPressed }
            ];
        }
        function test_the_fill_says_the_role_and_the_state(data) {
            const button = make(push, { text: "Go", role: data.role, x: 20, y: 20 });
            tryCompare(button.background, "fill", data.normal);
            mouseMove(button, 10, 10);
            tryCompare(button.background, "fill", data.hover);
            mousePress(button, 10, 10);
            tryCompare(button.background, "fill", data.pressed);
            mouseRelease(button, 10, 10);
            tryCompare(button.background, "fill", data.hover);
        }
        function test_each_button_is_pressed_by_a_key_data() {
            const rows = [];
            for (const index of [0, 1, 2])
                for (const key of [["space", Qt.Key_Space], ["return", Qt.Key_Return], ["enter", Qt.Key_Enter]])
                    rows.push({ tag: index + " " + key[0], index: index, key: key[1] });
            return rows;
        }
        function test_each_button_is_pressed_by_a_key(data) {
            const buttons = make(row);
            const button = [buttons.first, buttons.second, buttons.third][data.index];
            const clicked = spyOn(button, "clicked");
            button.forceActiveFocus(Qt.TabFocusReason);
            keyClick(data.key);
            compare(clicked.count, 1);
        }
        function test_each_button_is_pressed_by_the_mouse() {
            const buttons = make(row);
            for (const button of [buttons.first, buttons.second, buttons.third]) {
                const clicked = spyOn(button, "clicked");
                mouseClick(button);
                compare(clicked.count, 1);
            }
        }
        function test_a_disabled_button_does_nothing_and_is_pale() {
            for (const component of [push, link, icon]) {
                const button = make(component, { text: "Save", enabled: false });
                const clicked = spyOn(button, "clicked");
                mouseClick(button);
                button.forceActiveFocus(Qt.TabFocusReason);
                keyClick(Qt.Key_Return);
                keyClick(Qt.Key_Space);
                button.click();
                compare(clicked.count, 0);
                fuzzyCompare(button.opacity, 0.42, 0.001);
                button.destroy();
            }
        }
        function test_a_disabled_prominent_button_keeps_its_text_legible() {
            const button = make(push, { text: "Save", role: PushButton.Prominent, enabled: false });
            compare(button.opacity, 1);
            fuzzyCompare(button.background.opacity, 0.42, 0.001);
            compare(String(labelOf(button).color), "#fbfbfc");
        }
        function test_tab_reaches_all_in_order_and_shift_tab_goes_back() {
            const buttons = make(row);
            const order = [buttons.first, buttons.second, buttons.third, buttons.fourth];
            order[0].forceActiveFocus(Qt.TabFocusReason);
            for (let i = 1; i < order.length; ++i) {
                keyClick(Qt.Key_Tab);
                verify(order[i].activeFocus);
            }
            for (let i = order.length - 2; i >= 0; --i) {
                keyClick(Qt.Key_Backtab);
                verify(order[i].activeFocus);
            }
        }
        function ringOf(item) {
            for (const child of Array.from(item.children)) {
                if (child.lineWidth !== undefined && child.gap !== undefined) return child;
                const inner = ringOf(child);
                if (inner) return inner;
            }
            return null;
        }
        function test_the_ring_shows_after_the_keyboard_and_not_after_the_mouse() {
            const buttons = make(row);
            for (const item of [buttons.first, buttons.second, buttons.third, buttons.fourth]) {
                const ring = ringOf(item);
                item.forceActiveFocus(Qt.MouseFocusReason);
                compare(ring.visible, false);
                item.focus = false;
                item.forceActiveFocus(Qt.TabFocusReason);
                compare(ring.visible, true);
                compare(ring.gap, 1.5);
                compare(ring.lineWidth, 2.5);
            }
        }
        function test_names_and_roles_are_told() {
            const buttons = make(row);
            compare(Samples.accessibleName(buttons.first), "Save");
            compare(Samples.accessibleRole(buttons.first), "Button");
            compare(Samples.accessibleName(buttons.second), "Refresh");
            compare(Samples.accessibleRole(buttons.second), "Button");
            compare(Samples.accessibleName(buttons.third), "Pair a new iPhone");
            compare(Samples.accessibleRole(buttons.third), "Button");
            compare(Samples.accessibleName(buttons.fourth), "Start Bridge");
            compare(Samples.accessibleRole(buttons.fourth), "CheckBox");
        }
        function test_an_inviting_icon_button_is_tinted() {
            const button = make(icon, { inviting: true });
            compare(button.width, 24);
            compare(button.height, 24);
            compare(String(button.contentItem.children[0].color), "#0058c4");
            compare(button.background.children[0].visible, true);
            button.inviting = false;
            compare(button.background.children[0].visible, false);
            compare(String(button.contentItem.children[0].color), "#55565e");
        }
        function test_a_link_button_is_20_high_and_its_text_begins_at_its_edge() {
            const button = make(link, { text: "Refresh" });
            compare(button.height, 20);
            compare(labelOf(button).mapToItem(button, 0, 0).x, 0);
        }
        function test_a_link_buttons_text_is_in_the_accent_and_its_symbol_rests() {
            const button = make(link, { text: "Expand", symbol: "chevron.down" });
            compare(String(labelOf(button).color), "#0058c4");
            const symbol = labelOf(button).parent.children[0];
            compare(symbol.name, "chevron.down");
            compare(String(symbol.color), "#55565e");
        }

        function test_a_switch_is_38_by_22_with_a_knob_of_18() {
            const control = make(toggle);
            compare(control.width, 38);
            compare(control.height, 22);
            const knob = findChild(control, "knob");
            compare(knob.width, 18);
            compare(knob.height, 18);
            tryCompare(knob, "x", 2);
            control.checked = true;
            tryCompare(knob, "x", 18);
        }
        function test_a_switch_tells_once_of_a_click_and_of_each_key() {
            const control = make(toggle);
            const toggled = spyOn(control, "toggled");
            mouseClick(control);
            compare(toggled.count, 1);
            compare(control.checked, true);
            control.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            compare(toggled.count, 2);
            compare(control.checked, false);
            keyClick(Qt.Key_Return);
            compare(toggled.count, 3);
            compare(control.checked, true);
        }
        function test_a_switch_that_the_model_sets_tells_nobody() {
            const control = make(boundSwitch);
            const toggled = spyOn(control, "toggled");
            control.running = true;
            compare(control.checked, true);
            compare(toggled.count, 0);
        }
        function test_a_switch_follows_its_model_after_a_click() {
            const control = make(boundSwitch);
            mouseClick(control);
            compare(control.checked, true);
            control.running = true;
            control.running = false;
            compare(control.checked, false);
        }
        function test_a_disabled_switch_does_nothing() {
            const control = make(toggle, { enabled: false });
            const toggled = spyOn(control, "toggled");
            mouseClick(control);
            compare(toggled.count, 0);
            compare(control.checked, false);
        }
        function test_the_help_of_an_icon_button_shows_under_the_pointer_after_a_while() {
            const button = make(icon, { x: 100, y: 100 });
            mouseMove(button, 5, 5);
            mouseMove(button, 12, 12);
            tryVerify(() => helpShown(place, "Pair a new iPhone"), 2000);
            mouseMove(place, 590, 390);
            tryVerify(() => !helpShown(place, "Pair a new iPhone"), 2000);
        }
        function helpShown(item, text) {
            let top = item;
            while (top.parent) top = top.parent;
            return shows(top, text);
        }
        function shows(item, text) {
            if (!item.visible) return false;
            if (item.text === text && item.textStyle) return true;
            for (const child of Array.from(item.children)) if (shows(child, text)) return true;
            return false;
        }
    }
}
