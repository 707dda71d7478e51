// A status on one line: dot and words in its colour. What does not fit is in the help text.
import QtQuick
import Quillbay

Item {
    id: line

    required property statusPresentation status
    property bool dot: true

    implicitWidth: Math.ceil(words.implicitWidth) + words.x
    implicitHeight: DS.caption.lineHeight
    Accessible.role: Accessible.StaticText
    Accessible.name: status.text

    StatusDot {
        visible: line.dot
        anchors.verticalCenter: parent.verticalCenter
        kind: line.status.kind
    }
    CrossfadeText {
        id: words
        objectName: "words"
        x: line.dot ? 6 + 6 : 0
        width: line.width - x
        textStyle: DS.caption
        text: line.status.text
        color: DS.statusTextColor(line.status.kind)
        elide: Text.ElideRight
        maximumLineCount: 1
        Accessible.ignored: true

        Behavior on color {
            ColorAnimation { duration: DS.statusTime }
        }
    }
    HoverHandler { id: hover }
    HelpText {
        text: line.status.text
        shown: hover.hovered && words.truncated
    }
}
