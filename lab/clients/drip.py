"""A client that sends one byte at a time and waits for each to come back.

    python3 -m clients.drip ADDRESS PORT COUNT [PAUSE_SECONDS]

Prints one JSON line: how many bytes came back as they were, and the longest wait for one. Exit status 1 unless all did.
"""

import json
import socket
import sys
import time

_PATIENCE_SECONDS = 10


def drip(address, port, count, pause_seconds=0.0):
    """(bytes that came back right, longest wait in seconds)."""
    right, longest = 0, 0.0
    with socket.create_connection((address, port), _PATIENCE_SECONDS) as connection:
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        connection.sendall(b"ECHO\n")
        for number in range(count):
            sent, start = bytes([number % 251]), time.monotonic()
            connection.sendall(sent)
            right += connection.recv(2) == sent
            longest = max(longest, time.monotonic() - start)
            if pause_seconds:
                time.sleep(pause_seconds)
    return right, longest


def main(arguments):
    count = int(arguments[2])
    right, longest = drip(arguments[0], int(arguments[1]), count, float(arguments[3]) if len(arguments) > 3 else 0.0)
    print(json.dumps({"sent": count, "right": right, "longestSeconds": longest}))
    sys.exit(0 if right == count else 1)


if __name__ == "__main__":
    main(sys.argv[1:])
