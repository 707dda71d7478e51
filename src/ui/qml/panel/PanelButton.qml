// A row of the panel that can be pressed: lit under the pointer and while it has the keyboard's focus.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.AbstractButton {
    id: button

    required property string symbol
    property real symbolSize: 16

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    Accessible.onPressAction: button.clicked()
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()

    background: Item {
        Rectangle {
            anchors {
                fill: parent
                leftMargin: 6
                rightMargin: 6
            }
            radius: DS.radiusRow
            color: button.pressed ? DS.rowPressed : DS.selection
            opacity: button.hovered || button.pressed || button.visualFocus ? 1 : 0

            Behavior on opacity {
                NumberAnimation {
                    duration: DS.hoverTime
                }
            }
            FocusRing {
                control: button
                radius: DS.radiusRow
            }
        }
    }

    SymbolImage {
        // All symbols of the panel stand on one line.
        x: 26 - width / 2
        anchors.verticalCenter: parent.verticalCenter
        name: button.symbol
        size: button.symbolSize
        color: DS.textSecondary
    }
}
