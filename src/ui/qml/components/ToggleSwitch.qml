// A switch. `toggled()` is the user's doing; what `checked` is bound to says afterwards what holds.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.Switch {
    id: control

    /// What it switches: accessible, not shown.
    required property string name

    implicitWidth: 38
    implicitHeight: 22
    padding: 0
    hoverEnabled: true
    Accessible.name: name
    Accessible.onPressAction: control.flip()
    Accessible.onToggleAction: control.flip()
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) control.flip(); }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) control.flip(); }

    function flip() {
        control.toggle();
        control.toggled();
    }

    indicator: Item {
        implicitWidth: 38
        implicitHeight: 22

        Rectangle {
            anchors.fill: parent
            radius: 11
            opacity: control.enabled ? 1 : DS.disabledOpacity
            color: control.checked
                ? (control.down ? DS.accentFillPressed : control.hovered ? DS.accentFillHover : DS.accentFill)
                : (control.down || control.hovered ? DS.switchOffHover : DS.switchOff)

            Behavior on color {
                ColorAnimation { duration: DS.switchTime; easing.type: Easing.OutCubic }
            }
        }
        Rectangle {
            objectName: "knob"
            readonly property real inset: 2
            x: control.checked ? parent.width - width - inset : inset
            y: inset
            width: control.down ? 21 : 18
            height: 18
            radius: 9
            color: control.enabled ? DS.knob : DS.textOnAccentDisabled

            Behavior on x {
                NumberAnimation { duration: DS.switchTime; easing.type: Easing.OutCubic }
            }
            Behavior on width {
                NumberAnimation { duration: DS.pressTime }
            }
        }
    }

    FocusRing {
        control: control
        radius: 11
    }
}
