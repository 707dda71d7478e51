"""The mesh network that both simulated VPN clients report: this Mac, the lab's phone, and machines that are not there.

It has what a real network has and a tidy list has not: peers that are offline, without an address, without a name.
"""

from dataclasses import dataclass

SUFFIX = "tail77.example"


@dataclass(frozen=True)
class Machine:
    """One member of the network."""

    name: str
    system: str
    addresses: tuple
    online: bool
    last_seen: str = "2026-01-31T09:12:44.1Z"

    @property
    def fqdn(self):
        return f"{self.name.lower()}.{SUFFIX}" if self.name else ""


OWN = Machine("mac", "macOS", ("100.64.77.1", "fd7a:115c:a1e0::4d01"), True)

PEERS = (
    Machine("build-server", "linux", ("100.64.77.20", "fd7a:115c:a1e0::4d14"), True),
    Machine("robins-iphone", "iOS", ("100.64.77.2", "fd7a:115c:a1e0::4d02"), True),
    Machine("office-mac", "macOS", ("100.64.77.21", "fd7a:115c:a1e0::4d15"), False),
    Machine("new-tablet", "iOS", (), False),
    Machine("", "android", ("100.64.77.23",), False),
)
