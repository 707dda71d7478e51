"""Speaks to the control socket of what runs on the lab's Mac without a program of its own in between: many requests at
once, and to the millisecond."""

import json
import socket

from resources import processes_of

from quillbay_lab import LabError, wait_until

_LIMIT_SECONDS = 20


def root_of(host):
    """The host's file system, seen from here."""
    return processes_of(host).parent


class Control:
    """One connection. Raises `OSError` when nothing listens."""

    def __init__(self, host):
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.settimeout(_LIMIT_SECONDS)
        try:
            self._socket.connect(str(root_of(host) / "run/user/0/quillbay/control.sock"))
        except BaseException:
            self._socket.close()
            raise
        self._received = self._socket.makefile("rb")

    def send(self, *requests):
        """Sends requests and does not wait for their answers."""
        self._socket.sendall(b"".join(json.dumps(request).encode() + b"\n" for request in requests))

    def answer(self):
        """The next document. Raises `LabError` when the connection ends instead."""
        try:
            line = self._received.readline()
        except TimeoutError:
            raise LabError(f"the control socket has not answered within {_LIMIT_SECONDS} s") from None
        except OSError:
            line = b""
        if not line.endswith(b"\n"):
            raise LabError("the control socket ended without an answer")
        return json.loads(line)

    def ask(self, command, **arguments):
        self.send({"command": command, **arguments})
        return self.answer()

    def profile(self):
        """What the status says of the one profile there is."""
        profile, = self.ask("status")["profiles"]
        return profile

    def await_state(self, state, limit_seconds):
        """Waits until the one bridge is in this state."""
        wait_until(lambda: self.profile()["status"]["state"] == state, limit_seconds, f"the bridge is {state}")

    def close(self):
        self._received.close()
        self._socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def await_control(host, limit_seconds=10):
    """A connection to what has just been started and may not listen yet."""
    def connected():
        try:
            return Control(host)
        except (FileNotFoundError, ConnectionRefusedError):
            return None

    return wait_until(connected, limit_seconds, f"{host.name}: the control socket is there")
