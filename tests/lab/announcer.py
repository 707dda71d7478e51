"""A host that takes a name without asking first: announces an address record, and again after every query.

    announcer.py OWN-ADDRESS HOST-NAME
"""

import select
import socket
import struct
import sys
import time

from quillbay_lab import mdns

_LIFETIME_SECONDS = 60
_CACHE_FLUSH_IN = 0x8001
_TTL_SECONDS = 120
_RESPONSE = 0x8400


def announcement(host, address):
    name = b"".join(bytes([len(label)]) + label for label in mdns.labels(host)) + b"\0"
    record = struct.pack(">2HIH", mdns.TYPE_A, _CACHE_FLUSH_IN, _TTL_SECONDS, 4) + socket.inet_aton(address)
    return struct.pack(">6H", 0, _RESPONSE, 0, 1, 0, 0) + name + record


def main():
    address, host = sys.argv[1:]
    own = socket.inet_aton(address)
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEPORT, 1)
    sock.bind(("", mdns.PORT))
    sock.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton(mdns.GROUP) + own)
    sock.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, own)
    sock.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, 255)
    message = announcement(host, address)
    end = time.monotonic() + _LIFETIME_SECONDS
    sock.sendto(message, (mdns.GROUP, mdns.PORT))
    while time.monotonic() < end:
        if select.select([sock], [], [], 1)[0]:
            data, sender = sock.recvfrom(9000)
            is_query = len(data) >= 12 and not data[2] & 0x80
            if not is_query or sender[0] == address:
                continue
        sock.sendto(message, (mdns.GROUP, mdns.PORT))


main()
