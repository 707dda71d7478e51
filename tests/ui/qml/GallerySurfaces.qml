// Cards, rows and consoles, to look at.
import QtQuick
import QtQuick.Layouts
import Quillbay
import QuillbayTest

GlassBackdrop {
    id: gallery

    property alias menu: actions

    anchors.fill: undefined
    width: 1296
    height: 664

    GallerySection {
        x: 40; y: 40
        title: "SectionCard, FactRow"

        SectionCard {
            width: 280
            title: "Connection"
            symbol: "network"

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 0
                FactRow { Layout.fillWidth: true; label: "Device"; value: "lena-iphone" }
                FactRow { Layout.fillWidth: true; label: "RemotePairing port"; value: "49733" }
                FactRow { Layout.fillWidth: true; label: "Tunnel port range"; value: "55000–58000" }
                FactRow { Layout.fillWidth: true; label: "Service name"; value: "7C3E51A2-0B4F-4A11-9D32-5D2F6C8E1B07"; middleElide: true }
            }
        }
        SectionCard {
            width: 280
            title: "Log"
            symbol: "text.alignleft"
            accessory: [
                LinkButton { text: "Clear log" },
                Item { implicitWidth: 4 },
                LinkButton { text: "Expand"; symbol: "chevron.down" }
            ]

            LogConsole { Layout.fillWidth: true; log: Samples.log; expanded: false }
        }
        SectionCard {
            width: 280
            title: "Danger Zone"
            symbol: "exclamationmark.triangle.fill"
            titleColor: DS.redText
            symbolColor: DS.redText
            fill: DS.dangerFill
            border: DS.dangerBorder
            outline: "transparent"
        }
    }
    GallerySection {
        x: 360; y: 40
        title: "LogConsole"

        LogConsole { width: 280; log: Samples.log }
    }
    GallerySection {
        x: 680; y: 40
        title: "EmptyStateView"

        GlassSurface {
            width: 280
            height: empty.implicitHeight

            EmptyStateView {
                id: empty
                width: 280
                symbol: "iphone.and.arrow.forward"
                title: "No device added yet"
                message: "Add an iPhone to bridge it over your mesh network."
            }
        }
    }
    Item {
        x: 360; y: 300
        width: 150
        height: 100

        ActionMenu {
            id: actions
            ActionMenuItem { text: "Edit"; symbol: "pencil"; enabled: false; help: "Stop the bridge before editing this device." }
            ActionMenuItem { text: "Rename"; symbol: "textformat" }
            MenuDivider {}
            ActionMenuItem { text: "Remove"; symbol: "trash"; destructive: true }
        }
    }
}
