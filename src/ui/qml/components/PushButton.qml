// A button with an edge. Space presses it, and Return while it has the focus.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.Button {
    id: button

    enum Role {
        Standard,
        Prominent,
        /// Begins something that removes.
        Destructive,
        /// Confirms the removal.
        Remove,
        /// Destructive, on the tinted ground of the danger zone.
        Danger
    }

    property string symbol
    property int role: PushButton.Standard

    readonly property bool filled: role === PushButton.Prominent || role === PushButton.Remove
    readonly property bool tinted: role === PushButton.Destructive || role === PushButton.Danger
    readonly property color textColor: filled ? (enabled ? DS.textOnAccent : DS.textOnAccentDisabled)
        : tinted ? DS.redText : DS.textPrimary
    readonly property color fill: [
        down ? DS.controlPressed : hovered ? DS.controlHover : DS.control,
        down ? DS.accentFillPressed : hovered ? DS.accentFillHover : DS.accentFill,
        down ? DS.dangerControlPressed : hovered ? DS.dangerControlHover : DS.dangerControl,
        down ? DS.redFillPressed : hovered ? DS.redFillHover : DS.redFill,
        down ? DS.dangerControlPressed : hovered ? DS.dangerControlHover : DS.dangerControl
    ][role]

    implicitWidth: Math.max(72, Math.ceil(implicitContentWidth) + leftPadding + rightPadding)
    implicitHeight: 28
    leftPadding: 13
    rightPadding: 13
    hoverEnabled: true
    // Opacity works on text and ground apart, so that white text on a half filled ground would be lost.
    opacity: enabled || filled ? 1 : DS.disabledOpacity
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
        textStyle: button.filled ? DS.headline : DS.bodyMedium
        color: button.textColor
        centred: true
    }
    background: GlassSurface {
        opacity: button.enabled || !button.filled ? 1 : DS.disabledOpacity
        radius: DS.radiusControl
        fill: button.fill
        border: button.role === PushButton.Standard ? DS.controlBorder : "transparent"
        outline: "transparent"

        Behavior on fill {
            ColorAnimation { duration: button.down ? DS.pressTime : DS.hoverTime }
        }
    }

    FocusRing { control: button }
}
