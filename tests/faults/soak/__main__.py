"""Runs mixed traffic and faults for some minutes, and says whether everything held.

    python3 -m soak [--minutes N] [--seed N]

Prints a line per minute, and a verdict. Exit status: 0 when everything held, 1 when something did not, 2 when the lab could
not be made.
"""

import argparse
import collections
import random
import sys
import time

import bridges
from disk import Disk
from resources import at_rest, holding, returns_to

from quillbay_lab import Lab, LabError, Phone, paired_agent

from .disturbance import Disturbance
from .load import Load
from .mishaps import Mishaps

_MIB = 1024 * 1024
# What the buffers and the log of a long run may add to the memory of a bridge that has just come up.
_MEMORY_SLACK = 16 * _MIB
_CALM_SECONDS = (1, 6)


def arguments():
    parser = argparse.ArgumentParser(prog="soak", description=__doc__.splitlines()[0])
    parser.add_argument("--minutes", type=float, default=20)
    parser.add_argument("--seed", type=int, default=1)
    given = parser.parse_args()
    if not 0 < given.minutes <= 24 * 60:
        parser.error("--minutes takes a number from 0 to 1440")
    return given


class Soak:
    """One run in one lab."""

    def __init__(self, lab, minutes, seed):
        self._minutes, self._lab = minutes, lab
        self._chance = random.Random(seed)
        self._phone = Phone(lab)
        self._agent = paired_agent(lab, self._phone)
        disk = Disk(lab.mac, self._agent.folder, 8 * _MIB)
        self._agent.folder = disk.folder
        self._agent.start()
        self._agent.await_user_line(bridges.SUCCESS, 30)
        self._mishaps = Mishaps(lab, self._phone, self._agent, disk, self._chance)
        self._mishaps.await_recovery()
        self._disturbance = Disturbance()
        self._made = collections.Counter()
        bridges.warm_up(lab.desk)
        self._before = at_rest(lab.mac, self._agent.process.pid)
        self._load = Load(lab, seed, self._disturbance, lambda: self._mishaps.address)
        self._start = time.monotonic()
        self._minute = 0

    def run(self):
        """The sentences of what did not hold; empty when everything did."""
        try:
            for name, mishap in self._mishaps.next():
                if time.monotonic() >= self._start + 60 * self._minutes:
                    break
                self._make(name, mishap)
                time.sleep(self._chance.uniform(*_CALM_SECONDS))
                self._report_minutes()
        except LabError as error:
            # The bridge did not recover: what follows would say nothing more.
            self._load.fail(f"{name}: {error}")
        self._load.close()
        self._report()
        return self._load.tally().failures + self._unreturned()

    def _make(self, name, mishap):
        self._made[name] += 1
        with self._disturbance.going_on():
            mishap()
            self._mishaps.await_recovery()

    def _unreturned(self):
        """What the agent holds, with a bridge and no traffic, beyond what it held in the beginning."""
        try:
            # A flow of datagrams has no end but that of its bridge.
            self._mishaps.the_bridge_is_stopped_and_started()
            self._mishaps.await_recovery()
            bridges.warm_up(self._lab.desk, self._mishaps.address)
            returns_to(self._lab.mac, self._agent.process.pid, self._before, 30, _MEMORY_SLACK)
        except LabError as error:
            return [str(error)]
        return [] if self._agent.stop() == 0 else ["the agent has not ended with 0"]

    def _report_minutes(self):
        while time.monotonic() >= self._start + 60 * (self._minute + 1):
            self._minute += 1
            self._report()

    def _report(self):
        tally, minutes = self._load.tally(), (time.monotonic() - self._start) / 60
        print(f"{minutes:5.1f} min  {tally.bytes / 1e9:7.2f} GB in {tally.transfers} transfers  "
              f"{tally.datagrams} datagrams  {sum(self._made.values())} faults ({tally.cut_by_faults} transfers cut)  "
              f"{self._held()}  {len(tally.failures)} failures", flush=True)

    def _held(self):
        try:
            held = holding(self._lab.mac, self._agent.process.pid)
        except LabError:
            return "the agent is gone"
        return f"{held.descriptors} descriptors  {held.threads} threads  {held.pss / _MIB:.1f} MiB"

    def verdict(self, failures):
        tally = self._load.tally()
        print("faults: " + ", ".join(f"{name} {count}" for name, count in sorted(self._made.items())))
        for failure in failures:
            print(f"FAILED  {failure}")
        print(f"verdict: {'everything held' if not failures else f'{len(failures)} things did not hold'}; "
              f"{sum(self._made.values())} faults, {tally.transfers} transfers and {tally.datagrams} datagrams verified")


def main():
    given = arguments()
    print(f"soak of {given.minutes:g} minutes, seed {given.seed}", flush=True)
    try:
        with Lab() as lab:
            soak = Soak(lab, given.minutes, given.seed)
            failures = soak.run()
            soak.verdict(failures)
    except LabError as error:
        print(f"the lab could not be made: {error}")
        return 2
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
