"""Who can reach what through a bridge, what a run leaves on the disk, how its children run, and what it sends to whom:
what docs/security.md says, seen from outside at a real agent."""

import json
import os
import re
import socket
import stat
import subprocess
import zipfile

import pytest

from quillbay_lab import Phone, Terminal, paired_agent, programs, wait_until
from quillbay_lab.capture import Capture
from quillbay_lab.lab import DESK_ADDRESS, MAC_ADDRESS, MAC_MESH_ADDRESS, PHONE_MESH_ADDRESS
from quillbay_lab.lines import Lines

PYTHON = "/usr/bin/python3"
SUCCESS = "Bridge is successful."
# Says what becomes of a connection that the client itself leaves open: "closed", "open" after a while, or what came.
CONNECT = """
import socket, sys
connection = socket.create_connection((sys.argv[1], int(sys.argv[2])), 5, source_address=(sys.argv[3], 0))
connection.sendall(b"GET 1 10\\n")
try:
    print("closed" if connection.recv(1) == b"" else "served")
except ConnectionResetError:
    print("closed")
"""
SEND = """
import socket, sys
sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
sender.bind((sys.argv[3], 0))
for number in range(int(sys.argv[4])):
    sender.sendto(b"datagram %d" % number, (sys.argv[1], int(sys.argv[2])))
"""
# Sends a datagram whose source address is whatever it is told.
FORGE = """
import socket, struct, sys
target, port, source = socket.inet_aton(sys.argv[1]), int(sys.argv[2]), socket.inet_aton(sys.argv[3])
payload = b"forged"
datagram = struct.pack(">HHHH", 40000, port, 8 + len(payload), 0) + payload
header = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 20 + len(datagram), 1, 0, 64, socket.IPPROTO_UDP, 0, source, target)
raw = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW)
raw.sendto(header + datagram, (sys.argv[1], 0))
"""
# Keeps a connection open and prints a line when it is served and one when it ends.
STAY = """
import socket, sys
connection = socket.create_connection((sys.argv[1], int(sys.argv[2])), 5)
connection.sendall(b"GET 1 1\\n")
connection.recv(1)
print("served", flush=True)
connection.settimeout(20)
try:
    while connection.recv(4096):
        pass
except ConnectionResetError:
    pass
print("ended", flush=True)
"""


class Bridge:
    """A bridge that is up, for all tests of this file; each sets the restriction that it needs."""

    def __init__(self, lab):
        self.lab, self.mac, self.desk = lab, lab.mac, lab.desk
        self.phone = Phone(lab)
        self.agent = paired_agent(lab, self.phone)
        self.agent.start({"MARKER": "text-of-the-environment"})
        self.agent.await_user_line(SUCCESS, 30)
        self.terminal = Terminal(lab)
        wait_until(lambda: len(self.mac.listening(MAC_ADDRESS)) >= 6004, 10, "every port is open")

    @property
    def process(self):
        """The agent's folder in /proc."""
        return self.mac.root / "proc" / str(self.agent.process.pid)

    @property
    def children(self):
        """Those of the processes that the agent has started that run."""
        found = []
        for task in (self.process / "task").iterdir():
            found += [self.mac.root / "proc" / word for word in (task / "children").read_text().split()]
        return found

    def settings(self, *words):
        return self.terminal.document("settings", *words)

    def restrict(self, only):
        said = self.settings("only-this-computer", "on" if only else "off")
        assert said["onlyThisComputer"] is only
        return said

    def connect(self, host, port, source):
        return host.run([PYTHON, "-c", CONNECT, MAC_ADDRESS, port, source], 20, check=True).output.strip()

    def send(self, host, port, source, count):
        host.run([PYTHON, "-c", SEND, MAC_ADDRESS, port, source, count], 20, check=True)


@pytest.fixture(scope="module")
def bridge(shared):
    return Bridge(shared)


def bulk(host, port, size=100_000, address=MAC_ADDRESS):
    return json.loads(host.run([programs.BULK_CLIENT, "get", address, port, 7, size], 60, check=True).output)


# Who can reach what


def descriptors_of(process):
    """{number: what it leads to} of a process, given as its folder in /proc."""
    found = {}
    for entry in (process / "fd").iterdir():
        try:
            found[entry.name] = os.readlink(entry)
        except FileNotFoundError:
            # Closed in the meantime.
            continue
    return found


def sockets_of(process):
    """The inodes of the process's sockets."""
    return {path[8:-1] for path in descriptors_of(process).values() if path.startswith("socket:[")}


def bound_sockets(process):
    """(protocol, address) of each socket of the process that others could send to: listening, or bound and
    unconnected. IPv6 ones with their address in hexadecimal digits."""
    own, found = sockets_of(process), []
    for table in ("tcp", "tcp6", "udp", "udp6"):
        for line in (process / "net" / table).read_text().splitlines()[1:]:
            words = line.split()
            local, state, inode = words[1], words[3], words[9]
            if inode not in own or state != ("0A" if table.startswith("tcp") else "07"):
                continue
            digits = local.partition(":")[0]
            found.append((table, socket.inet_ntoa(bytes.fromhex(digits)[::-1]) if len(digits) == 8 else digits))
    return found


def test_every_socket_of_an_active_bridge_listens_on_en0s_address_alone(bridge):
    found = bound_sockets(bridge.process)
    assert set(found) == {("tcp", MAC_ADDRESS), ("udp", MAC_ADDRESS)}
    # The control channel and the tunnel range, once each.
    assert (found.count(("tcp", MAC_ADDRESS)), found.count(("udp", MAC_ADDRESS))) == (3002, 3002)


def test_no_child_of_the_agent_listens_for_the_network(bridge):
    for child in bridge.children:
        assert [entry for entry in bound_sockets(child) if entry[0].startswith("tcp")] == []


def test_the_relays_do_not_answer_at_the_computers_other_addresses(bridge):
    for address in (MAC_MESH_ADDRESS, "127.0.0.1"):
        outcome = bridge.mac.run([programs.BULK_CLIENT, "get", address, 55001, 7, 10], 20)
        assert outcome.code != 0, outcome.output


def test_at_first_every_computer_of_the_local_network_reaches_the_phone(bridge):
    assert bridge.settings()["onlyThisComputer"] is False
    assert bulk(bridge.desk, 55001)["equal"]
    datagrams = bridge.desk.run([PYTHON, "-m", "clients.datagrams", MAC_ADDRESS, 55002, 100], 20, check=True)
    assert json.loads(datagrams.output)["right"] == 100


def test_when_it_is_restricted_nothing_of_another_computer_reaches_the_phone_and_it_is_counted(bridge):
    before = bridge.restrict(True)
    try:
        with Capture(bridge.lab.phone, "vpn0") as capture:
            for _ in range(3):
                assert bridge.connect(bridge.desk, 55003, DESK_ADDRESS) == "closed"
            bridge.send(bridge.desk, 55003, DESK_ADDRESS, 20)
            wait_until(lambda: bridge.settings()["refusedDatagrams"] - before["refusedDatagrams"] == 20, 5,
                       "every datagram was counted")
            assert bridge.settings()["refusedConnections"] - before["refusedConnections"] == 3
            # What is this computer's own still passes, and shows that the capture sees what there is.
            assert bulk(bridge.mac, 55004)["equal"]
            wait_until(lambda: capture.packets(destinationPort=55004), 5, "the capture sees this computer's own")
            assert capture.packets(destinationPort=55003) == []
        bridge.agent.await_diagnostic("Only this computer may use the bridge: 1 connection(s) and 0 datagram(s) of "
                                      f"others refused so far, the last from {DESK_ADDRESS}", 5)
    finally:
        bridge.restrict(False)


def test_when_it_is_restricted_this_computer_still_gets_through(bridge):
    bridge.restrict(True)
    try:
        assert bulk(bridge.mac, 55001)["equal"]
        for source in (MAC_ADDRESS, "127.0.0.1"):
            assert bridge.connect(bridge.mac, 55001, source) == "served"
        datagrams = bridge.mac.run([PYTHON, "-m", "clients.datagrams", MAC_ADDRESS, 55002, 100], 20, check=True)
        assert json.loads(datagrams.output)["right"] == 100
    finally:
        bridge.restrict(False)


def test_when_it_is_restricted_another_address_of_this_computer_is_refused_too(bridge):
    before = bridge.restrict(True)
    try:
        assert bridge.connect(bridge.mac, 55001, MAC_MESH_ADDRESS) == "closed"
        assert bridge.settings()["refusedConnections"] == before["refusedConnections"] + 1
    finally:
        bridge.restrict(False)
    assert bridge.connect(bridge.mac, 55001, MAC_MESH_ADDRESS) == "served"


def test_when_it_is_restricted_every_user_of_this_computer_still_gets_through(bridge):
    bridge.restrict(True)
    try:
        nobody = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
        served = bridge.mac.run([*nobody, PYTHON, "-c", CONNECT, MAC_ADDRESS, 55001, MAC_ADDRESS], 20, check=True)
        assert served.output.strip() == "served"
    finally:
        bridge.restrict(False)


def test_when_it_is_restricted_a_datagram_that_claims_to_be_this_computers_does_not_get_through(bridge):
    bridge.restrict(True)
    try:
        with Capture(bridge.mac, "en0") as local, Capture(bridge.lab.phone, "vpn0") as mesh:
            for source in (MAC_ADDRESS, "127.0.0.1", DESK_ADDRESS):
                bridge.desk.run([PYTHON, "-c", FORGE, MAC_ADDRESS, 55007, source], 10, check=True)
            wait_until(lambda: local.packets(source=DESK_ADDRESS, destinationPort=55007), 5, "the last has arrived")
            assert local.packets(source=MAC_ADDRESS, destinationPort=55007, out=False)
            assert bulk(bridge.mac, 55008)["equal"]
            wait_until(lambda: mesh.packets(destinationPort=55008), 5, "the capture sees this computer's own")
            assert mesh.packets(destinationPort=55007) == []
    finally:
        bridge.restrict(False)


def test_restricting_it_ends_the_connections_of_other_computers(bridge):
    client = bridge.desk.spawn([PYTHON, "-c", STAY, MAC_ADDRESS, "55005"], stdout=subprocess.PIPE)
    said = Lines(client.stdout)
    said.await_line(lambda line: line == "served", 10, "the desk is served")
    try:
        bridge.restrict(True)
        said.await_line(lambda line: line == "ended", 5, "the desk's connection ends")
        assert client.wait(5) == 0
    finally:
        bridge.restrict(False)


# What is kept


def modes_below(folder):
    """{relative path: (kind, mode)} of everything in a folder, the folder itself included."""
    found = {}
    for path in [folder, *sorted(folder.rglob("*"))]:
        status = path.lstat()
        kind = {stat.S_IFDIR: "folder", stat.S_IFREG: "file", stat.S_IFSOCK: "socket"}[stat.S_IFMT(status.st_mode)]
        found[str(path.relative_to(folder))] = (kind, f"{stat.S_IMODE(status.st_mode):04o}")
    return found


def test_what_is_written_to_the_disk_is_for_the_user_alone(bridge):
    bridge.settings("only-this-computer", "off")
    # What the lab has written in its place is replaced by the agent's own.
    bridge.terminal.document("rename", Phone.NAME, Phone.NAME)
    assert modes_below(bridge.mac.home / "data" / "Quillbay") == {
        ".": ("folder", "0700"), "devices.json": ("file", "0600"), "diagnostics.log": ("file", "0600")}
    assert modes_below(bridge.mac.home / "config" / "Quillbay") == {
        ".": ("folder", "0700"), "settings.json": ("file", "0600")}
    runtime = bridge.mac.root / bridge.mac.RUNTIME.lstrip("/") / "quillbay"
    assert modes_below(runtime) == {
        ".": ("folder", "0700"), "control.sock": ("socket", "0600"), "pid": ("file", "0600")}


def open_for_writing(process):
    """The paths of the files (no pipes, sockets or devices) that a process could write to now."""
    found = set()
    for number, path in descriptors_of(process).items():
        if path.startswith("/") and not path.startswith("/dev/"):
            flags = int(re.search(r"flags:\s+([0-7]+)", (process / "fdinfo" / number).read_text())[1], 8)
            if flags & os.O_ACCMODE != os.O_RDONLY:
                found.add(path)
    return found


def test_nothing_else_is_written(bridge):
    assert sorted(path.name for path in bridge.mac.home.iterdir()) == ["config", "data"]
    assert [path.name for folder in ("config", "data") for path in (bridge.mac.home / folder).iterdir()] == [
        "Quillbay", "Quillbay"]
    assert list((bridge.mac.folder / "tmp").iterdir()) == []
    # Where standard error goes is the starter's choice.
    assert open_for_writing(bridge.process) <= {os.readlink(bridge.process / "fd/2")}
    assert [path for child in bridge.children for path in open_for_writing(child)] == []


# What the report contains


@pytest.fixture(scope="module")
def report(bridge):
    """The archive and the text in it, after traffic in both protocols."""
    send = SEND.replace("datagram", "text-of-the-traffic")
    bridge.desk.run([PYTHON, "-c", send, MAC_ADDRESS, 55006, DESK_ADDRESS, 5], 20, check=True)
    assert bulk(bridge.desk, 55006)["equal"]
    path = bridge.mac.folder / "report.zip"
    assert bridge.terminal.document("report", "--to", str(path)) == {"path": str(path)}
    with zipfile.ZipFile(path) as archive:
        assert archive.namelist() == ["diagnostics.log"]
        return path, archive.read("diagnostics.log").decode()


def test_the_report_is_the_facts_of_the_computer_and_the_diagnostic_log(bridge, report):
    head, _, log = report[1].partition("\n--- log ---\n")
    assert re.sub(r"(Exported|App version|macOS|Computer name): .*", r"\1: …", head).splitlines() == [
        "Quillbay diagnostics", "Exported: …", "App version: …", "macOS: …", "Computer name: …",
        f"Local IP (en0): {MAC_ADDRESS}", "Installed providers: Tailscale, Netbird", "Profiles (1)",
        f"  - \"{Phone.NAME}\" provider=Manual IP ip={PHONE_MESH_ADDRESS} port=49200 bridgeEnabled=true status=on"]
    assert [line for line in log.splitlines() if line] == [
        line for line in bridge.agent.diagnostics()[:len(log.splitlines())] if line]


def test_the_report_is_for_the_user_alone(report):
    assert stat.S_IMODE(report[0].stat().st_mode) == 0o600


def test_the_report_leaves_out_what_was_relayed_the_phones_txt_values_and_the_environment(report):
    left_out = ["text-of-the-traffic", "text-of-the-environment", *(text.partition("=")[2] for text in Phone.TXT[:2])]
    assert [text for text in left_out if text in report[1]] == []


# How children run


def command_line(process):
    return (process / "cmdline").read_bytes().decode().split("\0")[:-1]


def test_children_are_the_tools_at_their_fixed_places_and_no_shell(bridge):
    commands = sorted(command_line(child)[:2] for child in bridge.children)
    assert commands == sorted([["/usr/bin/journalctl", "--follow"], [str(programs.DNS_SD), "-i"]])


def test_a_name_from_the_network_is_one_argument_of_a_child(bridge):
    registration, = (words for words in map(command_line, bridge.children) if "-P" in words)
    assert registration[1:] == ["-i", "en0", "-P", Phone.NAME, "_remotepairing._tcp", "local", "49200", Phone.HOST,
                                MAC_ADDRESS, *sorted(Phone.TXT)]


def test_children_lead_groups_of_their_own_and_hold_none_of_the_agents_descriptors(bridge):
    own = sockets_of(bridge.process)
    for child in bridge.children:
        group = (child / "stat").read_text().rpartition(")")[2].split()[2]
        assert group == child.name
        assert sockets_of(child) & own == set()
        assert os.readlink(child / "fd/0") == "/dev/null"


# What is sent, and to whom


def test_a_bridge_without_clients_sends_nothing_but_multicast(bridge):
    with Capture(bridge.mac, "en0") as local, Capture(bridge.mac, "vpn0") as mesh:
        before = len(local.packets(out=True))
        # A question whose answer comes after everything that was sent before it.
        bridge.mac.mdns_lookup(limit_seconds=0.5)
        wait_until(lambda: len(local.packets(out=True)) > before, 5, "the capture sees what is sent")
        assert {packet["destination"] for packet in local.packets(out=True)} <= {"224.0.0.251", "224.0.0.22"}
        assert mesh.packets(out=True) == []


def test_in_the_mesh_a_start_asks_for_the_phones_name_and_speaks_to_the_phone_alone(bridge):
    with Capture(bridge.mac, "vpn0") as mesh:
        bridge.terminal.document("stop", Phone.NAME)
        bridge.terminal.document("start", Phone.NAME)
        wait_until(lambda: bridge.terminal.states()[Phone.NAME] == "on", 20, "the bridge is up again")
        sent = mesh.packets(out=True)
        assert {(packet["protocol"], packet["destination"], packet["destinationPort"]) for packet in sent} == {
            ("tcp", PHONE_MESH_ADDRESS, Phone.PORT), ("udp", "224.0.0.251", 5353)}
