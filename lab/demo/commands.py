"""quillbayctl's commands, each with its exit status and its words checked."""

import time

from quillbay_lab import LabError, wait_until

from .checks import NotSeen, expect_equal


class Commands:
    """Runs commands on a `Terminal` and raises `NotSeen` when one does not end as it should."""

    def __init__(self, terminal):
        self._terminal = terminal

    def ends_with(self, code, *words):
        """Runs a command that ends with this status, and returns what it said: on standard error when refused."""
        answer = self._terminal.run(*words)
        said = answer.errors if code else answer.text
        if answer.code != code:
            raise NotSeen(f"exit status {code} of {' '.join(words)}", f"{answer.code}: {answer.text}{answer.errors}")
        if code and (answer.text or not said.strip()):
            raise NotSeen(f"a reason on standard error alone of {' '.join(words)}", answer)
        return said.strip()

    def answers(self, text, *words):
        """Runs a command that is done and says exactly this."""
        expect_equal(f"answer to {' '.join(words)}", text, self.ends_with(0, *words))

    def says(self, texts, *words):
        """Runs a command that is done, and that says each of these texts in plain characters."""
        said = self.ends_with(0, *words)
        for text in texts:
            if text not in said:
                raise NotSeen(f"“{text}” from {' '.join(words)}", said)
        if "\033" in said:
            raise NotSeen("no colours in a pipe", repr(said))

    def bridge(self, name):
        """Starts the only profile's bridge; returns the seconds from `start` to `on`, which pairing comes before."""
        start, states = time.monotonic(), []
        profile, = self._terminal.document("status")["profiles"]
        self.answers(f"Starting: {profile['id']}", "start", name)

        def on():
            profile, = self._terminal.document("status")["profiles"]
            if not states or states[-1] != profile["status"]["state"]:
                states.append(profile["status"]["state"])
            if states[-1] == "error":
                raise NotSeen("a bridge", profile["status"]["message"])
            return states[-1] == "on"

        try:
            wait_until(on, 60, "the bridge is on")
        except LabError as error:
            raise NotSeen("pairing, then on", states) from error
        expect_equal("states", ["pairing", "on"], states)
        return time.monotonic() - start
