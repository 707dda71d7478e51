"""The fixtures of every test that needs a network of hosts; a folder's conftest.py imports them."""

import os
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "lab"))

from quillbay_lab import Lab, Phone, paired_agent  # noqa: E402  (needs the path above)


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
    return paired_agent(lab, phone)


@pytest.fixture(scope="module")
def shared():
    """One lab for all tests of a file that leave it as they found it."""
    assert os.geteuid() == 0, "the lab makes namespaces: run as root"
    with Lab() as made:
        yield made
