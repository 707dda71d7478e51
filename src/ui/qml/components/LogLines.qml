// All lines of a log, wrapped. It stays at the end while lines arrive, unless one has scrolled away from it.
import QtQuick
import QtQuick.Templates as T
import Quillbay

ListView {
    id: list

    /// Whether the end is kept in sight.
    property bool following: true

    /// By the mouse, anywhere.
    signal pressed

    readonly property real lineStep: DS.consoleLine.lineHeight + spacing
    readonly property real pageStep: Math.max(lineStep, height - lineStep)

    topMargin: DS.space8
    bottomMargin: DS.space8
    leftMargin: DS.space8
    rightMargin: DS.space8
    spacing: 2
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    onMovementEnded: following = atYEnd
    onCountChanged: soon.restart()
    onContentHeightChanged: soon.restart()
    onHeightChanged: soon.restart()
    onWidthChanged: soon.restart()
    Keys.onUpPressed: list.scrollTo(list.contentY - list.lineStep)
    Keys.onDownPressed: list.scrollTo(list.contentY + list.lineStep)
    Keys.onPressed: event => {
        event.accepted = true;
        if (event.key === Qt.Key_PageUp) list.scrollTo(list.contentY - list.pageStep);
        else if (event.key === Qt.Key_PageDown) list.scrollTo(list.contentY + list.pageStep);
        else if (event.key === Qt.Key_Home) list.toBeginning();
        else if (event.key === Qt.Key_End) list.toEnd();
        else event.accepted = false;
    }

    Connections {
        target: list.model
        // A full log loses a line for each that comes: neither the count nor the height changes.
        function onChanged() {
            soon.restart();
        }
    }
    // Once for all that changes in a turn of the event loop, and when the view has seen it.
    Timer {
        id: soon
        interval: 0
        onTriggered: if (list.following && list.count > 0) list.toEnd()
    }

    function topY(): real {
        return list.originY - list.topMargin;
    }
    function endY(): real {
        return Math.max(list.topY(), list.originY + list.contentHeight + list.bottomMargin - list.height);
    }
    function scrollTo(y: real) {
        list.cancelFlick();
        list.contentY = Math.max(list.topY(), Math.min(list.endY(), y));
        list.following = list.contentY >= list.endY() - 1;
    }
    // The view knows exactly only how high the lines are that it has made, which it does on the way to either end.
    function toBeginning() {
        list.positionViewAtBeginning();
        list.scrollTo(list.topY());
    }
    function toEnd() {
        list.positionViewAtEnd();
        list.contentY = list.endY();
        list.following = true;
    }

    // A mouse scrolls by its wheel: what it drags stays where it is.
    MouseArea {
        anchors.fill: parent
        preventStealing: true
        onPressed: list.pressed()
    }

    delegate: StyledText {
        required property string line

        width: ListView.view.width - 2 * DS.space8
        height: lineCount * textStyle.lineHeight
        textStyle: DS.consoleLine
        text: line
        wrapMode: Text.Wrap
    }

    T.ScrollBar.vertical: OverlayScrollBar {
        onPressedChanged: if (!pressed) list.following = list.atYEnd
    }
}
