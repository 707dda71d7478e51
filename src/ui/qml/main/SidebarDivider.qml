// The grip between the sidebar and the detail area: drags the width, and a double click takes the usual one.
import QtQuick
import Quillbay

MouseArea {
    id: grip

    required property MainWindowModel model
    /// When the drag began: the sidebar's width, and where the mouse was in the window.
    property real dragStartWidth
    property real dragStart

    function pointer(): real {
        return grip.mapToItem(null, grip.mouseX, 0).x;
    }

    width: 9
    cursorShape: Qt.SplitHCursor
    preventStealing: true
    Accessible.ignored: true
    onPressed: {
        grip.dragStartWidth = grip.model.sidebarWidth;
        grip.dragStart = grip.pointer();
    }
    onPositionChanged: grip.model.dragSidebar(grip.dragStartWidth, grip.pointer() - grip.dragStart)
    onReleased: grip.model.endSidebarDrag()
    onDoubleClicked: grip.model.resetSidebarWidth()
}
