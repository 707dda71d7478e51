// A small button without an edge: its ground shows only under the pointer. The text begins where the button does, so that it
// lines up; the ground reaches beyond.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.Button {
    id: button

    property string symbol

    readonly property real overhang: 6

    implicitWidth: Math.ceil(implicitContentWidth)
    implicitHeight: 20
    hoverEnabled: true
    opacity: enabled ? 1 : DS.disabledOpacity
    Accessible.name: text
    Accessible.onPressAction: button.click()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) button.click(); }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) button.click(); }

    /// As if it had been clicked.
    function click() {
        if (button.enabled) button.clicked();
    }

    contentItem: ButtonLabel {
        text: button.text
        symbol: button.symbol
        symbolSize: 12
        gap: DS.space4
        textStyle: DS.captionMedium
        color: DS.accent
        symbolColor: DS.textSecondary
    }
    background: Item {
        Rectangle {
            anchors { fill: parent; leftMargin: -button.overhang; rightMargin: -button.overhang }
            radius: DS.radiusIconButton
            color: button.down ? DS.rowPressed : button.hovered ? DS.rowHover : "transparent"

            FocusRing {
                control: button
                radius: DS.radiusIconButton
            }
        }
    }
}
