"""Drives the simulated phone on the lab's host of that name."""

import json
import subprocess

from . import programs
from .errors import LabError
from .lab import PHONE_ADDRESS, PHONE_MESH_ADDRESS
from .lines import Lines


class Phone:
    """A running `quillbay-phone`, ready and (unless told otherwise) announced once this is made."""

    NAME = "Robin’s iPhone"
    HOST = "Robins-iPhone.local"
    TXT = ("identifier=6E2A-41B7", "authTag=q83v+/8=", "flags=2 & more", "ver=24", "minVer=17", "empty=")
    PORT = 49200

    def __init__(self, lab, name=NAME, host=HOST, txt=TXT, port=PORT, tunnel="55000-55009,60123", announced=True):
        programs.require(programs.PHONE)
        self.name, self.host, self.txt = name, host, tuple(txt)
        argv = [programs.PHONE, "--name", name, "--host", host, "--local-address", PHONE_ADDRESS,
                "--serve", PHONE_MESH_ADDRESS, "--port", port, "--tunnel", tunnel]
        argv += ["--interface", "lan0"] if announced else []
        for entry in txt:
            argv += ["--txt", entry]
        self._errors = lab.phone.folder / "quillbay-phone.log"
        self.process = lab.phone.spawn(argv, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self._errors)
        self._lines = Lines(self.process.stdout)
        self.port = self.await_event("ready")["port"]
        if announced:
            self.await_event("announced")

    def tell(self, command):
        """Gives the phone a command and waits for its answer. Raises `LabError` when the phone refuses."""
        before = len(self._lines.all())
        self.process.stdin.write(command + "\n")
        answer = self.await_event("answer", after=before, command=command)
        if not answer["ok"]:
            raise LabError(f"phone: {command}: {answer['error']}")
        self.port = answer["port"]
        return answer

    def await_event(self, name, limit_seconds=10, after=0, **fields):
        """The first status line with this event and these fields, from the line with this number on."""
        def matches(line):
            document = json.loads(line)
            return document["event"] == name and all(document.get(key) == value for key, value in fields.items())

        def ended():
            return "" if self.process.running else ", and it has ended: " + self._errors.read_text(errors="replace")

        try:
            return json.loads(self._lines.await_line(matches, limit_seconds, f"the phone says {name}", after))
        except LabError as error:
            raise LabError(f"{error}{ended()}") from None

    def events(self, name=None):
        """The status lines so far, as documents."""
        documents = [json.loads(line) for line in self._lines.all()]
        return [document for document in documents if name in (None, document["event"])]

    def close(self):
        return self.process.end()
