"""The simulated phone over the mesh: its modes and its ports."""

import json

import pytest

from quillbay_lab import Phone, programs, wait_until

PYTHON = "/usr/bin/python3"
MESH = "100.64.77.2"
TALK = ("import sys; from clients.handshake import handshake; "
        "print(handshake(sys.argv[1], int(sys.argv[2]), float(sys.argv[3]))['originatedBy'])")


@pytest.fixture
def lab(shared):
    return shared


@pytest.fixture
def phone(lab):
    """A phone of each test's own, on the lab that they share."""
    made = Phone(lab)
    yield made
    if made.process.running:
        assert made.close() == 0
    wait_until(lambda: not lab.desk.mdns_lookup(limit_seconds=0.2), 10, "its record is gone")


def talk(lab, port, limit_seconds=5.0):
    result = lab.mac.run([PYTHON, "-c", TALK, MESH, port, limit_seconds])
    return result.output.strip().splitlines()[-1]


def test_answers_a_handshake_and_says_so(lab, phone):
    assert talk(lab, 49200) == "device"
    event = phone.await_event("handshake")
    assert (event["from"], event["wireProtocolVersion"]) == ("100.64.77.1", 24)


def test_does_not_answer_what_is_no_handshake(lab, phone):
    code = "import socket,sys; s=socket.create_connection((sys.argv[1],49200)); s.sendall(b'RPPairing\\0\\2{}');" \
           "print(len(s.recv(64)))"
    assert lab.mac.run([PYTHON, "-c", code, MESH], check=True).output == "0\n"
    assert phone.await_event("refused-handshake")["problem"] == "originatedBy"


def test_moves_to_another_port_and_announces_that(lab, phone):
    phone.tell("move 49321")
    assert talk(lab, 49321) == "device"
    assert "Connection refused" in talk(lab, 49200)
    wait_until(lambda: [found.port for found in lab.desk.mdns_lookup()] == [49321], 15, "the record follows")


def test_falls_silent_and_speaks_again(lab, phone):
    phone.tell("silent")
    assert "timed out" in talk(lab, 49200, 0.3)
    phone.tell("normal")
    assert talk(lab, 49200) == "device"


def test_refuses_and_accepts_again(lab, phone):
    phone.tell("refuse")
    assert "Connection refused" in talk(lab, 49200)
    phone.tell("normal")
    assert talk(lab, 49200) == "device"


def test_stalls_and_goes_on_where_it_was(lab, phone):
    phone.tell("stall")
    client = lab.mac.spawn([programs.BULK_CLIENT, "put", MESH, 55000, 3, 50_000_000],
                           stdout=lab.mac.folder / "put.out")
    assert "timed out" in talk(lab, 49200, 0.3)
    assert client.running
    phone.tell("normal")
    assert client.wait(30) == 0
    assert json.loads((lab.mac.folder / "put.out").read_text())["equal"]


def test_withdraws_its_record_and_announces_it_again(lab, phone):
    phone.tell("withdraw")
    wait_until(lambda: not lab.desk.mdns_lookup(), 10, "the record is gone")
    phone.tell("announce")
    wait_until(lab.desk.mdns_lookup, 10, "the record is back")


def test_serves_another_tunnel_port_when_told(lab, phone):
    assert lab.mac.run([programs.BULK_CLIENT, "get", MESH, 56001, 1, 10]).code == 1
    phone.tell("tunnel 56001")
    assert lab.mac.run([programs.BULK_CLIENT, "get", MESH, 56001, 1, 10]).code == 0


def test_moves_bytes_both_ways_and_echoes_datagrams(lab, phone):
    for verb in ("get", "put"):
        result = lab.mac.run([programs.BULK_CLIENT, verb, MESH, 55003, 11, 20_000_003], 60, check=True)
        assert json.loads(result.output)["equal"]
    result = lab.mac.run([PYTHON, "-m", "clients.datagrams", MESH, 55003, 2000], 30, check=True)
    outcome = json.loads(result.output)
    assert (outcome["right"], outcome["lost"], outcome["stray"], outcome["repeated"]) == (2000, 0, 0, 0)


def test_refuses_a_command_it_does_not_know(lab, phone):
    phone.process.stdin.write("dance\n")
    answer = phone.await_event("answer", command="dance")
    assert (answer["ok"], answer["error"]) == (False, "no command")


def test_quits_when_told(lab, phone):
    phone.tell("quit")
    assert phone.process.wait(5) == 0
