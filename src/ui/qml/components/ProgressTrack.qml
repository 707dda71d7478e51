// How much of something is done.
import QtQuick
import Quillbay

Rectangle {
    id: track

    /// From 0 to 1.
    required property real fraction

    readonly property real done: Math.max(0, Math.min(1, fraction))

    implicitWidth: 120
    implicitHeight: 4
    radius: 2
    color: DS.track
    Accessible.role: Accessible.ProgressBar
    Accessible.name: Math.round(100 * track.done) + " %"

    Rectangle {
        objectName: "done"
        width: track.width * track.done
        height: parent.height
        radius: 2
        color: DS.accent

        Behavior on width {
            NumberAnimation { duration: DS.progressTime }
        }
    }
}
