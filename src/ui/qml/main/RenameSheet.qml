// Gives a device another name.
import QtQuick
import QtQuick.Layouts
import Quillbay

Sheet {
    id: sheet

    required property RenameModel model

    sheetWidth: 320
    cornerRadius: DS.radiusPanel
    initialFocus: field
    onDismissed: model.cancel()
    onOpenChanged: field.selectAll()

    DialogColumn {
        title: "Rename Device"
        width: parent.width

        InputField {
            id: field

            Layout.fillWidth: true
            Layout.topMargin: DS.space12
            name: "Device name"
            prompt: "Device name"
            text: sheet.model.text
            onTextEdited: sheet.model.text = text
            onAccepted: sheet.model.save()
        }

        DialogButtons {
            PushButton {
                Layout.minimumWidth: 72
                text: "Cancel"
                onClicked: sheet.model.cancel()
            }

            PushButton {
                Layout.minimumWidth: 72
                role: PushButton.Prominent
                text: "Save"
                enabled: sheet.model.canSave
                onClicked: sheet.model.save()
            }
        }
    }
}
