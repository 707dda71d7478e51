"""What a profile holds, all the way to another host: the agent announces every name and every TXT string byte for byte."""

import signal

import pytest

from quillbay_lab import Agent, Lab, Phone, profile_of, wait_until
from quillbay_lab.lab import MAC_ADDRESS
from quillbay_lab.records import Service

NAMES = ["Robin's old phone", "i.Phone. 2.0", 'the "good" \\ one', "Zoë’s 📱", "n" * 63, "📱" * 15 + "abc",
         "-P . =\t'$HOME'"]
# Values that a shell, a command line or a zone file could misread.
TXT = {"blanks": " a  b ", "equals": "=a=b==", "quotes": '"x" \'y\' \\z', "empty": "", "dollar": "$HOME `id`",
       "emoji": "é📱", "option": "-P", "long": "v" * 250}


@pytest.fixture(scope="module")
def network():
    """A Mac and a phone that is away, for all tests of this file."""
    with Lab() as lab:
        lab.phone_leaves()
        Phone(lab, announced=False)
        yield lab


@pytest.fixture
def announced(network):
    """Runs the agent with a profile of this name and these TXT entries; gives the record that the desk sees."""
    agent = Agent(network)

    def announce(name, txt):
        captured = Service(name, Phone.HOST, Phone.PORT, [f"{key}={value}".encode() for key, value in txt.items()])
        # Without tunnel ports: they have their own tests.
        agent.write_profiles([profile_of(captured, tunnelPortRangeStart=2, tunnelPortRangeEnd=1)])
        agent.start()
        agent.await_user_line("Bridge is successful.", 20)
        return wait_until(lambda: network.desk.mdns_lookup(limit_seconds=0.4), 10, "the desk sees a record")

    yield announce
    assert agent.stop() == 0
    wait_until(lambda: not network.desk.mdns_lookup(limit_seconds=0.4), 5, "the record is gone")


@pytest.fixture(scope="module")
def named(network):
    """The records that the desk sees while one agent bridges a profile of each name, by their names."""
    agent = Agent(network)
    captured = [Service(name, f"phone{number}.local", Phone.PORT, [b"ver=24"]) for number, name in enumerate(NAMES)]
    agent.write_profiles([profile_of(service, tunnelPortRangeStart=2, tunnelPortRangeEnd=1) for service in captured])
    agent.start()

    def all_seen():
        # Too many to fit into one answer, so it is the desk's own daemon that is asked.
        found = network.desk.avahi_browse()
        return found if len(found) == len(NAMES) else None

    found = wait_until(all_seen, 30, "the desk sees a record for each name")
    assert agent.stop() == 0
    wait_until(lambda: not network.desk.avahi_browse(), 5, "the records are gone")
    return {service.name: service for service in found}


@pytest.mark.parametrize("name", NAMES, ids=repr)
def test_announces_a_name_byte_for_byte(named, name):
    found = named[name]
    assert (found.host, found.addresses, found.txt) == (f"phone{NAMES.index(name)}.local", [MAC_ADDRESS], [b"ver=24"])
    # Each bridge has a port of its own on this computer; the first one has the phone's.
    assert Phone.PORT <= found.port < Phone.PORT + len(NAMES)


def test_announces_txt_strings_byte_for_byte(announced):
    found, = announced("iPhone", TXT)
    assert sorted(found.txt) == sorted(f"{key}={value}".encode() for key, value in TXT.items())


def test_announces_a_record_without_txt(announced):
    found, = announced("iPhone", {})
    assert (found.name, found.txt, found.addresses) == ("iPhone", [], [MAC_ADDRESS])


def test_a_killed_agents_record_stays_and_is_replaced_at_the_next_start(network):
    agent = Agent(network)
    for port, txt in ((Phone.PORT, "n=1"), (Phone.PORT, "n=2")):
        captured = Service("Bob's i.Phone", Phone.HOST, port, [txt.encode()])
        agent.write_profiles([profile_of(captured, tunnelPortRangeStart=2, tunnelPortRangeEnd=1)])
        agent.start()
        agent.await_user_line("Bridge is successful.", 20)
        wait_until(lambda txt=txt: [found.txt for found in network.desk.mdns_lookup(limit_seconds=0.4)] ==
                   [[txt.encode()]], 10, f"the record with {txt} and no other")
        agent.process.signal(signal.SIGKILL)
        assert agent.process.wait(5) == -signal.SIGKILL
        still, = network.desk.mdns_lookup(limit_seconds=0.4)
        assert still.txt == [txt.encode()]
    # A run without a bridge clears up too.
    agent.write_profiles([])
    agent.start()
    wait_until(lambda: not network.desk.mdns_lookup(limit_seconds=0.4), 10, "the record is gone")
    assert agent.stop() == 0
