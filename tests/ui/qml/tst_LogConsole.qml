import QtQuick
import QtTest
import Quillbay
import QuillbayTest

Item {
    id: place
    width: 500
    height: 400

    Component { id: fixed; LogConsole { width: 300; height: 184; log: Samples.log } }
    Component { id: free; LogConsole { width: 300; log: Samples.log } }

    TestCase {
        name: "LogConsole"
        when: windowShown

        function init() {
            Appearance.reducedMotion = true;
            Appearance.fixedFontFamily = "JetBrains Mono";
            Samples.log.clear();
        }
        function cleanup() { Appearance.reducedMotion = false; Samples.log.clear(); }
        function make(component, properties) { return createTemporaryObject(component, place, properties || {}); }
        function add(number, text) {
            const before = Samples.log.count;
            for (let i = 1; i <= number; ++i) Samples.addLogLine((text || "line ") + i);
            tryVerify(() => Samples.log.count === Math.min(200, before + number));
        }
        function texts(item, found) {
            found = found || [];
            if (!item.visible) return found;
            if (item.textStyle && item.font && item.text !== "") found.push(item);
            for (const child of Array.from(item.children)) texts(child, found);
            return found;
        }
        function list(item) {
            for (const child of Array.from(item.children)) if (child.following !== undefined) return child;
            return null;
        }
        function atEnd(item) {
            const lines = list(item);
            const last = lines.itemAtIndex(Samples.log.count - 1);
            if (!last) return false;
            const bottom = last.mapToItem(item, 0, last.height).y;
            return bottom <= item.height - 7 && bottom >= item.height - 20;
        }

        function test_with_no_lines_it_says_so_data() {
            return [{ tag: "expanded", expanded: true }, { tag: "collapsed", expanded: false }];
        }
        function test_with_no_lines_it_says_so(data) {
            const item = make(fixed, { expanded: data.expanded });
            compare(texts(item).map(at => at.text), ["No logs yet."]);
            compare(texts(item)[0].x, 8);
            compare(texts(item)[0].y, 8);
            compare(texts(item)[0].font.pixelSize, 11);
            add(1);
            tryVerify(() => texts(item).map(at => at.text).indexOf("No logs yet.") < 0);
        }
        function test_collapsed_it_is_62_high_and_shows_the_newest_three() {
            add(5);
            const item = make(free, { expanded: false });
            compare(item.implicitHeight, 62);
            compare(texts(item).map(at => at.text), ["line 3", "line 4", "line 5"]);
            compare(texts(item)[1].y - texts(item)[0].y, 14 + 2);
            add(1, "newest ");
            tryVerify(() => texts(item)[2].text === "newest 1");
        }
        function test_collapsed_long_lines_are_elided() {
            add(1, "A sentence that is by far longer than three hundred points are wide, so that it ends early ");
            const item = make(free, { expanded: false });
            const line = texts(item)[0];
            compare(line.truncated, true);
            compare(line.height, 14);
            verify(line.width <= 300 - 16);
        }
        function test_expanded_it_wants_184_and_wraps_long_lines() {
            add(1, "A sentence that is by far longer than three hundred points are wide, so that it goes on below ");
            const item = make(free);
            compare(item.implicitHeight, 184);
            tryVerify(() => texts(item).length === 1);
            const line = texts(item)[0];
            verify(line.lineCount > 1);
            compare(line.truncated, false);
            compare(line.mapToItem(item, 0, 0).x, 8);
            compare(line.mapToItem(item, 0, 0).y, 8);
            verify(line.width <= 300 - 16);
        }
        function test_a_word_without_blanks_wraps_too() {
            add(1, "x".repeat(300));
            const item = make(fixed);
            tryVerify(() => texts(item).length === 1);
            verify(texts(item)[0].contentWidth <= 300 - 16);
        }
        function test_it_opens_at_the_end_and_stays_there() {
            add(60);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            add(30, "more ");
            tryVerify(() => atEnd(item));
        }
        function test_it_stays_at_the_end_when_the_oldest_lines_fall_out() {
            add(200);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            add(40, "more ");
            tryVerify(() => atEnd(item));
            compare(Samples.log.count, 200);
        }
        function test_it_stays_at_the_end_when_lines_come_one_by_one_into_a_full_log() {
            add(200);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            for (let i = 1; i <= 8; ++i) {
                Samples.addLogLine("single " + i);
                wait(20);
            }
            tryVerify(() => atEnd(item));
            verify(texts(item).some(at => at.text === "single 8"));
        }
        function test_one_who_scrolled_up_is_left_alone_until_the_end_is_reached_again() {
            add(60);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            item.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_PageUp);
            compare(list(item).following, false);
            const place = list(item).contentY;
            add(20, "more ");
            wait(50);
            compare(list(item).contentY, place);
            keyClick(Qt.Key_End);
            compare(list(item).following, true);
            add(5, "last ");
            tryVerify(() => atEnd(item));
        }
        function test_the_keys_scroll_data() {
            return [
                { tag: "up", key: Qt.Key_Up, by: -16 }, { tag: "page up", key: Qt.Key_PageUp, by: -(184 - 16) },
            ];
        }
        function test_the_keys_scroll(data) {
            add(60);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            item.forceActiveFocus(Qt.TabFocusReason);
            const before = list(item).contentY;
            keyClick(data.key);
            compare(list(item).contentY, before + data.by);
            keyClick(data.key === Qt.Key_Up ? Qt.Key_Down : Qt.Key_PageDown);
            compare(list(item).contentY, before);
        }
        function test_home_shows_the_oldest_line() {
            add(60);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            item.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Home);
            tryVerify(() => texts(item).some(at => at.text === "line 1" && at.mapToItem(item, 0, 0).y === 8));
            keyClick(Qt.Key_Up);
            tryVerify(() => texts(item).some(at => at.text === "line 1" && at.mapToItem(item, 0, 0).y === 8));
        }
        function test_the_wheel_scrolls_up_and_stops_following() {
            add(60);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            mouseWheel(item, 100, 100, 0, 240);
            tryVerify(() => !atEnd(item));
            tryCompare(list(item), "following", false);
            add(5, "more ");
            wait(50);
            verify(!atEnd(item));
        }
        function test_tab_reaches_it_only_where_it_scrolls() {
            add(3);
            const item = make(fixed);
            compare(item.activeFocusOnTab, true);
            item.expanded = false;
            compare(item.activeFocusOnTab, false);
        }
        function test_dragging_a_line_scrolls_nothing() {
            add(60);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            mouseDrag(item, 100, 60, 0, 90);
            wait(50);
            compare(list(item).contentY, list(item).endY());
            verify(item.activeFocus);
            compare(item.showsFocus, false);
        }
        function pasted() {
            const paper = createTemporaryQmlObject("import QtQuick; TextEdit {}", place);
            paper.paste();
            return paper.text;
        }
        function clickLine(item, row, button, modifiers) {
            const line = list(item).itemAtIndex(row);
            const at = line.mapToItem(item, 20, line.height / 2);
            mouseClick(item, at.x, at.y, button || Qt.LeftButton, modifiers || Qt.NoModifier);
        }
        function selected(item) {
            return texts(item).filter(at => at.selected).map(at => at.text);
        }
        function test_a_click_selects_a_line_and_the_copy_key_copies_it() {
            add(5);
            const item = make(fixed);
            tryVerify(() => texts(item).length === 5);
            compare(selected(item), []);
            clickLine(item, 1);
            compare(selected(item), ["line 2"]);
            keyClick(Qt.Key_C, Qt.ControlModifier);
            compare(pasted(), "line 2");
            clickLine(item, 3, Qt.LeftButton, Qt.ShiftModifier);
            compare(selected(item), ["line 2", "line 3", "line 4"]);
            keyClick(Qt.Key_C, Qt.ControlModifier);
            compare(pasted(), "line 2\nline 3\nline 4");
        }
        function test_dragging_selects_the_lines_passed() {
            add(5);
            const item = make(fixed);
            tryVerify(() => texts(item).length === 5);
            mouseDrag(item, 100, 8 + 16 + 7, 0, 2 * 16);
            compare(selected(item), ["line 2", "line 3", "line 4"]);
            // Beyond the last one, and between two.
            mouseDrag(item, 100, 8 + 3 * 16 + 7, 0, 90);
            compare(selected(item), ["line 4", "line 5"]);
            mouseClick(item, 100, 8 + 16 - 1);
            compare(selected(item), ["line 1"]);
        }
        function test_all_lines_are_selected_and_copied_by_the_keyboard() {
            add(3);
            const item = make(fixed);
            tryVerify(() => texts(item).length === 3);
            item.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_A, Qt.ControlModifier);
            compare(selected(item), ["line 1", "line 2", "line 3"]);
            keyClick(Qt.Key_C, Qt.ControlModifier);
            compare(pasted(), "line 1\nline 2\nline 3");
        }
        function menuItem(name) {
            const overlay = place.Window.window.contentItem.parent || place.Window.window.contentItem;
            const find = at => {
                if (at.visible && at.Accessible && at.text === name && at.implicitHeight === 26) return at;
                for (const child of Array.from(at.children)) {
                    const found = find(child);
                    if (found) return found;
                }
                return null;
            };
            return find(overlay);
        }
        function test_a_right_click_offers_to_copy() {
            add(5);
            const item = make(fixed);
            tryVerify(() => texts(item).length === 5);
            clickLine(item, 2, Qt.RightButton);
            tryVerify(() => menuItem("Copy") !== null);
            compare(selected(item), ["line 3"]);
            mouseClick(menuItem("Copy"));
            compare(pasted(), "line 3");
            tryVerify(() => menuItem("Copy") === null);
            verify(item.activeFocus);
            // On what is selected, it leaves that.
            keyClick(Qt.Key_A, Qt.ControlModifier);
            clickLine(item, 2, Qt.RightButton);
            tryVerify(() => menuItem("Copy") !== null);
            compare(selected(item).length, 5);
            keyClick(Qt.Key_Escape);
            tryVerify(() => menuItem("Copy") === null);
        }
        function test_the_menu_key_offers_to_select_all() {
            add(3);
            const item = make(fixed);
            tryVerify(() => texts(item).length === 3);
            item.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Menu);
            tryVerify(() => menuItem("Select All") !== null);
            compare(menuItem("Copy").enabled, false);
            mouseClick(menuItem("Select All"));
            compare(selected(item), ["line 1", "line 2", "line 3"]);
        }
        function test_what_is_selected_stays_so_while_lines_come_and_is_none_once_collapsed() {
            add(200);
            const item = make(fixed);
            tryVerify(() => atEnd(item));
            clickLine(item, 197);
            compare(selected(item), ["line 198"]);
            add(2, "more ");
            tryVerify(() => atEnd(item));
            compare(selected(item), ["line 198"]);
            item.expanded = false;
            item.expanded = true;
            tryVerify(() => texts(item).length > 3);
            compare(selected(item), []);
        }
        function test_markup_in_a_line_is_shown_as_it_is() {
            Samples.addLogLine("<b>bold</b>");
            const item = make(fixed);
            tryVerify(() => texts(item).length === 1 && texts(item)[0].text === "<b>bold</b>");
            compare(texts(item)[0].textFormat, Text.PlainText);
        }
        function test_it_expands_and_collapses() {
            add(10);
            const item = make(free, { expanded: false });
            item.expanded = true;
            tryCompare(item, "implicitHeight", 184);
            tryVerify(() => texts(item).length > 3);
            item.expanded = false;
            tryCompare(item, "implicitHeight", 62);
            compare(texts(item).length, 3);
        }
    }
}
