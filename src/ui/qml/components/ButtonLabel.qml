// What stands on a button: a text, with a symbol before it where there is one.
import QtQuick
import Quillbay

Item {
    id: label

    required property string text
    required property string symbol
    required property TextStyle textStyle
    required property color color
    property color symbolColor: color
    property real symbolSize: 14
    property real gap: 6
    /// Where the text begins without a symbol.
    property real indent: 0
    /// In the middle of a place that is wider.
    property bool centred: false

    readonly property real textBegin: symbol === "" ? indent : symbolSize + gap
    /// Measured apart from the text that is shown, whose own idea of its width follows the place that it gets.
    readonly property real wanted: textBegin + Math.ceil(metrics.advanceWidth)

    implicitWidth: wanted
    implicitHeight: textStyle.lineHeight

    TextMetrics {
        id: metrics
        font: label.textStyle.font
        text: label.text
    }
    Item {
        id: body

        readonly property bool narrow: label.centred && label.symbol !== ""

        anchors.horizontalCenter: narrow ? label.horizontalCenter : undefined
        width: narrow ? Math.min(label.width, label.wanted) : label.width
        height: label.height

        SymbolImage {
            visible: label.symbol !== ""
            anchors.verticalCenter: parent.verticalCenter
            size: label.symbolSize
            name: label.symbol
            color: label.symbolColor
            Accessible.ignored: true
        }
        StyledText {
            objectName: "label"
            x: label.textBegin
            width: Math.max(0, body.width - x)
            anchors.verticalCenter: parent.verticalCenter
            textStyle: label.textStyle
            text: label.text
            color: label.color
            horizontalAlignment: label.centred && !body.narrow ? Text.AlignHCenter : Text.AlignLeft
            elide: Text.ElideRight
            Accessible.ignored: true
        }
    }
}
