"""The lab's folder on the real file system: the only thing of a killed lab that the kernel does not remove."""

import os
import pathlib
import shutil
import tempfile

_PREFIX = "quillbay-lab-"


def _start_time(pid):
    """When a process began, in the kernel's ticks, so that a reused id is no mistake; nothing without one."""
    try:
        status = pathlib.Path(f"/proc/{pid}/stat").read_text()
    except OSError:
        return None
    return status.rpartition(")")[2].split()[19]


def _make(pid):
    return pathlib.Path(tempfile.mkdtemp(prefix=f"{_PREFIX}{pid}-{_start_time(pid)}-"))


def make_folder():
    """A new folder for a lab of this process, after removing those of processes that are gone."""
    remove_leftovers()
    return _make(os.getpid())


def remove_leftovers():
    """Removes the folders of labs whose process is gone, and returns how many there were."""
    removed = 0
    for folder in pathlib.Path(tempfile.gettempdir()).glob(_PREFIX + "*-*-*"):
        pid, ticks = folder.name[len(_PREFIX):].split("-")[:2]
        if not pid.isdigit() or _start_time(pid) == ticks:
            continue
        shutil.rmtree(folder, ignore_errors=True)
        removed += 1
    return removed
