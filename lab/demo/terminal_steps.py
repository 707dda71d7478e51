"""The steps of `script/demo terminal`: everything is done by quillbayctl, and what it says is checked."""

import datetime
import stat
import time
import zipfile

from quillbay_lab import Agent, Phone, Terminal, wait_until
from quillbay_lab.lab import MAC_ADDRESS, PHONE_MESH_ADDRESS

from .checks import NotSeen, expect_equal
from .commands import Commands

# A real phone's instance name is a word like this one; a dump prints a blank as an escape, which is taken for a name
# that was changed because of a conflict.
_INSTANCE = "6E2A41B7-90C3-4D1F"
_TXT = ("identifier=6E2A-41B7", "authTag=q83v+/8=", "flags=2", "ver=24", "minVer=17", "empty=")
_PEER = "robins-iphone"
_PEERS = ["build-server", _PEER, "office-mac", "new-tablet"]
_NAME, _NEW_NAME = "Robin’s iPhone", "Robin’s test phone"
# Near the end of what a scan looks through, so that there is something to see of it.
_MOVED_PORT = 64321
_STAYS_SECONDS = 60
_FORGOTTEN_SECONDS, _FORGOTTEN_AT_MOST_SECONDS = 15, 25
_INTERRUPTED = 130


def _age(phone):
    seen = datetime.datetime.fromisoformat(phone["lastSeen"])
    return (datetime.datetime.now(datetime.timezone.utc) - seen).total_seconds()


class TerminalSteps:
    """The steps in their order; each builds on those before."""

    TOTAL = 16

    def __init__(self, lab):
        self._lab = lab
        self._agent = Agent(lab)
        self._terminal = Terminal(lab)
        self._commands = Commands(self._terminal)
        self._phone = None
        self._processes = []

    def all(self):
        """(title, function) of each step; a function returns the line to show."""
        return [("nothing is running yet", self.nothing_runs),
                ("the agent runs", self.agent_runs),
                ("phones lists the phone", self.phone_is_listed),
                ("peers lists the network's members", self.peers_are_listed),
                ("pair saves a profile", self.phone_is_paired),
                ("a minute later the phone is still listed", self.phone_stays_listed),
                ("the phone leaves and is forgotten", self.phone_is_forgotten),
                ("start brings the bridge up", self.bridge_comes_up),
                ("the own record is no phone", self.own_record_is_not_listed),
                ("scan finds the moved port", self.scan_finds_the_port),
                ("Ctrl-C ends a scan at once", self.scan_is_interrupted),
                ("rename, stop, remove", self.profile_is_removed),
                ("report writes a zip", self.report_is_written),
                ("the same with NetBird", self.again_with_netbird),
                ("the same with a typed address", self.again_with_an_address),
                ("the agent ends and leaves nothing", self.nothing_is_left)]

    def log_tail(self, count=15):
        """The end of the agent's diagnostic log."""
        return self._agent.diagnostics()[-count:]

    def nothing_runs(self):
        self._processes = self._lab.mac.processes()
        refused = self._commands.ends_with(3, "status")
        expect_equal("reason", "quillbayctl: Nothing is running: start quillbay or quillbay-agent.", refused)
        usage = self._commands.ends_with(2, "dance")
        if "usage: quillbayctl" not in usage:
            raise NotSeen("the usage", repr(usage))
        return f"status ends with 3 and “{refused}”, an unknown command with 2 and the usage"

    def agent_runs(self):
        self._agent.start()
        status = wait_until(lambda: self._terminal.run("--json", "status").documents, 10, "the agent answers")[0]
        expect_equal("address of this computer", MAC_ADDRESS, status["localIP"])
        expect_equal("overall state and profiles", ("off", []), (status["overall"], status["profiles"]))
        refused = self._commands.ends_with(1, "start", "nobody")
        expect_equal("reason", 'quillbayctl: There is no profile "nobody".', refused)
        self._commands.answers(f"Quillbay {status['version']}: off\nAddress on the local network: {MAC_ADDRESS}\n\n"
                               "No phone is paired.", "status")
        return f"version {status['version']} at {status['localIP']}, no profile; starting nobody: 1, “{refused}”"

    def phone_is_listed(self):
        self._phone = Phone(self._lab, name=_INSTANCE, txt=_TXT)
        phone = self._terminal.await_phone(Phone.HOST, 20)
        expect_equal("name and port", (_INSTANCE, Phone.PORT), (phone["name"], phone["port"]))
        expect_equal("TXT entries", dict(entry.split("=", 1) for entry in _TXT), phone["txt"])
        self._commands.says(["NAME ", " HOST ", " PORT ", " SEEN ", " TXT", Phone.HOST, f" {Phone.PORT} ", " s ago ",
                             " identifier=6E2A-41B7 "], "phones")
        return (f"{phone['host']}:{phone['port']} as “{phone['name']}”, {len(phone['txt'])} TXT entries, seen "
                f"{_age(phone):.1f} s ago")

    def peers_are_listed(self):
        document = self._terminal.document("peers", "tailscale")
        peers = {peer["hostName"]: peer for peer in document["peers"]}
        expect_equal("peers", sorted([*_PEERS, ""]), sorted(peers))
        expect_equal("first address", PHONE_MESH_ADDRESS, peers[_PEER]["ipAddresses"][0])
        expect_equal("peers that are online", ["build-server", _PEER],
                     sorted(name for name, peer in peers.items() if peer["online"]))
        self._commands.says(["NAME ", " STATE ", " ADDRESSES", *_PEERS, " online ", " offline ", f" {PHONE_MESH_ADDRESS}"],
                            "peers", "tailscale")
        self._commands.ends_with(1, "peers", "zerotier")
        return f"{len(peers)} peers of the simulated client, “{_PEER}” at {', '.join(peers[_PEER]['ipAddresses'])}"

    def phone_is_paired(self):
        return self._pair("tailscale", "--peer", f"tailscale:{_PEER}")

    def phone_stays_listed(self):
        oldest, end = 0.0, time.monotonic() + _STAYS_SECONDS
        while time.monotonic() < end:
            phone = next((phone for phone in self._terminal.phones() if phone["host"] == Phone.HOST), None)
            if phone is None:
                raise NotSeen("the phone in the list", f"not {_STAYS_SECONDS - (end - time.monotonic()):.0f} s later")
            oldest = max(oldest, _age(phone))
            time.sleep(0.5)
        return f"for {_STAYS_SECONDS} s, its last sign never more than {oldest:.1f} s old"

    def phone_is_forgotten(self):
        last, = self._terminal.phones()
        self._lab.phone_leaves()
        start = time.monotonic()

        def forgotten():
            nonlocal last
            found = self._terminal.phones()
            last = found[0] if found else last
            return not found

        wait_until(forgotten, _FORGOTTEN_AT_MOST_SECONDS, "the phone drops out of the list")
        taken, age = time.monotonic() - start, _age(last)
        if age < _FORGOTTEN_SECONDS:
            raise NotSeen(f"in the list for {_FORGOTTEN_SECONDS} s after its last sign", f"gone after {age:.1f} s")
        return f"gone {taken:.1f} s after it left, {age:.1f} s after its last sign"

    def bridge_comes_up(self):
        taken = self._commands.bridge(_NAME)
        self._commands.says([": on\n", _NAME, " yes ", f" {PHONE_MESH_ADDRESS} "], "status")
        return f"start, then status says pairing and, {taken:.1f} s later, on"

    def own_record_is_not_listed(self):
        text = (f'host "{Phone.HOST}" matches this Mac\'s own active proxy registration for "{Phone.HOST}" — '
                "self-loop, not a real device")
        found = wait_until(self._record, 15, "the desk sees the record")
        expect_equal("address", [MAC_ADDRESS], found.addresses)
        self._agent.await_diagnostic(text, 10)
        self._commands.answers("There is no phone on the local network.", "phones")
        expect_equal("phones", [], self._terminal.phones())
        return f"the desk sees “{found.name}” at {found.addresses[0]}; the log calls it a self-loop, phones is empty"

    def scan_finds_the_port(self):
        self._phone.tell(f"move {_MOVED_PORT}")
        start = time.monotonic()
        with self._terminal.open("scan", _NAME) as session:
            expect_equal("exit status of scan", 0, session.wait(60))
            shown = session.screen
        taken = time.monotonic() - start
        for text in ("of 16,384 ports probed", f"The phone answers on port {_MOVED_PORT} ("):
            if text not in shown:
                raise NotSeen(f"“{text}” on the terminal", repr(shown))
        found = self._terminal.run("--json", "scan", _NAME, limit_seconds=60).documents[-1]
        expect_equal("port", _MOVED_PORT, found["port"])
        return (f"the phone has moved from {Phone.PORT}: found at {found['port']} after {found['probed']:,} of "
                f"{found['of']:,} ports, {taken:.1f} s, with {shown.count('ports probed')} lines of progress")

    def scan_is_interrupted(self):
        self._lab.phone_mutes()
        try:
            before = self._lab.received_by_phone()
            with self._terminal.open("scan", _NAME) as session:
                session.await_text("ports probed", 20)
                wait_until(lambda: self._lab.received_by_phone() > before + 90, 20, "probes arrive at the phone")
                start = time.monotonic()
                session.interrupt()
                expect_equal("exit status of the interrupted scan", _INTERRUPTED, session.wait(5))
                taken = time.monotonic() - start
            counted = self._lab.received_by_phone()
            time.sleep(2)
            later = self._lab.received_by_phone() - counted
        finally:
            self._lab.phone_answers()
        if taken > 1 or later > 5:
            raise NotSeen("the scan ends within 1 s and no probe comes after it", f"{taken:.2f} s, {later} packets")
        expect_equal("the bridge", {_NAME: "on"}, self._terminal.states())
        return f"ends with {_INTERRUPTED} after {taken:.2f} s; {later} packets reach the phone in the next 2 s"

    def profile_is_removed(self):
        identity = self._profile()["id"]
        self._commands.answers(f"Renamed: {identity}", "rename", _NAME, _NEW_NAME)
        expect_equal("states after rename", [_NEW_NAME], list(self._terminal.states()))
        wait_until(self._record, 15, "the record is there after the rename")
        self._commands.answers(f"Stopped: {identity}", "stop", _NEW_NAME)
        expect_equal("states after stop", {_NEW_NAME: "off"}, self._terminal.states())
        wait_until(lambda: not self._record(), 5, "the record is withdrawn")
        self._commands.answers(f"Removed: {identity}", "remove", _NEW_NAME)
        expect_equal("states after remove", {}, self._terminal.states())
        expect_equal("profiles on file", [], self._agent.profiles())
        return f"“{_NAME}” became “{_NEW_NAME}”, its record was withdrawn, its profile is gone"

    def report_is_written(self):
        path = self._lab.mac.home / "report.zip"
        self._commands.answers(f"Written: {path}", "report", "--to", path.name)
        expect_equal("permissions", "-rw-------", stat.filemode(path.stat().st_mode))
        with zipfile.ZipFile(path) as report:
            name, = report.namelist()
            lines = report.read(name).decode().splitlines()
        expect_equal("first line", "Quillbay diagnostics", lines[0])
        end = lines.index("--- log ---")
        return (f"{name} in {path.name}, {end} lines of header and {len(lines) - end - 1} of log, for its owner "
                "alone")

    def again_with_netbird(self):
        peers = {peer["hostName"] for peer in self._terminal.document("peers", "netbird")["peers"]}
        expect_equal("peers", {*_PEERS, "unknown"}, peers)
        return self._once_more("netbird", "--peer", f"netbird:{_PEER}")

    def again_with_an_address(self):
        return self._once_more("manual", "--address", PHONE_MESH_ADDRESS)

    def nothing_is_left(self):
        expect_equal("exit status of the agent", 0, self._agent.stop())
        # Each was asked to end; only the registration is waited for.
        wait_until(lambda: self._lab.mac.processes() == self._processes, 1, "no child of the agent is left")
        expect_equal("open ports of this computer", set(), self._lab.mac.listening(MAC_ADDRESS))
        return f"SIGTERM: no child, no port, and status says “{self._commands.ends_with(3, 'status')}” again"

    def _record(self):
        return next((found for found in self._lab.desk.mdns_lookup(limit_seconds=0.4) if found.name == _INSTANCE), None)

    def _profile(self):
        profile, = self._terminal.document("status")["profiles"]
        return profile

    def _pair(self, provider, *address):
        said = self._commands.ends_with(0, "pair", Phone.HOST, *address, "--name", _NAME)
        profile = self._profile()
        expect_equal("answer to pair", f"Paired: {profile['id']}", said)
        came = {key: profile[key] for key in ("displayName", "bonjourHost", "providerID", "providerIP")}
        expect_equal("profile", {"displayName": _NAME, "bonjourHost": Phone.HOST, "providerID": provider,
                                 "providerIP": PHONE_MESH_ADDRESS}, came)
        stored, = self._agent.profiles()
        expect_equal("TXT record on file", dict(entry.split("=", 1) for entry in _TXT), stored["txtRecord"])
        return f"“{_NAME}” is {profile['bonjourHost']} at {profile['providerIP']} through {provider}, on file too"

    def _once_more(self, provider, *address):
        self._lab.phone_returns()
        self._terminal.await_phone(Phone.HOST, 30, port=_MOVED_PORT)
        self._pair(provider, *address)
        self._lab.phone_leaves()
        taken = self._commands.bridge(_NAME)
        found = wait_until(self._record, 15, "the desk sees the record")
        expect_equal("record", (_MOVED_PORT, [MAC_ADDRESS]), (found.port, found.addresses))
        identity = self._profile()["id"]
        self._commands.answers(f"Stopped: {identity}", "stop", _NAME)
        self._commands.answers(f"Removed: {identity}", "remove", _NAME)
        wait_until(lambda: not self._record(), 5, "the record is withdrawn")
        return f"paired through {provider}, on after {taken:.1f} s, stopped and removed"
