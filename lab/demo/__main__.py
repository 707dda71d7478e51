"""Runs the steps, and takes the lab down whatever happens.

    python3 -m demo

Exit status: 0 when all steps were seen, 1 when one was not, 2 when the lab could not be made, 128 + the signal's
number after Ctrl-C or SIGTERM.
"""

import contextlib
import os
import signal
import sys

from quillbay_lab import Lab, LabError

from .screen import Screen
from .steps import NotSeen, Steps

_TOTAL = 12


class _Interrupted(BaseException):
    """A signal that asks the demo to end."""

    def __init__(self, number):
        super().__init__(number)
        self.number = number


def _on_signal(number, _frame):
    # Once is enough: the lab is then taken down in peace.
    for each in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(each, signal.SIG_IGN)
    raise _Interrupted(number)


def _show(screen, steps):
    """The number of steps that were seen; ends at the first that was not."""
    for number, (title, step) in enumerate(steps.all(), start=1):
        try:
            with screen.progress(title):
                text = step()
        except NotSeen as problem:
            screen.not_seen(number, title, problem.expected, problem.came)
        except (LabError, OSError, ValueError, LookupError) as problem:
            screen.not_seen(number, title, title, f"{type(problem).__name__}: {problem}")
        else:
            screen.seen(number, text)
            continue
        screen.log_tail("the agent's diagnostics.log", steps.log_tail())
        return number - 1
    return _TOTAL


def main():
    screen = Screen(sys.stdout, _TOTAL)
    if os.geteuid() != 0:
        sys.exit("the demo makes namespaces: run script/demo, or run this as root")
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, _on_signal)
    try:
        with contextlib.ExitStack() as stack:
            with screen.progress("the network is made"):
                lab = stack.enter_context(Lab())
            seen = _show(screen, Steps(lab))
    except LabError as problem:
        screen.line(f"the lab could not be made: {problem}")
        return 2
    except _Interrupted as interruption:
        screen.line("interrupted; everything has been taken down")
        return 128 + interruption.number
    screen.line(f"{seen} of {_TOTAL} steps seen")
    return 0 if seen == _TOTAL else 1


if __name__ == "__main__":
    sys.exit(main())
