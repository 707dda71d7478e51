// A short explanation beside the pointer, or beside what it explains.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.ToolTip {
    id: help

    property bool shown: false

    visible: shown && text !== ""
    delay: 600
    timeout: -1
    x: parent ? (parent.width - implicitWidth) / 2 : 0
    y: parent ? parent.height + 6 : 0
    margins: 8
    horizontalPadding: 9
    verticalPadding: 6
    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    // The pointer alone opens and closes it; Escape is for what lies below.
    closePolicy: T.Popup.NoAutoClose

    enter: Transition { NumberAnimation { property: "opacity"; from: 0; to: 1; duration: DS.panelTime } }
    exit: Transition { NumberAnimation { property: "opacity"; from: 1; to: 0; duration: DS.panelTime } }

    contentItem: HelpWords { text: help.text }
    background: FloatingSurface {
        radius: DS.radiusControl
        fill: DS.helpFill
    }
}
