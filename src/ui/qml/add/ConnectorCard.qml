// How the phone is reached later: the connector, and then a peer of it or a typed-in address.
import QtQuick
import QtQuick.Layouts
import Quillbay

SectionCard {
    id: card

    required property AddDeviceModel model
    /// What Tab reaches first in the card's body.
    readonly property Item firstItem: tileGroup.tabStopItem

    title: "2 · Network connector"
    symbol: "network"
    accessory: [
        Spinner {
            visible: card.model.refreshing
            size: 12
        },
        LinkButton {
            text: "Refresh"
            onClicked: card.model.refresh()
        }
    ]

    ProviderTiles {
        id: tileGroup

        Layout.fillWidth: true
        tiles: card.model.tiles
        selected: card.model.selectedProvider
        onChosen: tileID => card.model.selectProvider(tileID)
    }
    CaptionLine {
        Layout.fillWidth: true
        visible: card.model.noProviderInstalled
        symbol: "exclamationmark.triangle.fill"
        symbolColor: DS.orange
        text: "No mesh-VPN client detected. Install Tailscale, ZeroTier, or Netbird, or pick Manual IP above."
    }
    Repeater {
        model: card.model.providerErrors

        CaptionLine {
            required property string modelData

            Layout.fillWidth: true
            symbol: "exclamationmark.triangle.fill"
            symbolColor: DS.orange
            text: modelData
        }
    }
    InputField {
        Layout.fillWidth: true
        visible: card.model.manualEntryMode
        name: card.model.manualPrompt
        prompt: card.model.manualPrompt
        fixedPitch: true
        text: card.model.manualIP
        onTextEdited: card.model.manualIP = text
    }
    Picker {
        id: picker

        Layout.fillWidth: true
        visible: card.model.showsPeers
        name: "Which device is this iPhone?"
        model: card.model.peers
        textRole: "label"
        currentIndex: picker.count > 0 ? card.model.peers.rowOf(card.model.selectedPeer) : -1
        onActivated: index => card.model.selectedPeer = card.model.peers.hostNameAt(index)
    }
}
