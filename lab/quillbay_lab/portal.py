"""Stands in for a desktop's portal: the user's choice of appearance, and what programs ask the desktop to open.

XDG Desktop Portal documentation, interfaces org.freedesktop.portal.Settings, OpenURI and Email. Runs in the host, on its
session bus. Reads commands, one a line, and prints what it was asked to do, one JSON document a line:

    dark, light       the user changes the appearance
    calm, lively      the user wants less motion, or not
    {"ready": true}   once the portal can be called
    {"uri"}           a program had this address opened
    {"mail": {"addresses", "subject", "body"}, "attachment": bytes or null}
"""

import json
import os
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  (needs the version above)

_PATH = "/org/freedesktop/portal/desktop"
_APPEARANCE, _DESKTOP = "org.freedesktop.appearance", "org.gnome.desktop.interface"
_INTERFACES = """<node>
  <interface name="org.freedesktop.portal.Settings">
    <method name="ReadAll"><arg type="as"/><arg type="a{sa{sv}}" direction="out"/></method>
    <method name="Read"><arg type="s"/><arg type="s"/><arg type="v" direction="out"/></method>
    <method name="ReadOne"><arg type="s"/><arg type="s"/><arg type="v" direction="out"/></method>
    <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
    <property name="version" type="u" access="read"/>
  </interface>
  <interface name="org.freedesktop.portal.OpenURI">
    <method name="OpenURI"><arg type="s"/><arg type="s"/><arg type="a{sv}"/><arg type="o" direction="out"/></method>
    <property name="version" type="u" access="read"/>
  </interface>
  <interface name="org.freedesktop.portal.Email">
    <method name="ComposeEmail"><arg type="s"/><arg type="a{sv}"/><arg type="o" direction="out"/></method>
    <property name="version" type="u" access="read"/>
  </interface>
</node>"""
_NOT_FOUND = "org.freedesktop.portal.Error.NotFound"
_VERSIONS = {"org.freedesktop.portal.Settings": 2, "org.freedesktop.portal.OpenURI": 3,
             "org.freedesktop.portal.Email": 3}


def _tell(document):
    print(json.dumps(document), flush=True)


class Portal:
    """Serves one bus."""

    def __init__(self, bus):
        self._bus = bus
        self._settings = {(_APPEARANCE, "color-scheme"): GLib.Variant("u", 2),
                          (_DESKTOP, "enable-animations"): GLib.Variant("b", True)}
        for interface in Gio.DBusNodeInfo.new_for_xml(_INTERFACES).interfaces:
            bus.register_object(_PATH, interface, self._call, self._property, None)

    def obey(self, command):
        setting, value = {"dark": ((_APPEARANCE, "color-scheme"), GLib.Variant("u", 1)),
                          "light": ((_APPEARANCE, "color-scheme"), GLib.Variant("u", 2)),
                          "calm": ((_DESKTOP, "enable-animations"), GLib.Variant("b", False)),
                          "lively": ((_DESKTOP, "enable-animations"), GLib.Variant("b", True))}[command]
        self._settings[setting] = value
        self._bus.emit_signal(None, _PATH, "org.freedesktop.portal.Settings", "SettingChanged",
                              GLib.Variant("(ssv)", (*setting, value)))

    def _property(self, _bus, _sender, _path, interface, _name):
        return GLib.Variant("u", _VERSIONS[interface])

    def _call(self, bus, sender, _path, _interface, method, parameters, invocation):
        if method == "ReadAll":
            groups, = parameters.unpack()
            invocation.return_value(GLib.Variant("(a{sa{sv}})", (self._all(groups),)))
            return
        if method in ("Read", "ReadOne"):
            self._read(parameters.unpack(), method, invocation)
            return
        if method == "OpenURI":
            _tell({"uri": parameters.unpack()[1]})
        else:
            self._take_mail(parameters, invocation)
        options = parameters.unpack()[-1]
        request = f"{_PATH}/request/{sender[1:].replace('.', '_')}/{options.get('handle_token', 'none')}"
        invocation.return_value(GLib.Variant("(o)", (request,)))
        bus.emit_signal(sender, request, "org.freedesktop.portal.Request", "Response", GLib.Variant("(ua{sv})", (0, {})))

    def _all(self, groups):
        found = {}
        for (group, key), value in self._settings.items():
            if group in groups:
                found.setdefault(group, {})[key] = value
        return found

    def _read(self, wanted, method, invocation):
        value = self._settings.get(tuple(wanted))
        if value is None:
            invocation.return_dbus_error(_NOT_FOUND, "there is no such setting")
            return
        # The older call wraps the value once more.
        invocation.return_value(GLib.Variant("(v)", (GLib.Variant("v", value) if method == "Read" else value,)))

    def _take_mail(self, parameters, invocation):
        options = parameters.unpack()[1]
        attachments = options.get("attachment_fds", [])
        size = None
        if attachments:
            descriptors = invocation.get_message().get_unix_fd_list()
            descriptor = descriptors.get(attachments[0])
            size = os.fstat(descriptor).st_size
            os.close(descriptor)
        _tell({"mail": {key: options.get(key) for key in ("addresses", "subject", "body")}, "attachment": size})


def main():
    loop = GLib.MainLoop()
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    portal = Portal(bus)

    def take(channel, _condition):
        line = channel.readline()
        if not line:
            loop.quit()
            return False
        portal.obey(line.strip())
        return True

    GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, GLib.IOCondition.IN | GLib.IOCondition.HUP, take)
    Gio.bus_own_name_on_connection(bus, "org.freedesktop.portal.Desktop", Gio.BusNameOwnerFlags.NONE,
                                   lambda *_: _tell({"ready": True}), None)
    loop.run()


if __name__ == "__main__":
    main()
