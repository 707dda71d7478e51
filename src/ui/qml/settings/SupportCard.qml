// Sends what the support team needs.
import QtQuick
import QtQuick.Layouts
import Quillbay

SectionCard {
    id: card

    signal send

    title: "Support"
    symbol: "lifepreserver"

    ColumnLayout {
        Layout.fillWidth: true
        spacing: DS.space8

        PushButton {
            text: "Send diagnostics to support team"
            symbol: "paperplane"
            onClicked: card.send()
            // A double click is one.
            onDoubleClicked: {}
        }
        StyledText {
            Layout.fillWidth: true
            textStyle: DS.caption
            color: DS.textSecondary
            text: "Attaches a detailed technical log (timestamps, bridge internals). The in-app Log panel stays short and"
                + " readable."
            wrapMode: Text.Wrap
        }
    }
}
