// One device of the sidebar. The keyboard is the list's; the row has what the mouse needs.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.ItemDelegate {
    id: row

    required property string profileID
    required property string displayName
    required property statusPresentation status
    required property bool running
    required property bool selected
    /// The list has the keyboard, and shows it.
    required property bool listFocused
    required property bool actionsOpen
    readonly property bool active: Window.active
    readonly property bool showsActions: hovered || selected || actionsOpen

    signal chosen
    signal actionsRequested(real x, real y)

    height: 48
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    onClicked: row.chosen()
    Accessible.role: Accessible.ListItem
    Accessible.name: row.displayName + ", " + row.status.text
    Accessible.selectable: true
    Accessible.selected: row.selected
    Accessible.onPressAction: row.chosen()

    background: Rectangle {
        radius: DS.radiusRow
        color: row.selected ? (row.active ? DS.selection : DS.rowInactiveSelection) : row.pressed ? DS.rowPressed : row.hovered || row.actionsOpen ? DS.rowHover : "transparent"

        FocusRing {
            control: row
            radius: DS.radiusRow
            shown: row.listFocused && row.selected
        }
    }

    Item {
        anchors.fill: parent

        SymbolImage {
            id: phone

            x: 10
            anchors.verticalCenter: parent.verticalCenter
            name: "iphone"
            size: 20
            color: row.selected && row.active ? DS.accent : DS.textSecondary
        }

        Column {
            anchors.left: phone.right
            anchors.leftMargin: 10
            anchors.right: parent.right
            anchors.rightMargin: row.showsActions ? actions.width + 2 * DS.space8 : 10
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3

            StyledText {
                id: name

                width: parent.width
                textStyle: row.selected ? DS.headline : DS.bodyMedium
                elide: Text.ElideRight
                text: row.displayName
            }

            StatusLine {
                width: parent.width
                status: row.status
            }
        }

        HelpText {
            text: row.displayName
            shown: row.hovered && name.truncated
        }
    }

    IconButton {
        id: actions

        anchors.right: parent.right
        anchors.rightMargin: DS.space8
        anchors.verticalCenter: parent.verticalCenter
        visible: row.showsActions
        focusPolicy: Qt.NoFocus
        symbol: "ellipsis"
        help: "Actions"
        opened: row.actionsOpen
        Accessible.name: "Actions for " + row.displayName
        onClicked: row.actionsRequested(row.width - DS.space8 - width, row.height)
    }

    TapHandler {
        acceptedButtons: Qt.RightButton
        // Not before the button has been let go everywhere: a menu that opens meanwhile does not get the keyboard.
        onTapped: point => Qt.callLater(row.actionsRequested, point.position.x, point.position.y)
    }
}
