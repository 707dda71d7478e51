// The strip above the content of a window whose own bar is transparent. Nothing with the window manager's bar.
import QtQuick
import Quillbay

Item {
    id: strip

    required property string title

    height: Appearance.titleStripHeight
    visible: height > 0

    StyledText {
        anchors.centerIn: parent
        textStyle: DS.headline
        text: strip.title
    }
}
