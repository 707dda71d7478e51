"""The path on which every packet takes its time."""

import statistics

from quillbay_lab.delayed_path import PHONE_FAR_ADDRESS, DelayedPath


def _round_trips(lab, count):
    """In milliseconds, as the Mac's kernel measures them for a connection that is refused at once."""
    script = ("import socket, time\n"
              f"for _ in range({count}):\n"
              "    start = time.monotonic()\n"
              f"    answer = socket.socket().connect_ex(('{PHONE_FAR_ADDRESS}', 9))\n"
              "    print(answer, 1000 * (time.monotonic() - start))\n")
    lines = lab.mac.run(["/usr/bin/python3", "-c", script], check=True).output.splitlines()
    assert {line.split()[0] for line in lines} == {"111"}
    return [float(line.split()[1]) for line in lines]


def test_a_round_trip_takes_twice_the_delay(shared):
    with DelayedPath(shared, 15):
        trips = _round_trips(shared, 20)
    assert min(trips) >= 30
    assert statistics.median(trips) < 31


def test_the_path_goes_with_its_object(shared):
    with DelayedPath(shared, 1):
        assert shared.mac.addresses("far0") == ["100.64.78.1/24"]
    assert "far0" not in shared.mac.run(["ip", "-brief", "link"]).output
    assert "far0" not in shared.phone.run(["ip", "-brief", "link"]).output
