"""The simulated VPN clients: their documents, and that the lab's Mac finds them where an installer puts them."""

import json
import re

import pytest

from quillbay_lab import Lab


@pytest.fixture(scope="module")
def network():
    with Lab() as lab:
        yield lab


def status(network, client):
    return json.loads(network.mac.run([f"/usr/local/bin/{client}", "status", "--json"], check=True).output)


def test_only_the_mac_has_them(network):
    assert network.mac.run(["ls", "/usr/local/bin"], check=True).output.split() == ["netbird", "network.py", "tailscale"]
    for host in (network.phone, network.desk):
        assert host.run(["test", "-e", "/usr/local/bin/netbird"]).code == 1


def test_the_checkout_cannot_be_changed_from_the_mac(network):
    assert network.mac.run(["touch", "/usr/local/bin/new"]).code == 1


def test_tailscale_keeps_this_computer_apart_from_its_peers(network):
    document = status(network, "tailscale")
    assert document["BackendState"] == "Running"
    assert (document["Self"]["HostName"], document["Self"]["TailscaleIPs"][0]) == ("mac", "100.64.77.1")
    peers = document["Peer"]
    assert all(re.fullmatch("nodekey:[0-9a-f]{64}", key) for key in [document["Self"]["PublicKey"], *peers])
    assert all(peer["PublicKey"] == key for key, peer in peers.items())
    assert document["Self"]["PublicKey"] not in peers


def test_tailscale_lists_the_phone_beside_what_a_network_has(network):
    peers = {peer["HostName"]: peer for peer in status(network, "tailscale")["Peer"].values()}
    assert sorted(peers) == ["", "build-server", "new-tablet", "office-mac", "robins-iphone"]
    phone = peers["robins-iphone"]
    assert phone["TailscaleIPs"] == ["100.64.77.2", "fd7a:115c:a1e0::4d02"]
    assert (phone["DNSName"], phone["OS"], phone["Online"]) == ("robins-iphone.tail77.example.", "iOS", True)
    assert peers["new-tablet"]["TailscaleIPs"] is None
    assert (peers["office-mac"]["Online"], peers["office-mac"]["LastSeen"]) == (False, "2026-01-31T09:12:44.1Z")


def test_netbird_lists_the_phone_beside_what_a_network_has(network):
    document = status(network, "netbird")
    details = {peer["fqdn"].partition(".")[0]: peer for peer in document["peers"]["details"]}
    assert sorted(details) == ["", "build-server", "new-tablet", "office-mac", "robins-iphone"]
    phone = details["robins-iphone"]
    assert (phone["netbirdIp"], phone["status"], phone["connectionType"]) == ("100.64.77.2/16", "Connected", "P2P")
    assert (details["new-tablet"]["netbirdIp"], details["office-mac"]["status"]) == ("", "Idle")
    assert (document["peers"]["total"], document["peers"]["connected"]) == (5, 2)
    assert (document["netbirdIp"], document["fqdn"]) == ("100.64.77.1/16", "mac.tail77.example")


@pytest.mark.parametrize("client", ["tailscale", "netbird"])
@pytest.mark.parametrize("arguments", [[], ["status"], ["status", "--json", "--peers"], ["up"]], ids=repr)
def test_everything_else_is_refused(network, client, arguments):
    result = network.mac.run([f"/usr/local/bin/{client}", *arguments])
    assert result.code == 1
    assert result.output.startswith(f"{client}: the lab's client knows \"status --json\", not [")
