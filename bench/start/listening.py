"""Runs on the lab's Mac: when all relays of a bridge have been seen listening.

    listening.py ADDRESS COUNT

Prints the time of day, in seconds, as soon as so many sockets are bound to the address, TCP and UDP together.
"""

import pathlib
import socket
import struct
import sys
import time

_LIMIT_SECONDS = 30
# Each look costs the system a walk over all its sockets.
_PAUSE_SECONDS = 0.005
_LISTENING, _UNCONNECTED = b"0A", b"07"


def _bound(address):
    host = b"%08X:" % struct.unpack("=I", socket.inet_aton(address))
    count = 0
    for table, state in (("tcp", _LISTENING), ("udp", _UNCONNECTED)):
        rows = pathlib.Path("/proc/net", table).read_bytes().splitlines()[1:]
        count += sum(words[1].startswith(host) and words[3] == state for words in map(bytes.split, rows))
    return count


def main():
    address, wanted = sys.argv[1], int(sys.argv[2])
    end = time.monotonic() + _LIMIT_SECONDS
    while _bound(address) < wanted:
        if time.monotonic() > end:
            sys.exit(f"only {_bound(address)} of {wanted} relays are listening")
        time.sleep(_PAUSE_SECONDS)
    print(time.time())


if __name__ == "__main__":
    main()
