// What concerns the program as a whole.
import QtQuick
import QtQuick.Layouts
import Quillbay

SectionCard {
    id: card

    required property SettingsModel model

    title: "General"
    symbol: "gearshape"

    Item {
        Layout.fillWidth: true
        implicitHeight: words.height

        Column {
            id: words

            anchors {
                left: parent.left
                right: launch.left
                rightMargin: DS.space16
            }
            spacing: 3

            StyledText {
                width: parent.width
                textStyle: DS.body
                text: "Launch at login"
                elide: Text.ElideRight
            }
            StyledText {
                width: parent.width
                textStyle: DS.caption
                color: DS.textSecondary
                text: "The app starts in the background when your Mac turns on."
                wrapMode: Text.Wrap
            }
        }
        ToggleSwitch {
            id: launch

            anchors {
                right: parent.right
                verticalCenter: parent.verticalCenter
            }
            name: "Launch at login"
            checked: card.model.launchAtLogin
            // What holds then is not always what was asked for.
            onToggled: card.model.setLaunchAtLogin(checked)
        }
    }
    CaptionLine {
        Layout.fillWidth: true
        visible: text !== ""
        symbol: "exclamationmark.triangle.fill"
        symbolColor: DS.orange
        text: card.model.launchAtLoginError
    }
}
