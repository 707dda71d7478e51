"""A desktop on one of the lab's hosts: a screen, a session bus, a window manager and a panel with a tray."""

import json
import re
import subprocess

from .errors import LabError
from .lines import Lines
from .waiting import wait_until

_ACCESSIBILITY = "/usr/libexec/at-spi-bus-launcher"
_PORTAL = ["/usr/bin/python3", "-m", "quillbay_lab.portal"]
_SCREEN, _SIZE = ":7", (1600, 1200)
_BAR, _ICON = 28, 22

# A bar at the top with nothing but the tray at its right end; what a bar of a real desktop has more does not matter here.
_PANEL = """panel_items = FS
panel_monitor = all
panel_position = top center horizontal
panel_size = 100% {bar}
panel_margin = 0 0
panel_background_id = 1
panel_layer = top
strut_policy = follow_size
systray_padding = 6 2 6
systray_icon_size = {icon}
systray_sort = left2right
rounded = 0
border_width = 0
background_color = {colour} 100
"""

_FONTS = """<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
  <include ignore_missing="yes">/etc/fonts/fonts.conf</include>
  <alias binding="same"><family>sans-serif</family><prefer><family>Inter</family></prefer></alias>
  <alias binding="same"><family>Sans Serif</family><prefer><family>Inter</family></prefer></alias>
  <alias binding="same"><family>monospace</family><prefer><family>JetBrains Mono</family></prefer></alias>
  <match target="font"><edit name="hintstyle" mode="assign"><const>hintnone</const></edit></match>
</fontconfig>
"""


def _hue(colour):
    red, green, blue = colour
    if max(colour) - min(colour) < 40:
        return "grey"
    if blue == max(colour):
        return "blue"
    if green == max(colour):
        return "green"
    return "orange" if green > red * 0.45 and blue < green * 0.7 else "red"


class Desktop:
    """Comes up with everything but a tray, which `start_tray` adds. A context manager."""

    def __init__(self, host, display=None, size=_SIZE):
        """`display` names a screen that is there already, whose desktop then serves; else one is made in memory."""
        self._host = host
        self._folder = host.folder / "desktop"
        self._folder.mkdir(exist_ok=True)
        self._log = self._folder / "desktop.log"
        self._started = []
        self._tray = None
        self.owned = display is None
        (self._folder / "fonts.conf").write_text(_FONTS)
        try:
            self.display = display or self._start_screen(size)
            self._start_bus()
            if self.owned:
                self._start(["openbox"])
        except BaseException:
            self.close()
            raise

    @property
    def environment(self):
        """What programs on this desktop get, beside the host's own environment."""
        return {"DISPLAY": self.display, "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self._bus}",
                "FONTCONFIG_FILE": str(self._folder / "fonts.conf"), "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
                "XDG_CURRENT_DESKTOP": "lab", "NO_AT_BRIDGE": "0"}

    @property
    def scratch(self):
        """A folder of the desktop's own."""
        return self._folder

    def spawn(self, argv, environment=None, **streams):
        return self._host.spawn(argv, environment={**self.environment, **(environment or {})}, **streams)

    def run(self, argv, limit_seconds=20, check=True):
        return self._host.run(argv, limit_seconds, check=check, environment=self.environment)

    def start_tray(self, colour="#14161a"):
        configuration = self._folder / "tint2rc"
        configuration.write_text(_PANEL.format(colour=colour, bar=_BAR, icon=_ICON))
        self._tray = self.spawn(["tint2", "-c", str(configuration)], stdout=self._log, stderr=self._log)

    def stop_tray(self):
        tray, self._tray = self._tray, None
        tray.end()

    def tray_icon(self):
        """The middle of the one icon in the tray, as (x, y). Raises `LabError` while there is none."""
        box = self.run(["convert", *self._bar(), "-fuzz", "10%", "-format", "%@", "info:"]).output
        match = re.fullmatch(r"(\d+)x(\d+)\+(\d+)\+(\d+)", box.strip())
        if match is None or not 4 <= int(match[1]) <= 3 * _ICON:
            raise LabError(f"there is no icon in the tray: {box.strip()}")
        width, height, x, y = map(int, match.groups())
        return x + width // 2, y + height // 2

    def tray_hues(self):
        """How many pixels of the tray's icon are of each hue: green, orange, red, blue or grey."""
        counts = self.run(["convert", *self._bar(), "-depth", "8", "-format", "%c", "histogram:info:"]).output
        colours = {tuple(int(word) for word in match[2].split(",")[:3]): int(match[1])
                   for match in re.finditer(r"^\s*(\d+): \(([\d, ]+)\)", counts, re.MULTILINE)}
        # The bar's own colour.
        colours.pop(max(colours, key=colours.get))
        found = dict.fromkeys(("green", "orange", "red", "blue", "grey"), 0)
        for colour, count in colours.items():
            found[_hue(colour)] += count
        return found

    def _bar(self):
        """The words that have ImageMagick read the panel."""
        path = self._folder / "bar.png"
        self.shot(path, crop=f"{_SIZE[0]}x{_BAR}+0+0")
        return [str(path)]

    def shot(self, path, window=None, crop=None):
        """A picture of the screen or of one window by its id, whole or cropped, as a PNG file that holds nothing but the
        picture: two of the same sight are the same file."""
        part = ["-crop", crop, "+repage"] if crop else []
        self.run(["import", "-silent", "-window", window or "root", *part, "-strip", "-define",
                  "png:exclude-chunk=date,time", f"png24:{path}"])

    def close(self):
        if self._tray is not None:
            self._tray.end()
            self._tray = None
        while self._started:
            self._started.pop().end()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _start(self, argv):
        self._started.append(self.spawn(argv, stdout=self._log, stderr=self._log))
        return self._started[-1]

    def _start_screen(self, size):
        """The screen's name, once it takes connections."""
        # It is reached through the host's own network alone (an abstract socket), so that nothing of it is in a folder that
        # hosts share, and every host can have the same one.
        process = self._host.spawn(["Xvfb", _SCREEN, "-displayfd", "1", "-screen", "0", f"{size[0]}x{size[1]}x24", "-nolock",
                                    "-nolisten", "unix", "-nolisten", "tcp", "-noreset"],
                                   stdout=subprocess.PIPE, stderr=self._log)
        self._started.append(process)
        printed = Lines(process.stdout)
        try:
            printed.await_line(str.isdigit, 20, "the screen is there")
            return _SCREEN
        except LabError as error:
            raise LabError(f"{error}: {self._log.read_text(errors='replace').strip()}") from None

    def _start_bus(self):
        self._bus = f"{self._host.RUNTIME}/bus"
        self._start(["dbus-daemon", "--session", f"--address=unix:path={self._bus}", "--nofork", "--nopidfile"])
        wait_until(lambda: self._host.run(["test", "-S", self._bus]).code == 0, 10, "the session bus is there")
        self._start([_ACCESSIBILITY, "--launch-immediately"])


class Portal:
    """The desktop's portal. `asked` is what programs have had it open."""

    def __init__(self, desktop):
        self._process = desktop.spawn(_PORTAL, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self._lines = Lines(self._process.stdout)
        self._lines.await_line(lambda line: "ready" in json.loads(line), 10, "the portal is there")

    def tell(self, command):
        """`dark`, `light`, `calm` or `lively`."""
        self._process.stdin.write(command + "\n")

    def asked(self, kind):
        """The documents with this member, so far."""
        return [document for document in map(json.loads, self._lines.all()) if kind in document]

    def close(self):
        self._process.end()
