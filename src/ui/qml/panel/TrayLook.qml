// The colours of the menu-bar item: by the state of all bridges, and with a dot when there is a newer version.
import QtQuick
import Quillbay

QtObject {
    required property PanelModel model

    readonly property color symbolColor: DS.trayColor(model.overall.kind)
    readonly property color dotColor: DS.glowBlue
}
