"""A computer that sleeps: the agent is stopped for a while, alone or with all of its children, and goes on."""

import os
import signal
import time

import bridges
import pytest
from control import Control, root_of
from resources import at_rest, children_of, processor_share, returns_to

from quillbay_lab import wait_until
from quillbay_lab.lab import MAC_ADDRESS

# Longer than every wait of a start, and than the agent's timers but for the daily one.
_LONG_SECONDS = 65


def suspend(agent):
    agent.process.signal(signal.SIGSTOP)


def resume(agent):
    agent.process.signal(signal.SIGCONT)


def signal_children(host, pid, number):
    """Signals the agent's children, as a computer that sleeps stops them too."""
    processes = root_of(host) / "proc"
    for entry in processes.glob("[0-9]*"):
        try:
            parent = int((entry / "stat").read_text().rpartition(")")[2].split()[1])
        except (FileNotFoundError, ProcessLookupError):
            continue
        if parent == pid:
            host.run(["kill", f"-{int(number)}", entry.name], check=True)


@pytest.mark.parametrize("whom, seconds", [
    ("agent and children", 2), pytest.param("agent and children", _LONG_SECONDS, marks=pytest.mark.long),
    pytest.param("agent", 2, marks=pytest.mark.long), pytest.param("agent", _LONG_SECONDS, marks=pytest.mark.long)])
def test_goes_on_where_it_was(lab, phone, bridged, whom, seconds):
    """Must hold: transfers that were under way arrive whole; a client that came meanwhile is served; the control socket
    answers what was asked meanwhile; the bridge has been active all the time, with one registration and its record; what is
    held is what was held before, and nothing spins."""
    pid = bridged.process.pid
    wait_until(lambda: any("journalctl" in line for line in children_of(lab.mac, pid)), 5, "the log is followed")
    bridges.warm_up(lab.desk)
    before = at_rest(lab.mac, pid)
    registered = bridges.registrations(lab.mac)
    lines = len(bridged.diagnostics())
    clients = [bridges.start_transfer(lab.desk, 150_000_000, verb, port) for verb, port in (("get", 55001), ("put", 55002))]
    with Control(lab.mac) as control:
        suspend(bridged)
        if whom == "agent and children":
            signal_children(lab.mac, pid, signal.SIGSTOP)
        assert all(client.running for client in clients)
        control.send({"command": "status"})
        late = bridges.start_transfer(lab.desk, 1_000_000, port=55003)
        time.sleep(seconds)
        assert all(client.running for client in [*clients, late])
        if whom == "agent and children":
            signal_children(lab.mac, pid, signal.SIGCONT)
        resume(bridged)
        assert control.answer()["overall"] == "on"
        assert [client.wait(60) for client in [*clients, late]] == [0, 0, 0]
        assert control.profile()["status"]["state"] == "on"
    assert bridges.registrations(lab.mac) == registered
    bridges.await_record(lab, phone)
    returns_to(lab.mac, pid, before)
    assert processor_share(lab.mac, pid) < 0.1
    assert [line for line in bridged.diagnostics()[lines:] if "error" in line.lower()] == []


@pytest.mark.long
def test_follows_the_address_that_changed_while_it_slept(lab, phone, bridged):
    """Must hold: of several changes meanwhile, the bridge follows to the last one, and announces that."""
    suspend(bridged)
    for number in range(11, 41):
        lab.set_address(lab.mac, "en0", f"192.168.77.{number}")
    resume(bridged)
    wait_until(lambda: len(lab.mac.listening("192.168.77.40")) == bridges.LISTENERS, 10, "the relays follow")
    wait_until(lambda: lab.mac.listening(MAC_ADDRESS) == set(), 5, "nothing listens any more")
    bridges.transfer(lab.desk, 100_000, address="192.168.77.40")
    bridges.await_record(lab, phone, address="192.168.77.40")


@pytest.mark.long
@pytest.mark.parametrize("moment", ["Starting bridge for", "did not respond to RemotePairing"])
def test_a_start_that_was_overtaken_by_its_deadlines_ends(lab, phone, agent, moment):
    """Must hold: a start that sleeps beyond all of its time-outs, in the search for the phone or in the scan of its ports,
    ends in a bridge all the same, since the phone is there."""
    if moment != "Starting bridge for":
        phone.tell("move 49400")
    agent.start()
    agent.await_diagnostic(moment, 20)
    suspend(agent)
    time.sleep(7)  # the search takes 1.5 s, connecting 3 s, an answer 3 s
    resume(agent)
    with Control(lab.mac) as control:
        control.await_state("on", 60)
        port = control.profile()["remotePairingPort"]
    assert port == phone.port
    bridges.transfer(lab.desk, 100_000)
    bridges.await_record(lab, phone)


def test_ends_when_it_was_told_to_while_it_slept(lab, bridged):
    """Must hold: SIGTERM during the sleep ends it afterwards, in order, with nothing left."""
    suspend(bridged)
    bridged.process.signal(signal.SIGTERM)
    assert bridged.process.running
    resume(bridged)
    assert bridged.process.wait(5) == 0
    wait_until(lambda: bridges.registrations(lab.mac) == [], 2, "the registration is gone")
    wait_until(lambda: lab.mac.listening(MAC_ADDRESS) == set(), 5, "nothing listens any more")
    assert not os.path.exists(root_of(lab.mac) / "run/user/0/quillbay/control.sock")
