// The buttons of a small dialog, at its trailing edge.
import QtQuick
import QtQuick.Layouts
import Quillbay

RowLayout {
    Layout.topMargin: DS.space16
    Layout.alignment: Qt.AlignRight
    spacing: DS.space8
}
