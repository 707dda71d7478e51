"""What Qt Quick says about the frames that it draws, in a log that a program writes for whoever asks by ENVIRONMENT."""

import re
from dataclasses import dataclass

_CATEGORY = "qt.scenegraph.time.renderloop"
# Times of the monotonic clock, and one line for each frame of any window.
ENVIRONMENT = {"QT_LOGGING_RULES": f"{_CATEGORY}.debug=true", "QT_FORCE_STDERR_LOGGING": "1",
               "QT_MESSAGE_PATTERN": "%{time boot} %{category} %{message}"}

_FRAME = re.compile(rf"^ *(\d+\.\d{{3}}) {re.escape(_CATEGORY)} Frame rendered with '\w+' renderloop in (\d+)ms, ")


@dataclass(frozen=True)
class Frame:
    """`ended`: when it was on the screen, in seconds. `took`: milliseconds, from the changes in the items to the pixels
    handed to the screen."""

    ended: float
    took: int


def parse(text):
    """The frames of a log, in their order. A last line that is still being written is none."""
    lines = text.split("\n")[:-1]
    return [Frame(float(found[1]), int(found[2])) for found in map(_FRAME.match, lines) if found]


def settled(frames, quiet_seconds):
    """The last of the frames that follow each other with less than this between them, from the first on."""
    last = frames[0]
    for frame in frames[1:]:
        if frame.ended - last.ended >= quiet_seconds:
            break
        last = frame
    return last


def between(frames, begin, end):
    return [frame for frame in frames if begin <= frame.ended <= end]


def gaps(frames):
    """Milliseconds from the end of each frame to the end of the next."""
    return [1000 * (later.ended - earlier.ended) for earlier, later in zip(frames, frames[1:])]


def percentile(values, percent):
    """The smallest of the values that this many percent of them do not exceed."""
    ordered = sorted(values)
    return ordered[max(0, -(-len(ordered) * percent // 100) - 1)]
