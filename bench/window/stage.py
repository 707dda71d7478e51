"""The lab's Mac with a desktop, and programs on it that are measured: the application, and the empty window that it stands
beside."""

import json
import os
import subprocess
import tempfile
import time

import frames
from quillbay_lab import Lab, LabError, Phone, Terminal, paired_agent, programs, wait_until
from quillbay_lab.desktop import Desktop, Portal
from quillbay_lab.lines import Lines

APPLICATION, EMPTY = programs.APPLICATION, programs.BUILD / "bin" / "quillbay-bench-window"
_PYTHON = "/usr/bin/python3"
_HERE = programs.ROOT / "bench" / "window"
# Only for whoever looks for what is on the screen: reading to a screen reader costs something by itself.
_ACCESSIBILITY = "QT_LINUX_ACCESSIBILITY_ALWAYS_ON"
_MEMORY = "/dev/shm"
_RENDERER = {"QT_QUICK_BACKEND": "software"}


class Stage:
    """One paired phone, which has left the local network; a tray; a portal. A context manager."""

    def __init__(self):
        programs.require(APPLICATION, EMPTY, programs.DNS_SD, programs.PHONE)
        # What the programs keep is written through to the disk, and how fast that is, is not what is measured.
        if os.access(_MEMORY, os.W_OK):
            tempfile.tempdir = _MEMORY
        self.lab = Lab()
        try:
            self.mac = self.lab.mac
            self._phone = Phone(self.lab)
            self._files = paired_agent(self.lab, self._phone)
            self._select_phone()
            self.desktop = Desktop(self.mac)
            self._portal = Portal(self.desktop)
            self.desktop.start_tray()
        except BaseException:
            self.lab.close()
            raise

    def bridge_wanted(self, wanted):
        """Whether the next start of the application brings the phone's bridge up."""
        profile, = self._files.profiles()
        self._files.write_profiles([{**profile, "bridgeEnabled": wanted}])

    def profile(self):
        profile, = self._files.profiles()
        return profile

    @property
    def control(self):
        """The application's control socket."""
        return f"{self.mac.RUNTIME}/quillbay/control.sock"

    def start(self, program, *arguments, accessible=False):
        return Running(self, program, arguments, accessible)

    def await_answer(self):
        wait_until(lambda: Terminal(self.lab).run("status").code == 0, 20, "the application answers")

    def await_bridge(self):
        self.await_answer()
        wait_until(lambda: Terminal(self.lab).document("status")["overall"] == "on", 60, "the bridge is active")

    def search(self):
        """Has the application look for phones, as the sheet for a new device does."""
        Terminal(self.lab).phones()

    def ask(self, script, *arguments, limit_seconds=30):
        """What one of the scripts beside this one prints about the Mac."""
        words = [_PYTHON, _HERE / script, *arguments]
        return json.loads(self.mac.run(words, limit_seconds, check=True).output)

    def spawn(self, argv, accessible, **streams):
        environment = {**self.desktop.environment, **_RENDERER, **frames.ENVIRONMENT}
        if not accessible:
            environment.pop(_ACCESSIBILITY)
        return self.mac.spawn([_PYTHON, _HERE / "launch.py", *argv], environment=environment, **streams)

    def _select_phone(self):
        profile = self.profile()
        settings = self.mac.home / "config" / "Quillbay" / "settings.json"
        settings.parent.mkdir(parents=True, mode=0o700)
        settings.write_text(json.dumps({"window.selection": f"{profile['bonjourHost']}#{profile['providerID']}"}))

    def close(self):
        self.lab.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


class Running:
    """A program on the stage. A context manager, which ends it."""

    def __init__(self, stage, program, arguments, accessible):
        self._stage = stage
        self._log = stage.desktop.scratch / f"{program.name}.frames"
        self._log.write_text("")
        self._program = program
        self._process = stage.spawn([program, *arguments], accessible, stdout=subprocess.PIPE, stderr=self._log)
        self._printed = Lines(self._process.stdout)
        self.started = float(self._printed.await_line(str, 10, f"{program.name} is started"))

    def frames(self):
        return frames.parse(self._log.read_text(errors="replace"))

    def await_settled(self, quiet_seconds=0.5):
        """Waits until the window is shown and no frame has followed for this long; returns the frames so far."""
        def shown():
            if not self._process.running:
                raise LabError(f"{self._program.name} has ended: {self._log.read_text(errors='replace').strip()}")
            return self.frames()

        wait_until(shown, 20, f"{self._program.name} shows its window")
        count = 0
        while count != len(self.frames()):
            count = len(self.frames())
            time.sleep(quiet_seconds)
        return self.frames()

    def costs(self):
        """See processes.py."""
        return self._stage.ask("processes.py", self._process.pid)

    def close(self):
        self._process.end(10)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
