"""Pictures of the windows, in both appearances."""

import pathlib
import time

from quillbay_lab import LabError, wait_until

_STILL_SECONDS, _PAUSE_SECONDS = 3.0, 0.1
_APPEARANCES = ("dark", "light")


class Album:
    """Takes pictures into a folder as NAME-dark.png and NAME-light.png; without a folder it only looks."""

    def __init__(self, desktop, portal, folder):
        self._desktop = desktop
        self._portal = portal
        self._scratch = pathlib.Path(desktop.scratch)
        self._folder = pathlib.Path(folder) if folder else self._scratch / "album"
        self.taken = []

    def window(self, name, title):
        """The content of the window with this title, light last."""
        self._each(name, lambda path: self._desktop.shot(path, self.window_id(title)))

    def screen(self, name, crop=None):
        """The screen, or a part of it: "WIDTHxHEIGHT+X+Y"."""
        self._each(name, lambda path: self._desktop.shot(path, crop=crop))

    def window_id(self, title):
        """Of the visible window with exactly this title."""
        def found():
            return self._desktop.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"], check=False).output.split()

        return wait_until(found, 10, f"there is a window “{title}”")[-1]

    def _each(self, name, shoot):
        for appearance in _APPEARANCES:
            self._portal.tell(appearance)
            path = self._folder / f"{name}-{appearance}.png"
            self._still(path, shoot)
            self.taken.append(path)

    def _still(self, path, shoot):
        """A picture in which nothing moves any more; what moves on for ever is taken as it is after a while."""
        path.parent.mkdir(parents=True, exist_ok=True)
        deadline = time.monotonic() + _STILL_SECONDS
        before = None
        while True:
            time.sleep(_PAUSE_SECONDS)
            shoot(path)
            now = path.read_bytes()
            if now == before or time.monotonic() > deadline:
                break
            before = now
        if len(now) < 1000:
            raise LabError(f"{path.name} is no picture of a window")
