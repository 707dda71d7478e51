// The question before a device is removed. Cancel has the keyboard first, so that Return removes nothing by mistake.
import QtQuick
import QtQuick.Layouts
import Quillbay

Sheet {
    id: sheet

    required property RemovalModel model

    sheetWidth: 320
    cornerRadius: DS.radiusPanel
    initialFocus: cancel
    onDismissed: model.cancel()

    DialogColumn {
        title: sheet.model.title
        width: parent.width

        StyledText {
            Layout.fillWidth: true
            Layout.topMargin: 6
            textStyle: DS.callout
            color: DS.textSecondary
            wrapMode: Text.Wrap
            text: sheet.model.message
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }

        DialogButtons {
            PushButton {
                id: cancel

                Layout.minimumWidth: 72
                text: "Cancel"
                onClicked: sheet.model.cancel()
            }

            PushButton {
                Layout.minimumWidth: 72
                role: PushButton.Remove
                text: "Remove"
                onClicked: sheet.model.confirm()
            }
        }
    }
}
