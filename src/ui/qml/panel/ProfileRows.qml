// The panel's devices.
import QtQuick
import Quillbay

Column {
    id: list

    required property ProfilesModel profiles
    readonly property alias count: rows.count

    signal chosen(string profileID)

    topPadding: list.count > 0 ? 6 : 0
    bottomPadding: list.topPadding

    Accessible.role: Accessible.Grouping
    Accessible.name: "Devices"

    Repeater {
        id: rows

        model: list.profiles

        ProfileRow {
            id: row

            readonly property ProfileRows list: row.parent as ProfileRows

            width: row.list?.width ?? 0
            onClicked: row.list.chosen(row.profileID)
        }
    }
}
