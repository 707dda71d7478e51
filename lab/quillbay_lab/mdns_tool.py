"""Multicast DNS of the lab's own: asks the local network, or listens to it, without any daemon in between.

    python3 -m quillbay_lab.mdns_tool lookup OWN_ADDRESS TYPE SECONDS [NAME]...
        services that answer, as a JSON list; a list of many does not fit into an answer, so names may be given (their
        bytes in hexadecimal) that are asked for one by one
    python3 -m quillbay_lab.mdns_tool goodbyes OWN_ADDRESS TYPE SECONDS
        "listening", then a JSON line per goodbye
"""

import json
import select
import socket
import sys
import time

from .mdns import (GROUP, PORT, TYPE_A, TYPE_PTR, TYPE_SRV, TYPE_TXT, MalformedMessage, labels, parse, query)
from .records import Service, services_to_json

_LARGEST_MESSAGE = 9000


class _Answers:
    """Asks until everything about every instance is known, or the time is up."""

    def __init__(self, own_address, limit_seconds):
        self._deadline = time.monotonic() + limit_seconds
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(own_address))
        self._socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, 255)
        self._socket.bind((own_address, 0))
        self.records = []

    def collect(self, questions, seconds):
        """Asks, and takes what comes in the next `seconds`."""
        self._socket.sendto(query(questions), (GROUP, PORT))
        until = min(self._deadline, time.monotonic() + seconds)
        while (left := until - time.monotonic()) > 0:
            if not select.select([self._socket], [], [], left)[0]:
                return
            try:
                self.records += parse(self._socket.recv(_LARGEST_MESSAGE))
            except MalformedMessage:
                continue

    @property
    def time_left(self):
        return time.monotonic() < self._deadline

    def questions(self, instance):
        """What to ask about this instance."""
        hosts = [(host, TYPE_A) for _, host in self.of(instance, TYPE_SRV)]
        return [(instance, TYPE_SRV), (instance, TYPE_TXT), *hosts]

    def of(self, name, kind):
        wanted = tuple(label.lower() for label in name)
        return [record.data for record in self.records
                if record.kind == kind and record.ttl and tuple(label.lower() for label in record.name) == wanted]


def lookup(own_address, service_type, limit_seconds, names=()):
    """The service instances of a type in the domain "local" that answer within the limit, these names among them."""
    answers = _Answers(own_address, limit_seconds)
    type_name = labels(service_type + ".local")
    named = [(name, *type_name) for name in names]
    while answers.time_left:
        questions = [(type_name, TYPE_PTR)]
        for instance in answers.of(type_name, TYPE_PTR):
            questions += answers.questions(instance)
        answers.collect(questions, 0.2)
        for instance in named:
            for question in answers.questions(instance):
                if not answers.of(*question):
                    answers.collect([question], 0.03)
    found = {}
    for instance in [*answers.of(type_name, TYPE_PTR), *named]:
        for port, host in answers.of(instance, TYPE_SRV)[-1:]:
            txt = answers.of(instance, TYPE_TXT)
            found[instance] = Service(instance[0].decode(errors="replace"), b".".join(host).decode(), port,
                                      txt[-1] if txt else [], sorted(set(answers.of(host, TYPE_A))))
    return list(found.values())


def goodbyes(own_address, service_type, limit_seconds):
    """Yields (monotonic time, instance name) for each goodbye of a service of this type on the local network."""
    listener = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEPORT, 1)
    listener.bind(("", PORT))
    listener.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP,
                        socket.inet_aton(GROUP) + socket.inet_aton(own_address))
    print("listening", flush=True)
    deadline = time.monotonic() + limit_seconds
    type_name = labels(service_type + ".local")
    while (left := deadline - time.monotonic()) > 0:
        if not select.select([listener], [], [], left)[0]:
            return
        try:
            records = parse(listener.recv(_LARGEST_MESSAGE))
        except MalformedMessage:
            continue
        for record in records:
            if record.kind == TYPE_PTR and record.ttl == 0 and record.name == type_name:
                yield time.monotonic(), record.data[0].decode(errors="replace")


def main(arguments):
    verb, own_address, service_type, seconds, *names = arguments
    if verb == "lookup":
        wanted = [bytes.fromhex(name) for name in names]
        print(services_to_json(lookup(own_address, service_type, float(seconds), wanted)))
        return
    for when, instance in goodbyes(own_address, service_type, float(seconds)):
        print(json.dumps({"instance": instance, "time": when}), flush=True)


if __name__ == "__main__":
    main(sys.argv[1:])
