// The newest lines of the log.
import QtQuick
import Quillbay

Column {
    id: section

    required property LogModel log
    /// A line separates it from what is above.
    required property bool lined

    Rectangle {
        width: parent.width
        height: 1
        visible: section.lined
        color: DS.divider
    }
    Column {
        width: parent.width
        padding: DS.space16
        topPadding: DS.space12
        bottomPadding: DS.space12
        spacing: DS.space8

        StyledText {
            textStyle: DS.subheadline
            color: DS.textSecondary
            text: "Recent logs"
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        LogConsole {
            width: parent.width - 2 * DS.space16
            height: Math.min(implicitHeight, 14 + 16 * Math.max(1, section.log.recent.length))
            log: section.log
            expanded: false
        }
    }
}
