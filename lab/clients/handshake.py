"""Does the pairing handshake with a phone of which only the Bonjour record is known.

    python3 -m clients.handshake INSTANCE [SECONDS]

Asks the host's own Avahi for the record, connects to the address and port that it names, and prints the answer's
body with the address and port, as one JSON line. Exit status 1 with a sentence when any of that fails.
"""

import json
import secrets
import socket
import string
import struct
import subprocess
import sys

from quillbay_lab import records

_MAGIC = b"RPPairing"
_HEADER_BYTES = len(_MAGIC) + 2
_LARGEST_FRAME = _HEADER_BYTES + 65535


def request_frame(version, identifier):
    """The first frame of a host."""
    handshake = {"hostOptions": {"attemptPairVerify": True}, "wireProtocolVersion": version,
                 "correlationIdentifier": {"value": identifier}}
    body = json.dumps({"originatedBy": "host", "sequenceNumber": 0,
                       "message": {"plain": {"_0": {"request": {"_0": {"handshake": {"_0": handshake}}}}}}}).encode()
    return _MAGIC + struct.pack(">H", len(body)) + body


def read_frame(connection):
    """The body of one frame. Raises `ValueError` when the other end sends anything else."""
    received = b""
    while len(received) < _LARGEST_FRAME:
        if len(received) >= _HEADER_BYTES:
            if not received.startswith(_MAGIC):
                raise ValueError("the answer is no pairing frame")
            length = struct.unpack(">H", received[len(_MAGIC):_HEADER_BYTES])[0]
            if len(received) >= _HEADER_BYTES + length:
                return json.loads(received[_HEADER_BYTES:_HEADER_BYTES + length])
        part = connection.recv(4096)
        if not part:
            raise ValueError(f"the connection ended after {len(received)} bytes")
        received += part
    raise ValueError("the answer does not end")


def handshake(address, port, limit_seconds, version=24):
    """The body of the answer of whoever listens there. Raises `OSError` or `ValueError`."""
    alphabet = string.ascii_letters + string.digits
    identifier = "".join(secrets.choice(alphabet) for _ in range(6))
    with socket.create_connection((address, port), limit_seconds) as connection:
        connection.sendall(request_frame(version, identifier))
        body = read_frame(connection)
    answered = body["message"]["plain"]["_0"]["response"]["_1"]["handshake"]["_0"]
    if answered["correlationIdentifier"]["value"] != identifier:
        raise ValueError("the answer belongs to another request")
    return body


def main(arguments):
    instance, limit_seconds = arguments[0], float(arguments[1]) if len(arguments) > 1 else 5.0
    output = subprocess.run(["avahi-browse", "--parsable", "--resolve", "--terminate", "--no-db-lookup",
                             "_remotepairing._tcp"], capture_output=True, text=True, check=True, timeout=20).stdout
    found = [service for service in records.parse_browse_output(output) if service.name == instance]
    if not found:
        sys.exit(f"no record of {instance}")
    service = found[0]
    try:
        body = handshake(service.addresses[0], service.port, limit_seconds)
    except (OSError, ValueError, KeyError) as error:
        sys.exit(f"{service.addresses[0]}:{service.port}: {error}")
    print(json.dumps({"address": service.addresses[0], "port": service.port, "answer": body}))


if __name__ == "__main__":
    main(sys.argv[1:])
