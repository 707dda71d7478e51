// The device's name over its status, and the switch of its bridge.
import QtQuick
import Quillbay

Item {
    id: header

    required property ProfileDetailModel model
    readonly property real tileSize: 56

    implicitHeight: Math.max(tileSize, titles.height)

    GlassSurface {
        id: tile

        width: header.tileSize
        height: header.tileSize
        radius: DS.radiusPanel
        fill: DS.headerTile

        SymbolImage {
            anchors.centerIn: parent
            name: "iphone.gen3"
            size: 30
            color: DS.accent
        }
    }

    Column {
        id: titles

        anchors.left: tile.right
        anchors.leftMargin: DS.space16
        anchors.right: toggle.left
        anchors.rightMargin: DS.space16
        y: Math.max(0, (header.tileSize - height) / 2)
        spacing: 6

        StyledText {
            id: name

            width: Math.min(implicitWidth, parent.width)
            textStyle: DS.title2
            elide: Text.ElideRight
            text: header.model.displayName
            Accessible.role: Accessible.Heading
            Accessible.name: text

            HoverHandler {
                id: overName
            }

            HelpText {
                text: name.text
                shown: overName.hovered && name.truncated
            }
        }

        StatusBadge {
            status: header.model.status
            maximumWidth: Math.min(500, titles.width)
        }
    }

    ToggleSwitch {
        id: toggle

        anchors.right: parent.right
        y: (header.tileSize - height) / 2
        name: "Start Bridge"
        checked: header.model.switchOn
        // The bridge decides, not the click: what fails turns it off again.
        onToggled: header.model.setSwitch(checked)
    }
}
