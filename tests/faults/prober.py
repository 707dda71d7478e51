"""Asks ports for an echo, on request; runs in a host of the lab.

    python3 prober.py < {"address", "tcp": [ports], "bulk": [ports], "udp": [ports], "pairing": [ports], "seconds"} per line

Answers each line with the ports that did not echo: {"tcp": [], "bulk": [], "udp": [], "pairing": []}. A port for bulk has to
move much in either direction, a pairing port to answer a handshake.
"""

import hashlib
import json
import socket
import sys

from clients.handshake import handshake

_WORDS = b"is anybody there?"
_BULK_BYTES = 2_000_000


def tcp_echoes(address, port, seconds):
    try:
        with socket.create_connection((address, port), seconds) as connection:
            connection.settimeout(seconds)
            connection.sendall(b"ECHO\n" + _WORDS)
            received = b""
            while len(received) < len(_WORDS):
                part = connection.recv(100)
                if not part:
                    return False
                received += part
            return received == _WORDS
    except OSError:
        return False


def tcp_moves(address, port, seconds):
    """Moves as much in either direction as makes a relay hand it on in large pieces, and compares what arrived."""
    try:
        with socket.create_connection((address, port), seconds) as connection:
            connection.settimeout(seconds)
            connection.sendall(b"GET 7 %d\n" % _BULK_BYTES)
            received = b"".join(iter(lambda: connection.recv(65536), b""))
        if received[_BULK_BYTES:].strip() != hashlib.sha256(received[:_BULK_BYTES]).hexdigest().encode():
            return False
        with socket.create_connection((address, port), seconds) as connection:
            connection.settimeout(seconds)
            sent = bytes(_BULK_BYTES)
            connection.sendall(b"PUT %d\n" % len(sent) + sent)
            answer = b"".join(iter(lambda: connection.recv(65536), b""))
        return answer.strip() == hashlib.sha256(sent).hexdigest().encode()
    except OSError:
        return False


def udp_echoes(address, port, seconds):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as client:
        client.connect((address, port))
        client.settimeout(seconds / 4)
        # A datagram may be lost; a second one may not.
        for _ in range(4):
            try:
                client.send(_WORDS)
                return client.recv(100) == _WORDS
            except OSError:
                continue
    return False


def answers_handshake(address, port, seconds):
    try:
        return handshake(address, port, seconds) is not None
    except (OSError, ValueError, KeyError):
        return False


_CHECKS = {"tcp": tcp_echoes, "bulk": tcp_moves, "udp": udp_echoes, "pairing": answers_handshake}


def main():
    for line in sys.stdin:
        request = json.loads(line)
        answer = {kind: [port for port in request[kind] if not check(request["address"], port, request["seconds"])]
                  for kind, check in _CHECKS.items()}
        print(json.dumps(answer), flush=True)


if __name__ == "__main__":
    main()
