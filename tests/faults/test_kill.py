"""kill -9 at any moment: nothing of the ended run is in the way of the next one, and nothing is lost."""

import json
import random
import signal
import time
import zipfile

import bridges
import developer_tools
import pytest
from control import Control, root_of

from quillbay_lab import Phone, paired_agent, wait_until

# What a start, an end or a report takes at most here, so that a moment in it is any of its moments.
_START_SECONDS, _END_SECONDS, _REPORT_SECONDS = 0.35, 0.08, 0.15
_RENAMES, _RENAMES_SECONDS = 40, 0.12


class Run:
    """A Mac whose agent is killed again and again."""

    def __init__(self, lab, seed):
        self.lab = lab
        self.random = random.Random(seed)
        self.renamed = 0
        self.phone = Phone(self.lab)
        self.agent = paired_agent(self.lab, self.phone)
        developer_tools.install(self.lab.mac, self.phone.host)
        self.profile, = self.agent.profiles()
        self.names = {self.profile["displayName"]}
        self.start()
        self.processes = self.settled_processes()
        self.files = self.private_files()

    def start(self):
        self.agent.start()
        self.agent.await_user_line(bridges.SUCCESS, 30)

    def settled_processes(self):
        """What runs once the bridge is up: its follower of the journal is the last to be started."""
        def following():
            found = sorted(self.lab.mac.processes())
            return found if any("journalctl" in line for line in found) else None
        return wait_until(following, 5, "the log is followed")

    def private_files(self):
        """Everything in the data folder, the temporary folder and the runtime folder, but for the listings of the developer
        tools: those write them themselves, also when nobody is left to read them."""
        folders = (self.agent.folder, self.lab.mac.folder / "tmp", root_of(self.lab.mac) / "run/user/0/quillbay")
        return sorted(str(path) for folder in folders for path in folder.rglob("*")
                      if not path.name.startswith("devicectl-list-"))

    def moment(self, longest):
        """Lets some time pass that nobody can foresee."""
        time.sleep(self.random.uniform(0, longest))

    def kill(self):
        self.agent.process.signal(signal.SIGKILL)
        self.agent.process.wait(5)


def while_it_starts(run):
    run.agent.stop()
    run.agent.start()
    run.moment(_START_SECONDS)


def while_it_is_active(run):
    for port in (55001, 55002):
        bridges.start_transfer(run.lab.desk, 50_000_000, port=port)
    run.moment(0.2)


def while_it_writes_the_profiles(run):
    requests = []
    for _ in range(_RENAMES):
        run.renamed += 1
        name = f"Robin’s iPhone {run.renamed}"
        run.names.add(name)
        requests.append({"command": "rename", "profile": run.profile["bonjourHost"], "name": name})
    control = Control(run.lab.mac)
    control.send(*requests)
    run.moment(_RENAMES_SECONDS)
    # Only the agent's end closes it, or the renames that are under way would be given up.
    return control


def while_it_writes_a_report(run):
    control = Control(run.lab.mac)
    control.send({"command": "report", "to": str(report_of(run))})
    run.moment(_REPORT_SECONDS)
    return control


def while_it_ends(run):
    run.agent.process.signal(signal.SIGTERM)
    run.moment(_END_SECONDS)


PHASES = (while_it_starts, while_it_is_active, while_it_writes_the_profiles, while_it_writes_a_report, while_it_ends)


def report_of(run):
    return run.lab.mac.folder / "report.zip"


def assert_whole(run):
    """The files of the ended run are whole: what was there before its last change, or after it."""
    text = run.agent.folder.joinpath("devices.json").read_text()
    profile, = json.loads(text)
    assert profile["displayName"] in run.names
    assert {**profile, "displayName": ""} == {**run.profile, "displayName": ""}
    for line in run.agent.folder.joinpath("diagnostics.log").read_bytes().decode().splitlines():
        time.strptime(line[:19], "%Y-%m-%d %H:%M:%S")
    if report_of(run).exists():
        assert zipfile.ZipFile(report_of(run)).testzip() is None
        report_of(run).unlink()


def assert_clean(run, left):
    """The run that followed is one like any other."""
    assert wait_until(lambda: run.settled_processes() == run.processes, 5,
                      f"nothing but the new run's processes is there: {run.processes}")
    registered, = bridges.registrations(run.lab.mac)
    assert registered not in left
    assert run.private_files() == run.files
    runtime = root_of(run.lab.mac) / "run/user/0/quillbay"
    assert runtime.joinpath("pid").read_text() == f"{run.agent.process.pid}\n"
    with Control(run.lab.mac) as control:
        assert control.profile()["status"]["state"] == "on"
    bridges.transfer(run.lab.desk, 100_000)


def kill_at(run, phase):
    control = phase(run)
    run.kill()
    if control is not None:
        control.close()
    left = bridges.registrations(run.lab.mac)
    assert_whole(run)
    run.start()
    assert_clean(run, left)


@pytest.mark.parametrize("seed, moments", [(1, 10), pytest.param(2, 100, marks=pytest.mark.long),
                                           pytest.param(3, 100, marks=pytest.mark.long)])
def test_the_next_start_is_clean_after_a_kill_at_any_moment(lab, seed, moments):
    """Must hold: no registration and no child of the killed run is left; the profiles are those before its last change or
    after it; the log is whole lines of text; a report is a whole archive or none; no temporary file stays; lock and socket
    belong to the new run; its bridge comes up by itself, is announced, and carries bytes."""
    run = Run(lab, seed)
    phases = [PHASES[number % len(PHASES)] for number in range(moments)]
    run.random.shuffle(phases)
    for number, phase in enumerate(phases):
        try:
            kill_at(run, phase)
        except BaseException:
            print(f"seed {seed}, kill {number + 1}, {phase.__name__}")
            raise
    bridges.await_record(lab, run.phone)
