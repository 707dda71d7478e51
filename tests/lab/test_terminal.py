"""The agent from a terminal, with real Avahi daemons: what becomes of records that are no phones, who may use the control
socket, and what a killed agent leaves. The commands themselves are shown by the terminal demo, which test_demo.py runs."""

import json
import signal

import pytest

from quillbay_lab import Agent, Phone, Terminal, paired_agent, profile_of, programs, wait_until
from quillbay_lab.records import Service

TYPE = "_remotepairing._tcp"
# Names are words: a dump prints a blank as an escape, which is taken for the mark of a name that was changed.
INSTANCE, OTHER_INSTANCE = "6E2A41B7", "90C34D1F"
TXT = ("identifier=6E2A-41B7", "ver=24")
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
# Prints what it is told before it has asked for anything.
FIRST_LINE_OF_A_SOCKET = ("import socket, sys; s = socket.socket(socket.AF_UNIX); s.connect(sys.argv[1]); "
                          "print(s.makefile().readline(), end='')")


@pytest.fixture
def agent(shared):
    """An agent without profiles that runs on the lab that the tests share."""
    made = Agent(shared)
    made.write_profiles([])
    made.start()
    wait_until(lambda: Terminal(shared).run("status").code == 0, 10, "the agent answers")
    yield made
    if made.process.running:
        assert made.stop() == 0


@pytest.fixture
def terminal(shared):
    return Terminal(shared)


def bridged(lab, host):
    """An agent whose bridge announces a phone at this host name; the phone has left."""
    lab.phone_leaves()
    Phone(lab, announced=False)
    agent = Agent(lab)
    captured = Service(INSTANCE, host, Phone.PORT, [entry.encode() for entry in TXT])
    agent.write_profiles([profile_of(captured)])
    agent.start()
    agent.await_user_line("Bridge is successful.", 30)
    return agent


def self_loop(instance, host, own_host):
    return (f'Bonjour: ignoring {TYPE} record {instance} — host "{host}" matches this Mac\'s own active proxy '
            f'registration for "{own_host}" — self-loop, not a real device.')


# Records


def test_the_own_record_is_seen_and_is_not_offered_as_a_phone(lab):
    agent = bridged(lab, "Robins-iPhone.local")
    terminal = Terminal(lab)
    assert terminal.phones() == []
    agent.await_diagnostic(self_loop(INSTANCE, "Robins-iPhone.local", "Robins-iPhone.local"), 10)
    assert terminal.phones() == []
    before = len(agent.diagnostics())
    assert terminal.run("stop", INSTANCE).code == 0
    wait_until(lambda: not lab.desk.mdns_lookup(limit_seconds=0.4), 5, "the record is withdrawn")
    assert terminal.phones() == []
    # What the bridge kept out of the list is looked for again, and this is not found any more.
    agent.await_diagnostic("Bonjour scan started", 15, after=before)
    for _ in range(20):
        assert terminal.phones() == []


def test_a_record_that_a_conflict_with_the_own_one_renamed_is_not_offered_either(lab):
    agent = bridged(lab, "quillbay-phone.local")
    terminal = Terminal(lab)
    assert terminal.phones() == []
    # The phone's daemon finds its host's name taken, by this Mac, and takes another one.
    lab.phone_returns()
    wait_until(lambda: "retrying with quillbay-phone-2" in lab.phone.service_log("avahi"), 15, "the phone gives way")
    lab.phone.spawn(["avahi-publish-service", OTHER_INSTANCE, TYPE, Phone.PORT, *TXT])
    agent.await_diagnostic(self_loop(OTHER_INSTANCE, "quillbay-phone-2.local", "quillbay-phone.local"), 15)
    assert terminal.phones() == []
    # It is a phone at home all the same, which shows when nobody announces it from here any more.
    assert terminal.run("stop", INSTANCE).code == 0
    assert terminal.await_phone("quillbay-phone.local", 15)["name"] == OTHER_INSTANCE


def test_a_phone_that_a_conflict_renamed_is_offered_under_its_own_name(lab):
    agent = Agent(lab)
    agent.write_profiles([])
    agent.start()
    lab.phone_leaves()
    owner = lab.desk.spawn([programs.DNS_SD, "-i", "lan0", "-P", "elsewhere", "_other._tcp", "local", "1",
                            "quillbay-phone.local", "192.168.77.3"])
    wait_until(lambda: lab.desk.mdns_lookup("_other._tcp", 0.4), 10, "the desk has the phone's host name")
    lab.phone_returns()
    wait_until(lambda: "retrying with quillbay-phone-2" in lab.phone.service_log("avahi"), 15, "the phone gives way")
    terminal = Terminal(lab)
    assert terminal.phones() == []
    lab.phone.spawn(["avahi-publish-service", INSTANCE, TYPE, Phone.PORT, *TXT])
    phone = terminal.await_phone("quillbay-phone.local", 15)
    assert (phone["name"], phone["port"]) == (INSTANCE, Phone.PORT)
    assert phone["txt"] == {"identifier": "6E2A-41B7", "ver": "24"}
    agent.await_diagnostic('host "quillbay-phone-2.local" lost a naming conflict — recovered as "quillbay-phone.local"', 5)
    assert [found["host"] for found in terminal.phones()] == ["quillbay-phone.local"]
    owner.end()


def test_a_phone_that_leaves_without_a_word_and_comes_back_is_listed_again(shared, agent, terminal):
    phone = Phone(shared, name=INSTANCE, txt=TXT)
    terminal.await_phone(Phone.HOST, 15)
    shared.phone_leaves()
    wait_until(lambda: not terminal.phones(), 25, "it is not listed any more")
    shared.phone_returns()
    terminal.await_phone(Phone.HOST, 20)
    assert phone.close() == 0


# Who may ask


def test_says_that_nothing_is_running(shared, terminal):
    answer = terminal.run("phones")
    assert (answer.code, answer.text) == (3, "")
    assert answer.errors == "quillbayctl: Nothing is running: start quillbay or quillbay-agent.\n"


def test_a_second_agent_is_refused_and_the_first_goes_on(shared, agent, terminal):
    result = shared.mac.run([programs.AGENT])
    assert result.code == 1
    assert result.output == f"quillbay-agent: Quillbay is running already (process {agent.process.pid}).\n"
    assert terminal.document("status")["overall"] == "off"


def test_a_second_agent_leaves_the_firsts_registrations_alone(lab, phone):
    first = paired_agent(lab, phone)
    first.start()
    first.await_user_line("Bridge is successful.", 30)
    wait_until(lambda: lab.desk.mdns_lookup(limit_seconds=0.4), 10, "the record is there")
    assert lab.mac.run([programs.AGENT]).code == 1
    assert [found.addresses for found in lab.desk.mdns_lookup(limit_seconds=0.4)] == [["192.168.77.1"]]
    assert list(Terminal(lab).states().values()) == ["on"]


def test_a_killed_agents_socket_is_taken_over(shared, agent, terminal):
    agent.process.signal(signal.SIGKILL)
    assert agent.process.wait(5) == -signal.SIGKILL
    assert shared.mac.run(["test", "-S", f"{shared.mac.RUNTIME}/quillbay/control.sock"]).code == 0
    assert terminal.run("status").code == 3
    agent.start()
    wait_until(lambda: terminal.run("status").code == 0, 10, "the next agent answers")


def test_another_user_does_not_get_to_the_socket(shared, agent):
    result = shared.mac.run([*NOBODY, programs.CONTROL, "status"])
    assert (result.code, result.output) == (1, "quillbayctl: POSIXErrorCode(rawValue: 13): Permission denied\n")


def test_another_user_who_gets_to_the_socket_is_refused(shared, agent, terminal):
    folder = f"{shared.mac.RUNTIME}/quillbay"
    paths = [shared.mac.RUNTIME, folder, f"{folder}/control.sock"]
    shared.mac.run(["chmod", "777", *paths], check=True)
    try:
        result = shared.mac.run([*NOBODY, "/usr/bin/python3", "-c", FIRST_LINE_OF_A_SOCKET, paths[-1]])
    finally:
        shared.mac.run(["chmod", "700", *paths], check=True)
    assert json.loads(result.output) == {"error": "Only the user whose program this is may use it."}
    assert terminal.run("status").code == 0


# A person's terminal


def test_ctrl_c_ends_a_log_that_is_followed(shared, agent, terminal):
    with terminal.open("log", "--follow") as session:
        wait_until(lambda: shared.mac.run(["ss", "-Hx", "state", "connected"]).output.count("control.sock") > 0, 10,
                   "it is connected")
        session.interrupt()
        assert session.wait(2) == 130
    assert terminal.run("status").code == 0


def test_the_simulated_clients_are_found_where_an_installer_puts_them(shared, agent, terminal):
    providers = {found["id"]: found for found in terminal.document("providers")["providers"]}
    for name in ("tailscale", "netbird"):
        assert (providers[name]["installed"], providers[name]["binaryPath"]) == (True, f"/usr/local/bin/{name}")
    assert providers["zerotier"]["installed"] is False
