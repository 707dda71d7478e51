"""The network: who is connected to whom, and what happens to the connections.

    mac    en0 192.168.77.1/24 (the local network)   vpn0 100.64.77.1/24 (the mesh)
    phone  lan0 192.168.77.2/24                      vpn0 100.64.77.2/24
    desk   lan0 192.168.77.3/24, a bystander on the local network

The local network is a bridge in a fourth set of namespaces; the mesh is one cable between the Mac and the phone.
Every network namespace lives only as long as the processes in it, so the kernel itself takes everything down with
the process that made the lab, however that ends.
"""

import concurrent.futures
import json
import os
import pathlib
import shutil
import subprocess

from . import leftovers
from .errors import LabError
from .host import Host
from .hostprocess import Namespace
from .waiting import wait_until

MAC_ADDRESS, PHONE_ADDRESS, DESK_ADDRESS = "192.168.77.1", "192.168.77.2", "192.168.77.3"
MAC_MESH_ADDRESS, PHONE_MESH_ADDRESS = "100.64.77.1", "100.64.77.2"

# The simulated VPN clients. They are put where an installer puts the real ones, so the agent finds them by itself, and
# a real one on this machine is not seen.
_VPN_CLIENTS = pathlib.Path(__file__).resolve().parent.parent / "vpn"


class Lab:
    """Several may exist at a time. A context manager; `close` may be called twice."""

    def __init__(self):
        self._hosts = []
        self._switch = None
        self.folder = leftovers.make_folder()
        try:
            self._build()
        except BaseException:
            self.close()
            raise

    def _build(self):
        self._switch = Namespace("switch", [])
        self._ip(self._switch, "link add br0 type bridge stp_state 0 forward_delay 0 mcast_snooping 0")
        self._ip(self._switch, "link set br0 up")
        self.mac = self._add_host("mac", "en0", MAC_ADDRESS, _VPN_CLIENTS)
        self.phone = self._add_host("phone", "lan0", PHONE_ADDRESS)
        self.desk = self._add_host("desk", "lan0", DESK_ADDRESS)
        self._ip(self.mac.namespace, f"link add name vpn0 type veth peer name vpn0 "
                                     f"netns {self.phone.namespace.network[1]}")
        self._assign(self.mac, "vpn0", MAC_MESH_ADDRESS)
        self._assign(self.phone, "vpn0", PHONE_MESH_ADDRESS)
        for host in self._hosts:
            self._await_carrier(host, host.interface)
        self.mac.start_journal()
        # Avahi takes most of a second to make sure of its host's name: all of them at the same time.
        with concurrent.futures.ThreadPoolExecutor() as pool:
            for _ in pool.map(Host.start_services, self._hosts):
                pass

    def _add_host(self, name, interface, address, programs=None):
        host = Host(self.folder / name, name, interface, programs)
        self._hosts.append(host)
        self._ip(self._switch, f"link add name {name} type veth peer name {interface} "
                               f"netns {host.namespace.network[1]}")
        self._ip(self._switch, f"link set {name} master br0 up")
        self._assign(host, interface, address)
        return host

    def _assign(self, host, interface, address):
        self._ip(host.namespace, f"address add {address}/24 dev {interface}")
        self._ip(host.namespace, f"link set {interface} up")

    def _ip(self, namespace, arguments):
        command = ["nsenter", f"--net={namespace.network[0]}", "ip", *arguments.split()]
        result = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
        if result.returncode != 0:
            raise LabError(f"{namespace.name}: ip {arguments}: {result.stderr.strip()}")

    def _await_carrier(self, host, interface):
        wait_until(lambda: "LOWER_UP" in host.run(["ip", "-brief", "link", "show", "dev", interface]).output, 5,
                   f"{host.name}: {interface} has a carrier")

    def phone_leaves(self):
        """The phone leaves the local network; the mesh stays."""
        self._ip(self.phone.namespace, "link set lan0 down")

    def phone_returns(self):
        self._ip(self.phone.namespace, "link set lan0 up")
        self._await_carrier(self.phone, "lan0")

    def mesh_down(self):
        """The mesh swallows what the Mac sends to the phone, without a word."""
        self._ip(self.phone.namespace, "link set vpn0 down")

    def mesh_up(self):
        self._ip(self.phone.namespace, "link set vpn0 up")
        self._await_carrier(self.mac, "vpn0")

    def phone_mutes(self):
        """What the Mac sends through the mesh arrives at the phone, and nothing is ever answered."""
        self._ip(self.phone.namespace, f"route add blackhole {MAC_MESH_ADDRESS}/32")

    def phone_answers(self):
        self._ip(self.phone.namespace, f"route del blackhole {MAC_MESH_ADDRESS}/32")

    def received_by_phone(self):
        """The number of packets that the phone has received through the mesh so far."""
        link, = json.loads(self.phone.run("ip -json -statistics link show dev vpn0".split(), check=True).output)
        return link["stats64"]["rx"]["packets"]

    def set_address(self, host, interface, address):
        """Gives an interface another address, as a new lease does."""
        for old in host.addresses(interface):
            self._ip(host.namespace, f"address del {old} dev {interface}")
        self._ip(host.namespace, f"address add {address}/24 dev {interface}")

    def restart_avahi(self, host):
        """Ends the host's Avahi daemon, starts it again and waits until it answers."""
        host.stop_avahi()
        host.start_avahi()

    def network_namespaces(self):
        """The kernel's names of the lab's network namespaces, as in /proc/PID/ns/net."""
        inside = [host.namespace for host in self._hosts] + [self._switch]
        return [os.readlink(namespace.network[0]) for namespace in inside]

    def close(self):
        """Ends every host and removes the lab's files."""
        for host in self._hosts:
            host.close()
        self._hosts = []
        if self._switch is not None:
            self._switch.close()
            self._switch = None
        shutil.rmtree(self.folder, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
