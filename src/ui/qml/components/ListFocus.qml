// A list that is one stop of the Tab key. (A control of the templates could not say that it is a list: their roles for
// people who cannot see are fixed.)
import QtQuick

Item {
    id: list

    /// How it is being used: only then its focus is shown.
    property bool usedByKeyboard: false
    readonly property bool showsFocus: activeFocus && usedByKeyboard

    function takeByMouse() {
        list.forceActiveFocus(Qt.MouseFocusReason);
        list.usedByKeyboard = false;
    }

    activeFocusOnTab: true
    onActiveFocusChanged: list.usedByKeyboard = false
    // The Tab key that brought the focus here is let go here.
    Keys.onReleased: list.usedByKeyboard = true

    Accessible.role: Accessible.List
    Accessible.focusable: true
}
