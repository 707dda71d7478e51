// A switch with what it is about on its left.
import QtQuick
import QtQuick.Layouts
import Quillbay

Item {
    id: row

    required property string title
    required property string caption
    /// The switch's own, so that what it is bound to takes the switch back when something else holds than was asked for.
    property alias checked: toggle.checked

    signal switched(enabled: bool)

    Layout.fillWidth: true
    implicitHeight: words.height

    Column {
        id: words

        anchors {
            left: parent.left
            right: toggle.left
            rightMargin: DS.space16
        }
        spacing: 3

        StyledText {
            width: parent.width
            textStyle: DS.body
            text: row.title
            elide: Text.ElideRight
        }
        StyledText {
            width: parent.width
            textStyle: DS.caption
            color: DS.textSecondary
            text: row.caption
            wrapMode: Text.Wrap
        }
    }
    ToggleSwitch {
        id: toggle

        anchors {
            right: parent.right
            verticalCenter: parent.verticalCenter
        }
        name: row.title
        onToggled: row.switched(checked)
    }
}
