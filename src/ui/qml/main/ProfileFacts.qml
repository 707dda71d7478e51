// What is known about the device: how it is reached, and who it was on the local network.
import QtQuick
import QtQuick.Layouts
import Quillbay

GridLayout {
    id: facts

    required property ProfileDetailModel model

    columns: width >= 640 ? 2 : 1
    columnSpacing: DS.space16
    rowSpacing: DS.space16

    SectionCard {
        title: "Connection"
        symbol: "network"
        Layout.fillWidth: true
        Layout.preferredWidth: 1

        Column {
            Layout.fillWidth: true

            FactRow {
                width: parent.width
                label: "Device"
                value: facts.model.device
            }

            FactRow {
                width: parent.width
                label: "Connector"
                value: facts.model.connector
            }

            FactRow {
                width: parent.width
                label: "RemotePairing port"
                value: facts.model.remotePairingPort
            }

            FactRow {
                width: parent.width
                label: "Tunnel port range"
                value: facts.model.tunnelPortRange
            }
        }
    }

    SectionCard {
        title: "Bonjour"
        symbol: "wifi"
        Layout.fillWidth: true
        Layout.preferredWidth: 1

        Column {
            Layout.fillWidth: true

            FactRow {
                width: parent.width
                label: "Service name"
                value: facts.model.serviceName
                middleElide: true
            }

            FactRow {
                width: parent.width
                label: "Host"
                value: facts.model.host
            }

            FactRow {
                width: parent.width
                label: "Service type"
                value: facts.model.serviceType
            }

            FactRow {
                width: parent.width
                label: "TXT record"
                value: facts.model.txtRecord
            }
        }
    }
}
