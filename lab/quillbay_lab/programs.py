"""Where the built programs are."""

import os
import pathlib

from .errors import LabError

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
# Another build, such as one with a sanitizer, is named by the environment.
BUILD = pathlib.Path(os.environ.get("QUILLBAY_BUILD", ROOT / "build" / "release")).resolve()

PHONE = BUILD / "bin" / "quillbay-phone"
BULK_CLIENT = BUILD / "bin" / "quillbay-lab-client"
DELAY = BUILD / "bin" / "quillbay-lab-delay"
AGENT = BUILD / "bin" / "quillbay-agent"
APPLICATION = BUILD / "bin" / "quillbay"
CONTROL = BUILD / "bin" / "quillbayctl"
DNS_SD = BUILD / "libexec" / "quillbay" / "dns-sd"


def require(*programs):
    """Raises `LabError` naming the programs that have not been built."""
    missing = [str(program) for program in programs if not program.exists()]
    if missing:
        raise LabError("not built: " + ", ".join(missing))
