"""Drives the agent on the lab's Mac."""

import json
import subprocess

from . import programs
from .errors import LabError
from .lab import PHONE_MESH_ADDRESS
from .lines import Lines
from .waiting import wait_until


def profile_of(service, enabled=True, **changes):
    """A device profile made from a captured record, reached by a typed-in address."""
    txt = dict(text.decode().partition("=")[::2] for text in service.txt)
    return {"displayName": service.name, "bonjourName": service.name, "bonjourHost": service.host,
            "serviceType": "_remotepairing._tcp", "remotePairingPort": service.port, "tunnelPortRangeStart": 55000,
            "tunnelPortRangeEnd": 58000, "providerID": "manual", "providerHostName": "",
            "providerIP": PHONE_MESH_ADDRESS, "txtRecord": txt, "bridgeEnabled": enabled, **changes}


def paired_agent(lab, phone):
    """An agent that is not running yet, with an enabled profile of the phone, which has left."""
    service, = [found for found in lab.desk.mdns_lookup(limit_seconds=0.4) if found.name == phone.name]
    made = Agent(lab)
    made.write_profiles([profile_of(service)])
    lab.phone_leaves()
    return made


class Agent:
    """The agent's files on the Mac, and at most one running agent at a time."""

    def __init__(self, lab):
        programs.require(programs.AGENT, programs.DNS_SD)
        self._mac = lab.mac
        self.folder = lab.mac.home / "data" / "Quillbay"
        self.process = None
        self._lines = None

    def write_profiles(self, profiles):
        self.folder.mkdir(parents=True, exist_ok=True, mode=0o700)
        (self.folder / "devices.json").write_text(json.dumps(profiles))

    def profiles(self):
        """The profiles on file now."""
        return json.loads((self.folder / "devices.json").read_text())

    def start(self, environment=None):
        """Starts the agent, with this added to its environment, and does not wait for anything it does."""
        errors = self._mac.folder / "quillbay-agent.log"
        self.process = self._mac.spawn([programs.AGENT], stdout=subprocess.PIPE, stderr=errors,
                                       environment=environment)
        self._lines = Lines(self.process.stdout)

    def user_lines(self):
        """The lines that the running agent, or the last one, has printed."""
        return self._lines.all()

    def await_user_line(self, text, limit_seconds):
        """Waits until the agent has printed a line that contains this text. Raises `LabError`, at once when the agent
        has ended without it."""
        def found():
            ended = not self.process.running
            if ended:
                self._lines.join(1)
            line = next((line for line in self._lines.all() if text in line), None)
            if line is None and ended:
                raise LabError(f"the agent has ended without printing “{text}”")
            return line

        return wait_until(found, limit_seconds, f"the agent prints “{text}”")

    def diagnostics(self):
        """The lines of its diagnostic log, over all runs."""
        try:
            return (self.folder / "diagnostics.log").read_text(errors="replace").splitlines()
        except FileNotFoundError:
            return []

    def await_diagnostic(self, text, limit_seconds, after=0):
        """Waits until the diagnostic log has, from the line with this number on, one that contains this text."""
        return wait_until(lambda: next((line for line in self.diagnostics()[after:] if text in line), None),
                          limit_seconds, f"diagnostics.log says “{text}”")

    def stop(self, limit_seconds=5):
        """Ends the agent by SIGTERM and returns its exit status."""
        return self.process.end(limit_seconds)
