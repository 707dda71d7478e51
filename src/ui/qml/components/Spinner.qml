// Says that something runs whose end is not known. It moves only while it can be seen.
import QtQuick
import Quillbay

Item {
    id: spinner

    property real size: 16
    property color color: DS.textSecondary
    /// The spoke that is strongest.
    property int phase: 0

    readonly property int spokes: 8

    implicitWidth: size
    implicitHeight: size
    Accessible.role: Accessible.Animation
    Accessible.name: "In progress"

    Timer {
        interval: 100
        repeat: true
        running: spinner.visible && !Appearance.reducedMotion && spinner.Window.visibility !== Window.Hidden
        onTriggered: spinner.phase = (spinner.phase + 1) % spinner.spokes
    }
    Repeater {
        model: spinner.spokes

        Rectangle {
            id: spoke
            required property int index

            readonly property Spinner spinner: parent as Spinner
            readonly property real side: spinner?.size ?? 0
            readonly property int age: ((spinner?.phase ?? 0) - index + 8) % 8

            x: (side - width) / 2
            y: 0.06 * side
            width: side / 10
            height: 0.26 * side
            radius: width / 2
            color: spinner?.color ?? DS.textSecondary
            opacity: 1 - 0.1 * age
            transform: Rotation {
                origin { x: spoke.width / 2; y: 0.44 * spoke.side }
                angle: spoke.index * 45
            }
        }
    }
}
