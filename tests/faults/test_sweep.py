"""A sample of the sweep, small enough for every run of the tests: for each call in the program on a bridge's way from its
start over traffic to its stop one error at one call site, and some of the start and the end of the agent. `script/faults`
does all.
"""

import errno

import pytest
from sweep import Sweeper
from sweep_plan import Case, plan, record
from sweep_stage import BOOT, END, START, Stage
from sweep_verdict import Collected, complaints_about

# Each case of these takes two agents.
_SLOW_PHASES = (BOOT, END)
_ONE_OF = 40


def sample(cases):
    """The first case of every call in the program, whatever leads to it; of the calls of a start and of an end, a few."""
    chosen, seen, slow = [], set(), 0
    for case in sorted(cases, key=lambda case: (case.phase in _SLOW_PHASES, case.phase, case.label)):
        call = case.label.partition(" < ")[0]
        if case.first or call in seen:
            continue
        if case.phase in _SLOW_PHASES:
            slow += 1
            # Spread over all of them.
            if slow % _ONE_OF != 1:
                continue
        seen.add(call)
        chosen.append(case)
    return chosen


def test_no_failing_call_is_the_end_of_anything():
    complaints, met = [], 0
    with Stage() as stage:
        recorded = record(stage)
        cases = sample(plan(recorded)[0])
        sweeper = Sweeper(stage)
        for case in cases:
            was_met, found = sweeper.carry_out(case)
            met += was_met
            complaints += [f"{case}: {text}" for text in found]
    print(f"reached {len(recorded.reached)} of {len(recorded.calls)} calls, {met} of {len(cases)} faults, "
          f"{len(complaints)} failures")
    assert not complaints
    # A call that depends on who is quicker may not come again.
    assert met >= 0.9 * len(cases) and len(cases) > 80


@pytest.fixture(scope="module")
def running():
    with Stage() as stage:
        stage.launch(False)
        assert stage.connect()
        yield stage


def test_a_fault_is_met_once_and_is_over_when_it_is_disarmed(running):
    running.injection.fail("bind", errno.EADDRINUSE, first=2, times=3)
    assert running.start().state == "on"
    running.stop()
    assert (running.injection.fired, running.injection.matched >= 12) == (3, True)
    running.injection.disarm()
    assert running.start().state == "on"
    running.stop()
    assert running.injection.fired == 3
    assert running.injection.lost == 0


def test_children_of_the_program_are_left_alone(running):
    running.injection.fail("execve", errno.ENOENT, times=1000)
    assert running.start().state == "error"
    # Only the calls of the program's own forked children, before they become another program.
    assert all(site.in_forked_child for site in running.injection.sites() if site.function == "execve")
    running.injection.disarm()


def test_the_time_of_day_can_be_shifted(running):
    running.log_lines()
    running.injection.shift_clock(-400 * 86_400)
    running.start()
    running.stop()
    stamps = [line[:4] for line in running.log_lines() if "Starting bridge" in line]
    running.injection.shift_clock(0)
    running.start()
    running.stop()
    stamps += [line[:4] for line in running.log_lines() if "Starting bridge" in line]
    assert len(stamps) == 2 and int(stamps[1]) - int(stamps[0]) in (1, 2)


def case_at(label, code):
    return Case(None, label, START, code, 0)


def test_a_complaint_is_made_when_a_bridge_does_not_come_up(running):
    running.injection.fail("getifaddrs", errno.EMFILE, times=1000)
    seen = running.start()
    running.injection.disarm()
    running.stop()
    complaint = ["the bridge has failed: Couldn't determine this Mac's network address."]
    assert complaints_about(running, seen) == complaint
    assert complaints_about(running, seen, case=case_at("bind: somewhere else", errno.EMFILE)) == complaint
    expected = case_at("getifaddrs: currentIPv4Address NetworkInterfaces.cpp:20", errno.EMFILE)
    assert complaints_about(running, seen, case=expected) == []


def test_a_complaint_is_made_when_the_log_names_another_error(running):
    log = Collected(running)
    running.injection.fail("execve", errno.ENOEXEC, times=1000)
    seen = running.start()
    running.injection.disarm()
    running.stop()
    label = "execve (child): becomeProgram < DNSServiceProxy::start"
    complaint, = complaints_about(running, seen, log, case_at(label, errno.EIO))
    assert complaint.startswith("names another error: ") and "POSIXErrorCode(rawValue: 8): Exec format error" in complaint
    assert complaints_about(running, seen, log, case_at(label, errno.ENOEXEC)) == []


def test_a_complaint_is_made_about_a_port_that_nobody_serves(running):
    log = Collected(running)
    # The control channel's is the first.
    running.injection.fail("listen", errno.EADDRINUSE, first=3)
    seen = running.start()
    running.injection.disarm()
    complaint, = complaints_about(running, seen)
    assert complaint.startswith("dead ports that no line names: {'tcp': [5500")
    assert complaints_about(running, seen, log) == []
    running.stop()
