// A saved device in the settings: its name, the ports of its tunnels, and its removal.
import QtQuick
import Quillbay

Item {
    id: row

    required property int index
    required property string profileID
    required property string displayName
    required property string tunnelPortRange

    signal removal

    implicitHeight: 24

    Accessible.role: Accessible.ListItem
    Accessible.name: row.displayName + ", " + row.tunnelPortRange

    Rectangle {
        y: -6
        width: parent.width
        height: 1
        visible: row.index > 0
        color: DS.divider
    }
    StyledText {
        anchors {
            left: parent.left
            right: ports.left
            rightMargin: DS.space16
            verticalCenter: parent.verticalCenter
        }
        textStyle: DS.body
        text: row.displayName
        elide: Text.ElideRight
        maximumLineCount: 1
    }
    StyledText {
        id: ports

        anchors {
            right: remove.left
            rightMargin: DS.space12
            verticalCenter: parent.verticalCenter
        }
        textStyle: DS.calloutFixed
        color: DS.textSecondary
        text: row.tunnelPortRange
    }
    IconButton {
        id: remove

        anchors {
            right: parent.right
            // The symbol itself stands at the edge.
            rightMargin: -5
        }
        symbol: "trash"
        symbolSize: 14
        destructive: true
        help: "Remove " + row.displayName
        onClicked: row.removal()
    }
}
