"""Runs on the lab's Mac: what a process has cost so far, as one JSON document.

    processes.py PID

    "rss"        its memory in MiB; "pss" with only its share of what it has in common with others; "private" what it alone
                 has written to
    "processor"  seconds of processor time, its own; "children" those of its descendants, also of those that have ended
    "delayed"    seconds that its threads were ready to run and had no processor: what else this computer did
    "waits"      how often each of its threads has given up the processor of its own accord, by the thread's number and name
"""

import json
import os
import pathlib
import re
import sys

_TICKS = os.sysconf("SC_CLK_TCK")
_PROC = pathlib.Path("/proc")


def _times(pid):
    """(parent, own seconds, seconds of children that were waited for)."""
    fields = (_PROC / str(pid) / "stat").read_text().rpartition(")")[2].split()
    own, waited = (sum(map(int, fields[first:first + 2])) / _TICKS for first in (11, 13))
    return int(fields[1]), own, waited


def _all_times():
    found = {}
    for entry in _PROC.glob("[0-9]*"):
        try:
            found[int(entry.name)] = _times(entry.name)
        except (FileNotFoundError, ProcessLookupError):
            continue
    return found


def of_children(pid, times):
    """What those that it has waited for took, and those that are there with theirs."""
    return times[pid][2] + sum(own + of_children(child, times) for child, (parent, own, _) in times.items()
                               if parent == pid)


def memory(rollup):
    """From the text of smaps_rollup."""
    found = {name: int(size) / 1024 for name, size in re.findall(r"^(\w+): +(\d+) kB$", rollup, re.MULTILINE)}
    return {"rss": found["Rss"], "pss": found["Pss"], "private": found["Private_Dirty"]}


def _threads(pid):
    """(seconds that they were delayed, how often each has waited)."""
    delayed, waits = 0, {}
    for thread in (_PROC / str(pid) / "task").iterdir():
        try:
            status, schedule = (thread / "status").read_text(), (thread / "schedstat").read_text()
        except (FileNotFoundError, ProcessLookupError):
            continue
        name, count = (re.search(rf"^{field}:\t(.*)$", status, re.MULTILINE)[1]
                       for field in ("Name", "voluntary_ctxt_switches"))
        waits[f"{thread.name} {name}"] = int(count)
        delayed += int(schedule.split()[1]) / 1e9
    return delayed, waits


def main():
    pid = int(sys.argv[1])
    delayed, waits = _threads(pid)
    times = _all_times()
    print(json.dumps({"delayed": delayed, "waits": waits, "processor": times[pid][1],
                      "children": of_children(pid, times), **memory((_PROC / str(pid) / "smaps_rollup").read_text())}))


if __name__ == "__main__":
    main()
