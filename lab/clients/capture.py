"""Tells of every IPv4 packet that an interface sends or receives, until it is ended.

    python3 -m clients.capture INTERFACE

Prints "ready", then one JSON line for each packet. Ports are 0 where a protocol has none.
"""

import json
import socket
import struct
import sys

# A capture of one protocol does not see what its own host sends.
_EVERY_PROTOCOL, _IPV4 = 0x0003, 0x0800
_PACKET_OUTGOING = 4
_WITH_PORTS = {socket.IPPROTO_TCP: "tcp", socket.IPPROTO_UDP: "udp"}
# A burst of the lab's transfers must find room while a line is being written.
_BUFFER_BYTES = 16 * 1024 * 1024


def described(packet, outgoing):
    """The addresses and ports of a packet, without its link layer."""
    header = (packet[0] & 15) * 4
    protocol = packet[9]
    source, destination = socket.inet_ntoa(packet[12:16]), socket.inet_ntoa(packet[16:20])
    first_fragment = struct.unpack(">H", packet[6:8])[0] & 0x1FFF == 0
    ports = (0, 0)
    if protocol in _WITH_PORTS and first_fragment and len(packet) >= header + 4:
        ports = struct.unpack(">HH", packet[header:header + 4])
    return {"out": outgoing, "protocol": _WITH_PORTS.get(protocol, protocol), "source": source, "sourcePort": ports[0],
            "destination": destination, "destinationPort": ports[1]}


def main(arguments):
    # Cooked: without the link layer, so that every kind of interface looks alike.
    with socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM, socket.htons(_EVERY_PROTOCOL)) as capture:
        capture.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, _BUFFER_BYTES)
        capture.bind((arguments[0], _EVERY_PROTOCOL))
        print("ready", flush=True)
        while True:
            packet, address = capture.recvfrom(65536)
            if address[1] == _IPV4 and len(packet) >= 20:
                print(json.dumps(described(packet, address[2] == _PACKET_OUTGOING)), flush=True)


if __name__ == "__main__":
    main(sys.argv[1:])
