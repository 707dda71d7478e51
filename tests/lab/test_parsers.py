"""The lab's own parsers."""

import struct

import pytest

from quillbay_lab import mdns, records


def test_a_line_of_the_browser_gives_the_bytes_of_every_txt_string():
    line = '=;en0;IPv4;Ann\\226\\128\\153s\\032i\\.P;_remotepairing._tcp;local;Anns.local;192.168.77.2;49200;"b=\\"2\\"" "a=1 \\009"'
    found, = records.parse_browse_output("+;en0;IPv4;x;_t;local\n" + line + "\nrubbish\n")
    assert found == records.Service("Ann’s i.P", "Anns.local", 49200, [b'b="2"', b"a=1 \t"], ["192.168.77.2"], "en0")


def test_services_survive_being_sent_as_json():
    services = [records.Service("n", "h.local", 1, [b"\xff=\0", b"a"], ["1.2.3.4"])]
    assert records.services_from_json(records.services_to_json(services)) == services


def message(*parts, answers=1):
    return struct.pack(">6H", 0, 0x8400, 0, answers, 0, 0) + b"".join(parts)


def resource(name, kind, data, ttl=120):
    return name + struct.pack(">2HIH", kind, 1, ttl, len(data)) + data


def test_a_compressed_name_is_read():
    name = b"\1a\5local\0"
    answer = message(resource(name, 12, b"\1b\xc0\x0e"))
    assert mdns.parse(answer) == [mdns.Record((b"a", b"local"), 12, 120, (b"b", b"local"))]


def test_txt_srv_and_address_are_read():
    answer = message(resource(b"\1i\0", 16, b"\3a=1\0\2b="), resource(b"\1i\0", 33, b"\0\0\0\0\xc0\x30\1h\0"),
                     resource(b"\1h\0", 1, bytes([192, 168, 77, 1])), answers=3)
    assert [record.data for record in mdns.parse(answer)] == [[b"a=1", b"b="], (49200, (b"h",)), "192.168.77.1"]


def test_a_query_holds_no_records():
    assert mdns.parse(mdns.query([(mdns.labels("_t._tcp.local"), 12)])) == []


@pytest.mark.parametrize("broken", [b"", b"\0" * 11, message(), message(b"\xc0\x0c" + b"\0" * 10),
                                    message(resource(b"\1a\0", 12, b"\xc0\xff")), message(b"\1a\0\0\x10"),
                                    message(resource(b"\1a\0", 1, b"1234")[:-1]),
                                    struct.pack(">6H", 0, 0x8400, 9, 0xFFFF, 0, 0)])
def test_a_malformed_message_is_refused(broken):
    with pytest.raises(mdns.MalformedMessage):
        mdns.parse(broken)
