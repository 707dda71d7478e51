// The look for the device's port, and how far it is while it runs.
import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillbay

RowLayout {
    id: row

    required property ProfileDetailModel model

    spacing: DS.space16

    /// What has the keyboard must not vanish with it. (A sheet that is open keeps it: this is about what is below.)
    function handFocus(from: T.Control, to: T.Control) {
        to.focus = true;
        to.focusReason = from.focusReason;
    }

    PushButton {
        id: scan

        text: "Scan port (probe device)"
        symbol: "stethoscope"
        enabled: !row.model.scanning
        onClicked: row.model.scan()
        onEnabledChanged: if (!enabled && focus) row.handFocus(scan, stop)
    }

    ProgressTrack {
        visible: row.model.scanning
        fraction: row.model.scanFraction
        Layout.fillWidth: true
        Accessible.name: "Scan: " + row.model.scanText
    }

    TextMetrics {
        id: widest

        font: DS.caption.font
        text: row.model.scanText.replace(/[0-9]/g, "0")
    }

    StyledText {
        // Figures are not equally wide, and the bar should not tremble.
        Layout.minimumWidth: Math.ceil(widest.advanceWidth)
        horizontalAlignment: Text.AlignRight
        visible: row.model.scanning
        textStyle: DS.caption
        color: DS.textSecondary
        text: row.model.scanText
    }

    IconButton {
        id: stop

        // Its symbol, not its edge, is in line with the cards.
        Layout.leftMargin: -DS.space4
        Layout.rightMargin: -DS.space4
        visible: row.model.scanning
        symbol: "stop.circle"
        help: "Stop scan"
        onClicked: row.model.stopScan()
        onVisibleChanged: if (!visible && focus) row.handFocus(stop, scan)
    }

    Item {
        visible: !row.model.scanning
        Layout.fillWidth: true
    }
}
