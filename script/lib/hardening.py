"""Looks in built programs for what cmake/Hardening.cmake asks of the compiler and the linker.

    hardening.py PROGRAM...

Prints a line for each program and fails when one of them lacks something. Linux; reads with binutils.
"""

import pathlib
import platform
import re
import subprocess
import sys


def said(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def segments(program):
    """(type, flags as "RWE") of every program header."""
    rows = re.findall(r"^\s+([A-Z_]+)\s+(?:0x[0-9a-f]+\s+){5}([RWE ]{3})\s", said("readelf", "-lW", program), re.M)
    return [(kind, flags.replace(" ", "")) for kind, flags in rows]


def first_instruction(program, function):
    text = said("objdump", "--disassemble=" + function, "--no-show-raw-insn", program)
    found = re.search(rf"<{function}>:\n\s+[0-9a-f]+:\s+(\S+)", text)
    return found.group(1) if found else "no such function"


def lacking(program):
    """What the program lacks, as texts."""
    header = said("readelf", "-hW", program)
    dynamic = said("readelf", "-dW", program)
    imported = set(re.findall(r"\bUND (\w+)", said("readelf", "-W", "--dyn-syms", program)))
    parts = segments(program)
    faults = []

    def require(right, fault):
        if not right:
            faults.append(fault)

    require(re.search(r"Type:\s+DYN", header) and "PIE" in dynamic, "an address that is not fixed (PIE)")
    require(any(kind == "GNU_RELRO" for kind, _ in parts), "tables that are read-only after the start (RELRO)")
    require("BIND_NOW" in dynamic or re.search(r"Flags:.*\bNOW\b", dynamic), "binding at the start (BIND_NOW)")
    require(("GNU_STACK", "RW") in parts, "a stack that cannot be executed")
    require(not any("W" in flags and "E" in flags for _, flags in parts), "memory that is either written or executed")
    require("TEXTREL" not in dynamic, "code that the start leaves alone (no TEXTREL)")
    require(not re.search(r"R(UN)?PATH", dynamic), "the system's search for libraries alone (no RUNPATH)")
    require("__stack_chk_fail" in imported, "the stack protector")
    require(any(name.endswith("_chk") for name in imported), "the checked functions of the C library (_FORTIFY_SOURCE)")
    require(any("glibcxx_assert_fail" in name for name in imported), "the checks of the C++ library")
    if platform.machine() == "x86_64":
        # Not by the program's note: the linker leaves that out, because the C library's start file of Debian 12 has none.
        require(first_instruction(program, "main").startswith("endbr"), "marked targets of jumps (-fcf-protection)")
    return faults


def main(programs):
    faulty = 0
    for program in programs:
        faults = lacking(program)
        faulty += bool(faults)
        print(f"{pathlib.Path(program).name}: {'lacks ' + '; '.join(faults) if faults else 'ok'}")
    if not programs:
        print("no program was named")
    return 0 if programs and not faulty else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
