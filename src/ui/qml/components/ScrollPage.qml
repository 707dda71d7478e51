// A column that scrolls when it is higher than its place: by wheel, scroll bar and keyboard, and to what gets the focus.
import QtQuick
import QtQuick.Templates as T
import Quillbay

Flickable {
    id: page

    /// One item as wide as the page, as high as it needs.
    default property alias content: holder.data
    /// What its window's focus is on.
    readonly property Item focused: page.Window.activeFocusItem
    /// Kept free around what gets the focus.
    property real focusMargin: DS.space16

    implicitWidth: holder.childrenRect.width
    implicitHeight: holder.childrenRect.height
    contentWidth: width
    contentHeight: holder.childrenRect.height
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    onFocusedChanged: soon.restart()

    // When what has the focus stands where it will.
    Timer {
        id: soon
        interval: 0
        onTriggered: page.reveal(page.focused)
    }

    function reveal(item: Item) {
        if (!item || !page.holds(item)) return;
        const top = item.mapToItem(holder, 0, 0).y - page.focusMargin;
        const bottom = top + item.height + 2 * page.focusMargin;
        if (top < page.contentY) page.contentY = Math.max(0, top);
        else if (bottom > page.contentY + page.height)
            page.contentY = Math.max(0, Math.min(bottom - page.height, page.contentHeight - page.height));
    }
    function holds(item: Item): bool {
        for (let at = item; at; at = at.parent)
            if (at === holder) return true;
        return false;
    }

    // A mouse scrolls by its wheel: what it drags stays where it is.
    MouseArea {
        width: page.width
        height: Math.max(page.height, page.contentHeight)
        preventStealing: true
    }
    Item {
        id: holder
        width: page.width
        height: childrenRect.height
    }

    T.ScrollBar.vertical: OverlayScrollBar {}
}
