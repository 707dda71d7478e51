// The log of all bridges, as people read it.
import QtQuick
import QtQuick.Layouts
import Quillbay

SectionCard {
    id: card

    required property MainWindowModel model

    title: "Log"
    symbol: "text.alignleft"
    accessory: [
        LinkButton {
            text: "Clear log"
            enabled: card.model.log.count > 0
            onClicked: card.model.log.clear()
        },
        LinkButton {
            Layout.leftMargin: DS.space12
            text: card.model.logExpanded ? "Collapse" : "Expand"
            symbol: card.model.logExpanded ? "chevron.up" : "chevron.down"
            onClicked: card.model.logExpanded = !card.model.logExpanded
        }
    ]

    LogConsole {
        log: card.model.log
        expanded: card.model.logExpanded
        Layout.fillWidth: true
        Layout.fillHeight: card.model.logExpanded
    }
}
