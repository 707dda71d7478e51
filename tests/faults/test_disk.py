"""A full disk below the agent's files, and what heals when there is room again."""

import json
import pathlib
import random
import zipfile

import bridges
import pytest
from control import Control
from disk import Disk

from quillbay_lab import wait_until

MIB = 1024 * 1024


@pytest.fixture
def disk(lab, agent):
    """The disk that has the agent's files; the agent does not run yet."""
    made = Disk(lab.mac, agent.folder)
    agent.folder = made.folder
    return made


def start(agent):
    agent.start()
    agent.await_user_line(bridges.SUCCESS, 30)


def rename(control, phone, name):
    return control.ask("rename", profile=phone.host, name=name)


NOT_KEPT = "The change could not be saved. Is there room on the disk?"


def test_a_disk_that_fills_up_disturbs_no_bridge_and_loses_no_profile(lab, phone, agent, disk):
    """Must hold: the bridge stays up and carries bytes; a change is refused with a sentence, and the profiles on file are
    those of before, whole; no temporary file stays; the lines go on to be printed. With room again, changes are kept and
    the log goes on with whole lines."""
    start(agent)
    before = (disk.folder / "devices.json").read_bytes()
    client = bridges.start_transfer(lab.desk, 50_000_000)
    disk.fill()
    with Control(lab.mac) as control:
        for number in range(20):
            assert rename(control, phone, f"Robin {number}") == {"error": NOT_KEPT}
        assert control.profile()["displayName"] == "Robin’s iPhone"
        assert control.profile()["status"]["state"] == "on"
        assert (disk.folder / "devices.json").read_bytes() == before
        assert disk.names() == ["devices.json", "diagnostics.log", "filler"]
        assert client.wait(60) == 0
        control.ask("stop", profile=phone.host)
        agent.await_user_line("Bridge is closed", 5)
        control.ask("start", profile=phone.host)
        control.await_state("on", 20)
        bridges.transfer(lab.desk, 100_000)

        disk.heal()
        assert "id" in rename(control, phone, "Robin")
        assert control.profile()["displayName"] == "Robin"
        agent.await_diagnostic("Profile updated: \"Robin\"", 5)
    assert agent.profiles()[0]["displayName"] == "Robin"
    assert_whole_lines(disk)
    assert agent.stop() == 0


def assert_whole_lines(disk):
    for line in (disk.folder / "diagnostics.log").read_bytes().decode().splitlines():
        assert line[:2] == "20" and line[23:25] == "  ", line


@pytest.mark.long
def test_a_start_on_a_full_disk_restores_the_bridge(lab, phone, agent, disk):
    """Must hold: the bridge comes up from the profiles on file although nothing can be written, not even the log's first
    line; with room again, the log begins."""
    disk.fill()
    start(agent)
    bridges.transfer(lab.desk, 100_000)
    assert (disk.folder / "diagnostics.log").read_bytes() == b"" if "diagnostics.log" in disk.names() else True
    disk.heal()
    with Control(lab.mac) as control:
        rename(control, phone, "Robin")
    agent.await_diagnostic("Profile updated: \"Robin\"", 5)
    assert_whole_lines(disk)
    assert agent.stop() == 0


def test_a_disk_that_is_full_now_and_then_never_has_half_a_file(lab, phone, agent, disk):
    """Must hold, at every moment: the profiles on file are those of before a change or after it, and what is answered is
    what happened."""
    start(agent)
    chance = random.Random(5)
    name = "Robin’s iPhone"
    with Control(lab.mac) as control:
        for number in range(60):
            full = chance.random() < 0.5
            if full:
                disk.fill()
            wanted = "ü" * chance.randrange(1, 3000) + str(number)
            answer = rename(control, phone, wanted)
            assert answer == {"error": NOT_KEPT} if full else "id" in answer, answer
            name = name if full else wanted
            profile, = agent.profiles()
            assert profile["displayName"] == name
            if full:
                disk.heal()
    assert_whole_lines(disk)
    assert disk.names() == ["devices.json", "diagnostics.log"]


def test_a_report_that_does_not_fit_is_refused_and_leaves_nothing(lab, agent):
    """Must hold: a sentence that names the disk or the tool; nothing of the report stays, there or in the temporary folder;
    with room again it is written."""
    start(agent)
    target = Disk(lab.mac, lab.mac.folder / "target", 64 * 1024)
    temporary = Disk(lab.mac, pathlib.Path(lab.mac.environment["TMPDIR"]), MIB)
    to = str(lab.mac.folder / "target" / "report.zip")
    with Control(lab.mac) as control:
        for disk in (target, temporary):
            disk.fill()
            error = control.ask("report", to=to)["error"]
            assert "No space left on device" in error or "zip" in error, error
            assert (target.names(), temporary.names()) == \
                ((["filler"], []) if disk is target else ([], ["filler"]))
            disk.heal()
        assert control.ask("report", to=to) == {"path": to}
    assert zipfile.ZipFile(target.folder / "report.zip").namelist() == ["diagnostics.log"]
    assert temporary.names() == []


@pytest.mark.long
def test_a_full_runtime_folder_refuses_the_start_with_a_sentence(lab, agent):
    """Must hold: where neither lock nor socket can be made, the agent says so and ends with 1; with room again it runs."""
    runtime = Disk(lab.mac, pathlib.Path(lab.mac.RUNTIME), 16 * 1024)
    lab.mac.run(["mount", "-o", "remount,nr_inodes=1", lab.mac.RUNTIME], check=True)
    agent.start()
    assert agent.process.wait(5) == 1
    said = (lab.mac.folder / "quillbay-agent.log").read_text()
    assert said == ("quillbay-agent: The folder /run/user/0/quillbay cannot be made: POSIXErrorCode(rawValue: 28): "
                    "No space left on device\n")
    lab.mac.run(["mount", "-o", "remount,nr_inodes=100", lab.mac.RUNTIME], check=True)
    runtime.fill()
    start(agent)
    with Control(lab.mac) as control:
        assert control.profile()["status"]["state"] == "on"
    assert agent.stop() == 0
    wait_until(lambda: bridges.registrations(lab.mac) == [], 2, "the registration is gone")
    assert json.loads((agent.folder / "devices.json").read_text())
