// Offers the newer version at the top of the detail area, while there is one.
import QtQuick
import QtQuick.Templates as T
import Quillbay

Item {
    id: banner

    required property UpdateModel model

    implicitHeight: model.available ? 48 : 0
    opacity: model.available ? 1 : 0
    visible: implicitHeight > 0
    clip: implicitHeight < 48

    Behavior on implicitHeight {
        NumberAnimation {
            duration: DS.bannerTime
            easing.type: Easing.InOutQuad
        }
    }

    Behavior on opacity {
        NumberAnimation {
            duration: DS.bannerTime
            easing.type: Easing.InOutQuad
        }
    }

    T.AbstractButton {
        id: button

        anchors.bottom: parent.bottom
        width: parent.width
        height: 48
        enabled: banner.model.available
        hoverEnabled: true
        focusPolicy: Qt.StrongFocus
        leftPadding: DS.space16
        rightPadding: DS.space16
        topPadding: DS.space8
        bottomPadding: DS.space8
        onClicked: banner.model.open()
        // Taken, so that it is not a click more.
        onDoubleClicked: {}
        Keys.onReturnPressed: event => { if (!event.isAutoRepeat) button.clicked(); }
        Keys.onEnterPressed: event => { if (!event.isAutoRepeat) button.clicked(); }
        Accessible.role: Accessible.Button
        Accessible.name: banner.model.windowText
        Accessible.description: download.text
        Accessible.onPressAction: button.clicked()

        background: Rectangle {
            color: button.pressed ? DS.bannerFillPressed : button.hovered ? DS.bannerFillHover : DS.bannerFill

            Rectangle {
                anchors.bottom: parent.bottom
                width: parent.width
                height: 1
                color: DS.divider
            }

            FocusRing {
                control: button
                radius: DS.radiusRow
                // The banner reaches the window's edge, so its ring is inside.
                anchors.margins: DS.space4
            }
        }

        Item {
            anchors.fill: parent
            anchors.leftMargin: button.leftPadding
            anchors.rightMargin: button.rightPadding

            SymbolImage {
                id: symbol

                anchors.verticalCenter: parent.verticalCenter
                name: "arrow.down.circle.fill"
                size: 20
                color: DS.accent
            }

            Column {
                anchors.left: symbol.right
                anchors.leftMargin: DS.space12
                anchors.right: chevron.left
                anchors.rightMargin: DS.space12
                anchors.verticalCenter: parent.verticalCenter
                spacing: 3

                StyledText {
                    width: parent.width
                    textStyle: DS.headline
                    elide: Text.ElideRight
                    text: banner.model.windowText
                }

                StyledText {
                    id: download

                    width: parent.width
                    textStyle: DS.caption
                    color: DS.textSecondary
                    elide: Text.ElideRight
                    text: "Click to download"
                }
            }

            SymbolImage {
                id: chevron

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                name: "chevron.right"
                size: 14
                color: DS.textSecondary
            }
        }
    }
}
