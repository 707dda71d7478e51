// One connector that can be chosen: its symbol above its name. One of a group, in which arrows choose.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.RadioButton {
    id: tile

    required property string symbol
    required property bool selected
    /// The one of its group that Tab reaches.
    required property bool tabStop

    implicitHeight: 72
    hoverEnabled: true
    focusPolicy: tile.tabStop || tile.activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    checked: tile.selected
    opacity: tile.enabled ? 1 : DS.disabledOpacity

    Accessible.name: tile.text
    Accessible.onPressAction: tile.clicked()
    Accessible.onToggleAction: tile.clicked()

    background: Rectangle {
        radius: DS.radiusTile
        color: tile.selected ? DS.tileSelected : tile.pressed ? DS.tilePressed : tile.hovered ? DS.tileHover : DS.tile
        border.width: 1.5
        border.color: tile.selected ? DS.accent : "transparent"

        Behavior on color {
            ColorAnimation {
                duration: DS.hoverTime
            }
        }
    }
    contentItem: Item {
        Column {
            anchors {
                left: parent.left
                right: parent.right
                verticalCenter: parent.verticalCenter
            }
            spacing: DS.space8

            SymbolImage {
                anchors.horizontalCenter: parent.horizontalCenter
                name: tile.symbol
                size: 24
                color: tile.selected ? DS.accent : DS.textSecondary
            }
            StyledText {
                width: parent.width
                leftPadding: DS.space8
                rightPadding: DS.space8
                textStyle: tile.selected ? DS.badge : DS.caption
                text: tile.text
                horizontalAlignment: Text.AlignHCenter
                elide: Text.ElideRight
                maximumLineCount: 1
            }
        }
    }
    FocusRing {
        control: tile
        radius: DS.radiusTile
    }
}
