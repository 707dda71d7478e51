"""The time of day that is set: a day ahead, a day back, and to and fro."""

import datetime
import random
import re
import time

import bridges
import pytest
from control import Control
from injection import Injection
from resources import at_rest, processor_share, returns_to

from quillbay_lab import Agent, Phone, Terminal, wait_until
from quillbay_lab.update_service import UpdateService

_DAY_SECONDS = 86_400
_CHECKS_SECONDS = 6  # a little longer than the time between two looks at the phones


@pytest.fixture
def clock(lab):
    """What sets the agent's time of day; the agent has to be started with it."""
    return Injection(lab.mac.folder / "faults")


def log_is_at(agent, control, phone, shift_seconds):
    """Waits for a new line of the log and asserts that its timestamp is the time of day, shifted."""
    name = f"Robin {time.monotonic_ns()}"
    control.ask("rename", profile=phone.host, name=name)
    line = agent.await_diagnostic(f"Profile updated: \"{name}\"", 5)
    written = datetime.datetime.strptime(line[:23], "%Y-%m-%d %H:%M:%S.%f")
    wanted = datetime.datetime.now() + datetime.timedelta(seconds=shift_seconds)
    assert abs((written - wanted).total_seconds()) < 5, line


def requests_for_updates(lab):
    return (lab.mac.folder / "updates" / "log").read_text().count("GET /api/latest")


def test_a_day_ahead_and_back_disturbs_no_bridge(lab, phone, agent, clock):
    """Must hold, after each change: the bridge is active and has not been started again, its registration is the same, a
    transfer under way arrives whole; the log's timestamps follow; the daily question for updates is asked once; nothing
    spins, and nothing is held on to."""
    updates = UpdateService(lab.mac)
    updates.announce("0.0.1")
    agent.start(clock.environment("quillbay-agent"))
    agent.await_user_line(bridges.SUCCESS, 30)
    pid = agent.process.pid
    wait_until(lambda: requests_for_updates(lab) == 1, 10, "the agent has asked for updates")
    registered = bridges.registrations(lab.mac)
    with Control(lab.mac) as control:
        log_is_at(agent, control, phone, 0)
        bridges.warm_up(lab.desk)
        before = at_rest(lab.mac, pid)
        for shift in (_DAY_SECONDS, 0, -_DAY_SECONDS, 0):
            client = bridges.start_transfer(lab.desk, 50_000_000)
            clock.shift_clock(shift)
            log_is_at(agent, control, phone, shift)
            assert control.profile()["status"]["state"] == "on"
            assert client.wait(60) == 0
            assert processor_share(lab.mac, pid) < 0.1
        chance = random.Random(1)
        for _ in range(200):
            clock.shift_clock(chance.randrange(-_DAY_SECONDS, _DAY_SECONDS))
            assert control.profile()["status"]["state"] == "on"
        clock.shift_clock(0)
        log_is_at(agent, control, phone, 0)
        bridges.transfer(lab.desk, 100_000)
        returns_to(lab.mac, pid, before)
    assert bridges.registrations(lab.mac) == registered
    assert [line for line in agent.user_lines() if line == bridges.SUCCESS] == [bridges.SUCCESS]
    assert requests_for_updates(lab) == 1
    bridges.await_record(lab, phone)
    agent.process.signal(15)
    assert agent.process.wait(5) == 0
    updates.close()


@pytest.mark.long
@pytest.mark.parametrize("shift", [_DAY_SECONDS, -_DAY_SECONDS])
def test_a_start_that_the_clock_overtakes_goes_on(lab, phone, agent, clock, shift):
    """Must hold: a start whose search for the phone is under way when the clock is set takes no longer for that."""
    agent.start(clock.environment("quillbay-agent"))
    agent.await_diagnostic("Starting bridge for", 10)
    clock.shift_clock(shift)
    agent.await_user_line(bridges.SUCCESS, 10)
    bridges.transfer(lab.desk, 100_000)


@pytest.mark.long
def test_a_phone_nearby_stays_listed_with_an_age_that_can_be(lab, clock):
    """Must hold: a phone that is there stays in the list whatever the clock does; the age that is shown is never negative,
    and after the next look at the phones it is a small one again."""
    phone = Phone(lab, name="6E2A-41B7")
    agent = Agent(lab)
    agent.start(clock.environment("quillbay-agent"))
    agent.await_diagnostic("Quillbay started", 10)
    terminal = Terminal(lab)
    terminal.await_phone(phone.host, 10)
    for shift in (_DAY_SECONDS, 0, -_DAY_SECONDS, 0):
        clock.shift_clock(shift)
        deadline = time.monotonic() + _CHECKS_SECONDS
        while time.monotonic() < deadline:
            text = terminal.run("phones").text
            assert phone.host in text, f"at {shift}: {text}"
            assert re.search(r"(?<![-\d])\d+ (s|min|h|d) ago", text), text
            assert not re.search(r"-\d+ (s|min|h|d) ago", text), text
        seen = terminal.await_phone(phone.host, 1)["lastSeen"]
        seen = datetime.datetime.strptime(seen, "%Y-%m-%dT%H:%M:%SZ")
        now = datetime.datetime.utcnow() + datetime.timedelta(seconds=shift)
        assert -2 <= (now - seen).total_seconds() < 60, f"at {shift}: seen {seen}, now {now}"
    assert agent.stop() == 0
