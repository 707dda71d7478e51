"""The whole sweep: every fault of the plan, by several agents at a time.

    python3 sweep_run.py [--minutes N] [--jobs N] [--only TEXT] [--without-developer-tools]

Prints a line for each fault that was not borne, and the summary last. Exit status 1 unless all were borne and the plan was
carried out whole. `script/faults` builds what it needs and runs it.
"""

import argparse
import multiprocessing
import pathlib
import queue
import sys
import time
from collections import Counter

_HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(_HERE), str(_HERE.parents[1] / "lab")]

import sweep  # noqa: E402  (needs the path above)
from expectations import reason_not_reached  # noqa: E402
from sweep_plan import plan, record  # noqa: E402
from sweep_stage import BOOT, END, Stage  # noqa: E402

# Few enough that the last ones do not leave the others waiting, and of one phase, since a change costs a start.
_CASES_PER_CHUNK = 12
_ENDED = None


def chunks(cases):
    """The plan in pieces, those of one phase together."""
    ordered = sorted(cases, key=lambda case: (case.phase in (BOOT, END), case.phase, case.label, case.first))
    piece = []
    for case in ordered:
        if piece and (piece[0].phase != case.phase or len(piece) == _CASES_PER_CHUNK):
            yield piece
            piece = []
        piece.append(case)
    if piece:
        yield piece


def work(tasks, results, with_developer_tools):
    """In a process of its own: carries out pieces of the plan until there are no more."""
    try:
        with Stage(with_developer_tools) as stage:
            sweeper = sweep.Sweeper(stage)
            while (piece := tasks.get()) is not _ENDED:
                for case in piece:
                    results.put((case, *sweeper.carry_out(case)))
    except BaseException as error:  # noqa: BLE001  (the parent must hear of whatever it was)
        results.put((None, False, [f"a stage has broken down: {type(error).__name__} {error}"]))
    results.put(_ENDED)


class Progress:
    """What has come of the plan so far."""

    def __init__(self, cases):
        self.planned = len(cases)
        self.done = 0
        self.unmet = []
        self.complaints = []

    def take(self, case, met, complaints):
        self.done += 1
        if complaints:
            self.complaints.append((case, complaints))
            print(f"FAILED  {case}", *(f"        {text}" for text in complaints), sep="\n", flush=True)
        elif not met:
            self.unmet.append(case)


def carry_out(cases, jobs, deadline, with_developer_tools):
    """Runs the plan until it is done or the time is up."""
    context = multiprocessing.get_context("spawn")
    tasks, results = context.Queue(), context.Queue()
    workers = [context.Process(target=work, args=(tasks, results, with_developer_tools)) for _ in range(jobs)]
    for worker in workers:
        worker.start()
    progress, waiting, running = Progress(cases), list(chunks(cases)), jobs
    while running:
        # Never much more in the queue than there are workers, so that the end of the time is soon the end.
        while waiting and tasks.qsize() < jobs and time.monotonic() < deadline:
            tasks.put(waiting.pop(0))
        if not waiting or time.monotonic() >= deadline:
            for _ in range(jobs):
                tasks.put(_ENDED)
            waiting = []
        try:
            result = results.get(timeout=0.5)
        except queue.Empty:
            continue
        if result is _ENDED:
            running -= 1
        else:
            progress.take(*result)
    for worker in workers:
        worker.join()
    return progress


def print_places(recorded, omitted, cases):
    """Which calls the program contains and the sweep does not come by, and which errors it leaves out."""
    unreached = Counter()
    for address in recorded.calls.keys() - recorded.reached:
        words = recorded.symbols.of(address)
        unreached[reason_not_reached(words) or f"UNEXPLAINED {recorded.calls[address].function}: {words}"] += 1
    print(f"\n{sum(unreached.values())} calls that are not on the way:")
    for reason, count in sorted(unreached.items()):
        print(f"  {count:4}  {reason}")
    reasons = Counter(reason for _, _, reason in omitted)
    print("\nerrors that are not tried, by reason:")
    for reason, count in sorted(reasons.items()):
        print(f"  {count:4}  {reason}")
    functions = Counter(case.site.function for case in cases)
    print("\nfaults by function: " + ", ".join(f"{name} {count}" for name, count in sorted(functions.items())))


def parse(arguments):
    parser = argparse.ArgumentParser(description="Makes every call fail, one at a time.")
    parser.add_argument("--minutes", type=float, default=30, help="give up after that long (30)")
    parser.add_argument("--jobs", type=int, default=2, help="agents at a time (2)")
    parser.add_argument("--only", default="", help="faults whose line contains this")
    parser.add_argument("--without-developer-tools", action="store_true",
                        help="the presence of the phone is asked of the network, which takes 1.5 seconds for each start")
    return parser.parse_args(arguments)


def main(arguments):
    options = parse(arguments)
    begin = time.monotonic()
    tools = not options.without_developer_tools
    with Stage(tools) as stage:
        recorded = record(stage)
    cases, omitted = plan(recorded)
    chosen = [case for case in cases if options.only in str(case)]
    print(f"{len(recorded.sites)} call sites, {len(recorded.reached)} of the program's {len(recorded.calls)} calls, "
          f"{len(chosen)} faults", flush=True)
    progress = carry_out(chosen, options.jobs, begin + 60 * options.minutes, tools)
    print_places(recorded, omitted, chosen)
    if progress.unmet:
        print(f"\n{len(progress.unmet)} faults were not met (the call was not made again in {sweep.ATTEMPTS} runs):")
        for case in progress.unmet:
            print(f"  {case}")
    swept = {case.site.id for case in chosen}
    print(f"\nreached {len(recorded.reached)} of {len(recorded.calls)} calls in the program, {len(swept)} of "
          f"{len(recorded.sites)} call sites; {progress.done - len(progress.unmet)} of {progress.planned} faults, "
          f"{len(progress.complaints)} failures, {time.monotonic() - begin:.0f} s")
    whole = progress.done >= progress.planned
    if not whole:
        print(f"the time was up: {progress.planned - progress.done} faults were not tried")
    return 0 if whole and not progress.complaints else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
