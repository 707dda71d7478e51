"""One host of the lab: runs programs in it and asks its Avahi what it sees."""

import os
import pathlib
import subprocess
import threading
import uuid
from dataclasses import dataclass

from . import records, services
from .errors import LabError
from .hostprocess import Namespace
from .waiting import wait_until

_LAB_FOLDER = pathlib.Path(__file__).resolve().parent.parent
_PYTHON = "/usr/bin/python3"


@dataclass
class Result:
    """What a program that ran to its end printed (standard error too) and how it ended."""

    code: int
    output: str


class Host:
    """A host with namespaces of its own. `folder` is its private place on the real file system."""

    RUNTIME = "/run/user/0"

    def __init__(self, folder, name, interface, programs=None):
        """`programs`: a folder that takes the place of /usr/local/bin in this host."""
        self.name = name
        self.interface = interface
        self.folder = pathlib.Path(folder)
        self.home = self.folder / "home"
        for private in (self.home, self.folder / "tmp"):
            private.mkdir(parents=True, mode=0o700)
        services.write_configurations(self.folder, f"quillbay-{name}", interface, uuid.uuid4().hex)
        self._background = {}
        self.namespace = Namespace(name, services.mounts(self.folder, programs))
        self.run(["mkdir", "-p", "-m", "700", "/run/dbus", self.RUNTIME, "/run/systemd/journal"], check=True)
        self.run(["ip", "link", "set", "lo", "up"], check=True)

    @property
    def environment(self):
        """What programs in the host get; nothing of the caller's own comes along."""
        return {"PATH": "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", "LANG": "C.UTF-8",
                "HOME": str(self.home), "XDG_DATA_HOME": str(self.home / "data"),
                "XDG_CONFIG_HOME": str(self.home / "config"), "XDG_RUNTIME_DIR": self.RUNTIME,
                "TMPDIR": str(self.folder / "tmp"), "DBUS_SYSTEM_BUS_ADDRESS": services.BUS_ADDRESS,
                "PYTHONPATH": str(_LAB_FOLDER), "PYTHONDONTWRITEBYTECODE": "1"}

    def spawn(self, argv, stdin=None, stdout=None, stderr=None, environment=None):
        """Starts a program. `stdout` and `stderr` are open files or paths to append to, and default to nowhere;
        `subprocess.PIPE` for `stdin` or `stdout` gives the process a file of that name."""
        opened = []

        def descriptor(stream, mode):
            if hasattr(stream, "fileno"):
                return stream.fileno()
            opened.append(os.open(stream or os.devnull, mode | os.O_CLOEXEC, 0o600))
            return opened[-1]

        theirs, ours = [], {}
        for name, stream in (("stdin", stdin), ("stdout", stdout), ("stderr", stderr)):
            if stream == subprocess.PIPE:
                ends = os.pipe2(os.O_CLOEXEC)
                reading = name != "stdin"
                ours[name] = os.fdopen(ends[0 if reading else 1], "r" if reading else "w", buffering=1)
                opened.append(ends[1 if reading else 0])
                theirs.append(opened[-1])
            elif stream == subprocess.STDOUT:
                theirs.append(theirs[1])
            else:
                theirs.append(descriptor(stream, os.O_RDONLY if name == "stdin" else
                                         os.O_WRONLY | os.O_CREAT | os.O_APPEND))
        try:
            process = self.namespace.spawn(argv, {**self.environment, **(environment or {})}, self.home, theirs)
        except BaseException:
            for stream in ours.values():
                stream.close()
            raise
        finally:
            for number in opened:
                os.close(number)
        process.stdin, process.stdout = ours.get("stdin"), ours.get("stdout")
        return process

    def run(self, argv, limit_seconds=20, check=False, input_text=None, environment=None):
        """Runs a program to its end. Raises `LabError` when it takes longer than the limit or, with `check`, when
        it fails."""
        process = self.spawn(argv, stdin=subprocess.PIPE if input_text is not None else None,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, environment=environment)
        chunks = []
        reader = threading.Thread(target=lambda: chunks.append(process.stdout.read()), daemon=True)
        reader.start()
        if input_text is not None:
            with process.stdin:
                process.stdin.write(input_text)
        try:
            code = process.wait(limit_seconds)
        except BaseException:
            process.end(1)
            raise
        # A grandchild may hold the pipe open: what the program itself printed is in by now.
        reader.join(1)
        result = Result(code, "".join(chunks))
        if not reader.is_alive():
            process.stdout.close()
        if check and code != 0:
            raise LabError(f"{self.name}: {' '.join(map(str, argv))} ended with {code}: {result.output.strip()}")
        return result

    def start_services(self):
        """Starts the bus and the Avahi daemon, and waits until both answer."""
        self._start("dbus", services.bus_command(self.folder))
        wait_until(lambda: self.run(["test", "-S", "/run/dbus/system_bus_socket"]).code == 0, 10,
                   f"{self.name}: the system bus is there")
        self.start_avahi()

    def start_avahi(self):
        self._start("avahi", services.avahi_command(self.folder))

        def running():
            if not self._background["avahi"].running:
                raise LabError(f"{self.name}: avahi-daemon ended: {self.service_log('avahi')}")
            return self.run(services.AVAHI_STATE).output.split() == ["int32", "2"]

        wait_until(running, 15, f"{self.name}: Avahi runs")

    def stop_avahi(self):
        self._background.pop("avahi").end()

    def start_journal(self):
        """A real journal of this host's own, which `journalctl --follow` follows. Raises `LabError` without one."""
        if not services.JOURNAL_DAEMON.exists():
            raise LabError("the host needs Debian's package systemd (systemd-journald, journalctl)")
        self._start("journal", [services.JOURNAL_DAEMON])
        wait_until(lambda: self.run(["test", "-S", "/run/systemd/journal/stdout"]).code == 0, 10,
                   f"{self.name}: the journal listens")

    def log_line(self, identifier, text):
        """Has a program with this identifier write one line to the host's system log."""
        self.run(["systemd-cat", f"--identifier={identifier}"], input_text=text + "\n", check=True)

    def service_log(self, name):
        """What a service of the host printed."""
        return (self.folder / f"{name}.log").read_text(errors="replace")

    def avahi_browse(self, service_type="_remotepairing._tcp", limit_seconds=20):
        """The services of this type that the host's own Avahi resolves right now, as `records.Service`."""
        result = self.run(["avahi-browse", "--parsable", "--resolve", "--terminate", "--no-db-lookup", service_type],
                          limit_seconds, check=True)
        return records.parse_browse_output(result.output)

    def mdns_lookup(self, service_type="_remotepairing._tcp", limit_seconds=1.0, names=()):
        """The services of this type that answer a multicast query of the host's own, byte for byte. Where there are more
        than a few, their names have to be given."""
        result = self.run([_PYTHON, "-m", "quillbay_lab.mdns_tool", "lookup", self.address(self.interface),
                           service_type, str(limit_seconds), *(name.encode().hex() for name in names)],
                          limit_seconds + 15, check=True)
        return records.services_from_json(result.output)

    def addresses(self, interface):
        """The IPv4 addresses that an interface has, with their prefix lengths."""
        words = self.run(["ip", "-4", "-brief", "address", "show", "dev", interface], check=True).output.split()
        return words[2:]

    def address(self, interface):
        """The first IPv4 address of an interface. Raises `LabError` when it has none."""
        found = self.addresses(interface)
        if not found:
            raise LabError(f"{self.name}: {interface} has no address")
        return found[0].partition("/")[0]

    def processes(self):
        """The command lines of everything that runs in the host, process 1 and `ps` itself left out."""
        lines = self.run(["ps", "-axww", "-o", "pid=,ppid=,stat=,args="], check=True).output.splitlines()
        found = [line.split(None, 3) for line in lines]
        return [words[3] for words in found if words[0] != "1" and not words[3].startswith("ps -axww")]

    @property
    def root(self):
        """The host's files as its programs see them, its own /proc and /run among them."""
        holder = self.namespace.network[1]
        first, = pathlib.Path(f"/proc/{holder}/task/{holder}/children").read_text().split()
        return pathlib.Path(f"/proc/{first}/root")

    def listening(self, address=None):
        """The sockets that are bound in the host as {(protocol, address, port)}, of one address if given."""
        found = set()
        for line in self.run(["ss", "-Hlntu"], check=True).output.splitlines():
            words = line.split()
            where, _, port = words[4].rpartition(":")
            where = where.partition("%")[0]
            if address is None or where == address:
                found.add((words[0], where, int(port)))
        return found

    def close(self):
        self.namespace.close()

    def _start(self, name, argv):
        log = self.folder / f"{name}.log"
        self._background[name] = self.spawn(argv, stdout=log, stderr=log)
