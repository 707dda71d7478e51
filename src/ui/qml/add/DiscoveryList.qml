// The phones found on the local network, one of which can be chosen: one stop for Tab, in which the arrows choose.
import QtQuick
import QtQuick.Templates as T
import Quillbay

ListFocus {
    id: list

    required property DiscoveryRowsModel rows
    /// The chosen row's identifier; empty for none.
    required property string selectedRow
    readonly property alias count: view.count

    /// More of them scroll.
    readonly property int visibleRows: 5

    signal chosen(string rowID)

    function take(rowID: string) {
        list.takeByMouse();
        list.chosen(rowID);
    }
    function choose(row: int) {
        list.chosen(list.rows.rowIDAt(Math.max(0, Math.min(row, list.count - 1))));
    }

    implicitHeight: 44 * Math.min(list.count, list.visibleRows) + 2

    Accessible.name: "iPhones found on the local network"

    Keys.onUpPressed: list.choose(view.currentIndex - 1)
    Keys.onDownPressed: list.choose(view.currentIndex + 1)
    Keys.onSpacePressed: list.choose(view.currentIndex)
    Keys.onPressed: event => {
        event.accepted = event.key === Qt.Key_Home || event.key === Qt.Key_End;
        if (event.accepted)
            list.choose(event.key === Qt.Key_Home ? 0 : list.count - 1);
    }

    Rectangle {
        anchors.fill: parent
        radius: DS.radiusRow
        color: DS.field
    }

    ListView {
        id: view

        anchors {
            fill: parent
            margins: 1
        }
        clip: true
        model: list.rows
        // Named before the call, so that the row is looked up again when others come or go.
        currentIndex: view.count > 0 ? list.rows.rowOf(list.selectedRow) : -1
        keyNavigationEnabled: false
        highlightFollowsCurrentItem: true
        highlightMoveDuration: 0
        boundsBehavior: Flickable.StopAtBounds
        interactive: view.contentHeight > view.height
        T.ScrollBar.vertical: OverlayScrollBar {}

        delegate: DiscoveryRowItem {
            id: delegate

            required property int index
            readonly property DiscoveryList list: ListView.view?.parent as DiscoveryList

            width: ListView.view?.width ?? 0
            first: delegate.index === 0
            last: delegate.index + 1 === delegate.list?.count
            selected: delegate.rowID === delegate.list?.selectedRow
            onClicked: delegate.list.take(delegate.rowID)
        }
    }

    // Above the rows, whose corners it frames.
    Rectangle {
        anchors.fill: parent
        z: 1
        radius: DS.radiusRow
        color: "transparent"
        border.color: DS.fieldBorder
    }
    FocusRing {
        control: list
        radius: DS.radiusRow
        shown: list.showsFocus
    }
}
