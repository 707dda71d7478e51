// A field for one line of text.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.TextField {
    id: field

    /// Shown while it is empty.
    property string prompt
    property bool fixedPitch: false
    /// What is to be typed: accessible, not shown.
    required property string name

    readonly property TextStyle textStyle: fixedPitch ? DS.calloutFixed : DS.body

    implicitWidth: 189
    implicitHeight: 28
    leftPadding: 10
    rightPadding: 10
    font: textStyle.font
    color: DS.textPrimary
    selectionColor: DS.accentFill
    selectedTextColor: DS.textOnAccent
    verticalAlignment: TextInput.AlignVCenter
    selectByMouse: true
    opacity: enabled ? 1 : DS.disabledOpacity
    Accessible.name: name
    Accessible.description: prompt

    StyledText {
        objectName: "prompt"
        x: field.leftPadding
        width: field.width - field.leftPadding - field.rightPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: field.length === 0 && field.preeditText === ""
        textStyle: field.textStyle
        text: field.prompt
        color: DS.textSecondary
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    // No `clip`, which would cut the ring: the text is cut at the padding without it.
    background: Item {
        Rectangle {
            anchors { fill: parent; margins: -2.5 }
            visible: field.activeFocus
            radius: DS.radiusControl + 2.5
            color: "transparent"
            border { width: 2.5; color: DS.tint(DS.focusRing, 0.55) }
        }
        GlassSurface {
            anchors.fill: parent
            radius: DS.radiusControl
            fill: DS.field
            border: field.activeFocus ? DS.focusRing : DS.fieldBorder
            outline: "transparent"
        }
    }
}
