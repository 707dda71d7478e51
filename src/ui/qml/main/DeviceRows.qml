// The rows of the sidebar, as the mouse sees them.
import QtQuick
import QtQuick.Templates as T
import Quillbay

ListView {
    id: rows

    /// The selected profile's id.
    required property string selection
    /// The list has the keyboard, and shows it.
    required property bool listFocused
    /// The profile whose actions are shown; empty for none.
    required property string actionsOpen
    /// For the focus ring of the first row and of the last one.
    readonly property real ringSpace: DS.space4

    signal chosen(string profileID)
    signal actionsRequested(row: DeviceSidebarRow, x: real, y: real)

    topMargin: ringSpace
    leftMargin: DS.space8
    rightMargin: DS.space8
    bottomMargin: DS.space8
    spacing: 2
    clip: true
    keyNavigationEnabled: false
    boundsBehavior: Flickable.StopAtBounds
    T.ScrollBar.vertical: OverlayScrollBar {}

    delegate: DeviceSidebarRow {
        id: row

        readonly property DeviceRows rows: ListView.view as DeviceRows

        width: row.rows ? row.rows.width - row.rows.leftMargin - row.rows.rightMargin : 0
        selected: row.rows?.selection === row.profileID
        listFocused: row.rows?.listFocused ?? false
        actionsOpen: row.rows?.actionsOpen === row.profileID
        onChosen: row.rows.chosen(row.profileID)
        onActionsRequested: (x, y) => row.rows.actionsRequested(row, x, y)
    }
}
