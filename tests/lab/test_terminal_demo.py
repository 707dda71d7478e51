"""The terminal demo: each command's text and exit status is checked in its steps. A file of its own, because it takes as
long as many others: what is not on the network any more has to be waited for."""

import os
import signal

import demos


def test_all_sixteen_steps_are_seen_and_nothing_is_left(tmp_path):
    demos.shows_all(tmp_path, 16, "terminal")


def test_ctrl_c_ends_it_while_the_agent_runs_and_nothing_is_left(tmp_path):
    demos.ends_by_signal(tmp_path, signal.SIGINT, 130, os.killpg, 5, "terminal")
