import QtQuick
import QtQuick.Layouts
import QtTest
import Quillbay
import QuillbayTest

Item {
    id: place
    width: 900
    height: 500

    Component {
        id: card
        SectionCard {
            property alias inside: block
            property alias button: refresh
            width: 280
            title: "Connection"
            symbol: "network"
            accessory: [ LinkButton { id: refresh; text: "Refresh" } ]
            Item { id: block; Layout.fillWidth: true; implicitHeight: 30 }
            Item { Layout.fillWidth: true; implicitHeight: 10 }
        }
    }
    Component { id: bareCard; SectionCard { title: "Danger Zone"; symbol: "trash"; width: 280 } }
    Component { id: fact; FactRow { label: "Device"; value: "lena-iphone"; width: 300 } }
    Component {
        id: empty
        EmptyStateView {
            width: 248
            symbol: "iphone.and.arrow.forward"
            title: "No device added yet"
            message: "Add an iPhone to bridge it over your mesh network."
        }
    }
    Component { id: backdrop; Item { width: 800; height: 500; property alias ground: ground; GlassBackdrop { id: ground } } }
    Component { id: track; ProgressTrack { width: 100 } }
    Component { id: spinner; Spinner {} }
    Component { id: surface; GlassSurface { width: 100; height: 50 } }

    TestCase {
        name: "Surfaces"
        when: windowShown

        function init() { Appearance.dark = false; Appearance.reducedMotion = true; Appearance.fontFamily = "Inter"; }
        function cleanup() { Appearance.reducedMotion = false; Appearance.dark = false; }
        function make(component, properties) { return createTemporaryObject(component, place, properties || {}); }
        function texts(item, found) {
            found = found || [];
            if (item.textStyle && item.font && item.text !== "") found.push(item);
            for (const child of Array.from(item.children)) texts(child, found);
            return found;
        }

        function test_a_card_is_padded_by_16_with_its_header_over_what_it_holds() {
            const item = make(card);
            const title = findChild(item, "title");
            compare(title.text, "Connection");
            compare(title.textStyle, DS.subheadline);
            const block = item.inside.mapToItem(item, 0, 0);
            compare(block.x, 16);
            compare(block.y, 16 + 16 + 12);
            compare(item.inside.width, 280 - 32);
            compare(item.implicitHeight, 16 + 16 + 12 + 30 + 12 + 10 + 16);
        }
        function test_the_accessory_stands_at_the_trailing_edge_in_the_header() {
            const item = make(card);
            const right = item.button.mapToItem(item, item.button.width, item.button.height / 2);
            compare(right.x, 280 - 16);
            compare(right.y, 16 + 8);
        }
        function test_a_long_title_is_elided_before_the_accessory() {
            const item = make(card, { title: "A title that is by far longer than the card is wide, and more" });
            const title = findChild(item, "title");
            compare(title.truncated, true);
            verify(title.mapToItem(item, title.width, 0).x <= item.button.mapToItem(item, 0, 0).x);
        }
        function test_a_card_that_holds_nothing_is_its_header() {
            compare(make(bareCard).implicitHeight, 48);
        }
        function test_a_card_names_its_group() {
            const item = make(card);
            compare(Samples.accessibleRole(item), "Grouping");
            compare(Samples.accessibleName(item), "Connection");
            compare(Samples.accessibleRole(findChild(item, "title")), "Heading");
        }

        function test_a_fact_is_a_label_and_a_fixed_pitch_value_on_one_line() {
            const item = make(fact);
            compare(item.height, 24);
            const [label, value] = texts(item);
            compare(label.text, "Device");
            compare(value.text, "lena-iphone");
            compare(value.textStyle, DS.calloutFixed);
            compare(value.x, 128);
            compare(Samples.accessibleName(item), "Device: lena-iphone");
        }
        function test_a_long_value_is_elided_on_the_right_or_in_the_middle() {
            const item = make(fact, { value: "7C3E51A2-0B4F-4A11-9D32-5D2F6C8E1B07-and-much-more" });
            const value = findChild(item, "value");
            compare(value.elide, Text.ElideRight);
            compare(value.truncated, true);
            verify(value.x + value.width <= 300);
            item.middleElide = true;
            compare(value.elide, Text.ElideMiddle);
        }
        function test_a_line_feed_in_a_value_makes_no_second_line() {
            const item = make(fact, { value: "one\ntwo" });
            verify(findChild(item, "value").contentHeight <= 16);
        }

        function test_an_empty_state_is_a_centred_column() {
            const item = make(empty);
            const [title, message] = texts(item);
            compare(title.text, "No device added yet");
            compare(title.textStyle, DS.headline);
            compare(message.text, "Add an iPhone to bridge it over your mesh network.");
            compare(message.textStyle, DS.callout);
            compare(String(message.color), "#55565e");
            compare(title.horizontalAlignment, Text.AlignHCenter);
            compare(title.y, 44 + 12);
            compare(message.y, 44 + 12 + 16 + 12);
            compare(title.mapToItem(item, 0, 0).x, 32);
            compare(item.implicitHeight, 32 + 44 + 12 + 16 + 12 + message.height + 32);
        }
        function test_an_empty_state_wraps_where_it_is_narrow() {
            const item = make(empty, { width: 150 });
            const [, message] = texts(item);
            verify(message.lineCount > 2);
            verify(message.mapToItem(item, message.width, 0).x <= 150 - 32);
        }

        function test_the_backdrop_has_a_blue_and_a_purple_glow_in_its_corners() {
            const item = make(backdrop).ground;
            compare(item.width, 800);
            compare(String(item.color), "#f8f8fa");
            const blue = item.children[0];
            const purple = item.children[1];
            compare([blue.x, blue.y, blue.width, blue.height], [0, 0, 420, 420]);
            compare(blue.corner, RadialGlow.TopLeft);
            compare([purple.x, purple.y, purple.width, purple.height], [800 - 480, 500 - 480, 480, 480]);
            compare(purple.corner, RadialGlow.BottomRight);
            verify(Qt.colorEqual(blue.color, Qt.rgba(0, 122 / 255, 1, 0.22)));
            fuzzyCompare(purple.color.a, 0.16, 0.001);
            Appearance.dark = true;
            compare(String(item.color), "#1e1e1e");
        }
        function test_the_glows_are_seen_where_they_are_and_fade_to_nothing() {
            const item = make(backdrop);
            const picture = grabImage(item);
            verify(picture.blue(2, 2) > picture.red(2, 2) + 30);
            verify(picture.green(795, 495) < picture.red(795, 495));
            compare(String(picture.pixel(790, 5)), "#f8f8fa");
        }
        function test_a_surface_draws_its_edge_beside_its_fill_and_not_over_it() {
            Appearance.dark = true;
            const item = make(surface, { fill: "#ff0000", border: "#00ff00", radius: 8 });
            const picture = grabImage(item);
            compare(String(picture.pixel(50, 25)), "#ff0000");
            compare(String(picture.pixel(50, 0)), "#00ff00");
            compare(String(picture.pixel(50, 1)), "#ff0000");
        }

        function test_a_track_is_4_high_and_filled_in_proportion_data() {
            return [
                { tag: "none", fraction: 0, width: 0 }, { tag: "a quarter", fraction: 0.25, width: 25 },
                { tag: "all", fraction: 1, width: 100 }, { tag: "less than none", fraction: -1, width: 0 },
                { tag: "more than all", fraction: 3, width: 100 }
            ];
        }
        function test_a_track_is_4_high_and_filled_in_proportion(data) {
            const item = make(track, { fraction: data.fraction });
            compare(item.height, 4);
            tryCompare(findChild(item, "done"), "width", data.width);
            compare(Samples.accessibleRole(item), "ProgressBar");
        }
        function test_a_spinner_turns_only_while_it_is_seen() {
            Appearance.reducedMotion = false;
            const item = make(spinner);
            compare(item.width, 16);
            tryVerify(() => item.phase > 1, 1000);
            item.visible = false;
            const stopped = item.phase;
            wait(250);
            compare(item.phase, stopped);
        }
        function test_a_spinner_stands_still_with_reduced_motion() {
            const item = make(spinner);
            wait(250);
            compare(item.phase, 0);
        }
    }
}
