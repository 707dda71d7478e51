import QtQuick
import QtTest
import Quillbay
import QuillbayTest

Item {
    id: place
    width: 600
    height: 500

    Component { id: field; InputField { name: "Device name"; prompt: "e.g. Mirel's iPhone" } }
    Component { id: picker; Picker { name: "Which device is this iPhone?"; model: Samples.peers; currentIndex: 0 } }
    Component {
        id: form
        Item {
            property int accepted: 0
            property alias picker: inner
            Keys.onReturnPressed: accepted += 1
            Picker { id: inner; name: "Peer"; model: Samples.peers; currentIndex: 0 }
        }
    }
    Component { id: spy; SignalSpy {} }

    TestCase {
        name: "Fields"
        when: windowShown

        function init() {
            Appearance.dark = false;
            Appearance.reducedMotion = true;
            Appearance.fontFamily = "Inter";
            Samples.setPeers(["+lena-iphone", "qa-mini", "+studio-mac"]);
            mouseMove(place, 590, 490);
        }
        function cleanup() { Appearance.reducedMotion = false; Appearance.dark = false; }
        function make(component, properties) { return createTemporaryObject(component, place, properties || {}); }
        function spyOn(item, name) { return make(spy, { target: item, signalName: name }); }
        function all(item, test, found) {
            if (test(item)) found.push(item);
            for (const child of Array.from(item.children)) all(child, test, found);
            return found;
        }
        function window() {
            let top = place;
            while (top.parent) top = top.parent;
            return top;
        }

        function test_a_field_is_28_high_with_its_text_at_10() {
            const item = make(field);
            compare(item.height, 28);
            compare(item.leftPadding, 10);
            compare(item.font.pixelSize, 13);
        }
        function test_the_prompt_shows_while_the_field_is_empty() {
            const item = make(field);
            const prompt = findChild(item, "prompt");
            compare(prompt.text, "e.g. Mirel's iPhone");
            compare(prompt.visible, true);
            item.forceActiveFocus();
            keyClick(Qt.Key_A);
            compare(item.text, "a");
            compare(prompt.visible, false);
        }
        function test_a_fixed_pitch_field_has_the_fixed_pitch_callout_font() {
            const item = make(field, { fixedPitch: true });
            compare(item.font.pixelSize, 12);
            compare(item.font.family, DS.calloutFixed.font.family);
            compare(findChild(item, "prompt").textStyle, DS.calloutFixed);
        }
        function test_a_focused_field_has_its_ring_after_the_mouse_too() {
            const item = make(field);
            const ring = item.background.children[0];
            const edge = item.background.children[1];
            compare(ring.visible, false);
            compare(String(edge.border), String(DS.fieldBorder));
            mouseClick(item);
            verify(item.activeFocus);
            compare(ring.visible, true);
            compare(ring.border.width, 2.5);
            compare(String(edge.border), "#1a7bef");
        }
        function columnsAreWhite(from, to) {
            const picture = grabImage(place);
            for (let x = from; x < to; ++x)
                for (let y = 100; y < 128; ++y)
                    if (String(picture.pixel(x, y)) !== "#ffffff") return false;
            return true;
        }
        function test_a_long_text_stays_in_its_field() {
            const item = make(field, { text: "x".repeat(400), x: 200, y: 100 });
            waitForRendering(item);
            compare(item.width, 189);
            verify(!columnsAreWhite(200, 389));
            verify(columnsAreWhite(150, 200));
            verify(columnsAreWhite(389, 440));
        }
        function test_the_ring_of_a_field_is_seen_around_it() {
            const item = make(field, { x: 200, y: 100 });
            waitForRendering(item);
            verify(columnsAreWhite(196, 200));
            item.forceActiveFocus();
            waitForRendering(item);
            verify(!columnsAreWhite(198, 200));
            verify(columnsAreWhite(190, 197));
        }
        function test_a_long_prompt_is_elided_in_the_field() {
            const item = make(field, { prompt: "A connector with a very long name indeed IP address" });
            const prompt = findChild(item, "prompt");
            compare(prompt.truncated, true);
            verify(prompt.x + prompt.width <= 189 - 10);
        }
        function test_a_disabled_field_takes_nothing() {
            const item = make(field, { enabled: false });
            fuzzyCompare(item.opacity, 0.42, 0.001);
            mouseClick(item);
            compare(item.activeFocus, false);
        }
        function test_a_field_tells_its_name_and_role() {
            const item = make(field);
            compare(Samples.accessibleName(item), "Device name");
            compare(Samples.accessibleRole(item), "EditableText");
        }
        function test_return_is_told_as_accepted() {
            const item = make(field);
            const accepted = spyOn(item, "accepted");
            item.forceActiveFocus();
            keyClick(Qt.Key_Return);
            compare(accepted.count, 1);
        }

        function symbolsOf(item) {
            return all(item, at => at.name !== undefined && at.size !== undefined && at.visible, []).map(at => at.name);
        }
        function test_a_picker_shows_the_chosen_entry_with_its_symbol() {
            const item = make(picker);
            compare(item.height, 28);
            compare(item.displayText, "Select");
            compare(symbolsOf(item), ["chevron.up.chevron.down"]);
            item.currentIndex = 1;
            compare(item.displayText, "lena-iphone (online)");
            compare(item.contentItem.symbol, "circle.fill");
            compare(String(item.contentItem.symbolColor), "#248a3d");
            item.currentIndex = 2;
            compare(item.displayText, "qa-mini (offline)");
            compare(item.contentItem.symbol, "circle");
            compare(String(item.contentItem.symbolColor), "#55565e");
        }
        function test_a_picker_tells_its_name_and_role() {
            const item = make(picker);
            compare(Samples.accessibleName(item), "Which device is this iPhone?");
            compare(Samples.accessibleRole(item), "ComboBox");
        }
        function test_a_click_opens_the_list_and_a_click_chooses() {
            const item = make(picker, { x: 20, y: 20 });
            const activated = spyOn(item, "activated");
            mouseClick(item);
            tryCompare(item.popup, "opened", true);
            const entry = item.popup.contentItem.itemAtIndex(2);
            compare(entry.text, "qa-mini (offline)");
            mouseMove(entry, 40, 10);
            tryCompare(entry, "highlighted", true);
            mouseClick(entry);
            tryCompare(item.popup, "visible", false);
            compare(item.currentIndex, 2);
            compare(activated.count, 1);
            compare(activated.signalArguments[0][0], 2);
        }
        function test_the_open_list_marks_the_chosen_and_the_highlighted() {
            const item = make(picker, { x: 20, y: 20, currentIndex: 1 });
            mouseClick(item);
            tryCompare(item.popup, "opened", true);
            const chosen = item.popup.contentItem.itemAtIndex(1);
            compare(chosen.chosen, true);
            compare(chosen.highlighted, true);
            compare(String(chosen.background.color), "#0066db");
            compare(chosen.height, 26);
            const other = item.popup.contentItem.itemAtIndex(3);
            compare(other.chosen, false);
            compare(other.text, "studio-mac (online)");
            compare(symbolsOf(other), ["circle.fill"]);
            compare(symbolsOf(chosen), ["checkmark", "circle.fill"].sort((a, b) => symbolsOf(chosen).indexOf(a) - symbolsOf(chosen).indexOf(b)));
            item.popup.close();
        }
        function test_the_keyboard_opens_moves_chooses_and_leaves_data() {
            return [{ tag: "space", key: Qt.Key_Space }, { tag: "return", key: Qt.Key_Return }, { tag: "enter", key: Qt.Key_Enter }];
        }
        function test_the_keyboard_opens_moves_chooses_and_leaves(data) {
            const item = make(picker, { x: 20, y: 20 });
            const activated = spyOn(item, "activated");
            item.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            tryCompare(item.popup, "opened", true);
            keyClick(Qt.Key_Down);
            keyClick(Qt.Key_Down);
            keyClick(data.key);
            tryCompare(item.popup, "visible", false);
            compare(item.currentIndex, 2);
            compare(activated.count, 1);
            keyClick(Qt.Key_Space);
            tryCompare(item.popup, "opened", true);
            keyClick(Qt.Key_Down);
            keyClick(Qt.Key_Escape);
            tryCompare(item.popup, "visible", false);
            compare(item.currentIndex, 2);
            verify(item.activeFocus);
        }
        function test_arrows_choose_without_opening() {
            const item = make(picker, { x: 20, y: 20 });
            item.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Down);
            compare(item.currentIndex, 1);
            keyClick(Qt.Key_Up);
            compare(item.currentIndex, 0);
        }
        function test_return_on_a_closed_picker_opens_its_list() {
            const item = make(form);
            item.picker.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Return);
            tryCompare(item.picker.popup, "opened", true);
            compare(item.accepted, 0);
            keyClick(Qt.Key_Escape);
            tryCompare(item.picker.popup, "visible", false);
        }
        function test_return_in_an_open_list_is_not_for_the_form() {
            const item = make(form);
            item.picker.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            tryCompare(item.picker.popup, "opened", true);
            keyClick(Qt.Key_Down);
            keyClick(Qt.Key_Return);
            tryCompare(item.picker.popup, "visible", false);
            compare(item.picker.currentIndex, 1);
            compare(item.accepted, 0);
        }
        function test_a_disabled_picker_does_not_open() {
            const item = make(picker, { enabled: false });
            mouseClick(item);
            wait(50);
            compare(item.popup.visible, false);
        }
        function test_long_names_are_elided_in_the_picker_and_in_its_list() {
            Samples.setPeers(["+" + "a-name-without-end-".repeat(8)]);
            const item = make(picker, { x: 20, y: 20, currentIndex: 1 });
            const label = all(item.contentItem, at => at.textStyle && at.elide !== undefined && at.font, [])[0];
            compare(label.truncated, true);
            verify(label.mapToItem(item, label.width, 0).x <= 189 - 20);
            mouseClick(item);
            tryCompare(item.popup, "opened", true);
            verify(item.popup.width < 300);
            item.popup.close();
        }
        function test_fifty_peers_scroll_within_the_list() {
            Samples.setPeers(Array.from({ length: 50 }, (_, at) => "peer-" + at));
            const item = make(picker, { x: 20, y: 20 });
            item.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            tryCompare(item.popup, "opened", true);
            compare(item.popup.height, 8 * 26 + 12);
            for (let i = 0; i < 20; ++i) keyClick(Qt.Key_Down);
            const list = item.popup.contentItem;
            tryVerify(() => {
                const entry = list.itemAtIndex(20);
                if (!entry || !entry.highlighted) return false;
                const top = entry.mapToItem(list, 0, 0).y;
                return top >= 0 && top + 26 <= list.height;
            });
            item.popup.close();
        }
    }
}
