import QtQuick
import QtTest
import Quillbay
import QuillbayTest

Item {
    id: place
    // A picture is cut out in points, so that it takes a place as large as its pixels.
    width: 1296 * Screen.devicePixelRatio
    height: 664 * Screen.devicePixelRatio

    TestCase {
        name: "Gallery"
        when: windowShown

        Component { id: controls; GalleryControls {} }
        Component { id: dialog; GalleryDialog {} }
        Component { id: surfaces; GallerySurfaces {} }

        function initTestCase() {
            Appearance.fontFamily = "Inter";
            Appearance.fixedFontFamily = "JetBrains Mono";
            Samples.setPeers(["+lena-iphone", "qa-mini", "+studio-mac"]);
            for (const line of ["Device \"Spare iPhone SE\" added.", "Bridging to \"Lena's iPhone 16 Pro\"",
                                "Bridge is successful.", "Port ping succeeded.",
                                "The device did not answer on the port that it had announced, so the ports of its range are being tried."])
                Samples.addLogLine(line);
            tryVerify(() => Samples.log.count === 5);
        }
        function appearances() {
            return [{ tag: "light", dark: false }, { tag: "dark", dark: true }];
        }
        function keep(item, name) {
            wait(700);
            if (Samples.pictureFolder() !== "") grabImage(item).save(Samples.pictureFolder() + "/" + name + ".png");
        }

        function test_controls_data() { return appearances(); }
        function test_controls(data) {
            Appearance.dark = data.dark;
            const gallery = createTemporaryObject(controls, place);
            gallery.focusedButton.forceActiveFocus(Qt.TabFocusReason);
            verify(gallery.focusedButton.visualFocus);
            gallery.picker.popup.open();
            tryVerify(() => gallery.picker.popup.opened);
            keep(place, "controls-" + data.tag);
            gallery.picker.popup.close();
            gallery.field.forceActiveFocus();
        }
        function test_surfaces_data() { return appearances(); }
        function test_surfaces(data) {
            Appearance.dark = data.dark;
            const gallery = createTemporaryObject(surfaces, place);
            gallery.menu.open();
            tryVerify(() => gallery.menu.opened);
            mouseMove(gallery.menu.itemAt(0), 30, 12);
            keep(place, "surfaces-" + data.tag);
            gallery.menu.close();
        }
        function test_dialog_data() { return appearances(); }
        function test_dialog(data) {
            Appearance.dark = data.dark;
            const gallery = createTemporaryObject(dialog, place);
            gallery.dialog.open = true;
            tryVerify(() => gallery.dialog.visibleNow);
            keep(place, "dialog-" + data.tag);
            gallery.dialog.open = false;
            tryVerify(() => !gallery.dialog.visibleNow);
        }
    }
}
