"""A network of three hosts on one machine: a Mac, a phone and a bystander, each with namespaces of its own.

Start at `lab.py`. Needs root; nothing in it reaches out of its namespaces, and nothing is left behind.
"""

from .agent import Agent, profile_of
from .errors import LabError
from .lab import Lab
from .phone import Phone
from .waiting import wait_until

__all__ = ["Agent", "Lab", "LabError", "Phone", "profile_of", "wait_until"]
