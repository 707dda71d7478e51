"""Runs on the lab's Mac: says when a new phone is first seen on the wire, in avahi-browse, and in `phones`.

    watcher.py CONTROL-SOCKET OWN-ADDRESS TYPE

A JSON line {"where", "name", "time"} for each, "time" on the one monotonic clock of this process. A single thread, so
that no two sources wait for each other by more than the handling of one line.
"""

import json
import os
import selectors
import socket
import subprocess
import sys
import time

from quillbay_lab import mdns, records

_POLL_SECONDS = 0.005
_LARGEST_MESSAGE = 9000
_BROWSE = ["avahi-browse", "--parsable", "--resolve", "--no-db-lookup"]


class Watcher:
    def __init__(self):
        self._told = set()
        self._selector = selectors.DefaultSelector()
        self._handlers = {}

    def saw(self, where, name):
        if (where, name) not in self._told:
            now = time.monotonic()
            self._told.add((where, name))
            print(json.dumps({"where": where, "name": name, "time": now}), flush=True)

    def add(self, stream, handler):
        self._selector.register(stream, selectors.EVENT_READ, handler)

    def turn(self, seconds):
        for key, _ in self._selector.select(max(0, seconds)):
            key.data()


def add_wire(watcher, own_address, service_type):
    """The announcement itself: the first answer on the network that carries the instance's SRV record."""
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEPORT, 1)
    sock.bind((mdns.GROUP, mdns.PORT))
    sock.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP,
                    socket.inet_aton(mdns.GROUP) + socket.inet_aton(own_address))
    type_name = mdns.labels(service_type + ".local")

    def read():
        try:
            found = mdns.parse(sock.recv(_LARGEST_MESSAGE))
        except mdns.MalformedMessage:
            return
        for record in found:
            if record.kind == mdns.TYPE_SRV and record.ttl and record.name[1:] == type_name:
                watcher.saw("wire", record.name[0].decode(errors="replace"))

    watcher.add(sock, read)


def add_lines(watcher, stream, handle):
    """Hands each whole line of a non-blocking stream on."""
    rest = b""

    def read():
        nonlocal rest
        data = os.read(stream.fileno(), 65536)
        if not data:
            sys.exit("watcher: a source has ended")
        *lines, rest = (rest + data).split(b"\n")
        for line in lines:
            handle(line.decode(errors="replace"))

    watcher.add(stream, read)


def main():
    path, own_address, service_type = sys.argv[1:]
    watcher = Watcher()
    add_wire(watcher, own_address, service_type)
    browser = subprocess.Popen([*_BROWSE, service_type], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)

    def browsed(line):
        for service in records.parse_browse_output(line):
            watcher.saw("browse", service.name)

    add_lines(watcher, browser.stdout, browsed)
    control = socket.socket(socket.AF_UNIX)
    control.connect(path)
    next_poll = time.monotonic()
    answered = True

    def phones(line):
        nonlocal answered
        answered = True
        for phone in json.loads(line)["phones"]:
            watcher.saw("phones", phone["name"])

    add_lines(watcher, control, phones)
    watcher.saw("ready", "")
    while True:
        now = time.monotonic()
        if answered and now >= next_poll:
            control.sendall(b'{"command": "phones"}\n')
            answered, next_poll = False, now + _POLL_SECONDS
        watcher.turn(next_poll - now if answered else 1)


if __name__ == "__main__":
    main()
