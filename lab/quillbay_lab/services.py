"""What runs in every host: a D-Bus system bus, an Avahi daemon and, on the Mac, the system's journal."""

import pathlib

_BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true"/>
    <allow receive_type="method_call"/>
    <allow receive_type="signal"/>
    <allow receive_requested_reply="true"/>
  </policy>
</busconfig>
"""

_AVAHI = """[server]
host-name={host_name}
use-ipv4=yes
use-ipv6=no
allow-interfaces={interface}
ratelimit-interval-usec=1000000
ratelimit-burst=1000

[wide-area]
enable-wide-area=no

[publish]
publish-hinfo=no
publish-workstation=no
"""

_JOURNAL = """[Journal]
Storage=volatile
ReadKMsg=no
Audit=no
RateLimitIntervalSec=0
"""

BUS_ADDRESS = "unix:path=/run/dbus/system_bus_socket"
JOURNAL_DAEMON = pathlib.Path("/lib/systemd/systemd-journald")


def write_configurations(folder, host_name, interface, machine_id):
    """Writes the files that the mounts and commands below name."""
    (folder / "bus.conf").write_text(_BUS)
    (folder / "avahi.conf").write_text(_AVAHI.format(host_name=host_name, interface=interface))
    (folder / "journald.conf").write_text(_JOURNAL)
    (folder / "machine-id").write_text(machine_id + "\n")


def mounts(folder, programs=None):
    """What mount(8) does in a new host, in order; `programs` takes the place of /usr/local/bin."""
    commands = [["-t", "tmpfs", "-o", "mode=755", "tmpfs", "/run"]]
    if pathlib.Path("/var/log").is_dir():
        # Otherwise the journal would find the machine's own there.
        commands.append(["-t", "tmpfs", "-o", "mode=755", "tmpfs", "/var/log"])
    for own, there in ((folder / "machine-id", "/etc/machine-id"), (folder / "journald.conf",
                       "/etc/systemd/journald.conf"), ("/dev/null", "/dev/kmsg")):
        if pathlib.Path(there).exists():
            commands.append(["--bind", str(own), there])
    if programs is not None:
        commands.append(["--bind", "-o", "ro", str(programs), "/usr/local/bin"])
    # The journal does not start where it cannot find its own place among the control groups: in a bare system that
    # was never booted nothing has mounted them.
    groups = pathlib.Path("/sys/fs/cgroup")
    if groups.exists() and not (groups / "cgroup.procs").exists() and not any(groups.iterdir()):
        commands.append(["-t", "cgroup2", "none", str(groups)])
    return commands


def bus_command(folder):
    return ["dbus-daemon", f"--config-file={folder / 'bus.conf'}", "--nofork", "--nopidfile"]


def avahi_command(folder):
    return ["avahi-daemon", f"--file={folder / 'avahi.conf'}", "--no-drop-root", "--no-chroot", "--no-rlimits",
            "--no-proc-title"]


AVAHI_STATE = ["dbus-send", "--system", "--print-reply=literal", "--reply-timeout=2000",
               "--dest=org.freedesktop.Avahi", "/", "org.freedesktop.Avahi.Server.GetState"]
