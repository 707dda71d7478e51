// Offers a newer version in the panel. A click opens its download page.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.AbstractButton {
    id: banner

    readonly property string hint: "Click to download"

    implicitHeight: 48
    leftPadding: DS.space16
    rightPadding: DS.space16
    topPadding: DS.space8
    bottomPadding: DS.space8
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    // Taken, so that it is not a click more.
    onDoubleClicked: {}

    Accessible.onPressAction: banner.clicked()
    Accessible.name: banner.text + ", " + banner.hint

    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) banner.clicked(); }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) banner.clicked(); }

    background: Rectangle {
        color: banner.pressed ? DS.bannerFillPressed : banner.hovered ? DS.bannerFillHover : DS.bannerFill

        Behavior on color {
            ColorAnimation {
                duration: DS.hoverTime
            }
        }
    }
    contentItem: Item {
        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            name: "arrow.down.circle.fill"
            size: 20
            color: DS.accent
        }
        Column {
            x: 32
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - x
            spacing: 3

            StyledText {
                width: parent.width
                textStyle: DS.headline
                text: banner.text
                elide: Text.ElideRight
                maximumLineCount: 1
            }
            StyledText {
                width: parent.width
                textStyle: DS.caption
                color: DS.textSecondary
                text: banner.hint
            }
        }
    }
    FocusRing {
        // Inside: the banner reaches to the panel's edges.
        anchors.margins: 4
        control: banner
        radius: DS.radiusIconButton
    }
}
