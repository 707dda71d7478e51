// Symbol and text of a picker's entry; a filled circle is green, as what is online is everywhere.
import QtQuick
import Quillbay

Item {
    id: entry

    required property string text
    required property string symbol
    property color color: DS.textPrimary
    property color symbolColor: symbol === "circle.fill" ? DS.green : DS.textSecondary
    /// The text starts here even without a symbol.
    property bool indented: false

    readonly property real symbolSpace: 9 + 8

    implicitWidth: label.x + label.implicitWidth
    implicitHeight: 16

    SymbolImage {
        visible: entry.symbol !== ""
        anchors.verticalCenter: parent.verticalCenter
        size: 9
        name: entry.symbol
        color: entry.symbolColor
    }
    StyledText {
        id: label
        x: entry.indented || entry.symbol !== "" ? entry.symbolSpace : 0
        width: entry.width - x
        anchors.verticalCenter: parent.verticalCenter
        textStyle: DS.body
        text: entry.text
        color: entry.color
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}
