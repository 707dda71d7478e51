// A text that fades into the next one when it changes, in place.
import QtQuick
import Quillbay

Item {
    id: fader

    required property TextStyle textStyle
    required property string text
    required property color color
    property int wrapMode: Text.NoWrap
    property int elide: Text.ElideNone
    property int maximumLineCount: 1000
    readonly property alias truncated: current.truncated
    readonly property alias fading: fade.running
    property string last

    implicitWidth: current.implicitWidth
    // A font may be higher than its line.
    implicitHeight: current.lineCount * textStyle.lineHeight
    Component.onCompleted: last = text
    onTextChanged: {
        former.text = last;
        last = text;
        if (DS.statusTime > 0 && visible && former.text !== "") fade.restart();
    }
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    StyledText {
        id: current
        textStyle: fader.textStyle
        width: fader.width
        height: fader.implicitHeight
        text: fader.text
        color: fader.color
        wrapMode: fader.wrapMode
        elide: fader.elide
        maximumLineCount: fader.maximumLineCount
        Accessible.ignored: true
    }
    StyledText {
        id: former
        textStyle: fader.textStyle
        width: fader.width
        height: fader.textStyle.lineHeight
        visible: fade.running
        color: fader.color
        opacity: 1 - current.opacity
        elide: Text.ElideRight
        maximumLineCount: 1
        Accessible.ignored: true
    }
    NumberAnimation {
        id: fade
        target: current
        property: "opacity"
        from: 0
        to: 1
        duration: DS.statusTime
    }
}
