"""Commands the library that makes functions of the C library fail in a running program (inject/).

    faults = Injection(folder / "faults")                     # before the program is started
    host.spawn([programs.AGENT], environment=faults.environment("quillbay-agent"))
    faults.fail("bind", errno.EADDRINUSE)                     # the next one
    faults.fail(site, errno.ENOMEM, first=2, times=3)         # at one call site: the third to the fifth call
    faults.fired                                              # how many have failed
    faults.disarm()
    faults.shift_clock(86_400)                                # the time of day; the clocks for waiting stay
"""

import mmap
import os
import struct
import time
from dataclasses import dataclass

from quillbay_lab import LabError, programs

LIBRARY = programs.BUILD / "lib" / "quillbay-faults.so"

# As inject/ControlFile.h lays it out.
_MAGIC = 0x31464251
_SITES_OFFSET, _SITE_BYTES, _NAMES_OFFSET, _NAME_BYTES = 32768, 176, 128, 32
_MODULES_OFFSET, _PATH_BYTES, _MOST_MODULES, _MOST_SITES = 8192, 256, 64, 4096
_FILE_BYTES = _SITES_OFFSET + _SITE_BYTES * _MOST_SITES
_SITE = struct.Struct("<QIIII8I16s12Q")
_ARMED_OFFSET = 24
# What follows it: the function, the site, the first call, how many, the code, nothing, and two counters.
_FAULT = struct.Struct("<IQIIiIII")


@dataclass(frozen=True)
class Site:
    """A place in the program from which a function is called."""

    id: int
    function: str
    # Module and return address in it, the innermost first.
    frames: tuple
    # The name of the thread that came here first.
    thread: str
    in_forked_child: bool
    # The calls so far by phase.
    counts: tuple

    @property
    def calls(self):
        return sum(self.counts)


class Injection:
    """One control file. Several programs may share it, one after the other: a call site keeps its identity."""

    def __init__(self, path):
        self._path = path
        with open(path, "xb") as file:
            file.truncate(_FILE_BYTES)
        descriptor = os.open(path, os.O_RDWR | os.O_CLOEXEC)
        try:
            self._memory = mmap.mmap(descriptor, _FILE_BYTES)
        finally:
            os.close(descriptor)

    def environment(self, program):
        """The environment in which the program with this file name can be made to fail, and none of its children."""
        programs.require(LIBRARY)
        return {"LD_PRELOAD": str(LIBRARY), "QUILLBAY_FAULTS": str(self._path), "QUILLBAY_FAULTS_PROGRAM": program}

    @property
    def ready(self):
        """Whether the library has been loaded by the program."""
        return self._number(0) == _MAGIC

    def await_ready(self, limit_seconds=10):
        deadline = time.monotonic() + limit_seconds
        while not self.ready:
            if time.monotonic() > deadline:
                raise LabError("the program has not loaded the library that makes calls fail")
            time.sleep(0.005)

    def functions(self):
        """The names of the functions that can fail, in their order."""
        return [self._text(_NAMES_OFFSET + index * _NAME_BYTES, _NAME_BYTES) for index in range(self._number(4))]

    def fail(self, where, code, first=0, times=1):
        """Makes calls fail from now on: of a function (its name), or at a `Site`. Of the calls that fit, `first` are
        let through. The code is an error number; for functions that return their error, that."""
        self.disarm()
        if isinstance(where, Site):
            function, site = 0, where.id
        else:
            function, site = self._function_index(where), 0
        # The library looks at the rest only where the first number says so.
        _FAULT.pack_into(self._memory, _ARMED_OFFSET + 4, function, site, first, times, code, 0, 0, 0)
        struct.pack_into("<I", self._memory, _ARMED_OFFSET, 1)

    def disarm(self):
        struct.pack_into("<I", self._memory, _ARMED_OFFSET, 0)

    @property
    def matched(self):
        """How many calls the fault has met since it was armed, whether or not it let them through."""
        return self._number(56)

    @property
    def fired(self):
        """How many calls have failed since the fault was armed."""
        return self._number(60)

    @property
    def lost(self):
        """Calls from sites that found no place in the table: there must be none."""
        return struct.unpack_from("<Q", self._memory, 72)[0]

    def enter_phase(self, number):
        """Calls are counted under this number, 0 to 7, from now on."""
        struct.pack_into("<I", self._memory, 12, number)

    def shift_clock(self, seconds):
        """From now on the program sees the time of day that much ahead, or back. 0 is the real one."""
        struct.pack_into("<q", self._memory, 16, round(seconds * 1_000_000_000))

    def module_path(self, index):
        return self._text(_MODULES_OFFSET + index * _PATH_BYTES, _PATH_BYTES)

    def module_of_program(self):
        """The number of the program itself among the modules."""
        return next(index for index in range(_MOST_MODULES) if self.module_path(index) == "program")

    def sites(self):
        """The call sites that the program has come by so far."""
        names = self.functions()
        found = []
        for index in range(_MOST_SITES):
            values = _SITE.unpack_from(self._memory, _SITES_OFFSET + index * _SITE_BYTES)
            identity, ready, function, frame_count, in_child = values[:5]
            if not identity or not ready:
                continue
            frames = tuple((frame & 0xFFFFFFFF, frame >> 32) for frame in values[14:14 + frame_count])
            thread = values[13].split(b"\0")[0].decode(errors="replace")
            found.append(Site(identity, names[function], frames, thread, bool(in_child), values[5:13]))
        return found

    def close(self):
        self._memory.close()

    def _function_index(self, name):
        deadline = time.monotonic() + 10
        while not self.ready and time.monotonic() < deadline:
            time.sleep(0.005)
        return self.functions().index(name)

    def _number(self, offset):
        return struct.unpack_from("<I", self._memory, offset)[0]

    def _text(self, offset, size):
        return self._memory[offset:offset + size].split(b"\0")[0].decode()
