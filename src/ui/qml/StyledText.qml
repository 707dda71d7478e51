// A text in one of the design system's styles, on that style's line height. Plain text: what it shows may come from
// the network.
import QtQuick
import Quillbay

Text {
    required property TextStyle textStyle

    textFormat: Text.PlainText
    font: textStyle.font
    lineHeight: textStyle.lineHeight
    lineHeightMode: Text.FixedHeight
    color: DS.textPrimary
    verticalAlignment: Text.AlignVCenter

    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
