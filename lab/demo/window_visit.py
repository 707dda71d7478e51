"""The application in the lab on the screen that is there, to be tried by hand: with a phone, VPN clients, and a phone that
leaves when asked."""

import os
import pathlib
import shutil
import sys

from quillbay_lab import LabError, Phone
from quillbay_lab.desktop import Desktop
from quillbay_lab.person import Application

_INSTANCE = "6E2A41B7-90C3-4D1F"
_TXT = ("identifier=6E2A-41B7", "authTag=q83v+/8=", "flags=2", "ver=24", "minVer=17", "empty=")
_HELP = """Pair the phone in the window: it is robins-iphone in both simulated VPNs, 100.64.77.2 as a typed address.
Then type here, each with Return:
    leave     the phone leaves the local network (a bridge needs that)
    return    it comes back
    move N    it answers on port N from now on (49152 to 65535)
    quit      ends everything (so does closing the program)"""


def _authority(folder):
    """What lets a program onto the screen, where the host's own runtime folder does not hide it."""
    given = os.environ.get("XAUTHORITY") or str(pathlib.Path.home() / ".Xauthority")
    if not pathlib.Path(given).is_file():
        return {}
    copy = shutil.copy(given, folder / "Xauthority")
    return {"XAUTHORITY": str(copy)}


def visit(lab, screen):
    """Runs until the person has seen enough. Raises `LabError` when the screen cannot be used."""
    phone = Phone(lab, name=_INSTANCE, txt=_TXT)
    with Desktop(lab.mac, display=os.environ["DISPLAY"]) as desktop:
        application = Application(desktop, environment=_authority(desktop.scratch))
        screen.line(_HELP)
        deeds = {"leave": (lab.phone_leaves, "the phone has left the local network"),
                 "return": (lab.phone_returns, "the phone is back on the local network")}
        while application.process.running:
            line = sys.stdin.readline()
            words = line.split()
            if not line or words == ["quit"]:
                break
            try:
                if len(words) == 2 and words[0] == "move":
                    phone.tell(f"move {words[1]}")
                    screen.line(f"the phone answers on port {phone.port}")
                elif len(words) == 1 and words[0] in deeds:
                    do, said = deeds[words[0]]
                    do()
                    screen.line(said)
                elif words:
                    screen.line(_HELP)
                    continue
            except LabError as error:
                screen.line(str(error))
        if not application.process.running:
            screen.line(application.log().strip())
        application.stop()
