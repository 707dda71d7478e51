// A choice of one of several: each entry a text with, where the model has one, a small symbol before it.
import QtQuick
import QtQuick.Templates as T
import Quillbay

T.ComboBox {
    id: picker

    /// What is chosen: accessible, not shown.
    required property string name

    /// Return is down and will open the list.
    property bool opening: false
    readonly property string currentSymbol: currentIndex >= 0 && currentValue ? currentValue : ""

    textRole: "label"
    valueRole: "symbol"
    implicitWidth: 189
    implicitHeight: 28
    leftPadding: 11
    rightPadding: 28
    hoverEnabled: true
    opacity: enabled ? 1 : DS.disabledOpacity
    Accessible.name: name
    // The release of the key that opened the list would close it again.
    Keys.onPressed: event => {
        picker.opening = !picker.popup.visible && !event.isAutoRepeat
            && (event.key === Qt.Key_Return || event.key === Qt.Key_Enter);
        event.accepted = picker.opening;
    }
    Keys.onReleased: event => {
        if (!picker.opening || event.isAutoRepeat) return;
        picker.opening = false;
        picker.popup.open();
        event.accepted = true;
    }

    contentItem: PickerEntry {
        text: picker.displayText
        symbol: picker.currentSymbol
    }
    indicator: SymbolImage {
        x: picker.width - width - 8
        y: (picker.height - height) / 2
        size: 14
        name: "chevron.up.chevron.down"
        color: DS.textSecondary
    }
    background: GlassSurface {
        radius: DS.radiusControl
        fill: picker.down ? DS.controlPressed : picker.hovered ? DS.controlHover : DS.control
        border: DS.controlBorder
        outline: "transparent"
    }
    delegate: PickerItem {}
    popup: PickerPopup { picker: picker }

    FocusRing { control: picker }
}
