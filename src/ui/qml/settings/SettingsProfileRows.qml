// The saved devices in the settings, with hairlines between them.
import QtQuick
import QtQuick.Layouts
import Quillbay

ColumnLayout {
    id: list

    required property ProfilesModel profiles
    readonly property alias count: rows.count

    signal removal(string profileID)

    spacing: DS.space12

    Accessible.role: Accessible.List
    Accessible.name: "Device profiles"

    Repeater {
        id: rows

        model: list.profiles

        SettingsProfileRow {
            id: row

            readonly property SettingsProfileRows list: row.parent as SettingsProfileRows

            Layout.fillWidth: true
            onRemoval: row.list.removal(row.profileID)
        }
    }
}
