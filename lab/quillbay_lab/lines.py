"""Lines that a process prints, collected while it runs."""

import threading

from .waiting import wait_until


class Lines:
    """Reads a file in the background until its end."""

    def __init__(self, stream):
        self._stream = stream
        self._lock = threading.Lock()
        self._lines = []
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def all(self, after=0):
        """The lines so far, from the one with this number on."""
        with self._lock:
            return self._lines[after:]

    def await_line(self, matches, limit_seconds, what, after=0):
        """The first line, from the one with this number on, for which `matches` is true. Raises `LabError`."""
        return wait_until(lambda: next(filter(matches, self.all(after)), None), limit_seconds, what)

    def join(self, limit_seconds):
        """Waits for the end of the stream."""
        self._thread.join(limit_seconds)

    def _read(self):
        try:
            for line in self._stream:
                with self._lock:
                    self._lines.append(line.rstrip("\n"))
        except ValueError:
            # Closed by its owner: nobody wants the rest.
            pass
