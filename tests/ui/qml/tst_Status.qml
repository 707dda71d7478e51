import QtQuick
import QtTest
import Quillbay
import QuillbayTest

Item {
    id: place
    width: 700
    height: 400

    Component { id: badge; StatusBadge {} }
    Component { id: dot; StatusDot {} }
    Component { id: line; StatusLine {} }

    TestCase {
        name: "Status"
        when: windowShown

        readonly property string longError: "The device is still on this Mac's local network. Move it to a different Wi-Fi before bridging. Cellular won't work."

        function init() {
            Appearance.dark = false;
            Appearance.reducedMotion = true;
        }
        function cleanup() { Appearance.reducedMotion = false; Appearance.dark = false; }
        function make(component, properties) { return createTemporaryObject(component, place, properties); }
        function symbolOf(item) {
            for (const child of Array.from(item.children)) if (child.name !== undefined && child.size !== undefined) return child;
            return null;
        }
        function table() {
            const waves = "antenna.radiowaves.left.and.right";
            return [
                { tag: "active", status: Samples.on(), text: "Bridge active", symbol: waves,
                  light: ["#248a3d", "#166c2e"], dark: ["#32d74b", "#32d74b"] },
                { tag: "pairing", status: Samples.pairing(), text: "Pairing…", symbol: waves,
                  light: ["#c85f00", "#964700"], dark: ["#ffa31a", "#ffa31a"] },
                { tag: "error", status: Samples.error("No route."), text: "Error: No route.",
                  symbol: "exclamationmark.triangle.fill", light: ["#d92b22", "#ab140e"], dark: ["#ff6961", "#ff8a82"] },
                { tag: "off", status: Samples.off(), text: "Off", symbol: waves + ".slash",
                  light: ["#6e6e75", "#55565e"], dark: ["#b8b8bf", "#b8b8bf"] }
            ];
        }

        function test_a_badge_has_the_words_symbol_and_colour_of_its_status_data() { return table(); }
        function test_a_badge_has_the_words_symbol_and_colour_of_its_status(data) {
            const item = make(badge, { status: data.status });
            for (const look of ["light", "dark"]) {
                Appearance.dark = look === "dark";
                const words = findChild(item, "words");
                compare(words.text, data.text);
                compare(symbolOf(item).name, data.symbol);
                tryVerify(() => String(words.color) === data[look][1]);
                tryVerify(() => String(symbolOf(item).color) === data[look][1]);
                tryVerify(() => String(item.color) === String(DS.tint(Qt.color(data[look][0]), 0.12)));
            }
        }
        function test_a_dot_has_the_colour_of_its_status_data() { return table(); }
        function test_a_dot_has_the_colour_of_its_status(data) {
            const item = make(dot, { kind: data.status.kind });
            compare(item.width, 6);
            compare(item.height, 6);
            for (const look of ["light", "dark"]) {
                Appearance.dark = look === "dark";
                tryVerify(() => String(item.color) === data[look][0]);
            }
        }
        function test_a_line_has_the_words_of_its_status_data() { return table(); }
        function test_a_line_has_the_words_of_its_status(data) {
            const item = make(line, { status: data.status });
            const words = findChild(item, "words");
            compare(words.text, data.text);
            tryVerify(() => String(words.color) === data.light[1]);
            compare(words.truncated, false);
            compare(Samples.accessibleName(item), data.text);
        }

        function test_a_badge_is_padded_by_8_and_4() {
            const item = make(badge, { status: Samples.on() });
            const words = findChild(item, "words");
            compare(symbolOf(item).x, 8);
            compare(symbolOf(item).size, 12);
            compare(words.y, 4);
            compare(item.height, 13 + 8);
            verify(Math.abs(item.width - (words.x + words.implicitWidth + 8)) < 1);
            compare(item.radius, 10.5);
        }
        function test_a_badge_tells_its_words() {
            const item = make(badge, { status: Samples.error("No route.") });
            compare(Samples.accessibleName(item), "Error: No route.");
            compare(Samples.accessibleRole(item), "StaticText");
        }
        function test_a_long_badge_wraps_at_500_with_the_symbol_on_the_first_line() {
            const item = make(badge, { status: Samples.error(longError) });
            compare(item.width, 500);
            compare(item.height, 2 * 13 + 8);
            verify(symbolOf(item).y < 13);
        }
        function test_a_badge_wraps_where_it_is_told_and_nothing_leaves_it() {
            const item = make(badge, { status: Samples.error("x".repeat(300)), maximumWidth: 200 });
            compare(item.width, 200);
            const words = findChild(item, "words");
            verify(words.x + words.width <= 200 - 8);
            verify(words.implicitHeight > 3 * 13);
            compare(item.height, words.implicitHeight + 8);
        }
        function test_a_badge_for_one_line_is_cut_instead() {
            const item = make(badge, { status: Samples.error(longError), maximumWidth: 200, singleLine: true });
            compare(item.width, 200);
            compare(item.height, 13 + 8);
            compare(findChild(item, "words").truncated, true);
        }
        function test_a_line_is_elided_and_its_help_text_has_it_whole() {
            const item = make(line, { status: Samples.error(longError), width: 120, x: 20, y: 20 });
            const words = findChild(item, "words");
            compare(item.height, 13);
            compare(words.truncated, true);
            verify(words.x + words.width <= 120);
            mouseMove(item, 5, 5);
            mouseMove(item, 30, 6);
            tryVerify(() => shown("Error: " + longError), 2000);
            mouseMove(place, 690, 390);
            tryVerify(() => !shown("Error: " + longError), 2000);
        }
        function test_a_line_that_fits_has_no_help_text() {
            const item = make(line, { status: Samples.on(), width: 200, x: 20, y: 20 });
            mouseMove(item, 5, 5);
            mouseMove(item, 30, 6);
            wait(900);
            compare(count("Bridge active"), 1);
        }
        function shown(text) { return count(text) > 1; }
        function count(text) {
            let top = place;
            while (top.parent) top = top.parent;
            return countIn(top, text);
        }
        function countIn(item, text) {
            if (!item.visible) return 0;
            let number = item.textStyle && item.font && item.text === text ? 1 : 0;
            for (const child of Array.from(item.children)) number += countIn(child, text);
            return number;
        }
        function test_markup_in_a_message_is_shown_as_it_is() {
            const item = make(badge, { status: Samples.error("<b>bold</b>") });
            compare(findChild(item, "words").text, "Error: <b>bold</b>");
            verify(item.width > 90);
            const plain = make(badge, { status: Samples.error("bold") });
            verify(item.width > plain.width + 20);
        }

        function test_the_symbol_pulses_only_while_pairing() {
            Appearance.reducedMotion = false;
            const item = make(badge, { status: Samples.pairing() });
            const symbol = symbolOf(item);
            tryVerify(() => symbol.opacity < 0.7, 2000);
            item.status = Samples.on();
            tryCompare(symbol, "opacity", 1);
            wait(300);
            compare(symbol.opacity, 1);
        }
        function test_nothing_pulses_with_reduced_motion() {
            const item = make(badge, { status: Samples.pairing() });
            const symbol = symbolOf(item);
            for (let i = 0; i < 10; ++i) {
                wait(60);
                compare(symbol.opacity, 1);
            }
        }
        function test_words_fade_into_the_next_ones() {
            Appearance.reducedMotion = false;
            const item = make(badge, { status: Samples.off() });
            const words = findChild(item, "words");
            compare(words.fading, false);
            item.status = Samples.on();
            compare(words.text, "Bridge active");
            compare(words.fading, true);
            tryCompare(words, "fading", false);
        }
        function test_words_change_at_once_with_reduced_motion() {
            const item = make(badge, { status: Samples.off() });
            item.status = Samples.on();
            compare(findChild(item, "words").fading, false);
        }
    }
}
