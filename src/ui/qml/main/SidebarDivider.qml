// The grip between the sidebar and the detail area: drags the width, and a double click takes the usual one.
import QtQuick
import Quillbay

MouseArea {
    id: grip

    required property MainWindowModel model
    /// When the drag began, or the double click: the sidebar's width, and where the mouse was in the window.
    property real dragStartWidth
    property real dragStart

    function pointer(): real {
        return grip.mapToItem(null, grip.mouseX, 0).x;
    }
    function beginDrag() {
        grip.dragStartWidth = grip.model.sidebarWidth;
        grip.dragStart = grip.pointer();
    }

    width: 9
    cursorShape: Qt.SplitHCursor
    preventStealing: true
    Accessible.ignored: true
    onPressed: grip.beginDrag()
    onPositionChanged: grip.model.dragSidebar(grip.dragStartWidth, grip.pointer() - grip.dragStart)
    onReleased: grip.model.endSidebarDrag()
    onDoubleClicked: {
        grip.model.resetSidebarWidth();
        // The button is still down: a hand that trembles moves the width from where it is now.
        grip.beginDrag();
    }
}
