"""A second way between the Mac and the phone, on which every packet takes its time.

    mac    far0 100.64.78.1/24
    phone  far0 100.64.78.2/24
"""

import subprocess

from . import programs
from .errors import LabError

MAC_FAR_ADDRESS, PHONE_FAR_ADDRESS = "100.64.78.1", "100.64.78.2"


class DelayedPath:
    """It is there as long as this object, and no longer than the process that made it. A context manager."""

    def __init__(self, lab, milliseconds_each_way):
        programs.require(programs.DELAY)
        ends = [word for host in (lab.mac, lab.phone) for word in (host.namespace.network[0], "far0")]
        # A session of its own: Ctrl-C is for the lab.
        self._carrier = subprocess.Popen([programs.DELAY, str(round(1000 * milliseconds_each_way)), *ends],
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                         start_new_session=True)
        try:
            if self._carrier.stdout.readline() != "ready\n":
                raise LabError("the delayed path could not be made")
            for host, address in ((lab.mac, MAC_FAR_ADDRESS), (lab.phone, PHONE_FAR_ADDRESS)):
                host.run(["ip", "address", "add", f"{address}/24", "dev", "far0"], check=True)
                host.run(["ip", "link", "set", "far0", "up"], check=True)
        except BaseException:
            self.close()
            raise

    def close(self):
        self._carrier.stdin.close()
        try:
            self._carrier.wait(5)
        except subprocess.TimeoutExpired:
            self._carrier.kill()
            self._carrier.wait()
        self._carrier.stdout.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
