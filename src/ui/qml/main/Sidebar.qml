// The saved devices, and the way to a new one.
import QtQuick
import Quillbay

Item {
    id: sidebar

    required property MainWindowModel model

    signal actionsClosed

    Rectangle {
        anchors.fill: parent
        color: DS.sidebar
    }

    Rectangle {
        id: edge

        anchors.right: parent.right
        width: 1
        height: parent.height
        color: DS.divider
    }

    Item {
        id: header

        y: Appearance.titleStripHeight
        width: parent.width - edge.width
        height: 44

        StyledText {
            anchors.verticalCenter: parent.verticalCenter
            x: DS.space16
            textStyle: DS.headline
            text: "Devices"
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        IconButton {
            anchors.verticalCenter: parent.verticalCenter
            anchors.right: parent.right
            anchors.rightMargin: DS.space12
            symbol: "plus"
            help: "Pair a new iPhone"
            inviting: sidebar.model.profiles.count === 0
            onClicked: sidebar.model.beginAdd()
        }
    }

    DeviceList {
        id: devices

        model: sidebar.model
        anchors.top: header.bottom
        anchors.topMargin: -devices.ringSpace
        anchors.bottom: parent.bottom
        width: header.width
        visible: sidebar.model.profiles.count > 0
        onActionsClosed: sidebar.actionsClosed()
    }

    EmptyStateView {
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        width: header.width
        visible: sidebar.model.profiles.count === 0
        symbol: "iphone.and.arrow.forward"
        title: "No device added yet"
        message: "Add an iPhone to bridge it over your mesh network."
    }
}
