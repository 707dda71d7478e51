// The words of a help text, wrapped where they are many.
import QtQuick
import Quillbay

Item {
    id: help

    required property string text

    readonly property real maximumWidth: 300

    implicitWidth: Math.min(Math.ceil(metrics.advanceWidth), maximumWidth)
    implicitHeight: words.lineCount * DS.caption.lineHeight

    TextMetrics {
        id: metrics
        font: DS.caption.font
        text: help.text
    }
    StyledText {
        id: words
        width: help.width
        textStyle: DS.caption
        text: help.text
        wrapMode: Text.Wrap
        maximumLineCount: 12
        elide: Text.ElideRight
    }
}
