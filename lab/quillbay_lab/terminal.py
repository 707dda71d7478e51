"""Drives quillbayctl on the lab's Mac, as a script would and as a person at a terminal would."""

import fcntl
import json
import os
import pty
import struct
import subprocess
import termios
from dataclasses import dataclass

from . import programs
from .errors import LabError
from .lines import Lines
from .waiting import wait_until

_ROWS, _COLUMNS = 25, 100
_CONTROL_C = b"\x03"


@dataclass
class Answer:
    """What one command printed, and how it ended."""

    code: int
    text: str
    errors: str

    @property
    def documents(self):
        return [json.loads(line) for line in self.text.splitlines()]


class Terminal:
    """Runs commands as the Mac's user, whose agent need not run."""

    def __init__(self, lab):
        programs.require(programs.CONTROL)
        self._mac = lab.mac

    def run(self, *words, limit_seconds=30, environment=None):
        """Runs a command to its end, with nothing of a terminal about it."""
        errors = self._mac.folder / "quillbayctl.err"
        errors.unlink(missing_ok=True)
        process = self._mac.spawn([programs.CONTROL, *words], stdout=subprocess.PIPE, stderr=errors,
                                  environment=environment)
        printed = Lines(process.stdout)
        try:
            code = process.wait(limit_seconds)
        except BaseException:
            process.end(1)
            raise
        printed.join(5)
        process.stdout.close()
        text = "".join(line + "\n" for line in printed.all())
        return Answer(code, text, errors.read_text(errors="replace"))

    def document(self, *words, limit_seconds=30):
        """The one document of a command that is expected to do what it was told. Raises `LabError`."""
        answer = self.run("--json", *words, limit_seconds=limit_seconds)
        if answer.code != 0:
            raise LabError(f"quillbayctl {' '.join(words)} ended with {answer.code}: {answer.errors.strip()}")
        document, = answer.documents
        return document

    def phones(self):
        return self.document("phones")["phones"]

    def states(self):
        """The state of every profile by its display name."""
        return {profile["displayName"]: profile["status"]["state"] for profile in self.document("status")["profiles"]}

    def await_phone(self, host, limit_seconds, **fields):
        """Waits until the phone with this host name is listed with these fields, and returns its entry."""
        def listed():
            return next((phone for phone in self.phones() if phone["host"] == host and
                         all(phone[key] == value for key, value in fields.items())), None)

        return wait_until(listed, limit_seconds, f"phones lists {host} {fields or ''}")

    def open(self, *words):
        """Starts a command on a terminal of its own."""
        return Session(self._mac, [programs.CONTROL, *words])


class Session:
    """A command on a pseudo-terminal: what it has written there, and what is typed to it."""

    def __init__(self, host, argv):
        self._master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("4H", _ROWS, _COLUMNS, 0, 0))
        stream = os.fdopen(slave, "rb", buffering=0)
        with stream:
            self.process = host.spawn(argv, stdin=stream, stdout=stream, stderr=stream,
                                      environment={"TERM": "xterm-256color"})
        os.set_blocking(self._master, False)
        self._bytes = b""

    @property
    def screen(self):
        """Everything that was written so far."""
        while True:
            try:
                more = os.read(self._master, 65536)
            except BlockingIOError:
                break
            except OSError:
                # The program's end of the terminal is closed.
                break
            if not more:
                break
            self._bytes += more
        return self._bytes.decode(errors="replace")

    def await_text(self, text, limit_seconds):
        wait_until(lambda: text in self.screen, limit_seconds, f"the terminal shows “{text}”")

    def interrupt(self):
        """Ctrl-C."""
        os.write(self._master, _CONTROL_C)

    def wait(self, limit_seconds):
        """Reads on until the program has ended, and returns its exit status."""
        wait_until(lambda: self.screen is not None and not self.process.running, limit_seconds,
                   f"{self.process.argv[0]} ends")
        return self.process.wait(1)

    def close(self):
        if self.process.running:
            self.process.end()
        os.close(self._master)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
