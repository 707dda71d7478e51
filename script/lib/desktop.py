"""Checks what tells desktops about the application, beyond what the validators of the single files see.

    desktop.py INFO_PLIST REMARK

Fails when an icon is not what icon themes expect, when the files do not name each other, when the releases differ from
the changelog, or when the Mac's bundle is described wrongly. INFO_PLIST is the one that the configuration has made.
"""

import configparser
import pathlib
import plistlib
import re
import struct
import subprocess
import sys
import xml.etree.ElementTree as xml
import zlib

APPLICATION = "com.local.mirel.Quillbay"
PACKAGING = pathlib.Path("packaging")
SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)
SVG = "{http://www.w3.org/2000/svg}"
PLAIN = {SVG + name for name in ("svg", "title", "defs", "linearGradient", "stop", "g", "path", "rect", "circle", "ellipse")}
PAINTS = ("fill", "stroke", "stop-color", "color")


def pixels(png):
    """The rows of a picture of 8 bits, with or without transparency, as lists of (red, green, blue, alpha)."""
    width, height, depth, colour, *_ = struct.unpack(">IIBBBBB", png[16:29])
    if depth != 8 or colour not in (2, 6):
        raise ValueError(f"a picture of {depth} bits and colour type {colour}")
    step, opaque = (4, ()) if colour == 6 else (3, (255,))
    packed, at = b"", 8
    while at < len(png):
        (length,) = struct.unpack(">I", png[at : at + 4])
        if png[at + 4 : at + 8] == b"IDAT":
            packed += png[at + 8 : at + 8 + length]
        at += length + 12
    data = zlib.decompress(packed)
    rows, before = [], bytearray(width * step)
    for y in range(height):
        start = y * (width * step + 1)
        kind, row = data[start], bytearray(data[start + 1 : start + 1 + width * step])
        for i in range(len(row)):
            left = row[i - step] if i >= step else 0
            up, corner = before[i], before[i - step] if i >= step else 0
            row[i] = (row[i] + predicted(kind, left, up, corner)) & 0xFF
        rows.append([(*row[x : x + step], *opaque) for x in range(0, len(row), step)])
        before = row
    return rows


def predicted(kind, left, up, corner):
    """What a PNG filter of this kind foretells from the neighbours."""
    if kind == 4:
        guess = left + up - corner
        return min((left, up, corner), key=lambda near: abs(guess - near))
    return (0, left, up, (left + up) // 2)[kind]


def drawn(icon, size):
    command = ["rsvg-convert", "--width", str(size), "--height", str(size), str(icon)]
    return pixels(subprocess.run(command, check=True, capture_output=True, timeout=60).stdout)


def icon_faults(icon):
    root = xml.parse(icon).getroot()
    box = [float(number) for number in root.get("viewBox", "0 0 0 0").split()]
    if box[:2] != [0, 0] or box[2] != box[3] or box[2] <= 0:
        yield f"its viewBox {box} is not a square"
    for element in root.iter():
        if element.tag not in PLAIN:
            yield f"it uses {element.tag}, which not every desktop draws"
    for size in SIZES:
        rows = drawn(icon, size)
        if len(rows) != size or len(rows[0]) != size:
            yield f"at {size} it is {len(rows[0])} by {len(rows)}"
        corners = [rows[y][x][3] for y in (0, -1) for x in (0, -1)]
        if any(corners):
            yield f"at {size} its corners are not clear"
        covered = sum(pixel[3] > 127 for row in rows for pixel in row) / size**2
        if not 0.15 < covered < 0.9:
            yield f"at {size} it covers {covered:.0%} of its square"


def paints_of(icon):
    return {element.get(name) for element in xml.parse(icon).getroot().iter() for name in PAINTS} - {None, "none"}


def all_icon_faults():
    colourful, symbolic = (PACKAGING / "icons" / f"{APPLICATION}{kind}.svg" for kind in ("", "-symbolic"))
    for icon in (colourful, symbolic):
        for fault in icon_faults(icon):
            yield f"{icon}: {fault}"
    if len(paints_of(symbolic)) != 1:
        yield f"{symbolic}: not in one colour, but in {sorted(paints_of(symbolic))}"
    opaque = [pixel[:3] for row in drawn(symbolic, 64) for pixel in row if pixel[3] == 255]
    # Where shapes meet, drawing rounds.
    if any(max(channel) - min(channel) > 2 for channel in zip(*opaque)):
        yield f"{symbolic}: drawn in several colours"
    # Light on dark, or the small ones would be a patch of colour.
    light = [sum(pixel[:3]) / 3 for row in drawn(colourful, 16) for pixel in row if pixel[3] == 255]
    if max(light) - min(light) < 100:
        yield f"{colourful}: nothing stands out at 16"


def reference_faults():
    entry = configparser.ConfigParser(interpolation=None)
    entry.optionxform = str
    entry.read(PACKAGING / f"{APPLICATION}.desktop", encoding="utf-8")
    entry = entry["Desktop Entry"]
    described = xml.parse(PACKAGING / f"{APPLICATION}.metainfo.xml").getroot()
    provided = [binary.text for binary in described.iter("binary")]
    expected = {
        "the entry's icon": (entry["Icon"], APPLICATION),
        "the entry's program": (entry["Exec"], "quillbay"),
        "the description's id": (described.findtext("id"), APPLICATION),
        "the description's launchable": (described.findtext("launchable"), f"{APPLICATION}.desktop"),
        "the description's name": (described.findtext("name"), entry["Name"]),
        "the description's summary": (described.findtext("summary"), entry["Comment"]),
        "the programs it provides": (provided, ["quillbay", "quillbay-agent", "quillbayctl"]),
    }
    for what, (found, wanted) in expected.items():
        if found != wanted:
            yield f"{what}: {found!r} instead of {wanted!r}"
    for url in described.iter("url"):
        if not re.match(r"https://([a-z]+\.)*quillbay\.example/", url.text):
            yield f"the description's address {url.text}: not under the reserved domain"
    changes = re.findall(r"^## \[(\d[^\]]*)\] - (\S+)", pathlib.Path("CHANGELOG.md").read_text("utf-8"), re.MULTILINE)
    releases = [(release.get("version"), release.get("date")) for release in described.iter("release")]
    if releases != changes:
        yield f"the description's releases are {releases}, the changelog's {changes}"


def bundle_faults(path):
    with open(path, "rb") as file:
        bundle = plistlib.load(file, fmt=plistlib.FMT_XML)
    project = pathlib.Path("CMakeLists.txt").read_text("utf-8")
    expected = {
        "CFBundleIdentifier": APPLICATION,
        "CFBundleExecutable": "quillbay",
        "CFBundlePackageType": "APPL",
        "CFBundleName": "Quillbay",
        "CFBundleShortVersionString": re.search(r"project\(Quillbay VERSION (\S+)", project)[1],
        "LSMinimumSystemVersion": "13.0",
        "NSBonjourServices": ["_remotepairing._tcp"],
        "NSHighResolutionCapable": True,
    }
    for key, wanted in expected.items():
        if bundle.get(key) != wanted:
            yield f"{path}: {key} is {bundle.get(key)!r} instead of {wanted!r}"
    if not re.fullmatch(r"\d+(\.\d+){0,2}", str(bundle.get("CFBundleVersion"))):
        yield f"{path}: CFBundleVersion {bundle.get('CFBundleVersion')!r} is no number"
    reason = bundle.get("NSLocalNetworkUsageDescription", "")
    if not reason.startswith("Quillbay ") or not reason.endswith("."):
        yield f"{path}: no sentence says why the local network is used"
    # What runs without an icon in the Dock would contradict how the program presents itself.
    if bundle.get("LSUIElement"):
        yield f"{path}: LSUIElement is set"


def main():
    plist, remark = sys.argv[1:]
    faults = [*all_icon_faults(), *reference_faults(), *bundle_faults(plist)]
    print("\n".join(faults) or "Nothing is wrong.")
    said = f"{len(SIZES)} sizes of 2 icons, {len(faults)} faults"
    pathlib.Path(remark).write_text(said, encoding="utf-8")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
