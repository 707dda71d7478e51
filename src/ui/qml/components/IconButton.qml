// A small square button that shows only a symbol; what it does is its help text and its accessible name.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.Button {
    id: button

    required property string symbol
    required property string help
    /// Tinted, where it is the one thing to do.
    property bool inviting: false
    /// Begins something that removes.
    property bool destructive: false
    property real symbolSize: 16
    /// What it opened is open: there is nothing to explain.
    property bool opened: false

    readonly property color ground: down ? DS.rowPressed : hovered ? DS.rowHover : "transparent"

    implicitWidth: 24
    implicitHeight: 24
    hoverEnabled: true
    opacity: enabled ? 1 : DS.disabledOpacity
    Accessible.name: help
    Accessible.onPressAction: button.click()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) button.click(); }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) button.click(); }

    /// As if it had been clicked.
    function click() {
        if (button.enabled) button.clicked();
    }

    contentItem: Item {
        SymbolImage {
            anchors.centerIn: parent
            size: button.symbolSize
            name: button.symbol
            color: button.inviting ? DS.accent
                : button.destructive ? DS.redText
                : button.hovered || button.down ? DS.textPrimary : DS.textSecondary
        }
    }
    background: Item {
        Rectangle {
            anchors.fill: parent
            visible: button.inviting
            radius: DS.radiusIconButton
            color: DS.invitation
        }
        Rectangle {
            anchors.fill: parent
            radius: DS.radiusIconButton
            color: button.ground
        }
    }

    FocusRing {
        control: button
        radius: DS.radiusIconButton
    }
    HelpText {
        text: button.help
        shown: button.hovered && !button.down && !button.opened
    }
}
