"""A person at the lab's desktop: looks at the screen, points, clicks and types. Knows nothing of the program's inside:
what is on the screen is what a screen reader tells, and what is done goes through the pointer and the keyboard."""

import json
import subprocess

from . import programs
from .errors import LabError
from .lines import Lines
from .waiting import wait_until

_READER = ["/usr/bin/python3", "-m", "quillbay_lab.screen_reader"]


class Person:
    """At one desktop, with one application in view."""

    def __init__(self, desktop, application="Quillbay"):
        self._desktop = desktop
        self._application = application
        self._reader = desktop.spawn(_READER, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self._answers = Lines(self._reader.stdout)

    def close(self):
        self._reader.end()

    # Looking.

    def elements(self):
        """Everything that is shown, as the reader describes it."""
        before = len(self._answers.all())
        self._reader.stdin.write(json.dumps({"application": self._application}) + "\n")
        wait_until(lambda: len(self._answers.all()) > before or not self._reader.running, 20, "the reader answers")
        if len(self._answers.all()) == before:
            raise LabError("the screen reader has ended")
        return json.loads(self._answers.all()[before])

    def find(self, name, role=None):
        """The elements with exactly this name or text."""
        return [element for element in self.elements() if name in (element["name"], element["value"]) and
                role in (None, element["role"]) and element["width"] > 0 and element["height"] > 0]

    def texts(self):
        """All names and texts on the screen, in order, each once."""
        return list(dict.fromkeys(text for element in self.elements()
                                  for text in (element["name"], element["value"]) if text))

    def sees(self, name, limit_seconds=10, role=None):
        """Waits until there is such an element, and returns the last one in the tree's order: the topmost."""
        return self._await(lambda: self.find(name, role), limit_seconds, name)[-1]

    def reads(self, text, limit_seconds=10):
        """Waits until this stands somewhere on the screen, whatever else is read out with it."""
        self._await(lambda: any(text in shown for shown in self.texts()), limit_seconds, text)

    def sees_no(self, name, limit_seconds=10, role=None):
        wait_until(lambda: not self.find(name, role), limit_seconds, f"“{name}” is gone from the screen")

    # Doing.

    def click(self, name, role=None, limit_seconds=10, button=1):
        """Clicks in the middle of an element that is shown, whether it can be used or not."""
        element = self.sees(name, limit_seconds, role)
        self.click_at(element["x"] + element["width"] // 2, element["y"] + element["height"] // 2, button)
        return element

    def click_at(self, x, y, button=1):
        self.point_at(x, y)
        self._desktop.run(["xdotool", "click", str(button)])

    def point_at(self, x, y):
        self._desktop.run(["xdotool", "mousemove", "--sync", str(x), str(y)])

    def point_away(self):
        """Where nothing reacts to the pointer."""
        self._desktop.run(["xdotool", "mousemove", "0", "1199"])

    def key(self, *names):
        for name in names:
            self._desktop.run(["xdotool", "key", "--clearmodifiers", name])

    def type(self, text):
        self._desktop.run(["xdotool", "type", "--clearmodifiers", "--delay", "5", text])

    def replace_text(self, text):
        """In the field that has the focus."""
        self.key("ctrl+a")
        self.type(text)


    def _await(self, condition, limit_seconds, text):
        try:
            return wait_until(condition, limit_seconds, f"the screen shows “{text}”")
        except LabError as error:
            raise LabError(f"{error}; it shows: {' | '.join(self.texts())}") from None


class Application:
    """The desktop application on a desktop."""

    def __init__(self, desktop, *arguments, environment=None):
        programs.require(programs.APPLICATION, programs.DNS_SD)
        self._log = desktop.scratch / "quillbay.log"
        self.process = desktop.spawn([programs.APPLICATION, *arguments], stdout=self._log, stderr=self._log,
                                     environment={"QT_QUICK_BACKEND": "software", **(environment or {})})

    def log(self):
        return self._log.read_text(errors="replace") if self._log.exists() else ""

    def stop(self, limit_seconds=10):
        return self.process.end(limit_seconds)
