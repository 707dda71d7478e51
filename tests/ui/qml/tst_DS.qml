import QtQuick
import QtTest
import Quillbay

TestCase {
    name: "DS"

    function cleanup() {
        Appearance.dark = false;
        Appearance.reducedMotion = false;
    }
    function colours(dark) {
        Appearance.dark = dark;
        const names = ["windowFill", "sheetFill", "panelFill", "helpFill", "textPrimary", "textSecondary", "accent",
            "accentFill", "accentFillHover", "accentFillPressed", "focusRing", "glowBlue", "glowPurple",
            "green", "orange", "red", "grey", "greenText", "orangeText", "redText", "greyText", "redFill"];
        return Array.from(names).map(name => name + " " + String(DS[name]));
    }

    function test_the_light_colours() {
        compare(colours(false), ["windowFill #f8f8fa", "sheetFill #fbfbfd", "panelFill #ffffff", "helpFill #ffffff",
            "textPrimary #1c1c1f", "textSecondary #55565e", "accent #0058c4", "accentFill #0066db",
            "accentFillHover #0a70e6", "accentFillPressed #0055b8", "focusRing #1a7bef", "glowBlue #007aff",
            "glowPurple #af52de", "green #248a3d", "orange #c85f00", "red #d92b22", "grey #6e6e75",
            "greenText #166c2e", "orangeText #964700", "redText #ab140e", "greyText #55565e", "redFill #c9211a"]);
    }
    function test_the_dark_colours() {
        compare(colours(true), ["windowFill #1e1e1e", "sheetFill #262628", "panelFill #2c2c2f", "helpFill #3a3a3e",
            "textPrimary #f2f2f4", "textSecondary #b8b8bf", "accent #5eb0ff", "accentFill #0a66cf",
            "accentFillHover #0e70df", "accentFillPressed #0857b3", "focusRing #3d9bff", "glowBlue #0a84ff",
            "glowPurple #bf5af2", "green #32d74b", "orange #ffa31a", "red #ff6961", "grey #b8b8bf",
            "greenText #32d74b", "orangeText #ffa31a", "redText #ff8a82", "greyText #b8b8bf", "redFill #d70015"]);
    }
    function test_the_tray_can_be_read_on_light_and_dark_bars_in_both_appearances_data() {
        return [{ tag: "off", kind: 0, hex: "#8e8e95" }, { tag: "pairing", kind: 1, hex: "#d96c00" },
                { tag: "on", kind: 2, hex: "#2e9e4a" }, { tag: "error", kind: 3, hex: "#e5413a" }];
    }
    function test_the_tray_can_be_read_on_light_and_dark_bars_in_both_appearances(data) {
        for (const dark of [false, true]) {
            Appearance.dark = dark;
            const colour = DS.trayColor(data.kind);
            compare(String(colour), data.hex);
            for (const bar of ["#F8F8FA", "#FFFFFF", "#1E1E1E", "#000000"])
                verify(contrast(colour, Qt.color(bar)) >= 3, data.tag + " on " + bar);
        }
    }
    function test_the_glass_border_is_white_at_6_in_100() {
        for (const dark of [false, true]) {
            Appearance.dark = dark;
            compare([DS.glassBorder.r, DS.glassBorder.g, DS.glassBorder.b], [1, 1, 1]);
            fuzzyCompare(DS.glassBorder.a, 0.06, 0.001);
        }
    }
    function test_the_text_styles_data() {
        return [
            { tag: "largeTitle", size: 26, line: 32, weight: Font.Bold },
            { tag: "title2", size: 17, line: 22, weight: Font.Bold },
            { tag: "headline", size: 13, line: 16, weight: Font.DemiBold },
            { tag: "body", size: 13, line: 16, weight: Font.Normal },
            { tag: "callout", size: 12, line: 16, weight: Font.Normal },
            { tag: "subheadline", size: 11, line: 14, weight: Font.DemiBold },
            { tag: "caption", size: 10, line: 13, weight: Font.Normal },
            { tag: "badge", size: 10, line: 13, weight: Font.DemiBold },
            { tag: "calloutFixed", size: 12, line: 16, weight: Font.Normal, fixedPitch: true },
            { tag: "consoleLine", size: 11, line: 14, weight: Font.Normal, fixedPitch: true }
        ];
    }
    function test_the_text_styles(data) {
        Appearance.fontFamily = "Inter";
        Appearance.fixedFontFamily = "JetBrains Mono";
        const style = DS[data.tag];
        compare(style.pixelSize, data.size);
        compare(style.lineHeight, data.line);
        compare(style.font.pixelSize, data.size);
        compare(style.font.weight, data.weight);
        compare(style.font.family, data.fixedPitch ? "JetBrains Mono" : "Inter");
    }
    function test_nothing_takes_time_with_reduced_motion() {
        const names = ["switchTime", "pressTime", "sheetInTime", "sheetOutTime", "panelTime", "bannerTime",
            "statusTime", "pairingPulseTime", "consoleTime", "hoverTime", "progressTime"];
        compare(Array.from(names).map(name => DS[name]), [160, 80, 220, 140, 120, 200, 180, 1600, 200, 80, 200]);
        Appearance.reducedMotion = true;
        compare(Array.from(names).map(name => DS[name]), [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]);
    }

    function luminance(colour) {
        const linear = [colour.r, colour.g, colour.b].map(at => at <= 0.04045 ? at / 12.92 : Math.pow((at + 0.055) / 1.055, 2.4));
        return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2];
    }
    function contrast(first, second) {
        const ratio = (luminance(first) + 0.05) / (luminance(second) + 0.05);
        return Math.max(ratio, 1 / ratio);
    }
    function over(top, ground) {
        const mix = (t, g) => t * top.a + g * (1 - top.a);
        return Qt.rgba(mix(top.r, ground.r), mix(top.g, ground.g), mix(top.b, ground.b), 1);
    }
    function test_text_can_be_read_where_it_stands_data() {
        return [{ tag: "light", dark: false }, { tag: "dark", dark: true }];
    }
    function test_text_can_be_read_where_it_stands(data) {
        Appearance.dark = data.dark;
        const card = over(DS.card, DS.windowFill);
        for (const ground of [DS.windowFill, card, DS.sheetFill, DS.panelFill, over(DS.consoleFill, card)]) {
            verify(contrast(DS.textPrimary, ground) >= 4.5);
            verify(contrast(DS.textSecondary, ground) >= 4.5);
            verify(contrast(DS.accent, ground) >= 4.5);
        }
        for (const kind of [Status.Off, Status.Pairing, Status.On, Status.Error]) {
            verify(contrast(DS.statusTextColor(kind), over(DS.badgeFill(kind), DS.windowFill)) >= 4.5);
            verify(contrast(DS.statusColor(kind), DS.windowFill) >= 3);
        }
        for (const fill of [DS.accentFill, DS.accentFillHover, DS.accentFillPressed, DS.redFill, DS.redFillHover, DS.redFillPressed])
            verify(contrast(DS.textOnAccent, fill) >= 4.5, String(fill));
        for (const fill of [DS.dangerControl, DS.dangerControlHover, DS.dangerControlPressed])
            verify(contrast(DS.redText, over(fill, over(DS.dangerFill, DS.windowFill))) >= 4.5, String(fill));
    }
}
