// A saved device in the panel, with the status of its bridge.
import QtQuick
import Quillbay

PanelButton {
    id: row

    required property string profileID
    required property string displayName
    required property statusPresentation status

    implicitHeight: 44
    text: row.displayName
    symbol: "iphone"
    symbolSize: 20

    Accessible.name: row.displayName + ", " + row.status.text

    contentItem: Item {
        Column {
            x: 48
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - x - DS.space16
            spacing: 3

            StyledText {
                width: parent.width
                textStyle: DS.bodyMedium
                text: row.displayName
                elide: Text.ElideRight
                maximumLineCount: 1
            }
            StatusLine {
                width: parent.width
                status: row.status
                dot: false
            }
        }
    }
}
