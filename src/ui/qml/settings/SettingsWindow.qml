// The settings: a page of cards that scrolls.
import QtQuick
import Quillbay

Window {
    id: window

    required property SettingsModel model

    width: 560
    height: 724
    minimumWidth: 480
    minimumHeight: 400
    title: "Settings"
    color: DS.windowFill

    onVisibleChanged: {
        if (window.visible)
            window.model.loadPersistedConfig();
        else
            window.model.removal.cancel();
    }

    Shortcut {
        sequence: "Ctrl+W"
        onActivated: window.close()
    }

    GlassBackdrop {}

    ScrollPage {
        id: page

        anchors.fill: parent
        anchors.topMargin: Appearance.titleStripHeight
        focus: true

        Keys.onEscapePressed: window.close()

        Column {
            id: cards

            readonly property real innerWidth: width - 2 * padding

            width: page.width
            padding: DS.space24
            topPadding: Appearance.titleStripHeight > 0 ? DS.space8 : DS.space24
            spacing: DS.space16

            GeneralCard {
                width: cards.innerWidth
                model: window.model
            }
            Repeater {
                model: window.model.providers

                ProviderCard {
                    id: providerCard

                    required property ProviderSettingsModel modelData

                    width: providerCard.parent ? providerCard.parent.width - 2 * DS.space24 : 0
                    provider: providerCard.modelData
                }
            }
            ProfilesCard {
                width: cards.innerWidth
                profiles: window.model.profiles
                onRemoval: profileID => window.model.askRemoval(profileID)
            }
            SupportCard {
                width: cards.innerWidth
                onSend: window.model.sendDiagnostics()
            }
            AboutCard {
                width: cards.innerWidth
                updates: window.model.updates
            }
        }
    }
    TitleStrip {
        title: window.title
        width: parent.width
    }
    LazySheet {
        file: "../main/RemovalDialog.qml"
        model: window.model.removal
        wanted: window.model.removal.open
    }
}
