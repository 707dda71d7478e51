"""Waiting for conditions instead of for time to pass."""

import time

from .errors import LabError

_PAUSE_SECONDS = 0.02


def wait_until(condition, limit_seconds, what):
    """Asks `condition` until its answer is true, and returns that answer.

    Raises `LabError` naming `what` when that takes longer than the limit.
    """
    deadline = time.monotonic() + limit_seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() >= deadline:
            raise LabError(f"not within {limit_seconds:g} s: {what}")
        time.sleep(_PAUSE_SECONDS)
