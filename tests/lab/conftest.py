"""Fixtures of the tests that need a network of their own. Run as root: /usr/bin/python3 -m pytest tests/lab"""

import os
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "lab"))

from quillbay_lab import Agent, Lab, Phone, profile_of  # noqa: E402  (needs the path above)


@pytest.fixture
def lab():
    assert os.geteuid() == 0, "the lab makes namespaces: run as root"
    with Lab() as made:
        yield made


@pytest.fixture
def phone(lab):
    """The phone on its local network, announced."""
    return Phone(lab)


@pytest.fixture
def agent(lab, phone):
    """An agent that is not running yet, with an enabled profile of the phone, which has left."""
    service, = [found for found in lab.desk.mdns_lookup() if found.name == phone.name]
    made = Agent(lab)
    made.write_profiles([profile_of(service)])
    lab.phone_leaves()
    return made
