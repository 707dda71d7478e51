// A dialog over a window, to look at.
import QtQuick
import QtQuick.Layouts
import Quillbay
import QuillbayTest

GlassBackdrop {
    id: gallery

    property alias dialog: sheet

    anchors.fill: undefined
    width: parent.width
    height: parent.height

    StatusBadge { x: 40; y: 40; status: Samples.on() }

    Sheet {
        id: sheet
        sheetWidth: 320
        cornerRadius: DS.radiusPanel
        initialFocus: field

        Item {
            width: parent.width
            implicitHeight: column.implicitHeight + 40
            height: implicitHeight

            ColumnLayout {
                id: column
                x: 20
                y: 20
                width: parent.width - 40
                spacing: DS.space12

                StyledText { textStyle: DS.headline; text: "Rename Device" }
                InputField { id: field; name: "Device name"; text: "Spare iPhone SE"; Layout.fillWidth: true }
                RowLayout {
                    Layout.alignment: Qt.AlignRight
                    spacing: DS.space8
                    PushButton { text: "Cancel" }
                    PushButton { text: "Save"; role: PushButton.Prominent }
                }
            }
        }
    }
}
