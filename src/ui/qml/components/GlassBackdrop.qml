// The ground of every window: its fill, with a blue light in the top left corner and a purple one in the bottom right.
import QtQuick
import Quillbay

Rectangle {
    id: backdrop

    readonly property real blueRadius: 420
    readonly property real purpleRadius: 480

    anchors.fill: parent
    color: DS.windowFill
    clip: true

    RadialGlow {
        width: backdrop.blueRadius
        height: width
        corner: RadialGlow.TopLeft
        color: DS.tint(DS.glowBlue, 0.22)
    }
    RadialGlow {
        anchors.right: backdrop.right
        anchors.bottom: backdrop.bottom
        width: backdrop.purpleRadius
        height: width
        corner: RadialGlow.BottomRight
        color: DS.tint(DS.glowPurple, 0.16)
    }
}
