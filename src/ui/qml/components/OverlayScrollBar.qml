// Lies over the edge of what scrolls, and shows itself while it is used.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.ScrollBar {
    id: bar

    implicitWidth: 10
    padding: 2
    minimumSize: 0.08
    visible: bar.size < 1

    contentItem: Rectangle {
        implicitWidth: 6
        radius: width / 2
        color: DS.textSecondary
        opacity: bar.pressed ? 0.8 : bar.active || bar.hovered ? 0.5 : 0.2

        Behavior on opacity {
            NumberAnimation {
                duration: DS.bannerTime
            }
        }
    }
}
