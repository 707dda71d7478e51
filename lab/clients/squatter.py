"""Another program that has ports of its own: listens on them, and greets whoever connects.

    python3 -m clients.squatter ADDRESS FIRST LAST STEP

Takes every STEP-th port from FIRST to LAST, on TCP and on UDP. Prints one JSON line when it has them, and ends with its
standard input.
"""

import json
import select
import socket
import sys

GREETING = b"taken\n"


def take(address, ports):
    listeners, held = {}, []
    for port in ports:
        listener = socket.create_server((address, port))
        listeners[listener.fileno()] = listener
        held.append(socket.socket(socket.AF_INET, socket.SOCK_DGRAM))
        held[-1].bind((address, port))
    return listeners, held


def main(arguments):
    address, first, last, step = arguments[0], *map(int, arguments[1:])
    listeners, held = take(address, range(first, last + 1, step))
    print(json.dumps({"tcp": len(listeners), "udp": len(held)}), flush=True)
    poll = select.poll()
    for number in [sys.stdin.fileno(), *listeners]:
        poll.register(number, select.POLLIN)
    while True:
        for number, _ in poll.poll():
            if number == sys.stdin.fileno():
                return
            client = listeners[number].accept()[0]
            client.sendall(GREETING)
            client.close()


if __name__ == "__main__":
    main(sys.argv[1:])
