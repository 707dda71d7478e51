// A status as a capsule: symbol and words on a tint of their colour. Long words wrap at `maximumWidth`, or are cut there
// where only one line is free.
import QtQuick
import Quillbay

Rectangle {
    id: badge

    required property statusPresentation status
    property real maximumWidth: 500
    property bool singleLine: false

    readonly property bool pairing: status.kind === Status.Pairing
    readonly property real symbolSpace: 12 + 5

    implicitWidth: Math.min(maximumWidth, Math.ceil(words.implicitWidth) + symbolSpace + 2 * DS.space8)
    implicitHeight: words.height + 2 * DS.space4
    radius: DS.radiusBadge
    color: DS.badgeFill(status.kind)
    Accessible.role: Accessible.StaticText
    Accessible.name: status.text

    Behavior on color {
        ColorAnimation { duration: DS.statusTime }
    }

    SymbolImage {
        id: symbol
        x: DS.space8
        y: DS.space4 + 0.5
        size: 12
        name: badge.status.symbol
        color: words.color
        Accessible.ignored: true

        SequentialAnimation on opacity {
            running: badge.pairing && !Appearance.reducedMotion && badge.visible
                && badge.Window.visibility !== Window.Hidden
            loops: Animation.Infinite
            alwaysRunToEnd: false
            onStopped: symbol.opacity = 1
            NumberAnimation { from: 1; to: 0.45; duration: DS.pairingPulseTime / 2; easing.type: Easing.InOutSine }
            NumberAnimation { from: 0.45; to: 1; duration: DS.pairingPulseTime / 2; easing.type: Easing.InOutSine }
        }
    }
    CrossfadeText {
        id: words
        objectName: "words"
        x: DS.space8 + badge.symbolSpace
        y: DS.space4
        width: badge.width - x - DS.space8
        textStyle: DS.badge
        text: badge.status.text
        color: DS.statusTextColor(badge.status.kind)
        wrapMode: badge.singleLine ? Text.NoWrap : Text.Wrap
        elide: badge.singleLine ? Text.ElideRight : Text.ElideNone
        maximumLineCount: badge.singleLine ? 1 : 1000
        Accessible.ignored: true

        Behavior on color {
            ColorAnimation { duration: DS.statusTime }
        }
    }
}
