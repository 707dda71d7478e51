// What cannot be undone, apart from the rest.
import QtQuick
import QtQuick.Layouts
import Quillbay

GlassSurface {
    id: zone

    signal removalRequested

    implicitHeight: 52
    fill: DS.dangerFill
    border: DS.dangerBorder

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: DS.space16
        anchors.rightMargin: DS.space12
        spacing: 6

        SymbolImage {
            name: "exclamationmark.triangle.fill"
            size: 14
            color: DS.redText
        }

        StyledText {
            Layout.fillWidth: true
            textStyle: DS.subheadline
            color: DS.redText
            elide: Text.ElideRight
            text: "Danger Zone"
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        PushButton {
            role: PushButton.Danger
            symbol: "trash"
            text: "Remove device"
            onClicked: zone.removalRequested()
        }
    }
}
