"""Two clients that send datagrams to one port at the same time and match every reply to what they sent.

    python3 -m clients.datagrams ADDRESS PORT COUNT

`COUNT` is for both together. Prints one JSON line: how many were sent, answered rightly, answered to the wrong client,
answered twice, and never answered. Exit status 1 unless every one was answered rightly, once.
"""

import json
import os
import select
import socket
import struct
import sys
import time

_PAYLOAD_BYTES = 200
_MOST_OUTSTANDING = 32
_PATIENCE_SECONDS = 3.0


class Client:
    """One source port. Keeps at most a few datagrams under way, which keeps the rate modest on any machine."""

    def __init__(self, number, address, port, count):
        self._number = number
        self._salt = os.urandom(_PAYLOAD_BYTES - 8)
        self._count = count
        self._next = 0
        self._outstanding = set()
        self.right = self.stray = self.repeated = 0
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.connect((address, port))
        self.socket.setblocking(False)

    @property
    def done(self):
        return self._next == self._count and not self._outstanding

    def send(self):
        """Sends until enough is under way."""
        while self._next < self._count and len(self._outstanding) < _MOST_OUTSTANDING:
            self.socket.send(struct.pack(">II", self._number, self._next) + self._salt)
            self._outstanding.add(self._next)
            self._next += 1

    def receive(self):
        """Takes every reply that is there."""
        while True:
            try:
                reply = self.socket.recv(65536)
            except BlockingIOError:
                return
            number, sequence = struct.unpack(">II", reply[:8]) if len(reply) >= 8 else (None, None)
            if number != self._number or reply[8:] != self._salt:
                self.stray += 1
            elif sequence not in self._outstanding:
                self.repeated += 1
            else:
                self._outstanding.discard(sequence)
                self.right += 1


def exchange(address, port, count):
    """Runs both clients until all is answered or nothing has come for a while."""
    clients = [Client(1, address, port, count - count // 2), Client(2, address, port, count // 2)]
    start = time.monotonic()
    while not all(client.done for client in clients):
        for client in clients:
            client.send()
        readable = select.select([client.socket for client in clients], [], [], _PATIENCE_SECONDS)[0]
        if not readable:
            break
        for client in clients:
            client.receive()
    right = sum(client.right for client in clients)
    return {"sent": count, "right": right, "lost": count - right, "stray": sum(client.stray for client in clients),
            "repeated": sum(client.repeated for client in clients), "seconds": time.monotonic() - start}


def main(arguments):
    outcome = exchange(arguments[0], int(arguments[1]), int(arguments[2]))
    print(json.dumps(outcome))
    sys.exit(0 if outcome["right"] == outcome["sent"] and not outcome["stray"] + outcome["repeated"] else 1)


if __name__ == "__main__":
    main(sys.argv[1:])
