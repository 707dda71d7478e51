// All lines of a log, wrapped. It stays at the end while lines arrive, unless one has scrolled away from it. A mouse
// selects whole lines, to be copied.
import QtQuick
import QtQuick.Templates as T
import Quillbay

ListView {
    id: list

    /// Whether the end is kept in sight.
    property bool following: true

    required property LogSelection selection

    /// By the mouse, anywhere.
    signal pressed
    /// What can be done with the selection is asked for, here.
    signal actionsRequested(real x, real y)

    readonly property real lineStep: DS.consoleLine.lineHeight + spacing
    readonly property real pageStep: Math.max(lineStep, height - lineStep)

    topMargin: DS.space8
    bottomMargin: DS.space8
    leftMargin: DS.space8
    rightMargin: DS.space8
    spacing: 2
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    onMovementEnded: following = atYEnd
    onCountChanged: soon.restart()
    onContentHeightChanged: soon.restart()
    onHeightChanged: soon.restart()
    onWidthChanged: soon.restart()
    Keys.onUpPressed: list.scrollTo(list.contentY - list.lineStep)
    Keys.onDownPressed: list.scrollTo(list.contentY + list.lineStep)
    Keys.onPressed: event => {
        event.accepted = true;
        if (event.key === Qt.Key_PageUp) list.scrollTo(list.contentY - list.pageStep);
        else if (event.key === Qt.Key_PageDown) list.scrollTo(list.contentY + list.pageStep);
        else if (event.key === Qt.Key_Home) list.toBeginning();
        else if (event.key === Qt.Key_End) list.toEnd();
        else if (event.matches(StandardKey.Copy)) list.selection.copy();
        else if (event.matches(StandardKey.SelectAll)) list.selection.selectAll();
        else if (event.key === Qt.Key_Menu) list.actionsRequested(DS.space8, DS.space8);
        else if (event.key === Qt.Key_F10 && event.modifiers & Qt.ShiftModifier)
            list.actionsRequested(DS.space8, DS.space8);
        else event.accepted = false;
    }

    Connections {
        target: list.model
        // A full log loses a line for each that comes: neither the count nor the height changes.
        function onChanged() {
            soon.restart();
        }
    }
    // Once for all that changes in a turn of the event loop, and when the view has seen it.
    Timer {
        id: soon
        interval: 0
        onTriggered: if (list.following && list.count > 0) list.toEnd()
    }

    /// The line at this height of the view, or the last one above it; -1 above all of them.
    function rowAt(y: real): int {
        const at = list.contentY + Math.max(0, Math.min(y, list.height - 1));
        const row = list.indexAt(0, at);
        // Between two lines, or below the last.
        return row >= 0 || at < list.originY ? row
             : at < list.originY + list.contentHeight ? list.indexAt(0, at - list.spacing) : list.count - 1;
    }
    function topY(): real {
        return list.originY - list.topMargin;
    }
    function endY(): real {
        return Math.max(list.topY(), list.originY + list.contentHeight + list.bottomMargin - list.height);
    }
    function scrollTo(y: real) {
        list.cancelFlick();
        list.contentY = Math.max(list.topY(), Math.min(list.endY(), y));
        list.following = list.contentY >= list.endY() - 1;
    }
    // The view knows exactly only how high the lines are that it has made, which it does on the way to either end.
    function toBeginning() {
        list.positionViewAtBeginning();
        list.scrollTo(list.topY());
    }
    function toEnd() {
        list.positionViewAtEnd();
        list.contentY = list.endY();
        list.following = true;
    }

    // A mouse scrolls by its wheel: what it drags stays where it is.
    MouseArea {
        anchors.fill: parent
        preventStealing: true
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onPressed: mouse => {
            list.pressed();
            const row = list.rowAt(mouse.y);
            const selected = row >= list.selection.first && row <= list.selection.last;
            if (mouse.button === Qt.LeftButton && mouse.modifiers & Qt.ShiftModifier) list.selection.extend(row);
            else if (mouse.button === Qt.LeftButton || !selected) list.selection.begin(row);
            if (mouse.button === Qt.RightButton) list.actionsRequested(mouse.x, mouse.y);
        }
        onPositionChanged: mouse => {
            if (mouse.buttons & Qt.LeftButton) list.selection.extend(list.rowAt(mouse.y));
        }
    }

    delegate: LogLine {
        required property int index
        readonly property LogSelection selection: (ListView.view as LogLines)?.selection ?? null

        width: ListView.view.width - 2 * DS.space8
        selected: selection !== null && index >= selection.first && index <= selection.last
    }

    T.ScrollBar.vertical: OverlayScrollBar {
        onPressedChanged: if (!pressed) list.following = list.atYEnd
    }
}
