"""The application, worked with pointer and keys on a real screen: each text and each effect is checked in the demo's steps."""

import signal
import os

import demos


def test_all_steps_are_seen_and_nothing_is_left(tmp_path):
    demos.shows_all(tmp_path, 16, "window")


def test_ctrl_c_ends_it_with_the_windows_open_and_nothing_is_left(tmp_path):
    demos.ends_by_signal(tmp_path, signal.SIGINT, 130, os.killpg, 4, "window")
