// The design system's values: every colour, text style, distance, radius and duration of the windows, for both
// appearances. Sizes are in points. Nothing outside this file and what it names writes a colour of its own.
pragma Singleton

import QtQuick
import Quillbay

QtObject {
    id: ds

    readonly property bool dark: Appearance.dark

    // Surfaces of windows and what floats over them.
    readonly property color windowFill: dark ? "#1E1E1E" : "#F8F8FA"
    readonly property color sheetFill: dark ? "#262628" : "#FBFBFD"
    readonly property color panelFill: dark ? "#2C2C2F" : "#FFFFFF"
    readonly property color helpFill: dark ? "#3A3A3E" : "#FFFFFF"

    readonly property color textPrimary: dark ? "#F2F2F4" : "#1C1C1F"
    readonly property color textSecondary: dark ? "#B8B8BF" : "#55565E"
    readonly property color textOnAccent: "#FFFFFF"
    /// On a fill that itself is at `disabledOpacity`.
    readonly property color textOnAccentDisabled: dark ? "#7F7F80" : "#FBFBFC"

    readonly property color accent: dark ? "#5EB0FF" : "#0058C4"
    readonly property color accentFill: dark ? "#0A66CF" : "#0066DB"
    readonly property color accentFillHover: dark ? "#0E70DF" : "#0A70E6"
    readonly property color accentFillPressed: dark ? "#0857B3" : "#0055B8"
    readonly property color focusRing: dark ? "#3D9BFF" : "#1A7BEF"
    readonly property color glowBlue: dark ? "#0A84FF" : "#007AFF"
    readonly property color glowPurple: dark ? "#BF5AF2" : "#AF52DE"

    // Of a status: dots and symbols, and text in the same hue that can be read where it stands.
    readonly property color green: dark ? "#32D74B" : "#248A3D"
    readonly property color orange: dark ? "#FFA31A" : "#C85F00"
    readonly property color red: dark ? "#FF6961" : "#D92B22"
    readonly property color grey: dark ? "#B8B8BF" : "#6E6E75"
    readonly property color greenText: dark ? "#32D74B" : "#166C2E"
    readonly property color orangeText: dark ? "#FFA31A" : "#964700"
    readonly property color redText: dark ? "#FF8A82" : "#AB140E"
    readonly property color greyText: dark ? "#B8B8BF" : "#55565E"
    // The ground of a menu bar or a tray follows the appearance on some desktops and on others does not: at least 3 : 1
    // on a bar as light and on one as dark as the windows are.
    readonly property color trayGreen: "#2E9E4A"
    readonly property color trayOrange: "#D96C00"
    readonly property color trayRed: "#E5413A"
    readonly property color trayGrey: "#8E8E95"
    readonly property color redFill: dark ? "#D70015" : "#C9211A"
    readonly property color redFillHover: dark ? "#E51A2D" : "#D9362F"
    readonly property color redFillPressed: dark ? "#B30011" : "#A81A14"

    // Glass: translucent, over the window's glows.
    readonly property color card: white(dark ? 0.05 : 0.62)
    readonly property color cardHover: white(dark ? 0.08 : 0.82)
    readonly property color tile: dark ? white(0.05) : black(0.035)
    readonly property color tileHover: dark ? white(0.08) : black(0.06)
    readonly property color tilePressed: dark ? white(0.12) : black(0.10)
    readonly property color tileSelected: tint(glowBlue, dark ? 0.12 : 0.07)
    readonly property color glassBorder: white(0.06)
    /// Under `glassBorder`, where white alone would not be seen.
    readonly property color glassOutline: dark ? "transparent" : black(0.08)

    readonly property color divider: dark ? white(0.08) : black(0.09)
    readonly property color frame: dark ? white(0.14) : black(0.16)

    readonly property color control: white(dark ? 0.11 : 0.92)
    readonly property color controlHover: dark ? white(0.16) : "#F1F1F4"
    readonly property color controlPressed: dark ? white(0.22) : black(0.10)
    readonly property color controlBorder: dark ? white(0.07) : black(0.15)
    readonly property color field: dark ? black(0.24) : "#FFFFFF"
    readonly property color fieldBorder: dark ? white(0.18) : black(0.24)

    readonly property color rowHover: dark ? white(0.05) : black(0.04)
    readonly property color rowPressed: dark ? white(0.10) : black(0.08)
    readonly property color rowInactiveSelection: dark ? white(0.09) : black(0.07)
    readonly property color selection: tint(glowBlue, dark ? 0.20 : 0.13)

    readonly property color sidebar: white(dark ? 0.025 : 0.28)
    readonly property color consoleFill: black(dark ? 0.34 : 0.045)
    readonly property color track: dark ? white(0.14) : black(0.12)
    readonly property color switchOff: dark ? white(0.30) : black(0.36)
    readonly property color switchOffHover: dark ? white(0.36) : black(0.44)
    readonly property color scrim: black(dark ? 0.46 : 0.24)
    readonly property color knob: "#FFFFFF"
    readonly property color shadow: black(dark ? 0.34 : 0.14)

    readonly property color bannerFill: tint(glowBlue, 0.12)
    readonly property color bannerFillHover: tint(glowBlue, 0.18)
    readonly property color bannerFillPressed: tint(glowBlue, 0.24)
    readonly property color headerTile: tint(glowBlue, 0.16)
    readonly property color invitation: tint(glowBlue, 0.18)
    readonly property color dangerFill: tint(red, 0.05)
    readonly property color dangerBorder: tint(red, 0.28)
    readonly property color dangerControl: tint(red, 0.08)
    readonly property color dangerControlHover: tint(red, 0.12)
    readonly property color dangerControlPressed: tint(red, 0.17)
    readonly property real badgeTint: 0.12
    readonly property real earlierTint: 0.15
    readonly property real disabledOpacity: 0.42

    readonly property string sans: Appearance.fontFamily
    readonly property string mono: Appearance.fixedFontFamily
    readonly property TextStyle largeTitle: TextStyle { family: ds.sans; pixelSize: 26; lineHeight: 32; weight: Font.Bold }
    readonly property TextStyle title2: TextStyle { family: ds.sans; pixelSize: 17; lineHeight: 22; weight: Font.Bold }
    readonly property TextStyle headline: TextStyle { family: ds.sans; pixelSize: 13; lineHeight: 16; weight: Font.DemiBold }
    readonly property TextStyle body: TextStyle { family: ds.sans; pixelSize: 13; lineHeight: 16 }
    readonly property TextStyle bodyMedium: TextStyle { family: ds.sans; pixelSize: 13; lineHeight: 16; weight: Font.Medium }
    readonly property TextStyle callout: TextStyle { family: ds.sans; pixelSize: 12; lineHeight: 16 }
    readonly property TextStyle subheadline: TextStyle { family: ds.sans; pixelSize: 11; lineHeight: 14; weight: Font.DemiBold }
    readonly property TextStyle caption: TextStyle { family: ds.sans; pixelSize: 10; lineHeight: 13 }
    readonly property TextStyle captionMedium: TextStyle { family: ds.sans; pixelSize: 10; lineHeight: 13; weight: Font.Medium }
    readonly property TextStyle badge: TextStyle { family: ds.sans; pixelSize: 10; lineHeight: 13; weight: Font.DemiBold }
    readonly property TextStyle calloutFixed: TextStyle { family: ds.mono; pixelSize: 12; lineHeight: 16 }
    readonly property TextStyle consoleLine: TextStyle { family: ds.mono; pixelSize: 11; lineHeight: 14 }

    readonly property int space4: 4
    readonly property int space8: 8
    readonly property int space12: 12
    readonly property int space16: 16
    readonly property int space24: 24
    readonly property int space32: 32

    readonly property real radiusIconButton: 6
    readonly property real radiusControl: 7
    readonly property real radiusRow: 8
    readonly property real radiusTile: 10
    readonly property real radiusBadge: 10.5
    readonly property real radiusCard: 12
    readonly property real radiusPanel: 14
    readonly property real radiusSheet: 16

    // Durations in milliseconds; none where the desktop asks for less motion.
    readonly property int switchTime: motion(160)
    readonly property int pressTime: motion(80)
    readonly property int sheetInTime: motion(220)
    readonly property int sheetOutTime: motion(140)
    readonly property int panelTime: motion(120)
    readonly property int bannerTime: motion(200)
    readonly property int statusTime: motion(180)
    readonly property int pairingPulseTime: motion(1600)
    readonly property int consoleTime: motion(200)
    readonly property int hoverTime: motion(80)
    readonly property int progressTime: motion(200)

    function white(opacity: real): color {
        return Qt.rgba(1, 1, 1, opacity);
    }
    function black(opacity: real): color {
        return Qt.rgba(0, 0, 0, opacity);
    }
    function tint(hue: color, opacity: real): color {
        return Qt.rgba(hue.r, hue.g, hue.b, opacity);
    }
    function motion(milliseconds: int): int {
        return Appearance.reducedMotion ? 0 : milliseconds;
    }

    /// Of a status' dot and symbols.
    function statusColor(kind: int): color {
        return [grey, orange, green, red][kind];
    }
    /// Of the same in the menu bar or the tray.
    function trayColor(kind: int): color {
        return [trayGrey, trayOrange, trayGreen, trayRed][kind];
    }
    /// Of a status' words and its badge.
    function statusTextColor(kind: int): color {
        return [greyText, orangeText, greenText, redText][kind];
    }
    function badgeFill(kind: int): color {
        return tint(statusColor(kind), badgeTint);
    }
}
