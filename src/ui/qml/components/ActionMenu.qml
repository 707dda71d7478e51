// A menu of actions: `ActionMenuItem`s and `MenuDivider`s.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.Menu {
    id: menu

    /// Under the pointer, available or not.
    readonly property Item pointedItem: (contentItem as ActionMenuList)?.pointedItem ?? null
    property real widest: 0

    implicitWidth: Math.max(152, widest + leftPadding + rightPadding)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    margins: DS.space8
    padding: 6
    overlap: 0

    onAboutToShow: {
        let width = 0;
        for (let i = 0; i < menu.count; ++i) width = Math.max(width, menu.itemAt(i).implicitWidth);
        menu.widest = width;
    }

    enter: Transition { NumberAnimation { property: "opacity"; from: 0; to: 1; duration: DS.panelTime } }
    exit: Transition { NumberAnimation { property: "opacity"; from: 1; to: 0; duration: DS.panelTime } }

    contentItem: ActionMenuList {
        model: menu.contentModel
        currentIndex: menu.currentIndex
    }
    background: FloatingSurface {
        radius: DS.radiusTile
        fill: DS.panelFill
    }
}
