// One fact on one line: its label, and the value in a fixed pitch. What does not fit is in the help text.
import QtQuick
import Quillbay

Item {
    id: row

    required property string label
    required property string value
    /// Where a long value is cut: in the middle, for names that differ at their ends.
    property bool middleElide: false

    readonly property real labelWidth: 128

    implicitWidth: labelWidth + Math.ceil(valueText.implicitWidth)
    implicitHeight: 24
    Accessible.role: Accessible.StaticText
    Accessible.name: row.label + ": " + row.value

    StyledText {
        width: row.labelWidth - DS.space8
        anchors.verticalCenter: parent.verticalCenter
        textStyle: DS.callout
        text: row.label
        color: DS.textSecondary
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    StyledText {
        id: valueText
        objectName: "value"
        x: row.labelWidth
        width: row.width - x
        anchors.verticalCenter: parent.verticalCenter
        textStyle: DS.calloutFixed
        text: row.value
        elide: row.middleElide ? Text.ElideMiddle : Text.ElideRight
        maximumLineCount: 1
        Accessible.ignored: true
    }
    HoverHandler { id: hover }
    HelpText {
        text: row.value
        shown: hover.hovered && valueText.truncated
    }
}
