import QtQuick
import QtTest
import Quillbay

Item {
    id: place
    width: 200
    height: 200

    TestCase {
        name: "SymbolImage"
        when: windowShown

        Component {
            id: symbols
            Rectangle {
                property alias symbol: symbol
                width: 60
                height: 40
                color: "white"
                SymbolImage { id: symbol; name: "circle.fill"; color: "blue"; size: 24 }
            }
        }

        // In the points of what stands in the upper left corner, whatever the screen's pixels are. (A picture is cut out
        // in points: one of the item alone would lack a part of it.)
        function pixel(x, y) {
            const scale = Screen.devicePixelRatio;
            return grabImage(place).pixel(Math.floor(x * scale), Math.floor(y * scale)).toString();
        }
        function inked(item) {
            const scale = Screen.devicePixelRatio;
            const image = grabImage(place);
            for (let y = 0; y < item.height * scale; ++y)
                for (let x = 0; x < item.width * scale; ++x)
                    if (image.pixel(x, y).toString() !== "#ffffff") return true;
            return false;
        }
        function made() {
            return createTemporaryObject(symbols, place);
        }

        function test_is_as_large_as_its_size() {
            const symbol = made().symbol;
            compare(symbol.width, 24);
            compare(symbol.height, 24);
            symbol.size = 14;
            compare(symbol.implicitWidth, 14);
            compare(symbol.height, 14);
        }
        function test_is_painted_in_its_colour() {
            made();
            compare(pixel(12, 12), "#0000ff");
            compare(pixel(1, 1), "#ffffff");
        }
        function test_follows_a_change_of_colour_and_name() {
            const below = made();
            below.symbol.color = "red";
            compare(pixel(12, 12), "#ff0000");
            below.symbol.name = "circle";
            compare(pixel(12, 12), "#ffffff");
        }
        function test_stands_in_the_middle_of_a_larger_item() {
            const below = made();
            below.symbol.width = 60;
            below.symbol.height = 40;
            compare(pixel(30, 20), "#0000ff");
            compare(pixel(30 - 10, 20), "#ffffff");
            compare(pixel(30 + 10, 20), "#ffffff");
            compare(pixel(30, 20 - 10), "#ffffff");
        }
        function test_paints_nothing_without_a_name() {
            const below = made();
            verify(inked(below));
            below.symbol.name = "";
            verify(!inked(below));
        }
        function test_an_unknown_name_paints_nothing_and_says_so() {
            const below = made();
            ignoreWarning("There is no symbol \"never.drawn\".");
            below.symbol.name = "never.drawn";
            verify(!inked(below));
        }
    }
}
