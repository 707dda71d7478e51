"""Fixtures of the tests of faults. Run as root: /usr/bin/python3 -m pytest tests/faults [--long]

A test that takes more than a few seconds is marked `long`: it is left out unless `--long` asks for every test, or `-m`
names a choice of its own.
"""

import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from lab_fixtures import agent, lab, phone, shared  # noqa: E402, F401  (fixtures are found by their names here)
from quillbay_lab import wait_until  # noqa: E402
from quillbay_lab.lab import MAC_ADDRESS  # noqa: E402
from resources import EVERY_SOCKET  # noqa: E402


def pytest_addoption(parser):
    parser.addoption("--long", action="store_true", help="run the tests that are marked as long, too")


def pytest_configure(config):
    config.addinivalue_line("markers", "long: takes more than a few seconds; runs with --long")


def pytest_collection_modifyitems(config, items):
    if config.getoption("--long") or config.getoption("-m"):
        return
    left_out = [item for item in items if item.get_closest_marker("long")]
    if left_out:
        config.hook.pytest_deselected(items=left_out)
        items[:] = [item for item in items if item not in left_out]


@pytest.fixture
def bridged(lab, agent):  # noqa: F811  (the fixtures of these names)
    """The agent, running, with its bridge up and every port of it open."""
    agent.start()
    agent.await_user_line("Bridge is successful.", 30)
    # The bridge does not wait for the listeners of the range.
    wait_until(lambda: len(lab.mac.listening(MAC_ADDRESS)) == EVERY_SOCKET, 10, "every port is open")
    return agent
