"""The steps of `script/demo window`: the application worked as a person does, with the pointer and the keyboard, and
checked by what stands on the screen and by what it does outside."""

import json
import os

from quillbay_lab import Agent, LabError, Phone, wait_until
from quillbay_lab.desktop import Desktop, Portal
from quillbay_lab.lab import MAC_ADDRESS, PHONE_MESH_ADDRESS
from quillbay_lab.person import Application, Person
from quillbay_lab.update_service import UpdateService

from .album import Album
from .checks import NotSeen, expect_equal

_PYTHON = "/usr/bin/python3"
_INSTANCE = "6E2A41B7-90C3-4D1F"
_TXT = ("identifier=6E2A-41B7", "authTag=q83v+/8=", "flags=2", "ver=24", "minVer=17", "empty=")
_NAME, _NEW_NAME = "Robin's iPhone", "Robin's test phone"
_PEER = "robins-iphone"
_STILL_NEAR = ("Error: The device is still on this Mac's local network. Move it to a different Wi‑Fi before bridging. "
               "Cellular won't work.")
_MOVED_PORT = 64321
_NEWER = "9.8.7"
_ADD = "Pair a new iPhone"
_SWITCH = "Start Bridge"
_SCAN = "Scan port (probe device)"


class WindowSteps:
    """The steps in their order; each builds on those before."""

    TOTAL = 16

    def __init__(self, lab):
        self._lab = lab
        # Only its files are looked at: the application keeps the same ones.
        self._files = Agent(lab)
        self._phone = None

    def all(self):
        """(title, function) of each step; a function returns the line to show."""
        return [("a desktop with a tray", self.desktop_comes_up),
                ("the first start, without a device", self.first_start),
                ("the phone is found on the network", self.phone_is_found),
                ("it is paired with its peer", self.phone_is_paired),
                ("switched on while the phone is near", self.bridge_is_refused),
                ("the phone leaves, switched on again", self.bridge_comes_up),
                ("the panel and the tray tell the same", self.panel_tells_the_same),
                ("edit is unavailable, rename is not", self.device_is_renamed),
                ("a scan finds the moved port", self.scan_finds_the_port),
                ("stopped, it can be paired anew", self.device_is_edited),
                ("the settings", self.settings_work),
                ("a newer version is offered", self.update_is_offered),
                ("removed after a question", self.device_is_removed),
                ("a typed address, and ZeroTier's", self.addresses_are_typed),
                ("quit and start: the bridge is back", self.bridge_is_restored),
                ("quit leaves nothing", self.nothing_is_left)]

    def log_tail(self, count=15):
        """The end of the application's diagnostic log."""
        return self._files.diagnostics()[-count:]

    def close(self):
        for name in ("_app", "_me", "_portal", "_updates", "_desktop"):
            thing = getattr(self, name, None)
            if thing is not None:
                (thing.stop if name == "_app" else thing.close)()
                setattr(self, name, None)

    # The steps.

    def desktop_comes_up(self):
        self._processes = self._lab.mac.processes()
        self._updates = UpdateService(self._lab.mac)
        self._desktop = Desktop(self._lab.mac)
        self._portal = Portal(self._desktop)
        self._desktop.start_tray()
        self._me = Person(self._desktop)
        self._album = Album(self._desktop, self._portal, os.environ.get("QUILLBAY_PICTURES"))
        return f"screen {self._desktop.display} in memory, with a window manager, a tray and a portal"

    def first_start(self):
        self._app = Application(self._desktop)
        for text in ("No device added yet", "Add an iPhone to bridge it over your mesh network.",
                     "Select a device from the list on the left to see its details, live status, and logs."):
            self._me.reads(text, 20)
        self._album.window("empty", "Quillbay")
        self._expect_tray("grey")
        return "“No device added yet”, and an invitation to add one; the tray's icon is grey"

    def phone_is_found(self):
        me = self._me
        me.click(_ADD)
        me.reads("Scanning… Make sure the iPhone is connected via USB or on the same Wi-Fi network.")
        me.click("Save")
        me.reads("Scanning…")
        self._album.window("add-scanning", "Quillbay")
        self._phone = Phone(self._lab, name=_INSTANCE, txt=_TXT)
        me.sees(f"{Phone.HOST}:{Phone.PORT}", 20)
        return f"the sheet was scanning, then lists {Phone.HOST}:{Phone.PORT}"

    def phone_is_paired(self):
        me = self._me
        me.click(f"{Phone.HOST}:{Phone.PORT}")
        me.click("Tailscale")
        self._pick_peer(_PEER)
        self._name_device(_NAME)
        self._album.window("add-filled", "Quillbay")
        me.key("Return")
        me.sees_no("Add Device")
        me.reads(f'Device "{_NAME}" added.')
        profile, = self._files.profiles()
        expect_equal("profile on file", (_NAME, Phone.HOST, "tailscale", PHONE_MESH_ADDRESS),
                     tuple(profile[key] for key in ("displayName", "bonjourHost", "providerID", "providerIP")))
        self._album.window("off", "Quillbay")
        return f"“{_NAME}” is in devices.json, through tailscale at {profile['providerIP']}"

    def bridge_is_refused(self):
        self._me.click(_SWITCH)
        self._me.sees(_STILL_NEAR, 30)
        self._album.window("error-near", "Quillbay")
        self._expect_tray("red")
        expect_equal("ports open on this computer's address", set(), self._lab.mac.listening(MAC_ADDRESS))
        return f"“{_STILL_NEAR}”, and the tray's icon is red"

    def bridge_comes_up(self):
        self._lab.phone_leaves()
        self._me.click(_SWITCH)
        self._me.sees("Bridge active", 60)
        self._me.reads("Bridge is successful.")
        self._album.window("active", "Quillbay")
        self._expect_tray("green")
        service = wait_until(self._record, 15, "the desk sees the record")
        expect_equal("address of the record", [MAC_ADDRESS], service.addresses)
        said = json.loads(self._lab.mac.run([_PYTHON, "-m", "clients.handshake", _INSTANCE, "10"], 30, check=True).output)
        expect_equal("originator of the answer", "device", said["answer"]["originatedBy"])
        return f"“Bridge active”; the desk sees “{service.name}” at {service.addresses[0]}, and the phone answers there"

    def panel_tells_the_same(self):
        me = self._me
        self._click_tray()
        me.sees("Recent logs")
        for text in ("Add Device", "Settings", "Quit", "Bridge active", "Bridge is successful."):
            me.sees(text)
        self._album.screen("panel-active", "420x640+1180+0")
        me.key("Escape")
        me.sees_no("Recent logs")
        return "the panel shows the device as “Bridge active” with the newest lines, and Escape closes it"

    def device_is_renamed(self):
        me = self._me
        self._open_actions(_NAME)
        me.click("Edit")
        me.reads("Stop the bridge before editing this device.")
        self._album.window("actions-while-active", "Quillbay")
        me.click("Rename")
        me.sees("Rename Device")
        me.replace_text(_NEW_NAME)
        self._album.window("rename", "Quillbay")
        me.key("Return")
        me.sees_no("Rename Device")
        me.sees(_NEW_NAME)
        profile, = self._files.profiles()
        expect_equal("name on file", _NEW_NAME, profile["displayName"])
        return f"“Stop the bridge before editing this device.”; renamed to “{_NEW_NAME}”"

    def scan_finds_the_port(self):
        self._phone.tell(f"move {_MOVED_PORT}")
        self._me.click(_SCAN)
        self._me.reads("Port ping succeeded.", 60)
        self._files.await_diagnostic(str(_MOVED_PORT), 10)
        self._album.window("scanned", "Quillbay")
        return "“Port ping succeeded.”, with the new port in the diagnostic log"

    def device_is_edited(self):
        me = self._me
        me.click(_SWITCH)
        me.sees("Off", 10)
        wait_until(lambda: not self._record(), 5, "the record is withdrawn")
        self._open_actions(_NEW_NAME)
        me.click("Edit")
        me.sees("Edit Device")
        me.click("Netbird")
        self._pick_peer(_PEER)
        self._album.window("edit", "Quillbay")
        me.click("Save")
        me.sees_no("Edit Device")
        me.reads(f"Netbird · {PHONE_MESH_ADDRESS}")
        profile, = self._files.profiles()
        expect_equal("connector on file", "netbird", profile["providerID"])
        me.click(_SWITCH)
        me.sees("Bridge active", 90)
        return "off, then paired with NetBird's peer of that name, then “Bridge active” again"

    def settings_work(self):
        me = self._me
        me.key("ctrl+comma")
        me.sees("Launch at login")
        me.click("Test device list")
        me.reads("5 devices found", 20)
        self._album.window("settings", "Settings")
        me.click("Launch at login", role="check box")
        entry = self._lab.mac.home / "config" / "autostart" / "com.local.mirel.Quillbay.desktop"
        wait_until(entry.exists, 5, "the autostart entry is there")
        me.click("Launch at login", role="check box")
        wait_until(lambda: not entry.exists(), 5, "the autostart entry is gone")
        me.click("Send diagnostics to support team")
        mail, = wait_until(lambda: self._portal.asked("mail"), 20, "the mail composer is opened")
        if not mail["attachment"]:
            raise NotSeen("a mail with the report attached", mail)
        me.key("ctrl+w")
        me.sees_no("Launch at login")
        return f"5 peers listed, an autostart entry made and removed, a mail with {mail['attachment']} bytes attached"

    def update_is_offered(self):
        self._updates.announce(_NEWER)
        expect_equal("exit status", 0, self._app.stop())
        self._app = Application(self._desktop)
        banner = f"Quillbay {_NEWER} is available"
        self._me.sees(banner, 20)
        self._album.window("update-banner", "Quillbay")
        self._me.click(banner)
        opened = wait_until(lambda: self._portal.asked("uri"), 10, "the browser is opened")[0]["uri"]
        expect_equal("address", f"https://quillbay.example/download/{_NEWER}", opened)
        self._expect_tray("green", "blue")
        self._click_tray()
        self._me.sees(f"Version {_NEWER} is available")
        self._album.screen("panel-update", "420x640+1180+0")
        self._me.key("Escape")
        self._updates.announce(None)
        return f"“{banner}”; a click opens {opened}"

    def device_is_removed(self):
        me = self._me
        me.sees("Bridge active", 90)
        me.click("Remove device")
        me.reads("The profile and bridge settings will be permanently deleted.")
        self._album.window("removal", "Quillbay")
        me.key("Return")
        me.sees_no("Remove")
        expect_equal("profiles on file after Return", 1, len(self._files.profiles()))
        me.click("Remove device")
        me.click("Remove")
        me.reads("No device added yet")
        expect_equal("profiles on file", [], self._files.profiles())
        wait_until(lambda: not self._record(), 5, "the record is withdrawn")
        return "Return cancels, “Remove” removes; the record is withdrawn"

    def addresses_are_typed(self):
        me = self._me
        self._lab.phone_returns()
        self._pair_typed("Manual IP", "Manual IP IP address", "manual", "typed-address")
        tool = self._lab.mac.home / "zerotier-cli"
        tool.write_text("#!/bin/sh\n")
        tool.chmod(0o755)
        me.key("ctrl+comma")
        me.click("ZeroTier CLI path", role="text")
        me.replace_text(str(tool))
        me.key("ctrl+w")
        self._pair_typed("ZeroTier", "ZeroTier IP address", "zerotier", "typed-zerotier")
        return "paired by a typed address, and by ZeroTier's manual entry after its client's path was set"

    def bridge_is_restored(self):
        self._lab.phone_leaves()
        self._me.click(_SWITCH)
        self._me.sees("Bridge active", 60)
        self._me.key("ctrl+q")
        expect_equal("exit status", 0, self._app.process.wait(10))
        wait_until(lambda: not self._record(), 5, "the record is withdrawn")
        enabled = [profile["providerID"] for profile in self._files.profiles() if profile["bridgeEnabled"]]
        expect_equal("bridges to restore", ["zerotier"], enabled)
        self._app = Application(self._desktop)
        self._me.sees("Bridge active", 60)
        wait_until(self._record, 15, "the desk sees the record again")
        return "quit withdraws the record and keeps the switch; the next start brings both back"

    def nothing_is_left(self):
        second = Application(self._desktop)
        expect_equal("exit status of a second start", 0, second.process.wait(10))
        expect_equal("exit status", 0, self._app.stop())
        self._app = None
        self.close()
        expect_equal("processes", self._processes, self._lab.mac.processes())
        expect_equal("open ports of this computer", set(), self._lab.mac.listening(MAC_ADDRESS))
        return f"a second start ends with 0, SIGTERM leaves no child and no port; {len(self._album.taken)} pictures taken"

    # How a person does it.

    def _record(self):
        return next((found for found in self._lab.desk.mdns_lookup(limit_seconds=0.4) if found.name == _INSTANCE), None)

    def _expect_tray(self, *hues):
        """The tray's icon has pixels of these hues, and of no other but grey."""
        def seen():
            return {hue for hue, count in self._desktop.tray_hues().items() if count > 3 and hue != "grey"} or {"grey"}

        try:
            wait_until(lambda: seen() == set(hues), 10, "the tray's icon has its colour")
        except LabError as error:
            raise NotSeen(f"{' and '.join(hues)} in the tray", self._desktop.tray_hues()) from error

    def _open_actions(self, name):
        self._me.click(f"Actions for {name}")
        self._me.sees("Rename")

    def _pick_peer(self, name):
        self._me.click("Which device is this iPhone?")
        self._me.click(f"{name} (online)")

    def _name_device(self, name):
        self._me.click("Display name", role="text")
        self._me.replace_text(name)

    def _pair_typed(self, tile, prompt, provider, picture):
        me = self._me
        me.click(_ADD)
        me.click(f"{Phone.HOST}:{_MOVED_PORT}", limit_seconds=30)
        me.click(tile)
        me.click(prompt, role="text")
        me.type(PHONE_MESH_ADDRESS)
        self._name_device(f"{tile} phone")
        self._album.window(picture, "Quillbay")
        me.click("Save")
        me.sees_no("Add Device")
        profile = next(profile for profile in self._files.profiles() if profile["providerID"] == provider)
        expect_equal("address on file", (PHONE_MESH_ADDRESS, f"{tile} phone"),
                     (profile["providerIP"], profile["displayName"]))

    def _click_tray(self):
        self._me.click_at(*self._desktop.tray_icon())
