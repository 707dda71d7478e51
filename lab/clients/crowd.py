"""Clients that connect and say nothing.

    python3 -m clients.crowd ADDRESS PORT COUNT

Prints one JSON line with the number of those that are connected, holds them until its standard input ends, and prints how
many the other end has closed meanwhile.
"""

import errno
import json
import select
import socket
import sys

# Fewer than a listener lets wait.
_MOST_CONNECTING = 256
_PATIENCE_SECONDS = 10


def connect(address, port, count):
    """The connections that were made; fewer than asked for when nothing more comes of it for a while."""
    poll, connecting, connected, begun = select.poll(), {}, [], 0
    while begun < count or connecting:
        while begun < count and len(connecting) < _MOST_CONNECTING:
            client = socket.socket()
            client.setblocking(False)
            if client.connect_ex((address, port)) not in (0, errno.EINPROGRESS):
                return connected
            connecting[client.fileno()] = client
            poll.register(client, select.POLLOUT)
            begun += 1
        ready = poll.poll(_PATIENCE_SECONDS * 1000)
        if not ready:
            return connected
        for number, _ in ready:
            client = connecting.pop(number)
            poll.unregister(number)
            if client.getsockopt(socket.SOL_SOCKET, socket.SO_ERROR) == 0:
                connected.append(client)
    return connected


def closed(clients):
    """How many the other end has closed, or reset."""
    poll, by_number = select.poll(), {client.fileno(): client for client in clients}
    for number in by_number:
        poll.register(number, select.POLLIN)
    count = 0
    for number, _ in poll.poll(0):
        try:
            count += by_number[number].recv(1) == b""
        except ConnectionError:
            count += 1
    return count


def main(arguments):
    clients = connect(arguments[0], int(arguments[1]), int(arguments[2]))
    print(json.dumps({"connected": len(clients)}), flush=True)
    sys.stdin.read()
    print(json.dumps({"closed": closed(clients)}), flush=True)


if __name__ == "__main__":
    main(sys.argv[1:])
