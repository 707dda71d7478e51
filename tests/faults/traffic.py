"""Traffic through a bridge, and what others see of it."""

import json
import subprocess

from quillbay_lab import Terminal, programs, wait_until
from quillbay_lab.lab import MAC_ADDRESS
from quillbay_lab.lines import Lines

PYTHON = "/usr/bin/python3"
_BYTES = 2_000_003
# The most descriptors that the datagrams of one `assert_traffic_works` leave in use: one for each of the two clients, and one
# with which the relay waits for the replies of them all.
FLOWS = 3


def bulk(host, verb, port, size, address=MAC_ADDRESS, limit_seconds=90):
    """Moves that many bytes of a known stream, compares them at the receiving end, and returns the client's report."""
    result = host.run([programs.BULK_CLIENT, verb, address, port, 7, size], limit_seconds, check=True)
    return json.loads(result.output)


def datagrams(host, port, count, address=MAC_ADDRESS):
    """Has that many datagrams come back, each to the client that sent it."""
    result = host.run([PYTHON, "-m", "clients.datagrams", address, port, count], 60)
    outcome = json.loads(result.output)
    assert (outcome["right"], outcome["lost"], outcome["stray"], outcome["repeated"]) == (count, 0, 0, 0)


def assert_traffic_works(host, address=MAC_ADDRESS, port=55003):
    for verb in ("get", "put"):
        assert bulk(host, verb, port, _BYTES, address)["equal"]
    datagrams(host, port, 200, address)


def record_of(phone, host, limit_seconds=0.5):
    """The phone's record as this host sees it; nothing when nobody announces it."""
    return next((found for found in host.mdns_lookup(limit_seconds=limit_seconds) if found.name == phone.name), None)


def await_record(phone, host, address=MAC_ADDRESS, limit_seconds=15):
    def announced():
        found = record_of(phone, host)
        return found if found and found.addresses == [address] else None

    return wait_until(announced, limit_seconds, f"{host.name} sees the record with {address}")


def await_no_record(phone, host, limit_seconds=10):
    wait_until(lambda: record_of(phone, host) is None, limit_seconds, f"{host.name} sees no record")


def status_of(lab):
    """(state, message) of the one profile's bridge, as quillbayctl tells it; the message is none but for an error."""
    status, = [profile["status"] for profile in Terminal(lab).document("status", limit_seconds=10)["profiles"]]
    return status["state"], status.get("message")


def await_state(lab, state, limit_seconds):
    wait_until(lambda: status_of(lab)[0] == state, limit_seconds, f"the bridge is {state}")


class Helper:
    """A client module that prints what it has reached and then waits for the end of its standard input."""

    def __init__(self, host, module, *arguments, limit_seconds=60):
        self.process = host.spawn([PYTHON, "-m", f"clients.{module}", *arguments], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, stderr=host.folder / f"{module}.log")
        self._lines = Lines(self.process.stdout)
        self.reached = json.loads(self._lines.await_line(lambda line: True, limit_seconds, f"{module} is ready"))

    def finish(self, limit_seconds=20):
        """Lets it end, and returns its last document."""
        self.process.stdin.close()
        assert self.process.wait(limit_seconds) == 0
        self._lines.join(5)
        return json.loads(self._lines.all()[-1])
