// Turns a phone found on the local network into a saved device, or edits one: three numbered steps on one page.
import QtQuick
import QtQuick.Layouts
import Quillbay

Sheet {
    id: sheet

    required property AddDeviceModel model

    sheetWidth: 560
    cornerRadius: DS.radiusSheet
    initialFocus: phones.count > 0 ? (phones as Item) : connector.firstItem
    onDismissed: sheet.model.cancel()

    Column {
        id: page

        readonly property real innerWidth: width - 2 * padding

        width: sheet.sheetWidth
        padding: DS.space24
        spacing: DS.space16

        // From any field: what has a use of its own for the key takes it first.
        // Not by the key that opened the sheet and is held.
        Keys.onReturnPressed: event => { if (!event.isAutoRepeat) sheet.model.save(); }
        Keys.onEnterPressed: event => { if (!event.isAutoRepeat) sheet.model.save(); }

        Column {
            width: page.innerWidth
            spacing: DS.space4

            StyledText {
                width: parent.width
                textStyle: DS.largeTitle
                text: sheet.model.title
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            StyledText {
                width: parent.width
                textStyle: DS.callout
                color: DS.textSecondary
                text: sheet.model.subtitle
                wrapMode: Text.Wrap
            }
        }
        SectionCard {
            width: page.innerWidth
            title: "1 · iPhones found on the local network"
            symbol: "wifi"

            ScanningLine {
                Layout.fillWidth: true
                visible: !phones.visible
            }
            CaptionLine {
                Layout.fillWidth: true
                visible: text !== ""
                symbol: "exclamationmark.triangle.fill"
                symbolColor: DS.orange
                text: sheet.model.discoveryTrouble
            }
            DiscoveryList {
                id: phones

                Layout.fillWidth: true
                visible: phones.count > 0
                rows: sheet.model.discoveryRows
                selectedRow: sheet.model.selectedRow
                onChosen: rowID => sheet.model.selectedRow = rowID
            }
        }
        ConnectorCard {
            id: connector

            width: page.innerWidth
            model: sheet.model
        }
        SectionCard {
            width: page.innerWidth
            title: "3 · Display name"
            symbol: "pencil"

            InputField {
                Layout.fillWidth: true
                name: "Display name"
                prompt: "e.g. Mirel's iPhone"
                text: sheet.model.displayName
                onTextEdited: sheet.model.displayName = text
            }
        }
        CaptionLine {
            width: page.innerWidth
            visible: text !== ""
            symbol: "exclamationmark.triangle.fill"
            symbolColor: DS.orange
            text: sheet.model.replacementWarning
        }
        Row {
            anchors.right: parent.right
            anchors.rightMargin: page.padding
            spacing: DS.space8

            PushButton {
                text: "Cancel"
                width: Math.max(76, implicitWidth)
                onClicked: sheet.model.cancel()
            }
            PushButton {
                text: "Save"
                width: Math.max(76, implicitWidth)
                role: PushButton.Prominent
                enabled: sheet.model.canSave
                onClicked: sheet.model.save()
            }
        }
    }
}
