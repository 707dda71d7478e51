"""What the demo prints: one line per step, and a progress line while something takes long."""

import contextlib
import threading
import time

_PATIENCE_SECONDS = 2.0
_REFRESH_SECONDS = 0.5
_GREEN, _RED, _DIM, _PLAIN = "\033[32m", "\033[31m", "\033[2m", "\033[0m"
_CLEAR_LINE = "\r\033[K"


class Screen:
    """Prints to a stream; colours and rewritten lines only on a terminal."""

    def __init__(self, stream, total):
        self._stream = stream
        self._total = total
        self._terminal = stream.isatty()

    def seen(self, number, text):
        self._print(f"{self._coloured('✓', _GREEN)} {number:2}/{self._total}  {text}")

    def not_seen(self, number, title, expected, came):
        self._print(f"{self._coloured('✗', _RED)} {number:2}/{self._total}  {title}")
        self._print(f"         expected: {expected}")
        self._print(f"         came:     {came}")

    def line(self, text):
        self._print(text)

    def log_tail(self, name, lines):
        self._print(f"         the end of {name}:")
        for line in lines or ["(empty)"]:
            self._print(self._coloured(f"           {line}", _DIM))

    @contextlib.contextmanager
    def progress(self, text):
        """Says what is going on, from the third second on: on a terminal in one line that is rewritten and vanishes,
        elsewhere once."""
        start, ended = time.monotonic(), threading.Event()

        def tell():
            if ended.wait(_PATIENCE_SECONDS):
                return
            if not self._terminal:
                self._print(f"  …      {text}")
                return
            while True:
                self._write(f"{_CLEAR_LINE}  …      {text} ({time.monotonic() - start:.0f} s)")
                if ended.wait(_REFRESH_SECONDS):
                    self._write(_CLEAR_LINE)
                    return

        thread = threading.Thread(target=tell, daemon=True)
        thread.start()
        try:
            yield
        finally:
            ended.set()
            thread.join()

    def _coloured(self, text, colour):
        return f"{colour}{text}{_PLAIN}" if self._terminal else text

    def _print(self, text):
        self._write(text + "\n")

    def _write(self, text):
        self._stream.write(text)
        self._stream.flush()
