// The user log. Collapsed, its newest three lines; expanded, all of them, wrapped, with the end in sight unless one has
// scrolled away from it, and lines can be selected and copied.
import QtQuick
import Quillbay

ListFocus {
    id: view

    required property LogModel log
    property bool expanded: true

    readonly property bool empty: log.count === 0
    readonly property real collapsedHeight: 3 * DS.consoleLine.lineHeight + 2 * 2 + 2 * DS.space8

    implicitWidth: 240
    implicitHeight: expanded ? 184 : collapsedHeight
    activeFocusOnTab: expanded
    Accessible.name: "Log"

    Keys.forwardTo: [lines]

    Behavior on implicitHeight {
        NumberAnimation { duration: DS.consoleTime; easing.type: Easing.InOutQuad }
    }

    Rectangle {
        anchors.fill: parent
        radius: DS.radiusRow
        color: DS.consoleFill
    }

    StyledText {
        objectName: "empty"
        visible: view.empty
        x: DS.space8
        y: DS.space8
        width: view.width - 2 * DS.space8
        textStyle: DS.consoleLine
        text: "No logs yet."
        color: DS.textSecondary
        elide: Text.ElideRight
    }
    Column {
        visible: !view.expanded && !view.empty
        x: DS.space8
        y: DS.space8
        width: view.width - 2 * DS.space8
        spacing: 2

        Repeater {
            model: view.expanded ? [] : view.log.recent

            StyledText {
                required property string modelData

                width: parent.width
                height: textStyle.lineHeight
                textStyle: DS.consoleLine
                text: modelData
                elide: Text.ElideRight
                maximumLineCount: 1
            }
        }
    }
    LogLines {
        id: lines
        visible: view.expanded && !view.empty
        anchors.fill: parent
        model: view.expanded ? view.log : null
        selection: chosen
        onPressed: view.takeByMouse()
        onActionsRequested: (x, y) => actions.popup(lines, x, y)
    }
    LogSelection {
        id: chosen
        log: view.expanded ? view.log : null
    }
    ActionMenu {
        id: actions

        // The menu had the keyboard.
        onClosed: view.forceActiveFocus(Qt.PopupFocusReason)

        ActionMenuItem {
            text: "Copy"
            enabled: chosen.first >= 0
            onTriggered: chosen.copy()
        }
        ActionMenuItem {
            text: "Select All"
            onTriggered: chosen.selectAll()
        }
    }

    FocusRing {
        control: view
        shown: view.showsFocus
        radius: DS.radiusRow
    }
}
