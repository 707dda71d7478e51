// Stands for the list of phones until the first one is found.
import QtQuick
import Quillbay

Item {
    id: line

    readonly property string text:
        "Scanning… Make sure the iPhone is connected via USB or on the same Wi-Fi network."

    implicitHeight: label.implicitHeight

    Accessible.role: Accessible.StaticText
    Accessible.name: line.text

    Spinner {}
    StyledText {
        id: label

        x: 26
        width: line.width - x
        textStyle: DS.callout
        color: DS.textSecondary
        text: line.text
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }
}
