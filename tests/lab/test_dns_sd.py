"""The bundled dns-sd against real Avahi daemons: what a registration looks like from another host, what a zone dump
prints, and how both take what goes wrong. Long, but one thing: every case is one command line of the same program, on
the same lab."""

import contextlib
import pathlib
import signal
import subprocess
import time

import pytest
from quillbay_lab import Lab, Phone, programs, wait_until

TYPE = "_remotepairing._tcp"
MAC, PHONE = "192.168.77.1", "192.168.77.2"
TESTS = pathlib.Path(__file__).resolve().parent

NAMES = ["iPhone", "Bob's i.Phone (2)", 'a "quoted" \\ name', "Zoë’s 📱", "n" * 63, "📱" * 15 + "abc", " . ", "tab\tbell\a",
         "line\nfeed\r\n"]
TEXTS = {"equals": ["a=b=c==", "=x"], "blanks": ["a= b  c ", " k=v"], "quotes": ['q="x" \'y\' \\z'], "empty value": ["a="],
         "order": ["z=1", "a=2", "m=3", "A=4"], "long": ["k=" + "v" * 253, "é=📱"], "none": [],
         "bytes": ["r=\udcff\udc80", "c=\x01\n\r\t\x7f"]}


@pytest.fixture(scope="module")
def network():
    """One lab for all tests that put things back as they found them."""
    with Lab() as made:
        yield made


def seen(host):
    """What the host's own Avahi knows of right now, also from its cache."""
    return host.run(["avahi-browse", "--parsable", "--terminate", "--no-db-lookup", TYPE], check=True).output


def await_quiet(network):
    """Waits until the records of earlier tests have run out at the desk, about a second after their end."""
    wait_until(lambda: seen(network.desk) == "", 10, "the desk has forgotten earlier records")


@pytest.fixture
def quiet(network):
    await_quiet(network)
    return network


class Program:
    """A running dns-sd, and what it has printed so far."""

    _count = 0

    def __init__(self, host, *arguments):
        programs.require(programs.DNS_SD)
        Program._count += 1
        self.host = host
        self._out = host.folder / f"dns-sd-{Program._count}.out"
        self._err = host.folder / f"dns-sd-{Program._count}.err"
        self.process = host.spawn([programs.DNS_SD, *arguments], stdout=self._out, stderr=self._err)

    @property
    def output(self):
        return self._out.read_bytes().decode() if self._out.exists() else ""

    @property
    def errors(self):
        return self._err.read_bytes().decode() if self._err.exists() else ""

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.running:
            self.process.end()


def registration(host, name="iPhone", phone="far.local", txt=("ver=19",), port=49152, address=None):
    own = address or {"mac": MAC, "phone": PHONE, "desk": "192.168.77.3"}[host.name]
    return Program(host, "-i", host.interface, "-P", name, TYPE, "local", str(port), phone, own, *txt)


def registered(program, times=1, limit_seconds=15):
    wait_until(lambda: program.output.count("Registered ") == times, limit_seconds,
               f"registered {times} time(s): {program.errors}")


def zone_dump(host):
    return Program(host, "-Z", TYPE, "local")


def answered(host, name):
    return [found for found in host.mdns_lookup(limit_seconds=0.3) if found.name == name]


def seconds_until_nobody_answers(host, name):
    """When the first query that nobody answered was asked."""
    began = time.monotonic()
    while True:
        asked = time.monotonic() - began
        if not answered(host, name):
            return asked
        assert asked < 5, "the record is still there"


def lines_of(program, times=1):
    wait_until(lambda: program.output.count("\n") >= 3 * times, 10, f"{3 * times} lines: {program.output}{program.errors}")
    return program.output.splitlines()


class Many:
    """All names and all kinds of TXT, registered at once: what another host finds, and what a zone dump prints there."""

    def __init__(self, network):
        kinds = [(name, ["ver=19"]) for name in NAMES] + list(TEXTS.items())
        with contextlib.ExitStack() as stack:
            dump = stack.enter_context(zone_dump(network.desk))
            running = [stack.enter_context(registration(network.mac, name, txt=txt)) for name, txt in kinds]
            for program in running:
                registered(program, limit_seconds=20)
            lines = lines_of(dump, times=len(kinds))
            # Avahi answers no direct question for the longest of the names, and its resolver turns TXT strings around.
            named = [service for service in network.desk.avahi_browse() if service.name in NAMES]
            texts = network.desk.mdns_lookup(limit_seconds=2, names=TEXTS)
        sets = [lines[at:at + 3] for at in range(0, len(lines), 3)]
        assert (len(sets), len(named)) == (len(kinds), len(NAMES))
        # The dump's three lines by the instance's name as printed, and the services by the name itself.
        self.printed = {printed[0].split()[2].removesuffix("." + TYPE): printed for printed in sets}
        self.services = {service.name: service for service in [*texts, *named]}


@pytest.fixture(scope="module")
def many(network):
    await_quiet(network)
    return Many(network)


# Registration


@pytest.mark.parametrize("name", NAMES, ids=repr)
def test_a_name_is_seen_on_another_host_byte_for_byte(many, name):
    found = many.services[name]
    assert (found.host, found.port, found.addresses, found.txt) == ("far.local", 49152, [MAC], [b"ver=19"])


@pytest.mark.parametrize("case", TEXTS.keys())
def test_txt_is_seen_on_another_host_byte_for_byte_and_in_order(many, case):
    assert many.services[case].txt == [string.encode(errors="surrogateescape") for string in TEXTS[case]]


def test_prints_one_line_when_it_has_registered(network):
    with registration(network.mac, "Bob's iPhone") as program:
        registered(program)
        assert program.output == (r"Registered Bob's\032iPhone._remotepairing._tcp.local on en0: far.local 192.168.77.1 "
                                  "port 49152\n")


def test_a_host_without_a_dot_is_a_local_one(network):
    with registration(network.mac, phone="far") as program:
        registered(program)
        assert answered(network.desk, "iPhone")[0].host == "far.local"


def test_is_ready_in_little_more_than_probing_takes(network):
    began = time.monotonic()
    with registration(network.mac) as program:
        registered(program)
    assert time.monotonic() - began < 2


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_signal_withdraws_the_record_within_a_second(network, number):
    with registration(network.mac) as program:
        registered(program)
        assert answered(network.desk, "iPhone")
        program.process.signal(number)
        assert seconds_until_nobody_answers(network.desk, "iPhone") < 1
        assert program.process.wait(2) == 0
        assert program.errors == ""


def test_a_killed_program_leaves_no_record_behind(network):
    with registration(network.mac) as program:
        registered(program)
        program.process.signal(signal.SIGKILL)
        assert seconds_until_nobody_answers(network.desk, "iPhone") < 1
        assert program.process.wait(2) == -signal.SIGKILL


def test_a_signal_before_the_registration_is_ready_withdraws_it(network):
    with registration(network.mac) as program:
        wait_until(lambda: program.host.run(["avahi-browse", "-ptlk", TYPE]).code == 0, 5, "the daemon is busy")
        program.process.signal(signal.SIGTERM)
        assert program.process.wait(2) == 0
    assert answered(network.desk, "iPhone") == []


def test_registers_again_after_a_restart_of_the_daemon(network):
    with registration(network.mac, txt=["z=1", "a=2"]) as program:
        registered(program)
        network.restart_avahi(network.mac)
        registered(program, times=2)
        assert answered(network.desk, "iPhone")[0].txt == [b"z=1", b"a=2"]
        assert program.errors == "waiting for the mDNS daemon\n"


def test_waits_for_a_daemon_that_is_not_there_yet(network):
    network.mac.stop_avahi()
    with registration(network.mac) as program:
        wait_until(lambda: program.errors == "waiting for the mDNS daemon\n", 5, "it waits")
        network.mac.start_avahi()
        registered(program)


def test_ends_on_request_while_there_is_no_daemon(network):
    network.mac.stop_avahi()
    try:
        with registration(network.mac) as program:
            wait_until(lambda: program.errors == "waiting for the mDNS daemon\n", 5, "it waits")
            program.process.signal(signal.SIGTERM)
            assert program.process.wait(2) == 0
    finally:
        network.mac.start_avahi()


@contextlib.contextmanager
def wedged(host):
    """The host's Avahi daemon stands still: its name is on the bus, and nothing is answered."""
    daemon, = [line.split()[0] for line in host.run(["ps", "-axo", "pid=,args="], check=True).output.splitlines()
               if line.split()[1] == "avahi-daemon"]
    host.run(["kill", "-STOP", daemon], check=True)
    try:
        yield
    finally:
        host.run(["kill", "-CONT", daemon], check=True)


def test_ends_on_request_while_the_daemon_stands_still(network):
    with registration(network.mac) as program:
        registered(program)
        with wedged(network.mac):
            program.process.signal(signal.SIGTERM)
            assert program.process.wait(1) == 0
        assert seconds_until_nobody_answers(network.desk, "iPhone") < 1


def test_ends_on_request_while_it_waits_for_a_daemon_that_stands_still(network):
    with wedged(network.mac):
        with registration(network.mac) as program:
            wait_until(lambda: program.host.run(["grep", "-q", "SigCgt:.*[4-7c-f]...$",
                                                 f"/proc/{program.process.pid}/status"]).code == 0, 5, "it takes SIGTERM")
            program.process.signal(signal.SIGTERM)
            assert program.process.wait(1) == 0


def test_goes_on_when_nobody_reads_what_it_prints(network):
    process = network.mac.spawn([programs.DNS_SD, "-i", "en0", "-P", "iPhone", TYPE, "local", "1", "far", MAC],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    process.stdout.close()
    wait_until(lambda: answered(network.desk, "iPhone"), 5, "it is registered")
    assert process.running
    assert process.end() == 0


def test_says_that_there_is_no_bus(network):
    result = network.mac.run([programs.DNS_SD, "-i", "en0", "-P", "iPhone", TYPE, "local", "1", "far", MAC],
                             environment={"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nowhere"})
    assert result.code == 1
    assert result.output.startswith("dns-sd: the system bus: ")


# Somebody else has the name


def test_ends_when_the_phone_is_there(network):
    with registration(network.phone, phone="near.local", port=1) as first:
        registered(first)
        late = registration(network.mac, phone="near.local")
        assert late.process.wait(10) == 1
        assert late.output == ""
        assert late.errors.startswith(f"Name conflict: iPhone.{TYPE}.local at near.local is in use; the device itself is")
        wait_until(lambda: [found.addresses for found in answered(network.desk, "iPhone")] == [[PHONE]], 5,
                   "only the phone's own record is left")


def test_two_that_start_together_never_both_hold_the_name(network):
    # Which of them gives way is decided record by record, so often both do.
    with registration(network.phone, phone="near.local", port=1) as one, registration(network.mac, phone="near.local") as two:
        wait_until(lambda: not (one.process.running and two.process.running), 10, "one has ended")
        ended = one if not one.process.running else two
        assert (ended.process.wait(1), ended.output) == (1, "")


def test_ends_when_the_phone_comes_back_and_takes_its_name(network):
    with registration(network.mac) as program:
        registered(program)
        phone = network.phone.spawn(["/usr/bin/python3", TESTS / "announcer.py", PHONE, "far.local"])
        assert program.process.wait(10) == 1
        assert program.errors == (f"Name conflict: iPhone.{TYPE}.local at far.local is in use; the device itself is on "
                                  "this network. The registration is withdrawn.\n")
        phone.end()
        assert seconds_until_nobody_answers(network.desk, "iPhone") < 1


def test_keeps_the_name_when_the_phone_comes_back_and_asks_first():
    with Lab() as lab:
        lab.phone_leaves()
        with registration(lab.mac, phone="quillbay-phone.local") as program:
            registered(program)
            lab.phone_returns()
            wait_until(lambda: "retrying with quillbay-phone-2" in lab.phone.service_log("avahi"), 10,
                       "the phone gives way")
            assert program.process.running
            assert program.errors == ""
            assert answered(lab.desk, "iPhone")[0].addresses == [MAC]


def test_keeps_the_name_when_another_computer_registers_the_same_phone(network):
    with registration(network.mac) as first:
        registered(first)
        with registration(network.desk) as second:
            assert second.process.wait(10) == 1
            assert second.output == ""
        assert answered(network.phone, "iPhone")[0].addresses == [MAC]
        assert first.process.running
        assert first.errors == ""


def test_waits_for_an_earlier_registration_that_is_just_ending(network):
    with registration(network.mac, txt=["n=1"]) as first:
        registered(first)
        with registration(network.mac, txt=["n=2"]) as second:
            time.sleep(0.3)  # the second one has met the first one by now, or does a moment later: both must work
            assert second.process.running
            first.process.signal(signal.SIGKILL)
            registered(second)
            assert answered(network.desk, "iPhone")[0].txt == [b"n=2"]


def test_ends_when_another_program_on_this_computer_keeps_the_name(network):
    with registration(network.mac, txt=["n=1"]) as first:
        registered(first)
        with registration(network.mac, txt=["n=2"]) as second:
            assert second.process.wait(15) == 1
            assert "another program on this computer has registered it" in second.errors
        assert first.process.running
        assert answered(network.desk, "iPhone")[0].txt == [b"n=1"]


# Zone dump


def test_prints_one_set_of_lines_in_columns(quiet):
    with registration(quiet.mac, txt=["z=1", "a=2 3"]) as program, zone_dump(quiet.desk) as dump:
        registered(program)
        assert lines_of(dump) == [
            "_remotepairing._tcp                             PTR     iPhone._remotepairing._tcp",
            "iPhone._remotepairing._tcp                      SRV     0 0 49152 far.local. ; "
            "Replace with unicast FQDN of target host",
            'iPhone._remotepairing._tcp                      TXT     "z=1" "a=2 3"',
        ]


ESCAPED = ["iPhone", r"Bob's\032i\.Phone\032(2)", r'a\032"quoted"\032\\\032name', r"Zoë’s\032📱", "n" * 63,
           "📱" * 15 + "abc", r"\032\.\032", r"tab\009bell\007", r"line\010feed\013\010"]


@pytest.mark.parametrize(("name", "escaped"), zip(NAMES, ESCAPED), ids=map(repr, NAMES))
def test_prints_a_name_as_one_word(many, name, escaped):
    record = f"{escaped}.{TYPE}"
    assert [line.split() for line in many.printed[escaped]] == [
        [TYPE, "PTR", record],
        [record, "SRV", "0", "0", "49152", "far.local.", ";", "Replace", "with", "unicast", "FQDN", "of", "target", "host"],
        [record, "TXT", '"ver=19"']], name


QUOTED = {"equals": r'"a=b=c==" "=x"', "blanks": r'"a= b  c " " k=v"', "quotes": r'''"q=\"x\" 'y' \\z"''',
          "empty value": r'"a="', "order": r'"z=1" "a=2" "m=3" "A=4"', "long": '"k=' + "v" * 253 + '" "é=📱"', "none": '""',
          "bytes": r'"r=\255\128" "c=\001\010\013\009\127"'}


@pytest.mark.parametrize("case", TEXTS.keys())
def test_prints_txt_in_quotes_and_wire_order(many, case):
    assert many.printed[case.replace(" ", r"\032")][2].partition("TXT     ")[2] == QUOTED[case]


def test_no_foreign_byte_forges_a_line(quiet):
    forged = f"\nEvil.{TYPE} SRV 0 0 1 evil.local.\n"
    with registration(quiet.mac, "x" + forged[:40], r"h\010x\032y.local", [f"a={forged}", f'b="{forged}"']) as program, \
            zone_dump(quiet.desk) as dump:
        registered(program)
        lines = lines_of(dump)
        assert len(lines) == 3
        assert [line.split()[1] for line in lines] == ["PTR", "SRV", "TXT"]
        assert all(line.startswith("x\\010Evil\\.") for line in lines[1:])
        assert r" h\010x\032y.local. ;" in lines[1]


def test_prints_again_when_the_port_or_the_txt_changes(quiet):
    with zone_dump(quiet.desk) as dump:
        for turn, (port, txt) in enumerate([(1001, "a=1"), (1002, "a=1"), (1002, "a=2")], start=1):
            with registration(quiet.mac, port=port, txt=[txt]) as program:
                registered(program)
                wait_until(lambda: dump.output.endswith(f'TXT     "{txt}"\n') and f" {port} far.local" in
                           "".join(dump.output.splitlines()[-2:]), 10, f"change {turn} is printed")
        assert dump.output.count("\n") % 3 == 0


def test_prints_a_moved_phone_again(quiet):
    phone = Phone(quiet)
    with zone_dump(quiet.desk) as dump:
        assert f" {phone.port} " in lines_of(dump)[1]
        phone.tell("move 49321")
        wait_until(lambda: " 49321 Robins-iPhone.local." in dump.output, 15, "the new port is printed")
    phone.close()


def test_prints_one_set_however_many_interfaces_show_the_instance():
    with Lab() as lab:
        for host in (lab.mac, lab.phone):
            configuration = host.folder / "avahi.conf"
            text = configuration.read_text()
            configuration.write_text(text.replace(f"allow-interfaces={host.interface}",
                                                  f"allow-interfaces={host.interface},vpn0"))
            lab.restart_avahi(host)
        publisher = lab.phone.spawn(["avahi-publish-service", "Everywhere", TYPE, "7", "a=1"])
        wait_until(lambda: len({found.interface for found in lab.mac.avahi_browse()}) == 2, 15, "two interfaces show it")
        with zone_dump(lab.mac) as dump, zone_dump(lab.mac) as later:
            lines_of(dump)
            # A second dump and a change come after all that the first one could still print.
            lines_of(later)
            publisher.end()
            lab.phone.spawn(["avahi-publish-service", "Last", TYPE, "8", "b=2"])
            wait_until(lambda: "Last." in dump.output, 10, "the change is printed")
            assert dump.output.count("Everywhere._remotepairing._tcp ") == 2


def test_prints_every_instance_of_several_hosts(quiet):
    with registration(quiet.mac, "one"), registration(quiet.phone, "two", "other.local"), zone_dump(quiet.desk) as dump:
        lines = lines_of(dump, times=2)
        assert sorted(line.split()[2] for line in lines if " PTR " in line) == [f"one.{TYPE}", f"two.{TYPE}"]


def test_prints_an_instance_again_that_went_and_came_back(quiet):
    with zone_dump(quiet.desk) as dump:
        for times in (1, 2):
            with registration(quiet.mac) as program:
                registered(program)
                lines_of(dump, times)
            wait_until(lambda: seen(quiet.desk) == "", 10, "it is gone")
        assert dump.output.count("\n") == 6


def test_goes_on_after_a_restart_of_the_daemon(quiet):
    with registration(quiet.mac) as program, zone_dump(quiet.desk) as dump:
        registered(program)
        lines_of(dump)
        quiet.restart_avahi(quiet.desk)
        lines_of(dump, times=2)
        assert dump.process.running


def test_ends_when_nobody_reads_any_more(quiet):
    process = quiet.desk.spawn([programs.DNS_SD, "-Z", TYPE, "local"], stdout=subprocess.PIPE)
    with registration(quiet.mac):
        assert process.stdout.readline().endswith(f"PTR     iPhone.{TYPE}\n")
        process.stdout.close()
        assert process.wait(5) in (1, -signal.SIGPIPE)


def test_ends_on_request(quiet):
    with zone_dump(quiet.desk) as dump:
        dump.process.signal(signal.SIGTERM)
        assert dump.process.wait(2) == -signal.SIGTERM
