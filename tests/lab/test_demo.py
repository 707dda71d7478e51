"""The demo: what it prints and how it ends, and that it takes everything down."""

import io
import os
import signal
import sys
import threading

import demos
import pytest

import demo.__main__ as program
from demo.checks import NotSeen, expect_equal
from demo.screen import Screen
from demo.steps import Steps
from quillbay_lab import Agent, Lab, wait_until


@pytest.mark.parametrize("number, code, send, step", [(signal.SIGINT, 130, os.killpg, 1),
                                                      (signal.SIGINT, 130, os.killpg, 4),
                                                      (signal.SIGTERM, 143, os.kill, 6)])
def test_a_signal_ends_it_and_nothing_is_left(tmp_path, number, code, send, step):
    # Ctrl-C goes to every process of the terminal's foreground group, `kill` to one.
    demos.ends_by_signal(tmp_path, number, code, send, step)


def test_all_twelve_steps_are_seen_and_nothing_is_left(tmp_path):
    demos.shows_all(tmp_path, 12)


def test_a_step_that_is_not_seen_says_what_came_and_ends_with_1(tmp_path):
    # An agent that says nothing of what is expected.
    build = tmp_path / "build"
    real = demos.LAB_FOLDER.parent / "build" / "release"
    for name in ("bin/quillbay-phone", "bin/quillbay-lab-client", "libexec/quillbay/dns-sd"):
        (build / name).parent.mkdir(parents=True, exist_ok=True)
        (build / name).symlink_to(real / name)
    agent = build / "bin" / "quillbay-agent"
    agent.write_text("#!/bin/sh\necho Something else\n"
                     "mkdir -p \"$XDG_DATA_HOME/Quillbay\"; echo a line >\"$XDG_DATA_HOME/Quillbay/diagnostics.log\"\n")
    agent.chmod(0o755)
    folder = tmp_path / "tmp"
    folder.mkdir()
    demo = demos.start(folder, QUILLBAY_BUILD=str(build))
    output, _ = demo.communicate(timeout=120)
    lines = output.splitlines()
    at = lines.index("✗  3/12  the agent refuses while the phone is near")
    assert lines[at + 1].startswith("         expected: the user line “Connection error: The device is still on")
    assert lines[at + 2] == "         came:     ['Something else']"
    assert lines[at + 3:] == ["         the end of the agent's diagnostics.log:", "           a line",
                              "2 of 12 steps seen"]
    assert demo.returncode == 1
    assert list(folder.iterdir()) == []


def test_a_log_that_is_written_behind_the_users_line_is_waited_for(tmp_path, monkeypatch):
    class LateLog(Agent):
        def __init__(self, _lab):
            self.folder = tmp_path

        def start(self):
            line = "Phone: port 1 verified, 2 TCP + 2 UDP relay open\n"
            threading.Timer(0.3, (tmp_path / "diagnostics.log").write_text, [line]).start()

        def await_user_line(self, text, limit_seconds):
            return text

    monkeypatch.setattr("demo.steps.Agent", LateLog)
    monkeypatch.setattr(Lab, "__init__", lambda lab: None)
    monkeypatch.setattr(Lab, "phone_leaves", lambda lab: None)
    assert Steps(Lab()).bridge_comes_up().endswith("(2 TCP + 2 UDP relay open)")


class Terminal(io.StringIO):
    def isatty(self):
        return True


def test_colours_only_a_terminal():
    for stream, expected in ((io.StringIO(), "✓  1/12  text\n"), (Terminal(), "\033[32m✓\033[0m  1/12  text\n")):
        Screen(stream, 12).seen(1, "text")
        assert stream.getvalue() == expected


def test_a_short_step_has_no_progress_line():
    stream = Terminal()
    with Screen(stream, 12).progress("waiting"):
        pass
    assert stream.getvalue() == ""


@pytest.mark.parametrize("stream", [io.StringIO(), Terminal()])
def test_a_long_step_has_a_progress_line_that_only_a_terminal_loses_again(stream):
    with Screen(stream, 12).progress("waiting"):
        wait_until(lambda: "waiting" in stream.getvalue(), 10, "the progress line")
    if stream.isatty():
        assert stream.getvalue().startswith("\r\033[K  …      waiting (2 s)")
        assert stream.getvalue().endswith("\r\033[K")
    else:
        assert stream.getvalue() == "  …      waiting\n"


def test_making_the_network_has_a_progress_line_too(monkeypatch):
    stream = io.StringIO()

    class SlowLab:
        def __enter__(self):
            return wait_until(lambda: "the network is made" in stream.getvalue(), 10, "the progress line")

        def __exit__(self, *_):
            pass

    monkeypatch.setattr(sys, "stdout", stream)
    monkeypatch.setattr(signal, "signal", lambda *_: None)
    monkeypatch.setattr(program, "Lab", SlowLab)
    monkeypatch.setattr(program.Steps, "__init__", lambda steps, lab: None)
    monkeypatch.setattr(program, "_show", lambda screen, steps: 12)
    assert program.main() == 0
    assert stream.getvalue().splitlines()[1:] == ["  …      the network is made", "12 of 12 steps seen"]


def test_another_demo_is_wrong_usage(capsys):
    assert program.main(["dance"]) == 2
    assert capsys.readouterr() == ("", "usage: python3 -m demo [terminal | window]\n")


def test_a_difference_is_told_with_both_sides():
    with pytest.raises(NotSeen) as raised:
        expect_equal("port", 1, 2)
    assert (raised.value.expected, raised.value.came) == ("port 1", "2")
