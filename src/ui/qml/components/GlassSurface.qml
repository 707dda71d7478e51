// A translucent surface with a hairline around it. Fill and edge are drawn apart: both are translucent, and one over the
// other would be a third colour.
import QtQuick
import Quillbay

Item {
    id: surface

    property color fill: DS.card
    property real radius: DS.radiusCard
    property color border: DS.glassBorder
    property color outline: DS.glassOutline
    property real borderWidth: 1

    Rectangle {
        anchors.fill: parent
        radius: surface.radius
        color: surface.fill
        border.width: 0
    }
    Rectangle {
        anchors.fill: parent
        visible: surface.outline.a > 0
        radius: surface.radius
        color: "transparent"
        border { width: surface.borderWidth; color: surface.outline }
    }
    Rectangle {
        anchors.fill: parent
        visible: surface.border.a > 0
        radius: surface.radius
        color: "transparent"
        border { width: surface.borderWidth; color: surface.border }
    }
}
