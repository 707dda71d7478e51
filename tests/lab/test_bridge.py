"""A bridge from end to end: the agent on the Mac, the phone behind the mesh, the desk as a witness."""

import json
import signal
import subprocess

import pytest

from quillbay_lab import Agent, Phone, paired_agent, profile_of, programs, wait_until
from quillbay_lab.lab import DESK_ADDRESS, MAC_ADDRESS
from quillbay_lab.lines import Lines

PYTHON = "/usr/bin/python3"
SUCCESS = "Bridge is successful."


def bulk(host, verb, port, size, address=MAC_ADDRESS):
    result = host.run([programs.BULK_CLIENT, verb, address, port, 7, size], 90, check=True)
    return json.loads(result.output)


def bridged(agent):
    agent.start()
    agent.await_user_line(SUCCESS, 30)


def registrations(lab):
    """The proxy registrations that run on the Mac, as process ids."""
    lines = lab.mac.run(["ps", "-axww", "-o", "pid=,args="], check=True).output.splitlines()
    return [int(line.split()[0]) for line in lines if "dns-sd" in line.split()[1] and "-P" in line.split()]


def await_processes(lab, processes):
    """An agent asks what it has started to end, and does not wait for each."""
    wait_until(lambda: lab.mac.processes() == processes, 1, "every process that the agent started is gone")


def record(lab, phone, host=None):
    return next((found for found in (host or lab.desk).mdns_lookup(limit_seconds=0.5) if found.name == phone.name),
                None)


class Bridge:
    """A bridge that is up, for tests that look at it and use it, and change nothing."""

    def __init__(self, lab):
        self.mac, self.desk, self.lab = lab.mac, lab.desk, lab
        self.phone = Phone(lab)
        self.agent = paired_agent(lab, self.phone)
        bridged(self.agent)


@pytest.fixture(scope="module")
def bridge(shared):
    return Bridge(shared)


def test_refuses_while_the_phone_is_near_and_opens_nothing(lab, phone):
    agent = Agent(lab)
    agent.write_profiles([profile_of(record(lab, phone))])
    agent.start()
    agent.await_user_line("Connection error: The device is still on this Mac's local network. Move it to a different "
                          "Wi‑Fi before bridging. Cellular won't work.", 20)
    assert agent.user_lines()[0] == "Bridging to \"Robin’s iPhone\""
    assert registrations(lab) == []
    assert lab.mac.listening(MAC_ADDRESS) == set()
    assert agent.stop() == 0
    assert agent.profiles()[0]["bridgeEnabled"] is True


def test_does_not_start_a_bridge_that_was_left_switched_off(lab, phone, agent):
    profile, = agent.profiles()
    agent.write_profiles([{**profile, "bridgeEnabled": False}])
    agent.start()
    agent.await_diagnostic("Quillbay started", 10)
    assert agent.stop() == 0
    assert agent.user_lines() == []


def test_announces_the_phones_record_with_the_macs_address(bridge):
    for host in (bridge.desk, bridge.mac):
        found = wait_until(lambda host=host: record(bridge.lab, bridge.phone, host), 10, f"{host.name} sees it")
        assert (found.name, found.host, found.port) == ("Robin’s iPhone", "Robins-iPhone.local", 49200)
        assert found.addresses == ["192.168.77.1"]
        assert sorted(found.txt) == sorted(entry.encode() for entry in Phone.TXT)


def test_opens_exactly_the_range_and_the_control_channel(bridge):
    ports = set(range(55000, 58001)) | {49200}
    expected = {(kind, MAC_ADDRESS, port) for kind in ("tcp", "udp") for port in ports}
    # The bridge does not wait for the listeners of the range.
    wait_until(lambda: len(bridge.mac.listening(MAC_ADDRESS)) >= len(expected), 5, "every port is open")
    assert bridge.mac.listening(MAC_ADDRESS) == expected


def test_a_client_that_knows_only_the_record_reaches_the_phone(bridge):
    wait_until(lambda: record(bridge.lab, bridge.phone, bridge.mac), 10, "the record is there")
    for host in (bridge.mac, bridge.desk):
        said = json.loads(host.run([PYTHON, "-m", "clients.handshake", bridge.phone.name], 30, check=True).output)
        assert (said["address"], said["port"]) == ("192.168.77.1", 49200)
        assert said["answer"]["originatedBy"] == "device"


def test_speaks_the_protocol_version_of_the_record(bridge):
    assert bridge.phone.await_event("handshake")["wireProtocolVersion"] == 24


def test_bytes_arrive_unchanged_both_ways(bridge):
    for verb in ("get", "put"):
        outcome = bulk(bridge.desk, verb, 55009, 64_000_001)
        assert outcome["sha256"] == outcome["sha256OfPhone"]
        assert outcome["equal"]


def test_many_connections_at_a_time_do_not_mix(bridge):
    clients = [bridge.mac.spawn([programs.BULK_CLIENT, verb, MAC_ADDRESS, port, port, 3_000_000])
               for port in range(55000, 55010) for verb in ("get", "put")]
    assert [client.wait(60) for client in clients] == [0] * 20


def test_ten_thousand_datagrams_come_back_to_the_client_that_sent_them(bridge):
    result = bridge.mac.run([PYTHON, "-m", "clients.datagrams", MAC_ADDRESS, 55000, 10000], 60, check=True)
    outcome = json.loads(result.output)
    assert (outcome["right"], outcome["lost"], outcome["stray"], outcome["repeated"]) == (10000, 0, 0, 0)


def test_relays_a_port_outside_the_range_that_the_system_log_reports(lab, phone, agent):
    bridged(agent)
    assert lab.mac.run([programs.BULK_CLIENT, "get", MAC_ADDRESS, 60123, 1, 10]).code == 1

    def reported():
        lab.mac.log_line("remotepairingd", "Got tunnel endpoint: 'fd12::1:60123'")
        return ("tcp", MAC_ADDRESS, 60123) in lab.mac.listening()

    wait_until(reported, 10, "the port is relayed")
    assert bulk(lab.mac, "get", 60123, 100_000)["equal"]
    text = "live tunnel port 60123 discovered, relay open"
    agent.await_diagnostic(text, 5)
    assert len([line for line in agent.diagnostics() if text in line]) == 1


def test_ignores_the_same_words_from_another_program(lab, phone, agent):
    bridged(agent)
    lab.mac.log_line("somebody-else", "Got tunnel endpoint: 'fd12::1:60124'")

    def reported():
        lab.mac.log_line("remotepairingd", "Got tunnel endpoint: 'fd12::1:60123'")
        return ("tcp", MAC_ADDRESS, 60123) in lab.mac.listening()

    wait_until(reported, 10, "the later line has been read")
    assert ("tcp", MAC_ADDRESS, 60124) not in lab.mac.listening()


def test_finds_the_port_that_the_phone_moved_to(lab, phone, agent):
    phone.tell("move 49400")
    bridged(agent)
    assert agent.profiles()[0]["remotePairingPort"] == 49400
    agent.await_diagnostic("new port found → 49400 (profile updated)", 1)
    assert wait_until(lambda: record(lab, phone), 10, "the record is there").port == 49400


def test_reports_a_phone_that_the_mesh_does_not_reach(lab, phone, agent):
    lab.mesh_down()
    agent.start()
    agent.await_diagnostic("did not respond to RemotePairing (no response)", 20)
    assert agent.stop() == 0
    assert registrations(lab) == []


def test_reports_a_phone_that_is_silent(lab, phone, agent):
    phone.tell("silent")
    agent.start()
    agent.await_diagnostic("did not respond to RemotePairing (port open but not speaking RemotePairing protocol)", 20)
    assert agent.stop() == 0


def test_follows_a_change_of_the_macs_address(lab, phone, agent):
    bridged(agent)
    assert wait_until(lambda: record(lab, phone), 10, "the record is there").addresses == ["192.168.77.1"]
    lab.set_address(lab.mac, "en0", "192.168.77.11")

    def followed():
        found = record(lab, phone)
        return found and found.addresses == ["192.168.77.11"]

    wait_until(followed, 5, "the record follows")
    agent.await_diagnostic("en0 IP changed: 192.168.77.11 — restarting bridges", 1)
    wait_until(lambda: len(lab.mac.listening("192.168.77.11")) == 6004, 5, "the relays follow")
    assert lab.mac.listening(MAC_ADDRESS) == set()
    assert bulk(lab.mac, "get", 55001, 100_000, "192.168.77.11")["equal"]


def test_the_record_comes_back_after_a_restart_of_the_macs_daemon(lab, phone, agent):
    bridged(agent)
    wait_until(lambda: record(lab, phone), 10, "the record is there")
    lab.restart_avahi(lab.mac)
    assert wait_until(lambda: record(lab, phone), 15, "the record is back").addresses == ["192.168.77.1"]


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_ends_with_a_goodbye_and_leaves_nothing(lab, phone, agent, number):
    processes = lab.mac.processes()
    bridged(agent)
    wait_until(lambda: record(lab, phone), 10, "the record is there")
    watcher = lab.desk.spawn([PYTHON, "-m", "quillbay_lab.mdns_tool", "goodbyes", DESK_ADDRESS, "_remotepairing._tcp",
                              20], stdout=subprocess.PIPE)
    goodbyes = Lines(watcher.stdout)
    goodbyes.await_line(lambda line: line == "listening", 10, "the desk listens")
    agent.process.signal(number)
    line = goodbyes.await_line(lambda line: True, 1, "the desk sees the goodbye", after=1)
    assert json.loads(line)["instance"] == "Robin’s iPhone"
    assert agent.process.wait(5) == 0
    await_processes(lab, processes)
    assert lab.mac.listening(MAC_ADDRESS) == set()
    assert agent.profiles()[0]["bridgeEnabled"] is True


def test_ends_at_once_while_it_looks_for_the_phone(lab, phone, agent):
    lab.mesh_down()  # every port swallows what is sent to it, so the scan takes minutes
    processes = lab.mac.processes()
    for text in ("Starting bridge for", "scanning device's current RemotePairing port (49152-65535)…"):
        logged = len(agent.diagnostics())
        agent.start()
        agent.await_diagnostic(text, 20, after=logged)
        agent.process.signal(signal.SIGTERM)
        assert agent.process.wait(1.5) == 0
        await_processes(lab, processes)
    assert agent.profiles()[0]["bridgeEnabled"] is True


def test_clears_what_a_killed_run_left(lab, phone, agent):
    bridged(agent)
    agent.process.signal(signal.SIGKILL)
    assert agent.process.wait(5) == -signal.SIGKILL
    left, = registrations(lab)
    logged = len(agent.diagnostics())
    bridged(agent)
    agent.await_diagnostic("Cleared 1 leftover Bonjour proxy registration(s) from a previous launch "
                           f"(pid {left}).", 5, after=logged)
    assert left not in registrations(lab) and len(registrations(lab)) == 1


def test_a_phone_that_comes_back_finds_its_name_taken(lab, phone, agent):
    bridged(agent)
    wait_until(lambda: record(lab, phone), 10, "the record is there")
    lab.phone_returns()
    # A name that is in use is kept by whoever has it (RFC 6762, section 9).
    phone.await_event("collision", 20)
    assert record(lab, phone).addresses == ["192.168.77.1"]
