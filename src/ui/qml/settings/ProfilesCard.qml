// The saved devices, for their removal.
import QtQuick
import QtQuick.Layouts
import Quillbay

SectionCard {
    id: card

    required property ProfilesModel profiles

    signal removal(string profileID)

    title: "Device profiles"
    symbol: "iphone"

    StyledText {
        Layout.fillWidth: true
        visible: rows.count === 0
        textStyle: DS.callout
        color: DS.textSecondary
        text: "No saved devices."
    }
    SettingsProfileRows {
        id: rows

        Layout.fillWidth: true
        visible: rows.count > 0
        profiles: card.profiles
        onRemoval: profileID => card.removal(profileID)
    }
}
