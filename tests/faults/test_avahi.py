"""Faults of the daemon that holds the record: it is stopped, restarted, wedged."""

import signal

import pytest

import resources
from quillbay_lab import Terminal, wait_until
from traffic import FLOWS, assert_traffic_works, await_no_record, await_record, await_state, status_of

# What a person notices as a delay.
PROMPTLY_SECONDS = 2


def daemon_of(host):
    """The number of the host's Avahi daemon in that host."""
    lines = host.run(["ps", "-axww", "-o", "pid=,args="], check=True).output.splitlines()
    number, = [int(line.split()[0]) for line in lines if line.split()[1] == "avahi-daemon"]
    return number


def send(host, number, pid):
    host.run(["kill", f"-{number.name}", str(pid)], check=True)


def holders(lab, pid):
    """The children that hold records."""
    return [line for line in resources.children_of(lab.mac, pid) if " -P " in line]


def test_the_daemon_is_stopped_and_started_again(lab, phone, bridged):
    """The Mac's Avahi daemon ends, and starts again later.

    Meanwhile nobody can find the phone, and whoever knows the address still reaches it: the bridge stays on, nothing spins,
    no child comes or goes. With the daemon the record comes back by itself, through the same child.
    """
    pid = bridged.process.pid
    await_record(phone, lab.desk)
    before, children = resources.at_rest(lab.mac, pid), sorted(resources.children_of(lab.mac, pid))
    lab.mac.stop_avahi()
    await_no_record(phone, lab.desk)
    assert status_of(lab) == ("on", None)
    assert_traffic_works(lab.desk)
    assert resources.processor_share(lab.mac, pid) < 0.05
    assert sorted(resources.children_of(lab.mac, pid)) == children
    lab.mac.start_avahi()
    await_record(phone, lab.desk)
    assert_traffic_works(lab.desk)
    resources.returns_to(lab.mac, pid, before, flows=2 * FLOWS)


def test_a_bridge_is_stopped_and_started_while_there_is_no_daemon(lab, phone, bridged):
    """A stop and a start without Avahi.

    Both are done promptly. The bridge is on and works for whoever knows the address; the child that was to hold the record
    ends and is not left unreaped. With the daemon back, the next start announces the phone again.
    """
    pid, terminal = bridged.process.pid, Terminal(lab)
    await_record(phone, lab.desk)
    before = resources.at_rest(lab.mac, pid)
    lab.mac.stop_avahi()
    assert terminal.run("stop", phone.name, limit_seconds=PROMPTLY_SECONDS).code == 0
    assert holders(lab, pid) == []
    assert terminal.run("start", phone.name).code == 0
    await_state(lab, "on", 15)
    wait_until(lambda: "(ended)" not in resources.children_of(lab.mac, pid), 5, "every child that has ended is reaped")
    assert_traffic_works(lab.desk)
    assert resources.processor_share(lab.mac, pid) < 0.05
    lab.mac.start_avahi()
    assert terminal.run("start", phone.name).code == 0
    await_record(phone, lab.desk)
    assert_traffic_works(lab.desk)
    resources.returns_to(lab.mac, pid, before, flows=FLOWS)


def test_the_daemon_is_wedged(lab, phone, bridged):
    """The Mac's Avahi daemon stands still: its bus name is there, and nothing is ever answered.

    The bridge stays on and works. A stop and a start are done promptly, since nothing waits for the daemon: not the child
    that held the record, which ends when it is told to. What was asked for meanwhile holds once the daemon goes on: one
    record, of the bridge that runs then.
    """
    pid, terminal = bridged.process.pid, Terminal(lab)
    await_record(phone, lab.desk)
    before, daemon = resources.at_rest(lab.mac, pid), daemon_of(lab.mac)
    send(lab.mac, signal.SIGSTOP, daemon)
    assert status_of(lab) == ("on", None)
    assert_traffic_works(lab.desk)
    assert resources.processor_share(lab.mac, pid) < 0.05
    assert terminal.run("stop", phone.name, limit_seconds=PROMPTLY_SECONDS).code == 0
    assert holders(lab, pid) == []
    assert lab.mac.listening("192.168.77.1") == set()
    assert terminal.run("start", phone.name).code == 0
    await_state(lab, "on", 15)
    assert_traffic_works(lab.desk)
    assert len(holders(lab, pid)) == 1
    send(lab.mac, signal.SIGCONT, daemon)
    await_record(phone, lab.desk)
    assert_traffic_works(lab.desk)
    resources.returns_to(lab.mac, pid, before, flows=2 * FLOWS)


def test_the_agent_starts_and_ends_while_the_daemon_is_wedged(lab, phone, agent):
    """The agent is started, bridges, looks for phones and is ended while the daemon stands still.

    The bridge is on in the usual time and works. SIGTERM ends the agent promptly and with status 0, and its children with it.
    """
    daemon, processes = daemon_of(lab.mac), lab.mac.processes()
    send(lab.mac, signal.SIGSTOP, daemon)
    agent.start()
    agent.await_user_line("Bridge is successful.", 15)
    assert Terminal(lab).phones() == []
    assert_traffic_works(lab.desk)
    assert resources.processor_share(lab.mac, agent.process.pid) < 0.05
    assert agent.stop(PROMPTLY_SECONDS) == 0
    wait_until(lambda: lab.mac.processes() == processes, PROMPTLY_SECONDS, "every process that the agent started is gone")
    send(lab.mac, signal.SIGCONT, daemon)
    await_no_record(phone, lab.desk)


@pytest.mark.long
def test_the_daemon_is_restarted_again_and_again(lab, phone, bridged):
    """Ten restarts of the daemon, each as soon as the one before has come up: the record is there in the end, through the
    same child, and nothing has piled up."""
    pid = bridged.process.pid
    await_record(phone, lab.desk)
    before, children = resources.at_rest(lab.mac, pid), sorted(resources.children_of(lab.mac, pid))
    for _ in range(10):
        lab.restart_avahi(lab.mac)
    await_record(phone, lab.desk)
    assert sorted(resources.children_of(lab.mac, pid)) == children
    assert status_of(lab) == ("on", None)
    assert_traffic_works(lab.desk)
    resources.returns_to(lab.mac, pid, before, flows=FLOWS)
