"""What a process in a host of the lab holds, and whether it gives everything back.

Read through the host's own /proc, so numbers of processes are those of the host.
"""

import os
import pathlib
import re
import time
from dataclasses import dataclass

from quillbay_lab import LabError, wait_until

MIB = 1024 * 1024
# What a bridge listens on: the tunnel range and the control channel, on TCP and UDP.
FIRST_PORT, LAST_PORT = 55000, 58000
EVERY_SOCKET = 2 * (LAST_PORT - FIRST_PORT + 2)
_TICKS_PER_SECOND = os.sysconf("SC_CLK_TCK")
# What the allocator keeps of memory that was given back, once everything has been used for the first time.
_MEMORY_SLACK = 6 * MIB


@dataclass(frozen=True)
class Holding:
    """`children` counts those that have ended and were not waited for, too; `pss` is in bytes: the process's memory, with
    its share of what it has in common with others; `processor` is in seconds, its own since it started."""

    descriptors: int
    children: int
    threads: int
    pss: int
    processor: float


def processes_of(host):
    """The host's /proc, seen from here."""
    holder = host.namespace.network[1]
    first, = pathlib.Path(f"/proc/{holder}/task/{holder}/children").read_text().split()
    return pathlib.Path(f"/proc/{first}/root/proc")


def _stat(entry):
    """The columns of /proc/PID/stat from the state on, which follows the name in parentheses."""
    return (entry / "stat").read_text().rpartition(")")[2].split()


def children_of(host, pid):
    """The command lines of the children; a child that has ended and was not waited for is "(ended)"."""
    found = []
    for entry in processes_of(host).glob("[0-9]*"):
        try:
            if int(_stat(entry)[1]) == pid:
                words = (entry / "cmdline").read_bytes().rstrip(b"\0").split(b"\0")
                found.append(b" ".join(words).decode(errors="replace") or "(ended)")
        except (FileNotFoundError, ProcessLookupError):
            continue
    return found


def descriptors_of(host, pid):
    """What each descriptor of the process leads to, as the kernel names it."""
    found = []
    for entry in (processes_of(host) / str(pid) / "fd").iterdir():
        try:
            found.append(os.readlink(entry))
        except FileNotFoundError:
            continue
    return found


def processor_seconds(host, pid):
    columns = _stat(processes_of(host) / str(pid))
    return (int(columns[11]) + int(columns[12])) / _TICKS_PER_SECOND


def pss(host, pid):
    text = (processes_of(host) / str(pid) / "smaps_rollup").read_text()
    return int(re.search(r"^Pss: +(\d+) kB$", text, re.MULTILINE)[1]) * 1024


def holding(host, pid):
    """What the process with this number in this host holds now. Raises `LabError` when it is gone."""
    entry = processes_of(host) / str(pid)
    try:
        return Holding(descriptors=len(os.listdir(entry / "fd")), children=len(children_of(host, pid)),
                       threads=len(os.listdir(entry / "task")), pss=pss(host, pid),
                       processor=processor_seconds(host, pid))
    except (FileNotFoundError, ProcessLookupError) as error:
        raise LabError(f"{host.name}: process {pid} is gone: {error}") from None


def at_rest(host, pid):
    """What the process holds once nothing is being opened or closed any more."""
    def unchanged():
        first = holding(host, pid)
        time.sleep(0.5)
        second = holding(host, pid)
        parts = [(held.descriptors, held.children, held.threads) for held in (first, second)]
        return second if parts[0] == parts[1] else None

    return wait_until(unchanged, 20, "the process is at rest")


def returns_to(host, pid, before, limit_seconds=10, memory_slack=_MEMORY_SLACK, flows=0):
    """Waits until the process holds as many children as before, no more descriptors and threads, and no more memory than
    the slack on top. `flows`: how many descriptors the datagrams that were sent since may keep, since a flow has no end of
    its own. Returns what the process holds then. Raises `LabError` that says what is left."""
    seen = None

    def returned():
        nonlocal seen
        seen = holding(host, pid)
        return (seen.descriptors <= before.descriptors + flows and
                seen.children == before.children and seen.threads <= before.threads and
                seen.pss <= before.pss + memory_slack)

    try:
        wait_until(returned, limit_seconds, "the process gives everything back")
    except LabError as error:
        raise LabError(f"{error}: before {before}, now {seen}, children {children_of(host, pid)}") from None
    return seen


def processor_share(host, pid, stretch_seconds=1.0):
    """How much of one processor the process takes during a stretch in which it has nothing to do: 0 for one that waits,
    about 1 for one that spins."""
    start, before = time.monotonic(), processor_seconds(host, pid)
    time.sleep(stretch_seconds)
    return (processor_seconds(host, pid) - before) / (time.monotonic() - start)
