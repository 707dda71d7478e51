"""The stage of the sweep: a lab with an agent whose calls can be made to fail, one cycle from start to stop at a time."""

import json
import subprocess
from dataclasses import dataclass

import developer_tools
import resources
from control import Control
from injection import Injection

from quillbay_lab import Lab, LabError, Phone, paired_agent, wait_until
from quillbay_lab.lab import MAC_ADDRESS
from quillbay_lab.lines import Lines

_PYTHON = "/usr/bin/python3"
_HERE = __file__.rpartition("/")[0]
# Every kind of relay, and few enough that all of them can be tried after each fault.
FIRST_PORT, LAST_PORT = 55000, 55004
PORTS = list(range(FIRST_PORT, LAST_PORT + 1))
_SETTLE_SECONDS, _STOP_SECONDS, _END_SECONDS = 20, 5, 5
MIB = resources.MIB

# Calls are counted under these numbers.
BOOT, START, TRAFFIC, STOP, END, IDLE = range(6)


@dataclass
class Seen:
    """What came of a start."""

    state: str
    message: str | None


class Stage:
    """A lab of its own. Raises `LabError` for everything that must not happen on the way."""

    def __init__(self, with_developer_tools=True):
        self.lab = Lab()
        try:
            self._set_up(with_developer_tools)
        except BaseException:
            self.lab.close()
            raise

    def _set_up(self, with_developer_tools):
        self.mac = self.lab.mac
        self.phone = Phone(self.lab, tunnel=f"{FIRST_PORT}-{LAST_PORT}")
        self.agent = paired_agent(self.lab, self.phone)
        profile, = self.agent.profiles()
        self._profile = {**profile, "tunnelPortRangeStart": FIRST_PORT, "tunnelPortRangeEnd": LAST_PORT}
        if with_developer_tools:
            developer_tools.install(self.mac, self.phone.host)
        self.injection = Injection(self.mac.folder / "faults")
        self._prober = self.mac.spawn([_PYTHON, f"{_HERE}/prober.py"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                      stderr=self.mac.folder / "prober.log")
        self._answers = Lines(self._prober.stdout)
        self._others = self.mac.processes()
        self._control = None
        self._id = None
        self._said = 0
        self._log_position = 0

    # The agent as a process.

    def launch(self, wanted):
        """Starts a new agent, whose bridge is wanted from the beginning or not, and does not wait for it."""
        self.agent.write_profiles([{**self._profile, "bridgeEnabled": wanted}])
        self._said = len(self.errors())
        self.log_lines()
        self.agent.start(self.injection.environment("quillbay-agent"))

    def connect(self):
        """Waits until the agent answers, or has ended: then false."""
        def answering():
            if not self.alive:
                return "ended"
            try:
                control = Control(self.mac)
            except OSError:
                return None
            try:
                self._id = self._profile_of(control)["id"]
            except (LabError, OSError):
                # A fault may cost a connection; the next one must do.
                control.close()
                return None
            return control

        control = wait_until(answering, 10, "the agent answers")
        if control == "ended":
            return False
        self._control = control
        return True

    @property
    def alive(self):
        return self.agent.process.running

    def end(self):
        """Ends the agent as its user does; returns its exit status once nothing of it is left."""
        self.disconnect()
        code = self.agent.stop(_END_SECONDS)
        self.await_nothing_left()
        return code

    def disconnect(self):
        if self._control is not None:
            self._control.close()
            self._control = None

    def await_nothing_left(self):
        wait_until(lambda: self.mac.processes() == self._others, 3, "every process that the agent started is gone")

    def clear_leftovers(self):
        """Ends what an agent left that was made to end."""
        self.mac.run(["sh", "-c", "for entry in /proc/[0-9]*; do tr '\\0' ' ' <$entry/cmdline 2>/dev/null | "
                      "grep -q -e ' -P ' -e '^journalctl\\|/journalctl' && kill -9 ${entry#/proc/}; done; true"])

    def errors(self):
        """What the agents wrote to standard error so far, as lines."""
        try:
            return (self.mac.folder / "quillbay-agent.log").read_text(errors="replace").splitlines()
        except FileNotFoundError:
            return []

    def new_errors(self):
        return self.errors()[self._said:]

    # The bridge.

    def start(self):
        """Asks for the bridge and waits for what comes of it."""
        self._tell("start")
        return self.settled()

    def settled(self):
        """Waits until the bridge is on or has failed."""
        status = {}

        def known():
            nonlocal status
            status = self._status()
            return status.get("state") in ("on", "error")

        wait_until(known, _SETTLE_SECONDS, f"the bridge is on or has failed (last: {status})")
        return Seen(status["state"], status.get("message"))

    def stop(self):
        self._tell("stop")
        wait_until(lambda: self._status().get("state") == "off", _STOP_SECONDS, "the bridge is off")

    def _tell(self, command):
        """Gives a command. A fault may cost the connection, before or after the command was carried out; the next
        connection must do."""
        try:
            answer = self._control.ask(command, profile=self._id)
        except (LabError, OSError):
            self.disconnect()
            self._require_alive()
            self._control = Control(self.mac)
            answer = self._control.ask(command, profile=self._id)
        if "error" in answer:
            raise LabError(f"{command} was refused: {answer['error']}")

    def _status(self):
        self._require_alive()
        try:
            if self._control is None:
                self._control = Control(self.mac)
            return self._profile_of(self._control)["status"]
        except (LabError, OSError):
            self.disconnect()
            return {}

    @staticmethod
    def _profile_of(control):
        answer = control.ask("status")
        if "profiles" not in answer:
            raise LabError(f"the status was refused: {answer}")
        if not answer["profiles"]:
            raise ValueError("the agent has lost its profile")
        return answer["profiles"][0]

    def _require_alive(self):
        if not self.alive:
            raise LabError(f"the agent has ended by itself: {self.agent.process.wait(1)} {self.new_errors()}")

    def dead_ports(self):
        """Tries every port of the bridge; what did not answer."""
        before = len(self._answers.all())
        request = {"address": MAC_ADDRESS, "tcp": PORTS, "bulk": PORTS[:1], "udp": PORTS,
                   "pairing": self.announced_ports(), "seconds": 2}
        self._prober.stdin.write(json.dumps(request) + "\n")
        answer = self._answers.await_line(lambda line: True, 60, "the prober answers", before)
        return {kind: ports for kind, ports in json.loads(answer).items() if ports}

    def children(self):
        return resources.children_of(self.mac, self.agent.process.pid)

    def announced_ports(self):
        """The ports in the records that the agent announces."""
        lines = [line.split() for line in self.children() if "dns-sd" in line and " -P " in line]
        # dns-sd -i INTERFACE -P NAME TYPE DOMAIN PORT HOST ADDRESS; a name may have blanks.
        return [int(words[words.index("_remotepairing._tcp") + 2]) for words in lines]

    def await_quiet(self):
        """Waits until the agent has ended what it began in the background, and returns what it holds then."""
        seen = []

        def quiet():
            seen.append(self.holding())
            return len(seen) > 5 and len({(one.descriptors, one.children, one.threads) for one in seen[-5:]}) == 1

        wait_until(quiet, 10, "the agent is quiet")
        return seen[-1]

    def holding(self):
        return resources.holding(self.mac, self.agent.process.pid)

    def log_lines(self):
        """The lines of the diagnostic log since this was asked last."""
        path = self.agent.folder / "diagnostics.log"
        try:
            with open(path, "rb") as file:
                size = file.seek(0, 2)
                # It begins anew when it is full.
                file.seek(self._log_position if self._log_position <= size else 0)
                text = file.read()
                self._log_position = file.tell()
        except FileNotFoundError:
            return []
        return text.decode(errors="replace").splitlines()

    def close(self):
        self.disconnect()
        self.injection.close()
        self.lab.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
