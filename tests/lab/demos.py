"""Runs a demo as a person would, and looks at what it prints and leaves."""

import os
import pathlib
import subprocess
import sys

from quillbay_lab import wait_until

LAB_FOLDER = pathlib.Path(__file__).resolve().parents[2] / "lab"
_FIRST_LINE = ("mac has the bridge; desk is another computer on its local network; the mesh is the VPN between mac and the "
               "phone.")


def start(folder, *arguments, **environment):
    # In a process group of its own, as a shell gives it one.
    # No screen of whoever runs the tests: on one, the windows would wait to be tried.
    inherited = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
    return subprocess.Popen([sys.executable, "-m", "demo", *arguments], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, process_group=0,
                            env={**inherited, "PYTHONPATH": str(LAB_FOLDER), "TMPDIR": str(folder), **environment})


def await_step(demo, number):
    """Reads what the demo prints up to the line of this step."""
    printed = []
    for line in demo.stdout:
        printed.append(line)
        if line.startswith(f"✓ {number:2}/"):
            return
    raise AssertionError(f"the demo ended before step {number}:\n" + "".join(printed))


def processes_of(folder):
    """The processes whose command line or environment names this folder."""
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if str(folder).encode() in (entry / "cmdline").read_bytes() + (entry / "environ").read_bytes():
                found.append(entry.name)
        except OSError:
            continue
    return found


def shows_all(folder, total, *arguments):
    """A demo of which all steps are seen, and that leaves nothing."""
    demo = start(folder, *arguments)
    output, _ = demo.communicate(timeout=300)
    lines = output.splitlines()
    assert lines[0] == _FIRST_LINE
    assert lines[-1] == f"{total} of {total} steps seen", output
    assert demo.returncode == 0
    seen = [line[:7] for line in lines if line.startswith("✓")]
    assert seen == [f"✓ {number:2}/{total}" for number in range(1, total + 1)]
    assert "\033" not in output and "\r" not in output
    assert list(folder.iterdir()) == [] and processes_of(folder) == []


def ends_by_signal(folder, number, code, send, step, *arguments):
    """A demo that is told to end after this step, and that leaves nothing then."""
    interfaces = sorted(os.listdir("/sys/class/net"))
    demo = start(folder, *arguments)
    await_step(demo, step)
    assert len(processes_of(folder)) > 5
    send(demo.pid, number)
    output, _ = demo.communicate(timeout=20)
    assert output.splitlines()[-1] == "interrupted; everything has been taken down"
    assert demo.returncode == code
    wait_until(lambda: not processes_of(folder), 5, "every process is gone")
    assert list(folder.iterdir()) == []
    assert sorted(os.listdir("/sys/class/net")) == interfaces
