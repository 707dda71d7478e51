// The entries of an open picker.
import QtQuick
import QtQuick.Templates as T
import Quillbay

ListView {
    required property T.ComboBox picker

    clip: true
    implicitHeight: contentHeight
    model: picker.delegateModel
    currentIndex: picker.highlightedIndex
    highlightMoveDuration: 0
    boundsBehavior: Flickable.StopAtBounds

    T.ScrollBar.vertical: OverlayScrollBar {}
}
