"""Bonjour records as the lab's tools report them."""

import json
import re
from dataclasses import asdict, dataclass, field

_ESCAPED = re.compile(rb"\\(\d{3}|.)", re.DOTALL)


@dataclass
class Service:
    """One service instance. TXT strings are bytes, in the order in which they were reported."""

    name: str
    host: str
    port: int
    txt: list = field(default_factory=list)
    addresses: list = field(default_factory=list)
    interface: str = ""


def unescape(text):
    """Undoes `\\DDD` (decimal) and `\\x` escapes; the answer is bytes."""
    return _ESCAPED.sub(lambda match: bytes([int(match[1])]) if match[1].isdigit() and len(match[1]) == 3
                        else match[1], text.encode())


def split_quoted(text):
    """The strings of a line such as `"a=1" "b=2 \\" 3"`, as bytes."""
    return [unescape(part) for part in re.findall(r'"((?:[^"\\]|\\.)*)"', text)]


def parse_browse_output(output):
    """The resolved lines of `avahi-browse --parsable --resolve`; everything else in it is skipped."""
    found = []
    for line in output.splitlines():
        columns = line.split(";", 9)
        if len(columns) != 10 or columns[0] != "=":
            continue
        found.append(Service(name=unescape(columns[3]).decode(errors="replace"), host=columns[6],
                             port=int(columns[8]), txt=split_quoted(columns[9]), addresses=[columns[7]],
                             interface=columns[1]))
    return found


def services_to_json(services):
    return json.dumps([{**asdict(service), "txt": [text.hex() for text in service.txt]} for service in services])


def services_from_json(text):
    return [Service(**{**entry, "txt": [bytes.fromhex(string) for string in entry["txt"]]})
            for entry in json.loads(text)]
