// A status as a small dot, in the colour of its badge.
import QtQuick
import Quillbay

Rectangle {
    id: dot

    required property int kind
    property real size: 6

    implicitWidth: size
    implicitHeight: size
    radius: size / 2
    color: DS.statusColor(kind)

    Behavior on color {
        ColorAnimation { duration: DS.statusTime }
    }
}
