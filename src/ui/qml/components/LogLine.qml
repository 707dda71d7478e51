// A line of a log, wrapped.
import QtQuick
import Quillbay

StyledText {
    id: row

    required property string line
    required property bool selected

    height: row.lineCount * row.textStyle.lineHeight
    textStyle: DS.consoleLine
    text: row.line
    wrapMode: Text.Wrap

    Rectangle {
        anchors {
            fill: parent
            leftMargin: -DS.space4
            rightMargin: -DS.space4
            topMargin: -1
            bottomMargin: -1
        }
        z: -1
        visible: row.selected
        color: DS.selection
    }
}
