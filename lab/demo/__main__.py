"""Runs the steps, and takes the lab down whatever happens.

    python3 -m demo [terminal | window]

With "window" and a screen to be seen (DISPLAY), the windows are there to be tried; without one the steps try them, and
leave their pictures in the folder that QUILLBAY_PICTURES names.

Exit status: 0 when all steps were seen, 1 when one was not, 2 when the lab could not be made or the arguments are
wrong, 128 + the signal's number after Ctrl-C or SIGTERM.
"""

import contextlib
import os
import signal
import sys

from quillbay_lab import Lab, LabError

from .checks import NotSeen
from .screen import Screen
from .steps import Steps
from .terminal_steps import TerminalSteps
from .window_steps import WindowSteps
from .window_visit import visit

_DEMOS = {(): Steps, ("terminal",): TerminalSteps, ("window",): WindowSteps}
_WHO_IS_WHO = ("mac has the bridge; desk is another computer on its local network; the mesh is the VPN between mac and "
               "the phone.")


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
    return steps.TOTAL


def main(arguments=()):
    chosen = _DEMOS.get(tuple(arguments))
    if chosen is None:
        print("usage: python3 -m demo [terminal | window]", file=sys.stderr)
        return 2
    screen = Screen(sys.stdout, chosen.TOTAL)
    if os.geteuid() != 0:
        sys.exit("the demo makes namespaces: run script/demo, or run this as root")
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, _on_signal)
    screen.line(_WHO_IS_WHO)
    try:
        with contextlib.ExitStack() as stack:
            with screen.progress("the network is made"):
                lab = stack.enter_context(Lab())
            if chosen is WindowSteps and os.environ.get("DISPLAY"):
                visit(lab, screen)
                return 0
            seen = _show(screen, chosen(lab))
    except LabError as problem:
        screen.line(f"the lab could not be made: {problem}")
        return 2
    except _Interrupted as interruption:
        screen.line("interrupted; everything has been taken down")
        return 128 + interruption.number
    screen.line(f"{seen} of {chosen.TOTAL} steps seen")
    return 0 if seen == chosen.TOTAL else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
