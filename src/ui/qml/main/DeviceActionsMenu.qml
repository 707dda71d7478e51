// What can be done with one device of the sidebar.
import QtQuick
import Quillbay

ActionMenu {
    id: menu

    required property MainWindowModel model
    property string profileID
    property bool running

    function openFor(row: DeviceSidebarRow, x: real, y: real) {
        menu.profileID = row.profileID;
        menu.running = Qt.binding(() => row.running);
        menu.popup(row, x, y);
    }

    ActionMenuItem {
        text: "Edit"
        symbol: "pencil"
        enabled: !menu.running
        help: "Stop the bridge before editing this device."
        onTriggered: menu.model.beginEdit(menu.profileID)
    }

    ActionMenuItem {
        text: "Rename"
        symbol: "textformat"
        onTriggered: menu.model.beginRename(menu.profileID)
    }

    MenuDivider {}

    ActionMenuItem {
        text: "Remove"
        symbol: "trash"
        destructive: true
        onTriggered: menu.model.askRemoval(menu.profileID)
    }
}
