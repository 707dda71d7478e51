"""What the windows' benchmark reads and computes."""

import pathlib
import sys

import pytest

_BENCH = pathlib.Path(__file__).resolve().parents[2] / "bench"
sys.path[:0] = [str(_BENCH), str(_BENCH / "window")]

import frames  # noqa: E402  (needs the path above)
import processes  # noqa: E402
from frames import Frame  # noqa: E402

_LINE = (" 27186.541 qt.scenegraph.time.renderloop Frame rendered with 'software' renderloop in 12ms, polish=1, sync=2, "
         "render=8, swap=1, frameDelta=16\n")


def test_a_frame_is_read_with_its_end_and_what_it_took():
    assert frames.parse(_LINE) == [Frame(27186.541, 12)]


def test_other_lines_are_no_frames():
    assert frames.parse("1.000 default Frame rendered\n" + _LINE.replace("12ms", "ms") + "\n") == []


def test_a_line_that_is_still_written_is_no_frame():
    assert frames.parse(_LINE[:-1]) == []


def test_a_window_is_settled_with_the_last_frame_before_a_pause():
    drawn = [Frame(1.0, 3), Frame(1.2, 3), Frame(1.5, 3), Frame(2.25, 3), Frame(2.5, 3)]
    assert frames.settled(drawn, 0.4) == Frame(1.5, 3)


def test_gaps_are_from_end_to_end_in_milliseconds():
    assert frames.gaps([Frame(1.0, 5), Frame(1.25, 90), Frame(1.75, 1)]) == [250, 500]


@pytest.mark.parametrize(("percent", "value"), [(50, 5), (99, 10), (100, 10), (10, 1), (1, 1), (11, 2)])
def test_a_percentile_is_one_of_the_values(percent, value):
    assert frames.percentile([10, 9, 8, 7, 6, 5, 4, 3, 2, 1], percent) == value


def test_children_count_with_theirs_and_with_those_that_have_ended():
    times = {1: (0, 0.5, 0.25), 2: (1, 1.0, 2.0), 3: (2, 4.0, 0.0), 9: (8, 100.0, 100.0)}
    assert processes.of_children(1, times) == 0.25 + 1.0 + 2.0 + 4.0


def test_memory_is_told_whole_shared_out_and_written_in_mebibytes():
    text = ("55d0-7ffe ---p 00000000 00:00 0 [rollup]\nRss:     3072 kB\nPss:     2048 kB\nPss_Dirty:  700 kB\n"
            "Shared_Clean:  1024 kB\nPrivate_Clean:   512 kB\nPrivate_Dirty:  1024 kB\n")
    assert processes.memory(text) == {"rss": 3.0, "pss": 2.0, "private": 1.0}
