"""Calls of functions that can fail: those that a program contains, and the words for those that it came by."""

import re
import subprocess
from dataclasses import dataclass

_CALL = re.compile(r"^\s*([0-9a-f]+):\s.*\b(call|jmp)q?\s+[0-9a-f]+ <(\w+)@plt>")
_ADDRESS = re.compile(r"^\s*([0-9a-f]+):\s")
# The names by which the compiler calls the same functions.
_OTHER_NAMES = {"open64": "open", "__open_2": "open", "__open64_2": "open", "__openat_2": "openat", "fopen64": "fopen",
                "__read_chk": "read", "__recv_chk": "recv", "__recvfrom_chk": "recvfrom", "__poll_chk": "poll",
                "__gethostname_chk": "gethostname", "fcntl64": "fcntl"}


@dataclass(frozen=True)
class Call:
    function: str
    # A jump at the end of a function: what is called returns to that one's caller, so no return address leads here.
    is_jump: bool


def calls_in(program, functions):
    """Every call in the program that leads to one of the functions: {address of the next instruction: `Call`}."""
    listing = subprocess.run(["objdump", "--disassemble", "--no-show-raw-insn", program], capture_output=True, text=True,
                             check=True).stdout
    found, pending = {}, None
    for line in listing.splitlines():
        address = _ADDRESS.match(line)
        if not address:
            continue
        if pending:
            found[int(address[1], 16)] = pending
        match = _CALL.match(line)
        name = _OTHER_NAMES.get(match[3], match[3]) if match else None
        pending = Call(name, match[2] == "jmp") if name in functions else None
    return found


def reached(calls, sites, program_module):
    """Those of the calls that the call sites show to have been made: {address}."""
    innermost = {(site.function, next((offset for module, offset in site.frames if module == program_module), None))
                 for site in sites}
    by_return = {address for address, call in calls.items() if (call.function, address) in innermost}
    # What was called from the program and from none of its calls, was jumped to.
    jumped = {function for function, address in innermost if address not in calls}
    return by_return | {address for address, call in calls.items() if call.is_jump and call.function in jumped}


class Symbols:
    """The source lines of a program's return addresses."""

    def __init__(self, program):
        self._program = str(program)
        self._known = {}

    def learn(self, addresses):
        """Looks up many at once."""
        unknown = sorted(set(addresses) - self._known.keys())
        if not unknown:
            return
        # Inside the call, not behind it. Functions that were merged into others are printed too, the innermost first.
        argv = ["addr2line", "--addresses", "--inlines", "--functions", "--demangle", "--basenames", f"--exe={self._program}",
                *(hex(address - 1) for address in unknown)]
        lines = subprocess.run(argv, capture_output=True, text=True, check=True).stdout.splitlines()
        places = {}
        for line in lines:
            if line.startswith("0x"):
                place = places.setdefault(int(line, 16) + 1, [])
            else:
                place.append(line)
        for address in unknown:
            functions, lines_of = places[address][::2], places[address][1::2]
            self._known[address] = self._words(functions[0], lines_of[0])
            if len(functions) > 1:
                self._known[address] += " in " + self._words(functions[-1], lines_of[-1])

    def of(self, address):
        """"FUNCTION FILE:LINE"."""
        self.learn([address])
        return self._known[address]

    @staticmethod
    def _words(function, place):
        function = function.replace("quillbay::", "").replace("boost::asio::detail::", "asio::").replace(
            "(anonymous namespace)::", "").replace("operator()", "operator").replace("[abi:cxx11]", "")
        # The arguments of templates say little and fill lines; those of functions may hold templates.
        while (shorter := re.sub(r"<[^<>]*>", "", function)) != function:
            function = shorter
        function = re.sub(r"\(.*", "", function)
        return f"{function[-60:].strip()} {place.split(' ')[0]}".strip()


def describe(site, injection, symbols):
    """One line for a call site, from the call outwards."""
    words = []
    for module, offset in site.frames:
        path = injection.module_path(module)
        words.append(symbols.of(offset) if path == "program" else path.rpartition("/")[2].split(".so")[0])
    # Frames of one library in a row are one.
    kept = [word for index, word in enumerate(words) if index == 0 or words[index - 1] != word]
    return f"{site.function}{' (child)' if site.in_forked_child else ''}: " + " < ".join(kept)
