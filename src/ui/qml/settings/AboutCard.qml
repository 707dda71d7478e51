// The version that runs, and a newer one where there is one.
import QtQuick
import QtQuick.Layouts
import Quillbay

SectionCard {
    id: card

    required property UpdateModel updates

    title: "About"
    symbol: "info.circle"

    Item {
        Layout.fillWidth: true
        implicitHeight: 28

        StyledText {
            anchors.verticalCenter: parent.verticalCenter
            textStyle: DS.body
            text: card.updates.versionText
        }
        StyledText {
            anchors {
                right: parent.right
                verticalCenter: parent.verticalCenter
            }
            visible: card.updates.upToDate
            textStyle: DS.callout
            color: DS.textSecondary
            text: "Up to date"
        }
        PushButton {
            anchors.right: parent.right
            visible: card.updates.available
            text: card.updates.getText
            symbol: "arrow.down.circle"
            onClicked: card.updates.open()
            // Taken, so that it is not a click more.
            onDoubleClicked: {}
        }
    }
}
