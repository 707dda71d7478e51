// One of the panel's actions.
import QtQuick
import Quillbay

PanelButton {
    id: action

    implicitHeight: 30

    Accessible.name: action.text

    contentItem: Item {
        StyledText {
            x: 48
            width: parent.width - x - DS.space16
            anchors.verticalCenter: parent.verticalCenter
            textStyle: DS.body
            text: action.text
            elide: Text.ElideRight
            maximumLineCount: 1
        }
    }
}
