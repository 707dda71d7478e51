// A remark in small print behind its symbol, wrapped in full.
import QtQuick
import Quillbay

Item {
    id: line

    required property string symbol
    required property color symbolColor
    required property string text

    implicitWidth: label.x + label.implicitWidth
    implicitHeight: label.implicitHeight

    Accessible.role: Accessible.StaticText
    Accessible.name: line.text

    SymbolImage {
        // In the middle of the first line.
        y: (DS.caption.lineHeight - height) / 2
        name: line.symbol
        size: 12
        color: line.symbolColor
    }
    StyledText {
        id: label

        x: 18
        width: line.width - x
        textStyle: DS.caption
        color: DS.textSecondary
        text: line.text
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }
}
