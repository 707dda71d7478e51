"""What the application's windows cost, on the software renderer, beside a window with nothing in it.

    python3 window.py [--only NAME]... [--runs N] [--json FILE]     (root; PYTHONPATH has the lab and bench)

In the lab, on a screen in memory with a window manager, a tray and a portal, with one paired phone. Prints the table and the
verdict of the other benchmarks; with --json its rows are added to those that the file has.
"""

import argparse
import contextlib
import os
import sys
import time

import frames
import hand
import table
from quillbay_lab import LabError
from stage import APPLICATION, EMPTY, Stage

_IDLE_SECONDS = 60
_IDLE = f"processor in {_IDLE_SECONDS} idle s"
_MOST_IDLE_PROCESSOR_SECONDS = 0.3
_MOST_FRAME_MS = 33
_LINES_PER_SECOND, _LINE_SECONDS = 200, 10
_MOVES, _MOVE_PAUSE_SECONDS = 600, 0.012
_LEAST_RATES = {"log: lines": 190, "drag: moves": 60}
# As long as names get.
_LONG_NAME = "The iPhone in the drawer of the desk by the window, upper left"


def start(stage, runs):
    """From the start of the process to the first frame, and to the last of those that follow at once."""
    first, whole, processor = {}, {}, {}
    stage.bridge_wanted(False)
    # The first start of all reads everything from the disk.
    for number in range(runs + 1):
        for who, program in (("quillbay", APPLICATION), ("empty window", EMPTY)):
            with stage.start(program) as running:
                drawn = running.await_settled()
                if number > 0:
                    first.setdefault(who, []).append(1000 * (drawn[0].ended - running.started))
                    whole.setdefault(who, []).append(1000 * (frames.settled(drawn, 0.4).ended - running.started))
                    processor.setdefault(who, []).append(1000 * running.costs()["processor"])
    return [{"name": "start to first frame", "unit": "ms", "values": first},
            {"name": "start to settled window", "unit": "ms", "values": whole},
            {"name": "processor time of a start", "unit": "ms", "values": processor}]


def memory(stage, runs):
    kinds = {"rss": "memory, Rss", "pss": "memory, Pss", "private": "memory, private"}
    values = {kind: {} for kind in kinds}
    stage.bridge_wanted(False)
    for _ in range(runs):
        for who, program, arguments in (("quillbay", APPLICATION, []), ("tray only", APPLICATION, ["--hidden"]),
                                        ("empty window", EMPTY, [])):
            with stage.start(program, *arguments) as running:
                if arguments:
                    stage.await_answer()
                    time.sleep(1)
                else:
                    running.await_settled()
                costs = running.costs()
                for kind, found in values.items():
                    found.setdefault(who, []).append(costs[kind])
    return [{"name": kinds[kind], "unit": "MiB", "values": found} for kind, found in values.items()]


def idle(stage, runs):
    """With an active bridge: the window open, then only the tray item, then the window when phones have been looked for,
    which goes on from then on. The empty window beside each."""
    processor, children, waits = {}, {}, {}
    stage.bridge_wanted(True)
    for _ in range(runs):
        for who, arguments in (("quillbay", []), ("tray only", ["--hidden"]), ("searching", [])):
            with stage.start(APPLICATION, *arguments) as running, stage.start(EMPTY) as empty:
                stage.await_bridge()
                if who == "searching":
                    stage.search()
                empty.await_settled()
                # What an active bridge begins with, such as the announcements of its record, is over by then.
                time.sleep(5)
                before = running.costs(), empty.costs()
                time.sleep(_IDLE_SECONDS)
                after = running.costs(), empty.costs()
            spent = [_spent(*pair) for pair in zip(before, after)]
            for name, each in ((who, spent[0]), ("empty window", spent[1])):
                processor.setdefault(name, []).append(each["processor"])
                waits.setdefault(name, []).append(sum(each["waits"].values()) / _IDLE_SECONDS)
            children.setdefault(who, []).append(spent[0]["children"])
            _tell_waits(who, spent[0]["waits"])
    return [{"name": _IDLE, "unit": "s", "values": processor},
            {"name": "the same, its children", "unit": "s", "values": children},
            {"name": "wake-ups while idle", "unit": "/s", "values": waits}]


def _spent(before, after):
    """What came to it between the two; threads that have ended meanwhile are not counted."""
    waits = {thread: count - before["waits"].get(thread, 0) for thread, count in after["waits"].items()}
    return {**{kind: after[kind] - before[kind] for kind in ("processor", "children", "delayed")},
            "waits": {thread: count for thread, count in waits.items() if count}}


def _tell_waits(who, waits):
    counts = ", ".join(f"{thread.partition(' ')[2]} {count}" for thread, count in
                       sorted(waits.items(), key=lambda entry: -entry[1]))
    print(f"{who}, idle: wake-ups in {_IDLE_SECONDS} s by thread: {counts or 'none'}", file=sys.stderr)


def drawing(stage, runs):
    """Frames while the log grows, with the console expanded, and while the sidebar is dragged."""
    stage.bridge_wanted(False)
    with stage.start(APPLICATION, accessible=True) as running:
        running.await_settled()
        expand = hand.place_of(stage, "Expand")
        hand.click(stage, expand)
        hand.place_of(stage, "Collapse")
    rows = {}
    with stage.start(APPLICATION) as running:
        running.await_settled()
        hand.click(stage, expand)
        for _ in range(runs):
            with _watched(rows, "log", running, "lines") as told:
                source = stage.ask("log_source.py", stage.control, stage.profile()["bonjourHost"], _LONG_NAME,
                                   _LINES_PER_SECOND, _LINE_SECONDS)
                told.update(source)
        for _ in range(runs):
            with _watched(rows, "drag", running, "moves") as told:
                begin, end = hand.drag_divider(stage, _MOVES, _MOVE_PAUSE_SECONDS)
                told.update(begin=begin, end=end, moves=_MOVES)
    return list(rows.values())


@contextlib.contextmanager
def _watched(rows, what, running, unit):
    """Adds to the rows what was drawn meanwhile; to be told when that was ("begin", "end") and how many of the unit."""
    running.await_settled()
    before, told = running.costs(), {}
    yield told
    running.await_settled()
    spent = _spent(before, running.costs())
    drawn = frames.between(running.frames(), told["begin"], told["end"])
    if len(drawn) < 2:
        raise LabError(f"{what}: nothing is drawn")
    took, seconds = [frame.took for frame in drawn], told["end"] - told["begin"]
    for name, of, value in (("frame time, max", "ms", max(took)), ("frame time, p99", "ms", frames.percentile(took, 99)),
                            ("frame time, median", "ms", frames.percentile(took, 50)),
                            ("between frames, max", "ms", max(frames.gaps(drawn))),
                            ("frames", "/s", len(drawn) / seconds), (unit, "/s", told[unit] / seconds),
                            ("processor time", "%", 100 * spent["processor"] / seconds),
                            ("without a processor", "%", 100 * spent["delayed"] / seconds)):
        row = rows.setdefault((what, name), {"name": f"{what}: {name}", "unit": of, "values": {"quillbay": []}})
        row["values"]["quillbay"].append(value)


ROWS = {"window-start": (start, 10), "window-memory": (memory, 3), "window-idle": (idle, 1), "window-frames": (drawing, 3)}


def _judge(rows):
    for row in rows:
        if row["name"] == _IDLE:
            for who in row["values"].keys() - {"empty window"}:
                table.verdict(f"{row['name']}, {who}", max(row["values"][who]), _MOST_IDLE_PROCESSOR_SECONDS, "s")
        elif row["name"].endswith("frame time, max"):
            table.verdict(row["name"], max(row["values"]["quillbay"]), _MOST_FRAME_MS, "ms")
        elif row["name"] in _LEAST_RATES and min(row["values"]["quillbay"]) < _LEAST_RATES[row["name"]]:
            print(f"This computer is too busy: {row['name']} wanted {_LEAST_RATES[row['name']]} a second.")


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--only", action="append", choices=ROWS)
    parser.add_argument("--runs", type=int, help="of each row; without it: " +
                        ", ".join(f"{name} {runs}" for name, (_, runs) in ROWS.items()))
    parser.add_argument("--json")
    options = parser.parse_args()
    rows = []
    try:
        with Stage() as stage:
            for name in options.only or ROWS:
                print(f"{name} … (load {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors)", file=sys.stderr)
                measure, runs = ROWS[name]
                rows += measure(stage, max(1, options.runs or runs))
    except LabError as error:
        sys.exit(f"window: {error}")
    table.show(rows, "quillbay")
    _judge(rows)
    if options.json:
        table.add_to(options.json, rows)


if __name__ == "__main__":
    main()
