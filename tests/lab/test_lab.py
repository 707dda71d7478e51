"""The lab itself: what its hosts see of each other, and that nothing of it is left behind."""

import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile

import pytest

from quillbay_lab import Lab, LabError, Phone, programs, wait_until
from quillbay_lab.leftovers import remove_leftovers
from quillbay_lab.lines import Lines

LAB_FOLDER = pathlib.Path(__file__).resolve().parents[2] / "lab"
HOLD_A_LAB = """
import json, signal, sys
sys.path.insert(0, sys.argv[1])
from quillbay_lab import Lab, Phone
signal.signal(signal.SIGTERM, lambda *_: sys.exit(3))
# A shell that runs the tests in the background has them ignore it.
signal.signal(signal.SIGINT, signal.default_int_handler)
with Lab() as lab:
    phone = Phone(lab)
    print(json.dumps([str(lab.folder), lab.network_namespaces()]), flush=True)
    signal.pause()
"""


def traces(folder, namespaces=()):
    """Everything on this machine that belongs to the lab with this folder and these network namespaces."""
    found = [f"file {folder}"] if pathlib.Path(folder).exists() else []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            words = (entry / "cmdline").read_bytes() + (entry / "environ").read_bytes()
            if str(folder).encode() in words or os.readlink(entry / "ns" / "net") in namespaces:
                found.append(f"process {entry.name}")
        except OSError:
            # Gone, or none of ours.
            continue
    return found


def surroundings():
    """What a lab could change outside its namespaces."""
    return sorted(os.listdir("/sys/class/net")), sorted(pathlib.Path("/run/netns").glob("*"))


def held_lab(folder_of_temporary_files):
    process = subprocess.Popen([sys.executable, "-c", HOLD_A_LAB, str(LAB_FOLDER)], stdout=subprocess.PIPE, text=True,
                               env={**os.environ, "TMPDIR": str(folder_of_temporary_files)})
    folder, namespaces = json.loads(process.stdout.readline())
    assert len(traces(folder, namespaces)) > 10, "the traces of a living lab are found"
    return process, folder, namespaces


def test_hosts_have_the_addresses_of_the_network(shared):
    assert shared.mac.addresses("en0") == ["192.168.77.1/24"]
    assert shared.mac.addresses("vpn0") == ["100.64.77.1/24"]
    assert shared.phone.addresses("lan0") == ["192.168.77.2/24"]
    assert shared.phone.addresses("vpn0") == ["100.64.77.2/24"]
    assert shared.desk.addresses("lan0") == ["192.168.77.3/24"]


def test_a_host_sees_only_its_own_processes(shared):
    names = sorted(pathlib.Path(line.split()[0]).name for line in shared.desk.processes())
    assert names == ["avahi-daemon", "dbus-daemon"]


def test_a_host_reaches_nothing_outside_the_lab(shared):
    assert shared.mac.run(["ip", "route", "show", "default"], check=True).output == ""
    assert shared.mac.run(["test", "-e", "/run/netns"]).code == 1


def test_every_host_sees_the_phones_record_byte_for_byte(lab):
    txt = ["plain=1", "spaces= a  b ", "equals=a=b", 'quote="\\', "empty=", "novalue", "utf8=Gräße’s 📱"]
    phone = Phone(lab, name='Ann\'s "i"Phone.2', txt=txt)
    for host in (lab.mac, lab.desk):
        service, = host.mdns_lookup()
        assert service.name == 'Ann\'s "i"Phone.2'
        assert (service.host, service.port, service.addresses) == ("Robins-iPhone.local", 49200, ["192.168.77.2"])
        assert service.txt == [text.encode() for text in txt]
        browsed, = wait_until(host.avahi_browse, 10, "Avahi sees the phone")
        assert (browsed.name, browsed.host, browsed.port) == (service.name, service.host, service.port)
        assert sorted(browsed.txt) == sorted(service.txt)
    assert phone.close() == 0
    wait_until(lambda: not lab.desk.avahi_browse(), 10, "the record is gone")


def test_the_phone_leaves_and_returns_and_the_mesh_stays(lab, phone):
    assert len(lab.desk.mdns_lookup()) == 1
    lab.phone_leaves()
    assert lab.desk.mdns_lookup() == []
    assert bulk(lab.mac, "get", "100.64.77.2", 55000, 1_000_000)["equal"]
    lab.phone_returns()
    wait_until(lab.desk.mdns_lookup, 15, "the phone is back")


def test_the_mesh_goes_down_and_comes_back(lab, phone):
    assert bulk(lab.mac, "get", "100.64.77.2", 55000, 1000)["equal"]
    lab.mesh_down()
    with pytest.raises(LabError):
        lab.mac.run([programs.BULK_CLIENT, "get", "100.64.77.2", 55000, 1, 1000], limit_seconds=1)
    lab.mesh_up()
    assert bulk(lab.mac, "get", "100.64.77.2", 55000, 1000)["equal"]


def test_the_record_comes_back_after_a_restart_of_its_daemon(lab, phone):
    lab.restart_avahi(lab.phone)
    wait_until(lambda: [found.port for found in lab.desk.mdns_lookup()] == [49200], 15, "the record is back")


def test_an_interface_changes_its_address(lab):
    lab.set_address(lab.mac, "en0", "192.168.77.11")
    assert lab.mac.addresses("en0") == ["192.168.77.11/24"]


def test_the_system_log_of_the_mac_is_followed_line_by_line(shared):
    follower = shared.mac.spawn("journalctl --follow --lines=0 --output=cat --identifier=remotepairingd".split(),
                             stdout=subprocess.PIPE)
    lines = Lines(follower.stdout)

    def followed():
        # Nothing tells when the follower has begun, so the line is written until it is seen.
        shared.mac.log_line("somebody-else", "not for the follower")
        shared.mac.log_line("remotepairingd", "Got tunnel endpoint: 'fd12::1:60123'")
        return lines.all()

    wait_until(followed, 10, "journalctl prints the line")
    assert set(lines.all()) == {"Got tunnel endpoint: 'fd12::1:60123'"}
    follower.end()


def test_two_labs_exist_side_by_side(lab, phone):
    with Lab() as other:
        assert other.desk.mdns_lookup() == []
        assert len(lab.desk.mdns_lookup()) == 1
    assert len(lab.desk.mdns_lookup()) == 1


def test_a_program_that_is_not_there_is_an_error_and_leaves_no_process(shared):
    before = shared.desk.processes()
    with pytest.raises(FileNotFoundError):
        shared.desk.run(["/nonexistent/program"])
    assert shared.desk.processes() == before


def test_nothing_is_left_after_the_end():
    before = surroundings()
    with Lab() as lab:
        Phone(lab)
        known = lab.folder, lab.network_namespaces()
        assert len(traces(*known)) > 10
    wait_until(lambda: not traces(*known), 10, "everything is gone")
    assert surroundings() == before


def test_nothing_is_left_after_a_failure():
    known = []
    with pytest.raises(ZeroDivisionError):
        with Lab() as lab:
            known += [lab.folder, lab.network_namespaces()]
            raise ZeroDivisionError
    wait_until(lambda: not traces(*known), 10, "everything is gone")


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_nothing_is_left_after_a_signal(number, tmp_path):
    before = surroundings()
    process, folder, namespaces = held_lab(tmp_path)
    process.send_signal(number)
    process.wait(20)
    wait_until(lambda: not traces(folder, namespaces), 10, "everything is gone")
    assert surroundings() == before


def test_a_killed_lab_leaves_only_its_folder_and_the_next_one_removes_that(tmp_path, monkeypatch):
    monkeypatch.setattr(tempfile, "tempdir", str(tmp_path))
    before = surroundings()
    process, folder, namespaces = held_lab(tmp_path)
    process.kill()
    process.wait(20)
    wait_until(lambda: traces(folder, namespaces) == [f"file {folder}"], 10, "every process is gone")
    assert surroundings() == before
    assert remove_leftovers() == 1
    assert traces(folder) == []


def test_the_folder_of_a_living_lab_is_no_leftover(shared):
    remove_leftovers()
    assert shared.folder.exists()


def bulk(host, verb, address, port, size):
    """Runs the bulk client in a host and returns what it says."""
    return json.loads(host.run([programs.BULK_CLIENT, verb, address, port, 7, size], 60, check=True).output)
