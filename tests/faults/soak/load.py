"""Traffic without a pause: transfers, datagrams and handshakes through the bridge, all verified."""

import json
import random
import subprocess
import threading
import time
from dataclasses import dataclass, field

from quillbay_lab import LabError, programs
from quillbay_lab.lines import Lines

_PYTHON = "/usr/bin/python3"
_TUNNEL_PORTS = range(55000, 55010)
_LARGEST_BYTES = 60_000_000
_DATAGRAMS = 1000
# Far more than a transfer takes here, a fault in its middle included.
_PATIENCE_SECONDS = 60
# What is left of a transfer whose connection has silently gone away with an address is not waited for.
_AFTER_DISTURBANCE_SECONDS = 5


@dataclass
class Tally:
    """What has been moved, and what went wrong. `failures` are sentences."""

    bytes: int = 0
    transfers: int = 0
    datagrams: int = 0
    cut_by_faults: int = 0
    failures: list = field(default_factory=list)


class Load:
    """Runs from its making to `close`. `address` says where the bridge is at the moment."""

    def __init__(self, lab, seed, disturbance, address):
        self._lab, self._disturbance, self._address = lab, disturbance, address
        self._lock = threading.Lock()
        self._tally = Tally()
        self._ending = threading.Event()
        workers = (self._transfer, self._transfer, self._send_datagrams)
        self._threads = [threading.Thread(target=self._repeat, args=(work, random.Random(f"{seed}-{number}")), daemon=True)
                         for number, work in enumerate(workers)]
        for thread in self._threads:
            thread.start()

    def tally(self):
        with self._lock:
            return Tally(self._tally.bytes, self._tally.transfers, self._tally.datagrams, self._tally.cut_by_faults,
                         list(self._tally.failures))

    def fail(self, sentence):
        with self._lock:
            self._tally.failures.append(sentence)

    def close(self):
        """Ends when the last transfer has."""
        self._ending.set()
        for thread in self._threads:
            thread.join()

    def _repeat(self, work, chance):
        while not self._ending.is_set():
            try:
                work(chance)
            except (LabError, OSError) as error:
                self.fail(f"{work.__name__}: {error}")
            # The faults need some of the processors, too.
            self._ending.wait(chance.uniform(0, 0.3))

    def _transfer(self, chance):
        verb, port = chance.choice(("get", "put")), chance.choice(_TUNNEL_PORTS)
        size = int(_LARGEST_BYTES ** chance.uniform(0.2, 1))
        argv = [programs.BULK_CLIENT, verb, self._address(), port, chance.randrange(1000), size]
        outcome, what = self._client(argv, chance)
        if outcome is None:
            return
        if not outcome["equal"]:
            self.fail(f"wrong bytes: {what}: {outcome}")
        with self._lock:
            self._tally.transfers += 1
            self._tally.bytes += size

    def _send_datagrams(self, chance):
        start = time.monotonic()
        outcome, what = self._client([_PYTHON, "-m", "clients.datagrams", self._address(), chance.choice(_TUNNEL_PORTS),
                                      _DATAGRAMS], chance)
        if outcome is None:
            return
        if outcome["stray"] or outcome["repeated"] or (outcome["lost"] and not self._disturbance.met(start)):
            self.fail(f"datagrams: {what}: {outcome}")
        with self._lock:
            self._tally.datagrams += outcome["right"]

    def _client(self, argv, chance):
        """What a client printed, or nothing where a fault has cut it off; and what it was."""
        host = chance.choice((self._lab.mac, self._lab.desk))
        what = f"{host.name}: {' '.join(map(str, argv[1:]))}"
        start = time.monotonic()
        process = host.spawn(argv, stdout=subprocess.PIPE)
        printed = Lines(process.stdout)
        hung = not self._ended(process, start)
        process.end(1)
        printed.join(2)
        lines = printed.all()
        if lines and not hung:
            return json.loads(lines[-1]), what
        if self._disturbance.met(start):
            with self._lock:
                self._tally.cut_by_faults += 1
        else:
            self.fail(f"{'no end of' if hung else 'cut off without a fault:'} {what}")
        return None, what

    def _ended(self, process, start):
        """Whether the client has ended by itself."""
        quiet_since = None
        while process.running:
            now = time.monotonic()
            if now - start > _PATIENCE_SECONDS:
                return False
            if not self._disturbance.met(start):
                quiet_since = None
            elif self._disturbance.met(now):
                quiet_since = now
            elif quiet_since is not None and now - quiet_since > _AFTER_DISTURBANCE_SECONDS:
                return False
            time.sleep(0.05)
        return True
