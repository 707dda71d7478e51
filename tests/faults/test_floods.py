"""Floods: a log follower that does not stop, datagrams from everywhere, clients that say nothing or next to nothing."""

import json
import time

import pytest

import resources
from quillbay_lab import Terminal, wait_until
from quillbay_lab.lab import DESK_ADDRESS, MAC_ADDRESS
from resources import MIB
from traffic import FLOWS, PYTHON, Helper, assert_traffic_works, await_record, datagrams, status_of

# Takes the place of journalctl: prints a given number of bytes of one kind, then the one line that matters, and stays.
FOLLOWER = """#!/usr/bin/python3
import array, fcntl, os, signal, termios, time
kinds = {
    "chatter": b"remotepairingd[77]: Got nothing: 'fd12::1:60123' of any use whatever to anyone\\n" * 800,
    "one line": b"Got tunnel endpoint: '" + b"x" * 65000,
    "no text": b"\\xff\\xfe\\x80 Got tunnel endpoint: '\\xc3:60123'\\n" * 1600,
    "the same port": b"Got tunnel endpoint: 'fd12::1:55001'\\n" * 1700,
}
# Asked for again, as after the end of a bridge, it is quiet.
again = os.path.exists("@folder@/flooded")
piece, left = kinds["@kind@"], 0 if again else @size@
while left > 0:
    os.write(1, piece)
    left -= len(piece)
# What is no text takes its neighbours in the same piece with it.
waiting = array.array("i", [1])
while waiting[0]:
    fcntl.ioctl(1, termios.FIONREAD, waiting)
    time.sleep(0.001)
os.write(1, b"\\nGot tunnel endpoint: 'fd12::1:60123'\\n")
open("@folder@/flooded", "w").close()
signal.pause()
"""
PORT_AFTER_THE_FLOOD = 60123


def flooding_follower(lab, kind, size):
    """Puts a follower that floods in the place of the Mac's own."""
    text = FOLLOWER
    for name, value in (("@kind@", kind), ("@size@", str(size)), ("@folder@", str(lab.mac.folder))):
        text = text.replace(name, value)
    path = lab.mac.folder / "journalctl"
    path.write_text(text)
    path.chmod(0o755)
    lab.mac.run(["mount", "--bind", str(path), "/usr/bin/journalctl"], check=True)


@pytest.mark.parametrize("kind, size", [
    ("no text", 50_000_000), ("the same port", 50_000_000),
    *(pytest.param(kind, 1_000_000_000, marks=pytest.mark.long)
      for kind in ("chatter", "one line", "no text", "the same port"))])
def test_the_log_follower_floods(lab, phone, agent, kind, size):
    """The log follower prints without end: lines of no interest, a line without an end, bytes that are no text, the same
    port over and over.

    The bridge is on, answers and moves traffic meanwhile; memory stays bounded. The one line of interest behind the flood
    is found, so nothing was lost, and afterwards nothing spins.
    """
    flooding_follower(lab, kind, size)
    agent.start()
    agent.await_user_line("Bridge is successful.", 30)
    pid, most, slowest, start = agent.process.pid, 0, 0.0, time.monotonic()
    text = f"live tunnel port {PORT_AFTER_THE_FLOOD} discovered, relay open"
    while not any(text in line for line in agent.diagnostics()):
        asked = time.monotonic()
        assert status_of(lab) == ("on", None)
        slowest = max(slowest, time.monotonic() - asked)
        most = max(most, resources.pss(lab.mac, pid))
        assert time.monotonic() - start < 120
    print(f"{kind}: {size} bytes in {time.monotonic() - start:.1f} s, at most {most / MIB:.1f} MiB, "
          f"slowest answer {slowest:.2f} s")
    assert most < 40 * MIB
    assert slowest < 2
    await_record(phone, lab.desk)
    assert_traffic_works(lab.desk)
    assert_traffic_works(lab.desk, port=PORT_AFTER_THE_FLOOD)
    assert resources.processor_share(lab.mac, pid) < 0.05
    assert Terminal(lab).run("stop", phone.name).code == 0
    wait_until(lambda: resources.children_of(lab.mac, pid) == [], 5, "the follower is gone")


def test_the_log_names_every_port(lab, phone, agent):
    """The log names every port there is, one line each: ten times as many relays as there are descriptors.

    What can be opened is opened, the log says what could not. The bridge stays on, its own ports work, `status` and `stop`
    are obeyed, and after the next start everything is as usual. Memory is bounded by the number of ports there are: a
    relay is held until the bridge stops, also one that could not be opened.
    """
    path = lab.mac.folder / "journalctl"
    path.write_text("#!/bin/bash\n[[ -e /run/named ]] || for ((port = 1024; port < 65536; ++port)); do "
                    "echo \"Got tunnel endpoint: 'fd12::1:$port'\"; done\ntouch /run/named; exec sleep infinity\n")
    path.chmod(0o755)
    lab.mac.run(["mount", "--bind", str(path), "/usr/bin/journalctl"], check=True)
    agent.start()
    agent.await_user_line("Bridge is successful.", 30)
    pid = agent.process.pid
    wait_until(lambda: any("tunnel port 65535" in line for line in agent.diagnostics()), 60,
               "the last port has been dealt with")
    assert status_of(lab) == ("on", None)
    assert resources.pss(lab.mac, pid) < 200 * MIB
    # The lines about those that could not be opened come from two threads, and the last port's is not the last of them.
    wait_until(lambda: resources.processor_share(lab.mac, pid) < 0.1, 20, "all is written, and it rests")
    terminal = Terminal(lab)
    assert terminal.run("stop", phone.name, limit_seconds=5).code == 0
    assert terminal.run("start", phone.name).code == 0
    wait_until(lambda: status_of(lab) == ("on", None), 15, "the bridge is on")
    await_record(phone, lab.desk)
    assert_traffic_works(lab.desk)


@pytest.mark.parametrize("count", [14_000, pytest.param(50_000, marks=pytest.mark.long)])
def test_datagrams_from_very_many_source_ports(lab, phone, bridged, count):
    """Another computer sends one datagram from each of 50,000 source ports. A flow has no end of its own, and there are
    20,000 descriptors.

    Each flow that got a socket keeps it and goes on to work; the datagrams of the others are dropped. The bridge stays on,
    nothing spins and memory is bounded. Although the descriptors that flows may have are used up, connections, `status` and
    `stop` work, and the next start gives everything back.
    """
    pid = bridged.process.pid
    await_record(phone, lab.desk)
    datagrams(lab.desk, 55001, 10)
    before = resources.at_rest(lab.mac, pid)
    kept = 1000
    report = lab.desk.run([PYTHON, "-m", "clients.sources", DESK_ADDRESS, MAC_ADDRESS, 55000, 10_000, count, kept], 300,
                          check=True)
    outcome = json.loads(report.output)
    now = resources.holding(lab.mac, pid)
    flows = now.descriptors - before.descriptors
    print(f"{outcome}, {flows} descriptors, {(now.pss - before.pss) / max(flows, 1):.0f} bytes for each")
    assert outcome["wrong"] == 0
    assert outcome["keptAnswered"] == kept
    assert outcome["answered"] >= min(count, 10_000)
    assert now.pss - before.pss < 16 * MIB
    assert resources.processor_share(lab.mac, pid) < 0.05
    assert status_of(lab) == ("on", None)
    datagrams_of_old_flows_and_connections(lab)
    terminal = Terminal(lab)
    assert terminal.run("stop", phone.name, limit_seconds=5).code == 0
    assert terminal.run("start", phone.name).code == 0
    wait_until(lambda: status_of(lab) == ("on", None), 15, "the bridge is on")
    await_record(phone, lab.desk)
    assert_traffic_works(lab.desk)
    resources.returns_to(lab.mac, pid, before, flows=FLOWS)


def datagrams_of_old_flows_and_connections(lab):
    """Ten connections through a bridge whose descriptors for datagrams are used up."""
    crowd = Helper(lab.desk, "crowd", MAC_ADDRESS, 55002, 10)
    assert crowd.reached == {"connected": 10}
    result = lab.desk.run([PYTHON, "-m", "clients.drip", MAC_ADDRESS, 55003, 100], check=True)
    assert json.loads(result.output)["right"] == 100
    assert crowd.finish() == {"closed": 0}


def test_six_thousand_clients_that_say_nothing(lab, phone, bridged):
    """6,000 clients connect and say nothing: 12,000 descriptors.

    Nothing spins and each costs little. Traffic and `status` work beside them, and once they are gone everything is given
    back.
    """
    pid = bridged.process.pid
    await_record(phone, lab.desk)
    before = resources.at_rest(lab.mac, pid)
    crowd = Helper(lab.desk, "crowd", MAC_ADDRESS, 55002, 6000)
    assert crowd.reached == {"connected": 6000}
    wait_until(lambda: resources.holding(lab.mac, pid).descriptors == before.descriptors + 12_000, 10, "all are served")
    held = resources.holding(lab.mac, pid)
    print(f"{(held.pss - before.pss) / 6000:.0f} bytes for each")
    assert held.pss - before.pss < 6000 * 4096
    assert held.threads == before.threads
    assert resources.processor_share(lab.mac, pid) < 0.05
    assert status_of(lab) == ("on", None)
    assert_traffic_works(lab.desk)
    assert crowd.finish() == {"closed": 0}
    resources.returns_to(lab.mac, pid, before, memory_slack=16 * MIB, flows=FLOWS)
    assert_traffic_works(lab.desk, port=55002)


@pytest.mark.long
def test_more_silent_clients_than_there_are_descriptors(lab, phone, bridged):
    """9,000 clients connect and say nothing: more than there are descriptors for.

    The bridge serves those that it can and stays on; nothing spins. `status` is answered all the same. When some clients
    leave, those that waited are served.
    """
    pid = bridged.process.pid
    before = resources.at_rest(lab.mac, pid)
    crowds = [Helper(lab.desk, "crowd", MAC_ADDRESS, port, 1000) for port in range(55000, 55009)]
    assert [crowd.reached for crowd in crowds] == [{"connected": 1000}] * 9
    wait_until(lambda: resources.holding(lab.mac, pid).descriptors > 19_500, 10, "the descriptors are used up")
    assert resources.processor_share(lab.mac, pid) < 0.1
    assert status_of(lab) == ("on", None)
    for crowd in crowds[:5]:
        crowd.finish()
    wait_until(lambda: resources.holding(lab.mac, pid).descriptors == before.descriptors + 8_000, 10,
               "the others are served")
    assert_traffic_works(lab.desk, port=55009)
    for crowd in crowds[5:]:
        assert crowd.finish() == {"closed": 0}
    resources.returns_to(lab.mac, pid, before, memory_slack=16 * MIB, flows=FLOWS)


def test_an_hour_of_one_byte_a_second(lab, phone, bridged):
    """A client sends an hour's worth of single bytes, each once the one before has come back; a bridge has no time-out that
    the seconds between them could reach.

    Every byte arrives at once, on the one connection, and nothing grows. At most a few hundred microseconds of processor time
    for each.
    """
    pid = bridged.process.pid
    await_record(phone, lab.desk)
    before = resources.at_rest(lab.mac, pid)
    result = lab.desk.run([PYTHON, "-m", "clients.drip", MAC_ADDRESS, 55004, 3600], 60, check=True)
    outcome = json.loads(result.output)
    assert outcome["right"] == 3600
    assert outcome["longestSeconds"] < 1
    after = resources.returns_to(lab.mac, pid, before, memory_slack=MIB)
    assert after.processor - before.processor < 3600 * 0.0005
    assert status_of(lab) == ("on", None)
    assert_traffic_works(lab.desk)
