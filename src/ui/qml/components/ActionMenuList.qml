// The items of an `ActionMenu`.
import QtQuick

ListView {
    id: list

    /// Under the pointer, even where it is unavailable (an item that is does not see the pointer itself).
    readonly property Item pointedItem:
        pointer.hovered ? list.itemAt(pointer.point.position.x, pointer.point.position.y + list.contentY) : null

    implicitHeight: contentHeight
    interactive: false

    HoverHandler { id: pointer }
}
