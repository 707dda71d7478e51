"""Datagrams from very many source ports of one host, one from each.

    python3 -m clients.sources LOCAL_ADDRESS ADDRESS PORT FIRST COUNT KEPT

Source ports FIRST to FIRST + COUNT - 1. The first KEPT of them stay open; all are asked once, and then the kept ones again.
Prints one JSON line: how many were answered rightly ("answered", "keptAnswered"), how many answers were wrong ("wrong"), and
the seconds it took.
"""

import json
import select
import socket
import struct
import sys
import time

_WINDOW = 500
_ROUND_TRIPS_AT_A_TIME = 100
_PATIENCE_SECONDS = 0.4


class Source:
    def __init__(self, local, number, remote):
        self.number = number
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.bind((local, number))
        self.socket.connect(remote)

    def ask(self, turn):
        self._question = struct.pack(">II", self.number, turn) + b"x" * 56
        self.socket.send(self._question)

    def take(self):
        """Whether the answer is the right one."""
        try:
            return self.socket.recv(65536) == self._question
        except ConnectionError:
            return False


def exchange(sources, turn):
    """(right answers, wrong answers) to one question from each, a few at a time."""
    right = wrong = 0
    for first in range(0, len(sources), _ROUND_TRIPS_AT_A_TIME):
        waiting = {source.socket: source for source in sources[first:first + _ROUND_TRIPS_AT_A_TIME]}
        poll, by_number = select.poll(), {}
        for source in waiting.values():
            poll.register(source.socket, select.POLLIN)
            by_number[source.socket.fileno()] = source
            source.ask(turn)
        deadline = time.monotonic() + _PATIENCE_SECONDS
        while by_number and time.monotonic() < deadline:
            for number, _ in poll.poll(max(0, deadline - time.monotonic()) * 1000):
                if by_number.pop(number).take():
                    right += 1
                else:
                    wrong += 1
                poll.unregister(number)
    return right, wrong


def run(local, remote, first, count, keep):
    start, kept, answered, wrong = time.monotonic(), [], 0, 0
    for begin in range(first, first + count, _WINDOW):
        window = [Source(local, number, remote) for number in range(begin, min(begin + _WINDOW, first + count))]
        outcome = exchange(window, 1)
        answered, wrong = answered + outcome[0], wrong + outcome[1]
        staying = window[:max(0, keep - len(kept))]
        kept += staying
        for source in window[len(staying):]:
            source.socket.close()
    again = exchange(kept, 2)
    return {"answered": answered, "keptAnswered": again[0], "wrong": wrong + again[1],
            "seconds": time.monotonic() - start}


def main(arguments):
    local, address, *numbers = arguments
    port, first, count, keep = map(int, numbers)
    print(json.dumps(run(local, (address, port), first, count, keep)))


if __name__ == "__main__":
    main(sys.argv[1:])
