"""How soon a phone that announces itself is a line of `phones`, beside avahi-browse on the same computer.

    python3 announcement.py [--runs N] [--json FILE]     (root; PYTHONPATH has the lab and bench)

Each run is a phone of a new name in the lab. Prints the table and the verdict of the other benchmarks; with --json its
rows are added to those that the file has.
"""

import argparse
import json
import pathlib
import statistics
import subprocess
import sys

import table
from quillbay_lab import Agent, Lab, LabError, Terminal, programs, wait_until
from quillbay_lab.lab import MAC_ADDRESS, PHONE_ADDRESS
from quillbay_lab.lines import Lines

_TYPE = "_remotepairing._tcp"
_MOST_BEHIND_MS = 50
_LIMIT_SECONDS = 15
_WATCHER = pathlib.Path(__file__).with_name("watcher.py")


def measure(runs):
    """A dictionary {"wire", "browse", "phones"} of times in seconds for each run."""
    with Lab() as lab:
        agent = Agent(lab)
        agent.write_profiles([])
        agent.start()
        # The first question starts the discovery, and waits until it knows what is there.
        wait_until(lambda: Terminal(lab).run("phones").code == 0, 10, "the agent answers")
        watcher = lab.mac.spawn(["/usr/bin/python3", _WATCHER, f"{lab.mac.RUNTIME}/quillbay/control.sock", MAC_ADDRESS,
                                 _TYPE], stdout=subprocess.PIPE, stderr=lab.mac.folder / "watcher.err")
        lines = Lines(watcher.stdout)
        lines.await_line(lambda line: json.loads(line)["where"] == "ready", 10, "the watcher is ready")
        return [_one(lab, lines, f"{number:04}A7C1") for number in range(runs)]


def _one(lab, lines, name):
    phone = lab.phone.spawn([programs.DNS_SD, "-i", "lan0", "-P", name, _TYPE, "local", "49200", f"phone{name}.local",
                             PHONE_ADDRESS, f"identifier={name}", "ver=24"])

    def seen():
        found = {}
        for line in lines.all():
            event = json.loads(line)
            if event["name"] == name:
                found[event["where"]] = event["time"]
        return found if len(found) == 3 else None

    try:
        return wait_until(seen, _LIMIT_SECONDS, f"{name} is seen on the wire, by avahi-browse and in phones")
    finally:
        phone.end()


def rows_of(times):
    after = {who: [1000 * (run[who] - run["wire"]) for run in times] for who in ("phones", "browse")}
    behind = [1000 * (run["phones"] - run["browse"]) for run in times]
    return [{"name": "announcement seen after", "unit": "ms", "values": after},
            {"name": "phones behind avahi-browse", "unit": "ms", "values": {"phones": behind}}]


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--runs", type=int, default=20)
    parser.add_argument("--json")
    options = parser.parse_args()
    print("announcement …", file=sys.stderr)
    try:
        rows = rows_of(measure(max(1, options.runs)))
    except LabError as error:
        sys.exit(f"announcement: {error}")
    table.show(rows, "phones")
    behind = rows[1]
    table.verdict(behind["name"], statistics.median(behind["values"]["phones"]), _MOST_BEHIND_MS, "ms")
    if options.json:
        table.add_to(options.json, rows)


if __name__ == "__main__":
    main()
