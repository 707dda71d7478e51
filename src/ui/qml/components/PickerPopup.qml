// The open list of a `Picker`.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.Popup {
    id: popup

    required property T.ComboBox picker

    y: picker.height + 4
    width: Math.max(picker.width, 206)
    height: Math.min(contentItem.implicitHeight + topPadding + bottomPadding, 26 * 8 + 12)
    margins: DS.space8
    padding: 6

    enter: Transition { NumberAnimation { property: "opacity"; from: 0; to: 1; duration: DS.panelTime } }
    exit: Transition { NumberAnimation { property: "opacity"; from: 1; to: 0; duration: DS.panelTime } }

    contentItem: PickerList { picker: popup.picker }
    background: FloatingSurface {
        radius: DS.radiusTile
        fill: DS.panelFill
    }
}
