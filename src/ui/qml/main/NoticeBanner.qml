// A sentence about what does not work on this computer right now, until it is closed.
import QtQuick
import Quillbay

Rectangle {
    id: banner

    required property string sentence

    /// How its button has the keyboard, if it has it.
    readonly property bool hasKeyboard: close.activeFocus
    readonly property int focusReason: close.visualFocus ? Qt.TabFocusReason : Qt.OtherFocusReason

    signal closed

    function takeKeyboard(reason: int) {
        close.forceActiveFocus(reason);
    }

    implicitHeight: Math.max(40, text.height + 2 * DS.space12)
    color: DS.tint(DS.orange, DS.badgeTint)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: banner.sentence

    SymbolImage {
        id: symbol

        x: DS.space16
        anchors.verticalCenter: parent.verticalCenter
        name: "exclamationmark.triangle.fill"
        size: 20
        color: DS.orange
    }

    StyledText {
        id: text

        anchors.left: symbol.right
        anchors.leftMargin: DS.space12
        anchors.right: close.left
        anchors.rightMargin: DS.space12
        anchors.verticalCenter: parent.verticalCenter
        textStyle: DS.callout
        wrapMode: Text.Wrap
        text: banner.sentence
    }

    IconButton {
        id: close

        anchors.right: parent.right
        anchors.rightMargin: DS.space12
        anchors.verticalCenter: parent.verticalCenter
        symbol: "xmark"
        help: "Close"
        Accessible.name: "Close: " + banner.sentence
        onClicked: banner.closed()
    }

    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: DS.divider
    }
}
