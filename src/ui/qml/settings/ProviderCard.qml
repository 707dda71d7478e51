// Where one VPN's command-line tool is, and whether it answers.
import QtQuick
import QtQuick.Layouts
import Quillbay

SectionCard {
    id: card

    required property ProviderSettingsModel provider

    readonly property bool found: card.provider.result === ProviderSettingsModel.Found

    title: card.provider.label
    symbol: "network"

    ColumnLayout {
        Layout.fillWidth: true
        spacing: DS.space8

        RowLayout {
            Layout.fillWidth: true
            spacing: DS.space8

            InputField {
                Layout.fillWidth: true
                name: card.provider.label
                prompt: "CLI path"
                fixedPitch: true
                text: card.provider.path
                onTextEdited: card.provider.path = text
            }
            PushButton {
                visible: card.provider.supportsDeviceList
                enabled: !card.provider.testing
                text: "Test device list"
                onClicked: card.provider.testDeviceList()
            }
        }
        CaptionLine {
            Layout.fillWidth: true
            visible: text !== ""
            symbol: "exclamationmark.triangle.fill"
            symbolColor: DS.orange
            text: card.provider.pathNotice
        }
        StyledText {
            Layout.fillWidth: true
            visible: text !== ""
            textStyle: DS.caption
            color: DS.textSecondary
            text: card.provider.note
            wrapMode: Text.Wrap
        }
        Spinner {
            visible: card.provider.testing
            size: DS.caption.lineHeight
        }
        CaptionLine {
            Layout.fillWidth: true
            visible: !card.provider.testing && card.provider.result !== ProviderSettingsModel.None
            symbol: card.found ? "checkmark.circle" : "exclamationmark.triangle.fill"
            symbolColor: card.found ? DS.green : DS.orange
            text: card.provider.resultText
        }
    }
}
