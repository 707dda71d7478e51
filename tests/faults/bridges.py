"""What a bridge that is up looks like from outside, and proof that it carries bytes."""

import json

from quillbay_lab import programs, wait_until
from quillbay_lab.lab import MAC_ADDRESS

SUCCESS = "Bridge is successful."
# The control channel and 55000 to 58000, by TCP and by UDP.
LISTENERS = 2 * 3002


def registrations(host):
    """The proxy registrations that run on the host, as process ids."""
    lines = host.run(["ps", "-axww", "-o", "pid=,args="], check=True).output.splitlines()
    found = [line.split() for line in lines]
    return [int(words[0]) for words in found if "dns-sd" in words[1] and "-P" in words]


def transfer(host, size, verb="get", port=55001, address=MAC_ADDRESS):
    """Moves bytes through a relay and asserts that they arrived as they were sent."""
    result = host.run([programs.BULK_CLIENT, verb, address, port, 7, size], 90, check=True)
    assert json.loads(result.output)["equal"]


def start_transfer(host, size, verb="get", port=55001, address=MAC_ADDRESS):
    """The same in the background; the client ends with 0 when everything arrived as it was sent."""
    return host.spawn([programs.BULK_CLIENT, verb, address, port, 7, size])


def warm_up(host, address=MAC_ADDRESS):
    """Moves bytes both ways through ports of every loop of the agent: what a relay moves them with is made once, at the
    first bytes, and kept."""
    for port in range(55000, 55010):
        for verb in ("get", "put"):
            transfer(host, 1_000_000, verb, port, address)


def await_record(lab, phone, limit_seconds=10, address=MAC_ADDRESS):
    """Waits until the bystander finds the phone's record, with this address of the Mac's."""
    def found():
        return [service for service in lab.desk.mdns_lookup(limit_seconds=0.4)
                if service.name == phone.name and service.addresses == [address]]

    wait_until(found, limit_seconds, f"the desk finds {phone.name} at {address}")
