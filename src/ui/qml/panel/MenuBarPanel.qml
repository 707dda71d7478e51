// The panel that the menu-bar item opens: the state of all bridges, the devices, the newest log lines and what one does
// next. As high as its content, up to a bound; then the devices scroll.
import QtQuick
import Quillbay

Window {
    id: panel

    required property PanelModel model

    readonly property real maximumPanelHeight: 600
    readonly property real fixedHeight: header.height + banner.height + footer.height

    function move(forward: bool) {
        const from = panel.activeFocusItem ?? header;
        from.nextItemInFocusChain(forward).forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason);
    }
    function act(action: var) {
        panel.model.actions.closePanel();
        action();
    }

    width: 320
    height: Math.min(panel.maximumPanelHeight, panel.fixedHeight + devices.contentHeight)
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.NoDropShadowWindowHint
    color: "transparent"
    title: "Quillbay"

    onVisibleChanged: {
        // Nothing stays lit from the last time.
        if (panel.visible)
            surface.forceActiveFocus();
    }

    Rectangle {
        id: surface

        anchors.fill: parent
        radius: DS.radiusPanel
        color: DS.panelFill
        focus: true

        Accessible.role: Accessible.Pane
        Accessible.name: panel.title

        Keys.onEscapePressed: panel.model.actions.closePanel()
        Keys.onUpPressed: panel.move(false)
        Keys.onDownPressed: panel.move(true)

        PanelHeader {
            id: header

            width: parent.width
            status: panel.model.overall
            lined: !panel.model.updates.available
        }
        UpdateBanner {
            id: banner

            anchors.top: header.bottom
            width: parent.width
            height: panel.model.updates.available ? implicitHeight : 0
            visible: panel.model.updates.available
            text: panel.model.updates.panelText
            onClicked: panel.act(panel.model.updates.open)
        }
        ScrollPage {
            id: devices

            anchors {
                top: banner.bottom
                bottom: footer.top
            }
            width: parent.width
            focusMargin: 6

            ProfileRows {
                id: rows

                width: devices.width
                profiles: panel.model.profiles
                onChosen: profileID => panel.act(() => panel.model.actions.showMainWindow(profileID))
            }
        }
        Column {
            id: footer

            anchors.bottom: parent.bottom
            width: parent.width

            RecentLogs {
                width: parent.width
                // Below the banner or the rows; the header has a line of its own.
                lined: rows.count > 0 || panel.model.updates.available
                log: panel.model.log
            }
            Rectangle {
                width: parent.width
                height: 1
                color: DS.divider
            }
            Column {
                width: parent.width
                topPadding: 6
                bottomPadding: 6

                PanelAction {
                    width: parent.width
                    text: "Add Device"
                    symbol: "plus.circle"
                    onClicked: panel.act(panel.model.actions.addDevice)
                }
                PanelAction {
                    width: parent.width
                    text: "Settings"
                    symbol: "gearshape"
                    onClicked: panel.act(panel.model.actions.showSettings)
                }
                PanelAction {
                    width: parent.width
                    text: "Quit"
                    symbol: "power"
                    onClicked: panel.act(panel.model.actions.quit)
                }
            }
        }
    }
    // Above the banner, which reaches to the edges.
    Rectangle {
        anchors.fill: parent
        radius: DS.radiusPanel
        color: "transparent"
        border.color: DS.frame
    }
}
