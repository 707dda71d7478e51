"""Watches what passes one interface of a host."""

import json
import subprocess

from .lines import Lines

_PYTHON = "/usr/bin/python3"


class Capture:
    """Sees every IPv4 packet from the moment it is made. A context manager."""

    def __init__(self, host, interface):
        self._process = host.spawn([_PYTHON, "-m", "clients.capture", interface], stdout=subprocess.PIPE)
        self._lines = Lines(self._process.stdout)
        self._lines.await_line(lambda line: line == "ready", 10, f"{host.name}: a capture at {interface} runs")

    def packets(self, **fields):
        """The packets so far that have these fields, as in `clients.capture`."""
        found = [json.loads(line) for line in self._lines.all(after=1)]
        return [packet for packet in found if all(packet[key] == value for key, value in fields.items())]

    def close(self):
        if self._process.running:
            self._process.end()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
