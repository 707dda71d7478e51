// What stands where nothing is yet: a large symbol, what there is not, and what to do about it.
import QtQuick
import Quillbay

Item {
    id: view

    required property string symbol
    required property string title
    required property string message

    implicitWidth: 260
    implicitHeight: column.implicitHeight + 2 * DS.space32
    Accessible.role: Accessible.StaticText
    Accessible.name: view.title + ". " + view.message

    Column {
        id: column
        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; margins: DS.space32 }
        spacing: DS.space12

        SymbolImage {
            anchors.horizontalCenter: parent.horizontalCenter
            size: 44
            name: view.symbol
            color: DS.textSecondary
            Accessible.ignored: true
        }
        StyledText {
            width: parent.width
            textStyle: DS.headline
            text: view.title
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            Accessible.ignored: true
        }
        StyledText {
            width: parent.width
            textStyle: DS.callout
            text: view.message
            color: DS.textSecondary
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            Accessible.ignored: true
        }
    }
}
