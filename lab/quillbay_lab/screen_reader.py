"""What a screen reader sees of the programs on a desktop, for tests that look where a person looks.

Runs in the host (it needs the desktop's session bus) and answers one JSON line for each line that it reads:

    {"application": NAME}  ->  [{"name", "role", "value", "x", "y", "width", "height", "states": []}, ...]

in the order of the tree: what is shown on the screen now, in pixels of the screen. An application that does not run
has no elements. Ends with its standard input.
"""

import json
import sys

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  (needs the version above)

_LARGEST_TREE = 5000
_STATES = {state: state.value_nick for state in (
    Atspi.StateType.ENABLED, Atspi.StateType.SENSITIVE, Atspi.StateType.FOCUSED, Atspi.StateType.FOCUSABLE,
    Atspi.StateType.CHECKED, Atspi.StateType.SELECTED, Atspi.StateType.SHOWING, Atspi.StateType.ACTIVE)}


def _value(element):
    """The text in a field; nothing for what is no field."""
    text = element.get_text_iface()
    return Atspi.Text.get_text(text, 0, Atspi.Text.get_character_count(text)) if text else None


def _describe(element, shown):
    box = element.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
    return {"name": element.get_name(), "role": element.get_role_name(), "value": _value(element),
            "x": box.x, "y": box.y, "width": box.width, "height": box.height, "states": sorted(shown)}


def _walk(element, found):
    """Adds what is shown below `element`; what vanishes meanwhile is not shown."""
    if len(found) >= _LARGEST_TREE:
        return
    try:
        states = element.get_state_set()
        shown = {nick for state, nick in _STATES.items() if states.contains(state)}
        if "showing" in shown and element.get_component_iface() is not None:
            found.append(_describe(element, shown))
        children = [element.get_child_at_index(index) for index in range(min(element.get_child_count(), _LARGEST_TREE))]
    except GLib.Error:
        return
    for child in children:
        if child is not None:
            _walk(child, found)


def elements(application):
    desktop = Atspi.get_desktop(0)
    found = []
    for index in range(desktop.get_child_count()):
        try:
            candidate = desktop.get_child_at_index(index)
            if candidate is not None and candidate.get_name() == application:
                # Nothing remembered: what is asked for is what is there now.
                candidate.clear_cache()
                _walk(candidate, found)
        except GLib.Error:
            continue
    return found


def main():
    Atspi.init()
    context = GLib.MainContext.default()
    for line in sys.stdin:
        while context.iteration(False):
            pass
        print(json.dumps(elements(json.loads(line)["application"])), flush=True)


if __name__ == "__main__":
    main()
