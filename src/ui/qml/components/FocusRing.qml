// The ring around what has the keyboard's focus, a little outside of its edge. A child of what it surrounds.
import QtQuick
import QtQuick.Templates as T
import Quillbay

Item {
    id: ring

    required property Item control
    /// Of the control's own edge.
    property real radius: DS.radiusControl
    property bool shown: (ring.control as T.Control)?.visualFocus ?? false

    readonly property real gap: 1.5
    readonly property real lineWidth: 2.5

    anchors.fill: parent
    visible: shown

    Rectangle {
        anchors { fill: parent; margins: -(ring.gap + ring.lineWidth) }
        radius: ring.radius + ring.gap + ring.lineWidth
        color: "transparent"
        border { width: ring.lineWidth; color: DS.focusRing }
    }
}
