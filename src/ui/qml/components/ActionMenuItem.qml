// One action of an `ActionMenu`.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.MenuItem {
    id: item

    property string symbol
    property bool destructive: false
    /// Why it is unavailable, shown while it is.
    property string help

    readonly property color textColor:
        highlighted && enabled ? DS.textOnAccent : destructive ? DS.redText : DS.textPrimary

    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: 26
    leftPadding: 8
    rightPadding: 16
    hoverEnabled: true
    Accessible.name: text
    Accessible.description: enabled ? "" : help

    contentItem: ButtonLabel {
        opacity: item.enabled ? 1 : DS.disabledOpacity
        text: item.text
        symbol: item.symbol
        gap: DS.space8
        indent: 22
        textStyle: DS.body
        color: item.textColor
    }
    background: Rectangle {
        radius: DS.radiusIconButton
        color: item.highlighted && item.enabled ? DS.accentFill : "transparent"
    }

    HelpText {
        x: item.width - DS.space8
        y: 0
        delay: 200
        text: item.help
        shown: !item.enabled && (item.menu as ActionMenu)?.pointedItem === item
    }
}
