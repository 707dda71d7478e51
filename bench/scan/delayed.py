"""The scan of a phone that is 30 ms away, beside nmap: 16,384 closed ports, 96 at a time, are 171 round trips.

    python3 delayed.py [--runs N] [--json FILE]     (root; PYTHONPATH has the lab and bench)

In the lab, over a path that holds every packet back for 15 ms. Prints the table and the verdict of the other benchmarks;
with --json its rows are added to those that the file has.
"""

import argparse
import statistics
import sys
import time

import table
from quillbay_lab import Lab, LabError, programs
from quillbay_lab.delayed_path import PHONE_FAR_ADDRESS, DelayedPath

_SCAN = programs.BUILD / "bin" / "quillbay-bench-scan"
_FIRST, _LAST, _IN_FLIGHT = 49152, 65535, 96
_ROUND_TRIP_MS = 30
_ROUND_TRIPS = -(-(_LAST - _FIRST + 1) // _IN_FLIGHT)
_MOST = 1.1 * _ROUND_TRIPS * _ROUND_TRIP_MS / 1000
_LIMIT_SECONDS = 120
_NMAP = ["nmap", "-sT", "-Pn", "-n", "-r", "--unprivileged", "--min-parallelism", _IN_FLIGHT, "--max-parallelism",
         _IN_FLIGHT, "-oG", "-", f"-p{_FIRST}-{_LAST}", PHONE_FAR_ADDRESS]
_COMMANDS = {"scan": [_SCAN, "ours", PHONE_FAR_ADDRESS, _FIRST, _LAST],
             "bare": [_SCAN, "bare", PHONE_FAR_ADDRESS, _FIRST, _LAST],
             "nmap": _NMAP}


def _seconds(lab, who):
    """From the start of the process to its end. Raises `LabError` when it did not find every port closed."""
    start = time.monotonic()
    output = lab.mac.run(_COMMANDS[who], _LIMIT_SECONDS, check=True).output
    took = time.monotonic() - start
    if str(_LAST - _FIRST + 1) not in output:
        raise LabError(f"{who} did not find every port closed: {output.strip()}")
    return took


def _round_trip(lab):
    """The median in milliseconds of twenty connections that are refused."""
    script = ("import socket, statistics, time\n"
              "def trip():\n"
              "    start = time.monotonic()\n"
              f"    socket.socket().connect_ex(('{PHONE_FAR_ADDRESS}', 9))\n"
              "    return 1000 * (time.monotonic() - start)\n"
              "print(statistics.median(trip() for _ in range(20)))\n")
    return float(lab.mac.run(["/usr/bin/python3", "-c", script], check=True).output)


def measure(runs):
    values = {who: [] for who in _COMMANDS}
    trips = []
    with Lab() as lab, DelayedPath(lab, _ROUND_TRIP_MS / 2):
        for _ in range(runs):
            trips.append(_round_trip(lab))
            for who in _COMMANDS:
                values[who].append(_seconds(lab, who))
    return [{"name": "scan of 16384 closed ports, 30 ms away", "unit": "s", "own": "scan", "values": values,
             "wanted": {"atMost": _MOST}, "limit": f"{_ROUND_TRIPS} round trips: "
             f"{_ROUND_TRIPS * statistics.median(trips) / 1000:.2f} s"},
            {"name": "the path's round trip", "unit": "ms", "own": "scan", "values": {"scan": trips}}]


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--json")
    options = parser.parse_args()
    print("scan-delayed …", file=sys.stderr)
    try:
        rows = measure(max(1, options.runs))
    except LabError as error:
        sys.exit(f"scan-delayed: {error}")
    table.show(rows, "scan")
    table.verdict(rows[0]["name"], statistics.median(rows[0]["values"]["scan"]), _MOST, "s")
    if options.json:
        table.add_to(options.json, rows)


if __name__ == "__main__":
    main()
