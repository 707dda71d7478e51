// What is asked over a window, which waits below: a surface in its middle that holds the focus until it is answered. It
// scrolls when it is higher than the window. Escape asks for its dismissal.
import QtQuick
import QtQuick.Templates as T
import Quillbay

Item {
    id: sheet

    property bool open: false
    property real sheetWidth: 320
    property real cornerRadius: DS.radiusSheet
    /// What has the focus when it opens.
    property Item initialFocus: null
    /// One item, as wide as the sheet, as high as it needs, with its own padding.
    default property alias content: page.content
    readonly property alias visibleNow: popup.visible

    /// What had the focus before, and how it came by it.
    property Item before: null
    property int beforeReason: Qt.PopupFocusReason

    /// Escape: whoever opened it decides.
    signal dismissed

    T.Popup {
        id: popup

        parent: T.Overlay.overlay
        x: parent ? Math.round((parent.width - width) / 2) : 0
        y: parent ? Math.round((parent.height - height) / 2) : 0
        width: parent ? Math.min(sheet.sheetWidth, parent.width - 2 * DS.space16) : sheet.sheetWidth
        height: parent ? Math.min(page.contentHeight, parent.height - 56) : page.contentHeight
        visible: sheet.open
        modal: true
        focus: true
        closePolicy: T.Popup.NoAutoClose
        onAboutToShow: sheet.keepFocus()
        onVisibleChanged: if (visible) sheet.takeFocus()
        onClosed: sheet.returnFocus()

        T.Overlay.modal: Rectangle {
            color: DS.scrim

            Behavior on opacity {
                NumberAnimation { duration: DS.sheetOutTime }
            }
        }
        enter: Transition {
            NumberAnimation { property: "opacity"; from: 0; to: 1; duration: DS.sheetInTime; easing.type: Easing.OutCubic }
            NumberAnimation { property: "scale"; from: 0.97; to: 1; duration: DS.sheetInTime; easing.type: Easing.OutCubic }
        }
        exit: Transition {
            NumberAnimation { property: "opacity"; from: 1; to: 0; duration: DS.sheetOutTime }
            NumberAnimation { property: "scale"; from: 1; to: 0.97; duration: DS.sheetOutTime }
        }

        background: FloatingSurface {
            radius: sheet.cornerRadius
            fill: DS.sheetFill
        }
    }
    FocusScope {
        parent: popup.contentItem
        anchors.fill: parent
        focus: true
        Keys.onEscapePressed: sheet.dismissed()

        ScrollPage {
            id: page
            anchors.fill: parent
        }
    }

    function keepFocus() {
        sheet.before = sheet.Window.activeFocusItem;
        sheet.beforeReason = (sheet.before as T.Control)?.visualFocus ? Qt.TabFocusReason : Qt.PopupFocusReason;
    }
    function returnFocus() {
        if (sheet.before && sheet.before.visible && sheet.before.enabled)
            sheet.before.forceActiveFocus(sheet.beforeReason);
        sheet.before = null;
    }
    function takeFocus() {
        if (sheet.initialFocus) sheet.initialFocus.forceActiveFocus(sheet.beforeReason);
    }
}
