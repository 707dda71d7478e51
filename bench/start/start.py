"""From the start of the agent to all relays of the first bridge, with 20 profiles and with that one alone.

    python3 start.py [--runs N] [--json FILE]     (root; PYTHONPATH has the lab and bench)

In the lab. All profiles are switched on. The first one's phone is away and answers through the mesh; of the others, a
third is refused, a third has an address at which nobody is, and a third one that swallows everything. Says where the time
goes by the lines of the diagnostic log. With --json its rows are added to those that the file has.
"""

import argparse
import datetime
import subprocess
import sys
import time

import table
from quillbay_lab import Agent, Lab, LabError, Phone, programs, profile_of
from quillbay_lab.lab import MAC_ADDRESS, PHONE_MESH_ADDRESS
from quillbay_lab.lines import Lines

_PROFILES = 20
_OWN = "20 profiles"
# At the first one the phone's host refuses every port.
_REFUSES, _NOBODY, _SWALLOWED = "100.64.77.3", "100.64.77.99", "100.64.79.1"
_LISTENING = programs.ROOT / "bench" / "start" / "listening.py"
# The control channel and the tunnel range, TCP and UDP.
_RELAYS = 2 * (1 + 3001)
_LIMIT_SECONDS = 60
_PHASES = {"program up": "Quillbay started", "profiles restored": "Starting bridge for",
           "phone is away, and answers": "verified, 3002 TCP", "relays listening": None}


def _others(first):
    """Profiles that the phone's own is the model of, with a host and an address each."""
    addresses = (_REFUSES, _NOBODY, _SWALLOWED)
    for number in range(1, _PROFILES):
        yield {**first, "displayName": f"Phone {number}", "bonjourName": f"other{number}",
               "bonjourHost": f"Other-{number}.local", "providerIP": addresses[number % len(addresses)]}


def _moment(line):
    return datetime.datetime.strptime(line[:23], "%Y-%m-%d %H:%M:%S.%f").timestamp()


def _run(lab, profiles):
    """The seconds that each phase took, in their order."""
    agent = Agent(lab)
    agent.write_profiles(profiles)
    before = len(agent.diagnostics())
    watcher = lab.mac.spawn(["/usr/bin/python3", _LISTENING, MAC_ADDRESS, _RELAYS], stdout=subprocess.PIPE,
                            stderr=lab.mac.folder / "listening.err")
    printed = Lines(watcher.stdout)
    start = time.time()
    agent.start()
    try:
        listening = float(printed.await_line(str, _LIMIT_SECONDS, "all relays of the first bridge are listening"))
        agent.await_diagnostic("verified, 3002 TCP", 10, before)
        lines = agent.diagnostics()[before:]
    finally:
        watcher.end()
        agent.stop(30)
    moments = [listening if text is None else _last_start(lines) if text == "Starting bridge for" else
               next(_moment(line) for line in lines if text in line) for text in _PHASES.values()]
    # The line may be recorded a moment after the last relay listens.
    moments[-2] = min(moments[-2:])
    return [end - begin for begin, end in zip([start, *moments], moments)]


def _last_start(lines):
    return [_moment(line) for line in lines if "Starting bridge for" in line][-1]


def measure(runs):
    with Lab() as lab:
        phone = Phone(lab)
        service, = [found for found in lab.desk.mdns_lookup(limit_seconds=0.4) if found.name == phone.name]
        lab.phone_leaves()
        lab.mac.run(f"ip route add {_SWALLOWED} via {PHONE_MESH_ADDRESS}".split(), check=True)
        lab.phone.run(f"ip address add {_REFUSES}/24 dev vpn0".split(), check=True)
        lab.phone.run(f"ip route add blackhole {_SWALLOWED}".split(), check=True)
        first = profile_of(service)
        times = {_OWN: [], "1 profile": []}
        for _ in range(runs):
            times[_OWN].append(_run(lab, [first, *_others(first)]))
            times["1 profile"].append(_run(lab, [first]))
    rows = [{"name": "start to all relays of the first bridge", "unit": "s", "own": _OWN,
             "values": {who: [sum(run) for run in found] for who, found in times.items()}}]
    for number, phase in enumerate(_PHASES):
        rows.append({"name": f"of that: {phase}", "unit": "s", "own": _OWN,
                     "values": {who: [run[number] for run in found] for who, found in times.items()}})
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--json")
    options = parser.parse_args()
    print("agent-start …", file=sys.stderr)
    try:
        rows = measure(max(1, options.runs))
    except LabError as error:
        sys.exit(f"agent-start: {error}")
    table.show(rows, _OWN)
    if options.json:
        table.add_to(options.json, rows)


if __name__ == "__main__":
    main()
