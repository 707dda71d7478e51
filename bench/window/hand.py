"""A hand at the pointer, for what has to be moved evenly: the divider of the sidebar."""

import itertools
import json
import time

from quillbay_lab import wait_until
from quillbay_lab.person import Person

_TITLE = "^Quillbay$"
# The sidebar's usual width, and within what it can be dragged.
_USUAL, _NARROWEST, _WIDEST = 248, 208, 340
_STEP = 4
_SETTING = "window.sidebarWidth"


def place_of(stage, name):
    """Where the middle of an element of the application, which runs accessibly, is in its window. Raises `LabError` when it is
    not shown."""
    person = Person(stage.desktop)
    try:
        element = person.sees(name)
    finally:
        person.close()
    left, top, *_ = window_box(stage)
    return element["x"] + element["width"] // 2 - left, element["y"] + element["height"] // 2 - top


def window_box(stage):
    """The main window on the screen, as (x, y, width, height), without its frame."""
    words = ["xdotool", "search", "--onlyvisible", "--name", _TITLE, "getwindowgeometry", "--shell"]
    lines = dict(line.split("=") for line in stage.desktop.run(words).output.split() if "=" in line)
    return tuple(int(lines[key]) for key in ("X", "Y", "WIDTH", "HEIGHT"))


def click(stage, place):
    left, top, *_ = window_box(stage)
    stage.desktop.run(["xdotool", "mousemove", str(left + place[0]), str(top + place[1]), "sleep", "0.1", "click", "1"])


def _sidebar_width(stage):
    """As the application remembers it."""
    settings = stage.mac.home / "config" / "Quillbay" / "settings.json"
    stored = json.loads(settings.read_text()) if settings.exists() else {}
    return round(float(stored.get(_SETTING, _USUAL)))


def drag_divider(stage, moves, pause_seconds):
    """Drags the sidebar between its bounds and back, so many moves, and lets go. Returns when the drag began and when it
    ended, on the monotonic clock. Raises `LabError` when the sidebar has not followed."""
    left, top, _, height = window_box(stage)
    start, y = left + _sidebar_width(stage), top + height // 2
    edges = list(itertools.chain(range(_NARROWEST, _WIDEST, _STEP), range(_WIDEST, _NARROWEST, -_STEP)))
    widths = list(itertools.islice(itertools.cycle(edges), moves))
    # Not --sync: then each move would wait to be seen.
    words = ["xdotool", "mousemove", str(start), str(y), "sleep", "0.1", "mousedown", "1"]
    for width in widths:
        words += ["mousemove", str(left + width), str(y), "sleep", f"{pause_seconds:.4f}"]
    begin = time.monotonic()
    stage.desktop.run([*words, "mouseup", "1"], limit_seconds=60 + moves * pause_seconds)
    end = time.monotonic()
    wait_until(lambda: _sidebar_width(stage) == widths[-1], 5, f"the sidebar is {widths[-1]} wide")
    return begin, end
