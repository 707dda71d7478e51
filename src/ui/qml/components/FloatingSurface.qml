// The ground of what floats over a window: opaque, with an edge and a shadow.
import QtQuick
import Quillbay

Item {
    id: surface

    required property color fill
    required property real radius

    FloatingShadow {
        anchors { fill: parent; margins: -reach; bottomMargin: -reach - drop }
        color: DS.shadow
    }
    Rectangle {
        anchors.fill: parent
        radius: surface.radius
        color: surface.fill
    }
    Rectangle {
        anchors.fill: parent
        radius: surface.radius
        color: "transparent"
        border { width: 1; color: DS.frame }
    }
}
