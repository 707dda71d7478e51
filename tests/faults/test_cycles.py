"""Bridges that are started and stopped again and again."""

import random
import re
import time

import bridges
import developer_tools
import pytest
from control import await_control
from resources import at_rest, holding, processes_of, returns_to

from quillbay_lab import wait_until
from quillbay_lab.lab import MAC_ADDRESS

_WARM_UP = 10
# The 5,000 lines of the log that are kept in memory.
_LOG_BYTES = 3 * 1024 * 1024
_SLACK_BYTES = 512 * 1024


def cycle(control, host, chance):
    """One start and stop; every fifth is stopped at a moment of its start that nobody can foresee."""
    control.ask("start", profile=host)
    if chance.random() < 0.2:
        time.sleep(chance.uniform(0, 0.2))
    else:
        control.await_state("on", 10)
    control.ask("stop", profile=host)
    assert control.profile()["status"]["state"] == "off"


@pytest.mark.parametrize("cycles", [30, pytest.param(1000, marks=pytest.mark.long)])
def test_cycles_of_start_and_stop_hold_on_to_nothing(lab, phone, agent, cycles):
    """Must hold: after the cycles the agent has as many descriptors, threads and children as before them, and no more
    memory; nothing of the bridge listens; and the next bridge carries bytes."""
    developer_tools.install(lab.mac, phone.host)
    profile, = agent.profiles()
    agent.write_profiles([{**profile, "bridgeEnabled": False}])
    agent.start()
    pid = agent.process.pid
    chance = random.Random(cycles)
    with await_control(lab.mac) as control:
        for _ in range(_WARM_UP):
            cycle(control, phone.host, chance)
        before, own_before = settled(lab.mac, pid), own_memory(lab.mac, pid)
        for number in range(cycles):
            cycle(control, phone.host, chance)
            if number == cycles * 7 // 10:
                own_late = own_memory(lab.mac, pid)
        after, own_after = returns_to(lab.mac, pid, before), own_memory(lab.mac, pid)
        print(f"{cycles} cycles: before {before}, own {own_before}, late {own_late}, after {after}, own {own_after}")
        # Of a thousand, the first seven hundred have filled the log.
        assert own_after <= own_late + _SLACK_BYTES
        assert own_after <= own_before + _LOG_BYTES
        wait_until(lambda: lab.mac.listening(MAC_ADDRESS) == set(), 5, "nothing listens any more")
        assert bridges.registrations(lab.mac) == []
        control.ask("start", profile=phone.host)
        control.await_state("on", 10)
    bridges.transfer(lab.desk, 100_000)
    bridges.await_record(lab, phone)
    assert agent.stop() == 0


def settled(host, pid):
    """What the process holds once the sockets and children of its last cycle are gone, and it has asked for updates."""
    wait_until(lambda: holding(host, pid).children == 0, 10, "the last cycle's children are gone")
    return at_rest(host, pid)


def own_memory(host, pid):
    """The bytes of memory that the process alone has. Its whole memory also has a share of what other agents have in common
    with it, and so changes when one of those ends."""
    text = (processes_of(host) / str(pid) / "smaps_rollup").read_text()
    return int(re.search(r"^Private_Dirty: +(\d+) kB$", text, re.MULTILINE)[1]) * 1024
