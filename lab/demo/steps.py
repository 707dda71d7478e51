"""The twelve steps. Each does something, checks what can be seen of it, and says it in one line with its figures."""

import json
import signal
import subprocess
import time

from quillbay_lab import Agent, LabError, Phone, profile_of, programs, wait_until
from quillbay_lab.lab import DESK_ADDRESS, MAC_ADDRESS
from quillbay_lab.lines import Lines

from .checks import NotSeen, expect_equal

_PYTHON = "/usr/bin/python3"
_SERVICE_TYPE = "_remotepairing._tcp"
_STILL_NEAR = ("Connection error: The device is still on this Mac's local network. Move it to a different Wi‑Fi "
               "before bridging. Cellular won't work.")
_SUCCESS = "Bridge is successful."
_NEW_ADDRESS = "192.168.77.11"
_MOVED_PORT = 49400
_BULK_BYTES = 256 * 1024 * 1024
_DATAGRAMS = 10_000
_TUNNEL_PORT, _TUNNEL_PORT_OUTSIDE = 55005, 60123


class Steps:
    """The steps in their order; each builds on those before."""

    TOTAL = 12

    def __init__(self, lab):
        self._lab = lab
        self._agent = Agent(lab)
        self._phone = None
        self._service = None
        self._open_before = set()

    def all(self):
        """(title, function) of each step; a function returns the line to show."""
        return [("the phone announces itself", self.phone_announces),
                ("a profile is made from the record", self.profile_is_made),
                ("the agent refuses while the phone is near", self.agent_refuses),
                ("the phone leaves and the bridge comes up", self.bridge_comes_up),
                ("the desk sees the proxied record", self.desk_sees_the_record),
                ("a client that knows only the record reaches the phone", self.handshake_is_answered),
                ("256 MiB each way through a tunnel port", self.bytes_arrive),
                ("10,000 datagrams from two clients", self.datagrams_come_back),
                ("a tunnel port outside the range is relayed", self.reported_port_is_relayed),
                ("the phone's moved port is found", self.moved_port_is_found),
                ("the Mac's address changes", self.address_changes),
                ("the agent ends and leaves nothing", self.nothing_is_left)]

    def log_tail(self, count=15):
        """The end of the agent's diagnostic log."""
        return self._agent.diagnostics()[-count:]

    def phone_announces(self):
        self._phone = Phone(self._lab)
        mac = self._lab.mac
        self._open_before = mac.listening()
        self._service = wait_until(lambda: self._named(mac.avahi_browse()), 15, "the Mac's Avahi resolves the phone")
        expect_equal("host and port", (Phone.HOST, Phone.PORT), (self._service.host, self._service.port))
        return (f"“{self._service.name}” is {self._service.host}:{self._service.port} at "
                f"{self._service.addresses[0]} for the Mac's Avahi, with {len(self._service.txt)} TXT entries")

    def profile_is_made(self):
        self._agent.write_profiles([profile_of(self._service)])
        profile, = self._agent.profiles()
        expect_equal("TXT record", {entry.partition("=")[0]: entry.partition("=")[2] for entry in Phone.TXT},
                     profile["txtRecord"])
        return (f"devices.json has “{profile['displayName']}”, reached at {profile['providerIP']}, tunnel ports "
                f"{profile['tunnelPortRangeStart']}–{profile['tunnelPortRangeEnd']}, bridge enabled")

    def agent_refuses(self):
        self._agent.start()
        start = time.monotonic()
        self._await_user_line(_STILL_NEAR, 20)
        taken = time.monotonic() - start
        self._stop_agent()
        return f"with the phone still near, after {taken:.1f} s: “{_STILL_NEAR}”"

    def bridge_comes_up(self):
        self._lab.phone_leaves()
        taken = self._start_bridge()
        # The log is written behind the user's line, not before it.
        relays = self._agent.await_diagnostic("relay open", 5)
        return f"the phone has left: “{_SUCCESS}” after {taken:.1f} s ({relays.rpartition('verified, ')[2]})"

    def desk_sees_the_record(self):
        service = self._await_record(self._service.port, MAC_ADDRESS, 15)
        expect_equal("host", self._service.host, service.host)
        expect_equal("TXT strings", sorted(entry.encode() for entry in Phone.TXT), sorted(service.txt))
        return (f"the desk asks the network: “{service.name}” is {service.host}:{service.port} at "
                f"{service.addresses[0]}, all {len(service.txt)} TXT strings byte for byte")

    def handshake_is_answered(self):
        before = len(self._phone.events("handshake"))
        said = self._handshake()
        expect_equal("address of the record", MAC_ADDRESS, said["address"])
        expect_equal("originator of the answer", "device", said["answer"]["originatedBy"])
        wait_until(lambda: len(self._phone.events("handshake")) > before, 5, "the phone says that it was asked")
        return f"asked at {said['address']}:{said['port']}, the phone's own handshake answer comes back"

    def bytes_arrive(self):
        rates = []
        for verb in ("get", "put"):
            outcome = self._bulk(verb, MAC_ADDRESS, _TUNNEL_PORT, _BULK_BYTES)
            rates.append(_BULK_BYTES / 1024 / 1024 / outcome["seconds"])
        return (f"256 MiB each way over port {_TUNNEL_PORT}, SHA-256 equal at both ends: {rates[0]:.0f} MiB/s from the "
                f"phone, {rates[1]:.0f} MiB/s to it")

    def datagrams_come_back(self):
        result = self._lab.mac.run([_PYTHON, "-m", "clients.datagrams", MAC_ADDRESS, _TUNNEL_PORT, _DATAGRAMS], 60)
        outcome = json.loads(result.output)
        figures = {key: outcome[key] for key in ("right", "lost", "stray", "repeated")}
        expect_equal("replies", {"right": _DATAGRAMS, "lost": 0, "stray": 0, "repeated": 0}, figures)
        return (f"{_DATAGRAMS:,} datagrams from two clients, each answered once and to the right one, none lost "
                f"({_DATAGRAMS / outcome['seconds']:,.0f} a second)")

    def reported_port_is_relayed(self):
        text = f"live tunnel port {_TUNNEL_PORT_OUTSIDE} discovered, relay open"

        def reported():
            self._lab.mac.log_line("remotepairingd", f"Got tunnel endpoint: 'fd12::1:{_TUNNEL_PORT_OUTSIDE}'")
            return any(text in line for line in self._agent.diagnostics())

        wait_until(reported, 10, f"diagnostics.log says “{text}”")
        outcome = self._bulk("get", MAC_ADDRESS, _TUNNEL_PORT_OUTSIDE, 1024 * 1024)
        return (f"the system log names port {_TUNNEL_PORT_OUTSIDE}, outside the range: relayed, "
                f"{outcome['bytes'] // 1024} KiB through it")

    def moved_port_is_found(self):
        self._stop_agent()
        self._phone.tell(f"move {_MOVED_PORT}")
        taken = self._start_bridge(limit_seconds=60)
        profile, = self._agent.profiles()
        expect_equal("port in devices.json", _MOVED_PORT, profile["remotePairingPort"])
        self._await_record(_MOVED_PORT, MAC_ADDRESS, 15)
        self._handshake()
        return (f"the phone has moved from port {Phone.PORT} to {_MOVED_PORT}: found by the scan, in devices.json and "
                f"in the record {taken:.1f} s after the start")

    def address_changes(self):
        logged = len(self._agent.diagnostics())
        start = time.monotonic()
        self._lab.set_address(self._lab.mac, "en0", _NEW_ADDRESS)
        text = f"en0 IP changed: {_NEW_ADDRESS} — restarting bridges"
        self._agent.await_diagnostic(text, 5, after=logged)
        self._await_record(_MOVED_PORT, _NEW_ADDRESS, 10)
        outcome = self._bulk("get", _NEW_ADDRESS, _TUNNEL_PORT, 1024 * 1024)
        taken = time.monotonic() - start
        if taken > 5:
            raise NotSeen("relays and record at the new address within 5 s", f"after {taken:.1f} s")
        expect_equal("relays at the old address", set(), self._lab.mac.listening(MAC_ADDRESS))
        return (f"en0 is now {_NEW_ADDRESS}: record and relays follow in {taken:.1f} s, "
                f"{outcome['bytes'] // 1024} KiB through the new address")

    def nothing_is_left(self):
        withdrawn = self._end_while_watched()
        expect_equal("open ports", set(), self._lab.mac.listening() - self._open_before)
        expect_equal("left processes", [], self._agents_processes())
        self._start_bridge()
        self._agent.process.signal(signal.SIGKILL)
        self._agent.process.wait(5)
        left = [line for line in self._agents_processes() if "dns-sd" in line and "-P" in line.split()]
        logged = len(self._agent.diagnostics())
        self._start_bridge()
        if left:
            text = f"Cleared {len(left)} leftover Bonjour proxy registration(s) from a previous launch (pid "
            self._agent.await_diagnostic(text, 5, after=logged)
        self._stop_agent()
        wait_until(lambda: not self._named(self._lab.desk.mdns_lookup(limit_seconds=0.5)), 5, "the record is gone")
        return (f"SIGTERM: withdrawn after {withdrawn:.2f} s, no port open, no child left; SIGKILL: the next start "
                f"clears {len(left)} leftover registration(s)")

    def _named(self, services):
        return next((service for service in services if service.name == Phone.NAME), None)

    def _await_user_line(self, text, limit_seconds):
        try:
            self._agent.await_user_line(text, limit_seconds)
        except LabError as error:
            raise NotSeen(f"the user line “{text}” within {limit_seconds} s",
                          self._agent.user_lines() or "no user line") from error

    def _start_bridge(self, limit_seconds=30):
        start = time.monotonic()
        self._agent.start()
        self._await_user_line(_SUCCESS, limit_seconds)
        return time.monotonic() - start

    def _stop_agent(self):
        expect_equal("exit status of the agent", 0, self._agent.stop())

    def _await_record(self, port, address, limit_seconds):
        found = []

        def as_expected():
            found[:] = self._lab.desk.mdns_lookup(limit_seconds=0.4)
            service = self._named(found)
            return service if service and (service.port, service.addresses) == (port, [address]) else None

        try:
            return wait_until(as_expected, limit_seconds, "")
        except LabError as error:
            raise NotSeen(f"a record with port {port} at {address} within {limit_seconds} s", found) from error

    def _handshake(self):
        result = self._lab.mac.run([_PYTHON, "-m", "clients.handshake", Phone.NAME], 30)
        if result.code != 0:
            raise NotSeen("an answer to the handshake", result.output.strip())
        return json.loads(result.output)

    def _bulk(self, verb, address, port, size):
        result = self._lab.mac.run([programs.BULK_CLIENT, verb, address, port, 7, size], 120)
        if result.code != 0:
            raise NotSeen("equal SHA-256 at both ends", result.output.strip())
        return json.loads(result.output)

    def _end_while_watched(self):
        """Ends the agent by SIGTERM and returns how long the desk had to wait for the goodbye."""
        watcher = self._lab.desk.spawn([_PYTHON, "-m", "quillbay_lab.mdns_tool", "goodbyes", DESK_ADDRESS,
                                        _SERVICE_TYPE, 20], stdout=subprocess.PIPE)
        lines = Lines(watcher.stdout)
        lines.await_line(lambda line: line == "listening", 10, "the desk listens for goodbyes")
        start = time.monotonic()
        self._stop_agent()
        line = lines.await_line(lambda line: Phone.NAME in json.loads(line)["instance"], 5, "the desk sees a goodbye",
                                after=1)
        watcher.end()
        taken = json.loads(line)["time"] - start
        if taken > 1:
            raise NotSeen("a goodbye within a second", f"after {taken:.2f} s")
        return taken

    def _agents_processes(self):
        known = ("systemd-journald", "dbus-daemon", "avahi-daemon")
        return [line for line in self._lab.mac.processes() if not any(name in line.split()[0] for name in known)]
