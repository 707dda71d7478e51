// Every control in its states, to look at.
import QtQuick
import Quillbay
import QuillbayTest

Rectangle {
    id: gallery

    property alias picker: opened
    property alias focusedButton: cancel
    property alias field: nameField

    width: 1296
    height: 664
    color: DS.windowFill

    component Caption: StyledText {
        textStyle: DS.caption
        color: DS.textSecondary
    }

    StyledText {
        x: 40; y: 40
        textStyle: DS.largeTitle
        text: "Controls"
    }

    GallerySection {
        x: 40; y: 100
        title: "Buttons and switch"

        Grid {
            columns: 5
            columnSpacing: 24
            rowSpacing: 12
            verticalItemAlignment: Grid.AlignVCenter

            Caption { text: "Prominent"; width: 60 }
            PushButton { text: "Save"; role: PushButton.Prominent }
            PushButton { text: "Save"; role: PushButton.Prominent; down: true }
            PushButton { text: "Save"; role: PushButton.Prominent; FocusRing { control: parent as PushButton; shown: true } }
            PushButton { text: "Save"; role: PushButton.Prominent; enabled: false }

            Caption { text: "Standard" }
            PushButton { text: "Cancel" }
            PushButton { text: "Cancel"; down: true }
            PushButton { id: cancel; text: "Cancel" }
            PushButton { text: "Cancel"; enabled: false }

            Caption { text: "Destructive" }
            PushButton { text: "Remove"; role: PushButton.Destructive }
            PushButton { text: "Remove"; role: PushButton.Destructive; down: true }
            PushButton { text: "Remove"; role: PushButton.Remove }
            PushButton { text: "Remove"; role: PushButton.Destructive; enabled: false }

            Caption { text: "Symbol" }
            PushButton { text: "Get 1.5.0"; symbol: "arrow.down.circle" }
            PushButton { text: "Remove device"; symbol: "trash"; role: PushButton.Danger }
            PushButton { text: "Scan port (probe device)"; symbol: "stethoscope"; width: 120 }
            PushButton { text: "Scan port (probe device)"; symbol: "stethoscope"; enabled: false }

            Caption { text: "Borderless" }
            LinkButton { text: "Refresh" }
            LinkButton { text: "Refresh"; down: true }
            LinkButton { text: "Expand"; symbol: "chevron.down"; FocusRing { control: parent as LinkButton; shown: true; anchors.leftMargin: -6; anchors.rightMargin: -6 } }
            LinkButton { text: "Refresh"; enabled: false }

            Caption { text: "Icon" }
            Row {
                IconButton { symbol: "plus"; help: "Plus" }
                IconButton { symbol: "ellipsis"; help: "Actions" }
                IconButton { symbol: "stop.circle"; help: "Stop" }
            }
            Row {
                IconButton { symbol: "plus"; help: "Plus"; down: true }
                IconButton { symbol: "ellipsis"; help: "Actions"; down: true }
                IconButton { symbol: "stop.circle"; help: "Stop"; down: true }
            }
            Row {
                spacing: 12
                IconButton { symbol: "plus"; help: "Plus"; inviting: true }
                IconButton { symbol: "trash"; help: "Trash"; destructive: true }
            }
            IconButton { symbol: "plus"; help: "Plus"; enabled: false }

            Caption { text: "Switch on" }
            ToggleSwitch { name: "On"; checked: true }
            ToggleSwitch { name: "On"; checked: true; down: true }
            ToggleSwitch { name: "On"; checked: true; FocusRing { control: parent as ToggleSwitch; shown: true; radius: 11 } }
            ToggleSwitch { name: "On"; checked: true; enabled: false }

            Caption { text: "Switch off" }
            ToggleSwitch { name: "Off" }
            ToggleSwitch { name: "Off"; down: true }
            ToggleSwitch { name: "Off"; FocusRing { control: parent as ToggleSwitch; shown: true; radius: 11 } }
            ToggleSwitch { name: "Off"; enabled: false }
        }
    }

    GallerySection {
        x: 40; y: 480
        title: "StatusBadge, StatusDot, StatusLine"

        Row {
            spacing: 10
            StatusBadge { status: Samples.on() }
            StatusBadge { status: Samples.pairing() }
            StatusBadge { status: Samples.error("Couldn't determine this Mac's network address.") }
            StatusBadge { status: Samples.off() }
        }
        StatusBadge {
            status: Samples.error("The device is still on this Mac's local network. Move it to a different Wi-Fi before bridging. Cellular won't work.")
        }
        Row {
            spacing: 20
            StatusLine { status: Samples.on() }
            StatusLine { status: Samples.pairing() }
            StatusLine { status: Samples.error("Wireless debugging isn't available."); width: 58 }
            StatusLine { status: Samples.off() }
            Spinner {}
            ProgressTrack { fraction: 0.26; width: 160 }
        }
    }

    GallerySection {
        x: 672; y: 100
        title: "Fields and picker"

        Grid {
            columns: 3
            spacing: 12

            InputField { name: "Name"; prompt: "e.g. Mirel's iPhone" }
            InputField { id: nameField; name: "Name"; text: "Lena's iPhone" }
            InputField { name: "Name"; text: "Lena's iPhone"; enabled: false }
            InputField { name: "Address"; prompt: "Manual IP IP address"; fixedPitch: true }
            InputField { name: "Address"; text: "100.92.14.7"; fixedPitch: true }
            InputField { name: "Address"; text: "A text that is by far longer than the field is wide, so it scrolls" }
            Picker { name: "Peer"; model: Samples.peers }
            Picker { name: "Peer"; model: Samples.peers; currentIndex: 1; FocusRing { control: parent as Picker; shown: true } }
            Picker { name: "Peer"; model: Samples.peers; currentIndex: 2 }
        }
    }
    GallerySection {
        x: 672; y: 300
        title: "Picker, open"

        Picker { id: opened; name: "Peer"; model: Samples.peers; currentIndex: 1 }
    }
}
