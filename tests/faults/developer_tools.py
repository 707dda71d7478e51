"""The developer tools on the lab's Mac.

A bridge asks them whether the phone is near before it asks the network. Where they say that the phone is away, a start is
work from its beginning to its end; without them it mostly waits, for a second and a half of silence.
"""

import json

_SCRIPT = """#!/bin/sh
# xcrun devicectl list devices --json-output FILE
cat >"$5" <<'END'
{document}
END
"""


def install(host, phone_host):
    """Gives the host an xcrun that knows the phone with this host name, and calls it unavailable."""
    device = {"identifier": "2B1C-77", "connectionProperties": {"potentialHostnames": [phone_host],
                                                               "tunnelState": "unavailable"}}
    folder = host.folder / "developer-tools"
    folder.mkdir()
    tool = folder / "xcrun"
    tool.write_text(_SCRIPT.format(document=json.dumps({"result": {"devices": [device]}})))
    tool.chmod(0o755)
    # Only this host sees it: /usr/bin with one program more.
    host.run(["mount", "-t", "overlay", "overlay", "-o", f"ro,lowerdir={folder}:/usr/bin", "/usr/bin"], check=True)
