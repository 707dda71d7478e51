// The program's name and version, at the bottom of the detail area.
import QtQuick
import Quillbay

Item {
    id: footer

    required property string text

    implicitHeight: 28

    Rectangle {
        width: parent.width
        height: 1
        color: DS.divider
    }

    StyledText {
        anchors.centerIn: parent
        width: Math.min(implicitWidth, parent.width - 2 * DS.space16)
        elide: Text.ElideRight
        textStyle: DS.caption
        color: DS.textSecondary
        text: footer.text
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
