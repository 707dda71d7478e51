// The panel's first line: the program's name between the dot and the badge of all bridges together.
import QtQuick
import Quillbay

Item {
    id: header

    required property statusPresentation status
    /// A line separates it from what is below.
    required property bool lined

    implicitHeight: header.lined ? 49 : 48

    StatusDot {
        x: 26 - width / 2
        y: 24 - height / 2
        kind: header.status.kind
        size: 8
    }
    StyledText {
        id: title

        x: 48
        y: 24 - height / 2
        textStyle: DS.headline
        text: "Quillbay"
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    StatusBadge {
        anchors {
            right: parent.right
            rightMargin: DS.space16
        }
        y: 24 - height / 2
        status: header.status
        singleLine: true
        maximumWidth: header.width - title.x - title.width - DS.space12 - DS.space16
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        visible: header.lined
        color: DS.divider
    }
}
