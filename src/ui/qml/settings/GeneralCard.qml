// What concerns the program as a whole.
import QtQuick
import QtQuick.Layouts
import Quillbay

SectionCard {
    id: card

    required property SettingsModel model

    title: "General"
    symbol: "gearshape"

    ToggleRow {
        title: "Launch at login"
        caption: "The app starts in the background when your Mac turns on."
        checked: card.model.launchAtLogin
        onSwitched: enabled => card.model.setLaunchAtLogin(enabled)
    }
    CaptionLine {
        Layout.fillWidth: true
        visible: text !== ""
        symbol: "exclamationmark.triangle.fill"
        symbolColor: DS.orange
        text: card.model.launchAtLoginError
    }
    ToggleRow {
        title: "Only this computer may use the bridge"
        caption: "Other computers on your network are turned away."
        checked: card.model.onlyThisComputer
        onSwitched: enabled => card.model.setOnlyThisComputer(enabled)
    }
    CaptionLine {
        Layout.fillWidth: true
        visible: text !== ""
        symbol: "exclamationmark.triangle.fill"
        symbolColor: DS.orange
        text: card.model.onlyThisComputerError
    }
}
