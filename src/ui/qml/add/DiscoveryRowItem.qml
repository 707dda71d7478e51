// One phone that can be chosen: its name above its host and port.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.ItemDelegate {
    id: row

    required property string rowID
    required property string title
    required property string caption
    required property bool discoveredEarlier
    required property bool selected
    // The ends of the list, whose corners are round.
    required property bool first
    required property bool last

    readonly property string earlierText: "Discovered earlier"

    implicitHeight: 44
    focusPolicy: Qt.NoFocus
    hoverEnabled: true

    Accessible.onPressAction: row.clicked()
    Accessible.name: row.discoveredEarlier ? row.title + ", " + row.caption + ", " + row.earlierText
                                           : row.title + ", " + row.caption
    Accessible.selectable: true
    Accessible.selected: row.selected

    background: Item {
        clip: true

        Rectangle {
            readonly property real reach: radius + 1

            // Round only where the list is: other corners lie outside, and are cut off.
            y: row.first ? 0 : -reach
            width: parent.width
            height: parent.height + (row.first ? 0 : reach) + (row.last ? 0 : reach)
            radius: DS.radiusRow - 1
            color: row.selected ? DS.selection
                 : row.pressed ? DS.rowPressed : row.hovered ? DS.rowHover : "transparent"

            Behavior on color {
                ColorAnimation {
                    duration: DS.hoverTime
                }
            }
        }
        Rectangle {
            width: parent.width
            height: 1
            visible: !row.first
            color: DS.divider
        }
    }

    Column {
        anchors {
            left: parent.left
            leftMargin: DS.space12
            right: earlier.visible ? earlier.left : check.left
            rightMargin: DS.space8
            verticalCenter: parent.verticalCenter
        }
        spacing: 3

        StyledText {
            width: parent.width
            textStyle: DS.bodyMedium
            text: row.title
            elide: Text.ElideRight
            maximumLineCount: 1
        }
        StyledText {
            width: parent.width
            textStyle: DS.caption
            color: DS.textSecondary
            text: row.caption
            elide: Text.ElideMiddle
            maximumLineCount: 1
        }
    }
    Rectangle {
        id: earlier

        anchors {
            right: check.left
            rightMargin: 10
            verticalCenter: parent.verticalCenter
        }
        visible: row.discoveredEarlier
        width: earlierLabel.implicitWidth + 12
        height: earlierLabel.implicitHeight + 4
        radius: DS.radiusIconButton
        color: DS.tint(DS.textSecondary, DS.earlierTint)

        StyledText {
            id: earlierLabel

            anchors.centerIn: parent
            textStyle: DS.caption
            color: DS.textSecondary
            text: row.earlierText
        }
    }
    SymbolImage {
        id: check

        anchors {
            right: parent.right
            rightMargin: DS.space12
            verticalCenter: parent.verticalCenter
        }
        name: "checkmark"
        size: 14
        color: DS.accent
        opacity: row.selected ? 1 : 0
    }
}
