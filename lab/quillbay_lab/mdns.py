"""The messages of multicast DNS: the format is RFC 1035's, the use of it RFC 6762's."""

import socket
import struct
from dataclasses import dataclass

GROUP, PORT = "224.0.0.251", 5353
TYPE_A, TYPE_PTR, TYPE_TXT, TYPE_SRV = 1, 12, 16, 33
_CLASS_IN = 1
_MOST_RECORDS = 500
_MOST_LABELS = 128


class MalformedMessage(ValueError):
    """A message that does not follow RFC 1035."""


@dataclass
class Record:
    """One resource record; `name` is a tuple of labels as bytes, `data` depends on the type."""

    name: tuple
    kind: int
    ttl: int
    data: object


def labels(text):
    """The labels of a plain host or type name."""
    return tuple(label.encode() for label in text.rstrip(".").split("."))


def query(questions, identifier=1):
    """A query message for (labels, type) pairs."""
    message = struct.pack(">6H", identifier, 0, len(questions), 0, 0, 0)
    for name, kind in questions:
        message += b"".join(bytes([len(label)]) + label for label in name) + b"\0"
        message += struct.pack(">2H", kind, _CLASS_IN)
    return message


def _read_name(message, offset):
    found, end = [], None
    for _ in range(_MOST_LABELS):
        if offset >= len(message):
            break
        length = message[offset]
        if length >= 0xC0:
            if offset + 1 >= len(message):
                break
            end = offset + 2 if end is None else end
            offset = (length & 0x3F) << 8 | message[offset + 1]
        elif length == 0:
            return tuple(found), offset + 1 if end is None else end
        else:
            found.append(message[offset + 1:offset + 1 + length])
            offset += 1 + length
    raise MalformedMessage("a name runs out of the message")


def _read_data(message, offset, length, kind):
    raw = message[offset:offset + length]
    if len(raw) != length:
        raise MalformedMessage("a record runs out of the message")
    if kind == TYPE_A and length == 4:
        return socket.inet_ntoa(raw)
    if kind == TYPE_PTR:
        return _read_name(message, offset)[0]
    if kind == TYPE_SRV and length > 6:
        return struct.unpack(">H", raw[4:6])[0], _read_name(message, offset + 6)[0]
    if kind == TYPE_TXT:
        strings, at = [], 0
        while at < length:
            strings.append(raw[at + 1:at + 1 + raw[at]])
            at += 1 + raw[at]
        return [text for text in strings if text]
    return raw


def parse(message):
    """The records of all sections of an answer; empty for a query. Raises `MalformedMessage`."""
    if len(message) < 12:
        raise MalformedMessage("shorter than a header")
    _, flags, questions, *counts = struct.unpack(">6H", message[:12])
    if not flags & 0x8000:
        return []
    if questions + sum(counts) > _MOST_RECORDS:
        raise MalformedMessage("more records than a message can hold")
    offset, found = 12, []
    for _ in range(questions):
        offset = _read_name(message, offset)[1] + 4
    for _ in range(sum(counts)):
        name, offset = _read_name(message, offset)
        if offset + 10 > len(message):
            raise MalformedMessage("a record runs out of the message")
        kind, _, ttl, length = struct.unpack(">2HIH", message[offset:offset + 10])
        offset += 10
        found.append(Record(name, kind, ttl, _read_data(message, offset, length, kind)))
        offset += length
    return found
