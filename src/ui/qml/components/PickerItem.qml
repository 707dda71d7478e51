// One entry of an open picker.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.ItemDelegate {
    id: item

    required property int index
    required property string label
    required property string symbol

    readonly property T.ComboBox picker: (ListView.view as PickerList)?.picker ?? null
    readonly property bool chosen: picker?.currentIndex === index

    readonly property color textColor: highlighted ? DS.textOnAccent : DS.textPrimary

    text: label
    highlighted: picker?.highlightedIndex === index
    width: ListView.view?.width ?? implicitWidth
    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: 26
    leftPadding: 28
    rightPadding: 12
    hoverEnabled: true
    Accessible.name: text

    contentItem: PickerEntry {
        text: item.text
        symbol: item.symbol
        indented: true
        color: item.textColor
        symbolColor: item.highlighted ? DS.textOnAccent
            : item.symbol === "circle.fill" ? DS.green : DS.textSecondary
    }
    background: Rectangle {
        radius: DS.radiusIconButton
        color: item.highlighted ? DS.accentFill : "transparent"

        SymbolImage {
            visible: item.chosen
            x: 7
            anchors.verticalCenter: parent.verticalCenter
            size: 14
            name: "checkmark"
            color: item.textColor
        }
    }
}
