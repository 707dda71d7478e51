"""Fixtures of the tests that need a network of their own. Run as root: /usr/bin/python3 -m pytest tests/lab"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

from lab_fixtures import agent, lab, phone, shared  # noqa: E402, F401  (fixtures are found by their names here)
