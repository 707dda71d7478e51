"""When faults disturb the traffic, so that a transfer that was cut off can be told from one that should not have been."""

import contextlib
import threading
import time

# What is under way may notice a fault only after its end: a peer's retransmission, a connection that is refused.
_AFTERMATH_SECONDS = 4


class Disturbance:
    """May be used from several threads."""

    def __init__(self):
        self._lock = threading.Lock()
        self._active = 0
        self._last_end = -_AFTERMATH_SECONDS

    @contextlib.contextmanager
    def going_on(self):
        with self._lock:
            self._active += 1
        try:
            yield
        finally:
            with self._lock:
                self._active -= 1
                self._last_end = time.monotonic()

    def met(self, start):
        """Whether one has been going on since that moment of the monotonic clock, or shortly before it."""
        with self._lock:
            return self._active > 0 or self._last_end + _AFTERMATH_SECONDS > start
