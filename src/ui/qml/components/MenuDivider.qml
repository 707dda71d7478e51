// A line between groups of a menu's items.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.MenuSeparator {
    implicitWidth: 120
    implicitHeight: 9
    padding: 0

    contentItem: Item {
        implicitHeight: 9

        Rectangle {
            anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; margins: DS.space8 }
            height: 1
            color: DS.divider
        }
    }
}
