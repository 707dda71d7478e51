// The selected device: its state and switch, what is known about it, its log, and its removal. Scrolls where the
// window is lower than all that.
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillbay

Flickable {
    id: view

    required property MainWindowModel model
    readonly property real contentLimit: 880

    /// Scrolls so far that the item, which has just got the keyboard, can be seen.
    function reveal(item: Item) {
        if (!item || !view.isWithin(item))
            return;
        const top = item.mapToItem(view.contentItem, 0, 0).y;
        const margin = DS.space16;
        view.contentY = Math.max(0, Math.min(top - margin, Math.max(view.contentY, top + item.height + margin - view.height)));
    }
    function isWithin(item: Item): bool {
        for (let above = item; above; above = above.parent)
            if (above === view.contentItem)
                return true;
        return false;
    }

    clip: true
    contentWidth: width
    contentHeight: Math.max(height, column.implicitHeight + 2 * DS.space24)
    boundsBehavior: Flickable.StopAtBounds
    T.ScrollBar.vertical: OverlayScrollBar {}

    Connections {
        target: view.Window.window
        function onActiveFocusItemChanged() {
            view.reveal(view.Window.window.activeFocusItem);
        }
    }

    ColumnLayout {
        id: column

        x: DS.space24
        y: DS.space24
        width: Math.min(view.width - 2 * DS.space24, view.contentLimit)
        height: view.contentHeight - 2 * DS.space24
        spacing: DS.space16

        ProfileHeader {
            model: view.model.detail
            Layout.fillWidth: true
        }

        ProfileFacts {
            model: view.model.detail
            Layout.fillWidth: true
        }

        ScanRow {
            model: view.model.detail
            Layout.fillWidth: true
        }

        LogCard {
            model: view.model
            Layout.fillWidth: true
            Layout.fillHeight: view.model.logExpanded
        }

        DangerZone {
            Layout.fillWidth: true
            onRemovalRequested: view.model.askRemovalOfSelected()
        }

        // An expanded log takes what is left.
        Item {
            visible: !view.model.logExpanded
            Layout.fillHeight: true
        }
    }
}
