// The rows of the sidebar: one stop of the Tab key, in which the arrows choose.
import QtQuick
import Quillbay

ListFocus {
    id: control

    required property MainWindowModel model

    /// How far it reaches up, for the ring around the first row.
    readonly property alias ringSpace: list.ringSpace

    /// The menu has gone, and with it what had the keyboard.
    signal actionsClosed

    Accessible.name: "Devices"

    function select(row: int) {
        control.model.selection = control.model.profiles.profileIDAt(Math.max(0, Math.min(row, list.count - 1)));
    }
    /// Of the row with this profile, where the keyboard asks for it.
    function openActions(profileID: string) {
        const row = list.itemAtIndex(control.model.profiles.rowOf(profileID)) as DeviceSidebarRow;
        if (row)
            menu.openFor(row, row.width - menu.width, row.height);
    }
    function selectedIndex(): int {
        return control.model.profiles.rowOf(control.model.selection);
    }

    Keys.onUpPressed: control.select(control.selectedIndex() - 1)
    Keys.onDownPressed: control.select(control.selectedIndex() + 1)
    Keys.onMenuPressed: control.openActions(control.model.selection)
    Keys.onDeletePressed: control.model.askRemoval(control.model.selection)
    Keys.onPressed: event => {
        event.accepted = true;
        if (event.key === Qt.Key_F2)
            control.model.beginRename(control.model.selection);
        else if (event.key === Qt.Key_F10 && event.modifiers & Qt.ShiftModifier)
            control.openActions(control.model.selection);
        else if (event.key === Qt.Key_Backspace)
            control.model.askRemoval(control.model.selection);
        else if (event.key === Qt.Key_Home)
            control.select(0);
        else if (event.key === Qt.Key_End)
            control.select(list.count - 1);
        else
            event.accepted = false;
    }

    Connections {
        target: control.model
        function onSelectionChanged() {
            list.positionViewAtIndex(control.selectedIndex(), ListView.Contain);
        }
    }

    DeviceRows {
        id: list

        anchors.fill: parent
        model: control.model.profiles
        selection: control.model.selection
        listFocused: control.showsFocus
        actionsOpen: menu.visible ? menu.profileID : ""
        onChosen: profileID => {
            control.takeByMouse();
            control.model.selection = profileID;
        }
        onActionsRequested: (row, x, y) => menu.openFor(row, x, y)
    }

    DeviceActionsMenu {
        id: menu

        model: control.model
        onClosed: control.actionsClosed()
    }
}
