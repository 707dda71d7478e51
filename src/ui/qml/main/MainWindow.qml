// The program's main window: the list of devices beside the selected one, and the sheets over both.
import QtQuick
import Quillbay

Window {
    id: window

    required property MainWindowModel model
    readonly property bool sheetOpen: model.addDevice.open || model.rename.open || model.removal.open

    width: 1024
    height: 700
    minimumWidth: 760
    minimumHeight: 520
    title: "Quillbay"
    color: DS.windowFill

    /// The keyboard goes back to where it was below a sheet or a menu that has closed.
    function restoreFocus() {
        if (!window.sheetOpen)
            content.forceActiveFocus(Qt.PopupFocusReason);
    }

    onSheetOpenChanged: restoring.restart()

    // When the sheet has let go of it. The sheet returns it too, but not to a menu from which it was opened.
    Timer {
        id: restoring

        interval: 0
        onTriggered: window.restoreFocus()
    }

    GlassBackdrop {
        anchors.fill: parent
    }

    FocusScope {
        id: content

        anchors.fill: parent
        focus: true

        Sidebar {
            id: sidebar

            model: window.model
            width: window.model.sidebarWidth
            height: parent.height
            onActionsClosed: window.restoreFocus()
        }

        DetailArea {
            model: window.model
            anchors.left: sidebar.right
            anchors.right: parent.right
            height: parent.height
        }

        TitleStrip {
            title: window.title
            width: parent.width
        }

        SidebarDivider {
            model: window.model
            x: window.model.sidebarWidth - Math.ceil(width / 2)
            height: parent.height
        }
    }

    LazySheet {
        file: "../add/AddDeviceSheet.qml"
        model: window.model.addDevice
        wanted: window.model.addDevice.open
    }

    LazySheet {
        file: "../main/RenameSheet.qml"
        model: window.model.rename
        wanted: window.model.rename.open
    }

    LazySheet {
        file: "../main/RemovalDialog.qml"
        model: window.model.removal
        wanted: window.model.removal.open
    }

    Shortcut {
        sequences: ["Ctrl+N"]
        onActivated: window.model.beginAdd()
    }

    Shortcut {
        sequences: ["Ctrl+,"]
        onActivated: window.model.actions.showSettings()
    }

    Shortcut {
        sequences: ["Ctrl+W"]
        onActivated: window.close()
    }

    Shortcut {
        sequences: ["Ctrl+Q"]
        onActivated: window.model.actions.quit()
    }
}
