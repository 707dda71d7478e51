"""What has to hold after a call has failed."""

import time

from expectations import sentence_expected

from quillbay_lab import LabError

# The registration of the record and the follower of the system log.
_CHILDREN_OF_A_BRIDGE = 2
# Of the log's tool: it could not be started, or is gone.
_FOLLOWED = "followed in the system log: "
_UNFOLLOWED = "tunnel ports cannot be followed in the system log: "


def require_sound(stage, seen):
    """Raises `LabError` unless the bridge is up and does all that a bridge does."""
    complaints = complaints_about(stage, seen)
    if complaints:
        raise LabError("; ".join(complaints))


def nothing_named():
    return []


def complaints_about(stage, seen, log=nothing_named, case=None):
    """What is wrong with the outcome of a start in which a call failed (no case: in which nothing did). `log` returns the
    lines in which the agent may have named what does not work."""
    if seen.state == "error":
        if case is None or not sentence_expected(case.label, seen.message):
            return [f"the bridge has failed: {seen.message}"]
        return misnamed(log(), "processLaunchFailed(", case)
    complaints = []

    def dead_and_unnamed():
        dead, lines = stage.dead_ports(), log()
        unnamed = {kind: [port for port in ports if not is_named(kind, port, lines)] for kind, ports in dead.items()}
        return {kind: ports for kind, ports in unnamed.items() if ports}

    # The listeners of the range open after the bridge has said that it is up.
    deadline = time.monotonic() + 5
    while (dead := dead_and_unnamed()) and time.monotonic() < deadline:
        time.sleep(0.05)
    if dead:
        complaints.append(f"dead ports that no line names: {dead}")
    # One that has just ended is waited for at any moment; that none stays is looked at in the end. And one that has just
    # begun has no command line yet.
    children, lines = living_children(stage), log()
    while len(children) < _CHILDREN_OF_A_BRIDGE and not names_the_follower(lines) and time.monotonic() < deadline:
        time.sleep(0.05)
        children, lines = living_children(stage), log()
    if len(children) != _CHILDREN_OF_A_BRIDGE and not names_the_follower(lines):
        complaints.append(f"children: {children}")
    return complaints + (misnamed(lines, _UNFOLLOWED, case) if case else [])


def names_the_follower(lines):
    return any(_FOLLOWED in line for line in lines)


def living_children(stage):
    return [child for child in stage.children() if child != "(ended)"]


def is_named(kind, port, lines):
    transport = "UDP" if kind == "udp" else "TCP"
    return any(f"{transport} relay on port {port} failed: " in line for line in lines)


def misnamed(lines, beginning, case):
    """A complaint for each line with this beginning that names another error than the one that was made."""
    return [f"names another error: {line}" for line in lines
            if beginning in line and f"POSIXErrorCode(rawValue: {case.code}): " not in line]


class Collected:
    """The lines of the log since it was made, read as they come."""

    def __init__(self, stage):
        self._stage = stage
        stage.log_lines()
        self.lines = []

    def __call__(self):
        self.lines += self._stage.log_lines()
        return self.lines
