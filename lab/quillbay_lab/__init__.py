"""A network of three hosts on one machine: a Mac, a phone and a bystander, each with namespaces of its own.

Start at `lab.py`. Needs root; nothing in it reaches out of its namespaces, and nothing is left behind.
"""

from .agent import Agent, paired_agent, profile_of
from .errors import LabError
from .lab import Lab
from .phone import Phone
from .terminal import Terminal
from .waiting import wait_until

__all__ = ["Agent", "Lab", "LabError", "Phone", "Terminal", "paired_agent", "profile_of", "wait_until"]
