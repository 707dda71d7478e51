"""Two agents at once: one runs, and the others say so and change nothing."""

import json
import subprocess

import bridges
import pytest
from control import Control, await_control, root_of

from quillbay_lab import Agent, programs, wait_until

PYTHON = "/usr/bin/python3"
# Starts the program as often as is asked, all of them in one moment, and prints how each ended that did, until one is left.
AT_ONCE = """
import json, os, subprocess, sys
count, program = int(sys.argv[1]), sys.argv[2]
gate_out, gate_in = os.pipe()
agents = [subprocess.Popen(["/bin/sh", "-c", 'read -r _ <&3; exec "$0" 3<&-', program], stdout=subprocess.DEVNULL,
                           stderr=subprocess.PIPE, text=True, preexec_fn=lambda: (os.dup2(gate_out, 3), os.close(gate_in)),
                           pass_fds=[3]) for _ in range(count)]
os.close(gate_out)
os.close(gate_in)
ended = {}
while len(ended) < count - 1:
    pid, status = os.wait()
    agent, = [agent for agent in agents if agent.pid == pid]
    agent.returncode = os.waitstatus_to_exitcode(status)
    ended[pid] = [agent.returncode, agent.stderr.read()]
left, = [agent for agent in agents if agent.pid not in ended]
print(json.dumps({"left": left.pid, "ended": list(ended.values())}), flush=True)
sys.stdin.read()
left.terminate()
print(json.dumps(left.wait()), flush=True)
"""


def run_second(lab):
    """A second agent's exit status and what it printed, on both streams."""
    return lab.mac.run([programs.AGENT], 5)


def test_a_second_agent_refuses_and_the_first_is_undisturbed(lab, phone, bridged):
    """Must hold: the second says whose turn it is and ends with 1; the first keeps its registration, its sockets and a
    transfer that is under way."""
    processes = sorted(lab.mac.processes())
    registered = bridges.registrations(lab.mac)
    client = bridges.start_transfer(lab.desk, 50_000_000)
    logged = bridged.diagnostics()
    listening = lab.mac.listening()
    for _ in range(3):
        second = run_second(lab)
        assert (second.code, second.output) == \
            (1, f"quillbay-agent: Quillbay is running already (process {bridged.process.pid}).\n")
    assert client.wait(60) == 0
    assert bridges.registrations(lab.mac) == registered
    assert sorted(lab.mac.processes()) == processes
    assert lab.mac.listening() == listening
    assert bridged.diagnostics() == logged
    with Control(lab.mac) as control:
        assert control.profile()["status"]["state"] == "on"
    bridges.await_record(lab, phone)


@pytest.mark.long
def test_a_second_agent_does_not_wait_for_one_that_ends(lab, bridged):
    """Must hold: while the first ends, the second is refused or begins; when the first has ended, it can begin."""
    bridged.process.signal(15)
    second = run_second_until_it_runs(lab)
    assert bridged.process.wait(5) == 0
    assert second.stop() == 0


def run_second_until_it_runs(lab):
    second = Agent(lab)

    def runs():
        second.start()
        wait_until(lambda: not second.process.running or second.user_lines(), 10, "the second begins or is refused")
        return second.process.running

    wait_until(runs, 10, "a second agent runs")
    second.await_user_line(bridges.SUCCESS, 30)
    return second


@pytest.mark.parametrize("rounds", [5, pytest.param(100, marks=pytest.mark.long)])
def test_of_agents_started_at_the_same_instant_one_runs(lab, agent, rounds):
    """Must hold, every time: one runs and answers, every other ends with 1 and the sentence, which names the one that runs
    or nobody; after it has ended, its socket is gone."""
    profile, = agent.profiles()
    agent.write_profiles([{**profile, "bridgeEnabled": False}])
    folder = root_of(lab.mac) / "run/user/0/quillbay"
    for _ in range(rounds):
        starter = lab.mac.spawn([PYTHON, "-c", AT_ONCE, 4, programs.AGENT], stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE)
        outcome = json.loads(starter.stdout.readline())
        sentences = {"quillbay-agent: Quillbay is running already.\n",
                     f"quillbay-agent: Quillbay is running already (process {outcome['left']}).\n"}
        assert [code for code, _ in outcome["ended"]] == [1, 1, 1]
        assert {sentence for _, sentence in outcome["ended"]} <= sentences
        with await_control(lab.mac) as control:
            assert control.profile()["status"]["state"] == "off"
        assert folder.joinpath("pid").read_text() == f"{outcome['left']}\n"
        starter.stdin.close()
        assert json.loads(starter.stdout.readline()) == 0
        assert starter.wait(5) == 0
        assert not folder.joinpath("control.sock").exists()
