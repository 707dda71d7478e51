// The inside of a small dialog: its title, and below it what it asks.
import QtQuick
import QtQuick.Layouts
import Quillbay

Item {
    id: dialog

    required property string title
    default property alias content: column.data
    readonly property int padding: 20

    implicitHeight: column.implicitHeight + 2 * padding

    ColumnLayout {
        id: column

        x: dialog.padding
        y: dialog.padding
        width: dialog.width - 2 * dialog.padding
        spacing: 0

        StyledText {
            Layout.fillWidth: true
            textStyle: DS.headline
            wrapMode: Text.Wrap
            text: dialog.title
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
    }
}
