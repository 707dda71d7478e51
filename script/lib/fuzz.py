"""Runs fuzz programs one after the other, each on all cores at once for a time of the processor's, and prints a line each.

    fuzz.py --seconds N TARGET...

Ends with 0 when none has found anything.
"""

import argparse
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

FOLDER = pathlib.Path("build/fuzz")
FINDINGS = FOLDER / "findings"


def processor_seconds(pid):
    """What a process has used so far, in its own code and in the system."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Job:
    """One process of a target. The program is a copy: a build beside it may write a new one."""

    def __init__(self, program, target, number):
        self.log = FINDINGS / f"{target}-{number}.log"
        with self.log.open("wb") as log:
            self.process = subprocess.Popen(
                [program, FOLDER / target, f"fuzz/corpus/{target}", "-timeout=60", "-rss_limit_mb=2048",
                 "-max_len=16384", "-print_final_stats=1", "-reload=5", f"-artifact_prefix={FINDINGS}/{target}-"],
                stdout=log, stderr=subprocess.STDOUT, preexec_fn=lambda: os.nice(19))
        self.used = 0.0

    def watch(self, seconds):
        """Whether it still runs; asks it to end when its time is up."""
        if self.process.poll() is not None:
            return False
        self.used = processor_seconds(self.process.pid)
        if self.used >= seconds:
            self.process.send_signal(signal.SIGUSR1)
        return True

    def runs(self):
        found = re.search(r"stat::number_of_executed_units:\s*(\d+)", self.log.read_text(errors="replace"))
        return int(found[1]) if found else 0


def fuzz(target, seconds):
    """Whether nothing was found."""
    (FOLDER / target).mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="quillbay-fuzz-") as copies:
        program = shutil.copy(f"build/asan/bin/fuzz_{target}", copies)
        jobs = [Job(program, target, number) for number in range(os.cpu_count())]
        try:
            while any([job.watch(seconds) for job in jobs]):
                time.sleep(0.5)
        finally:
            for job in jobs:
                if job.process.poll() is None:
                    job.process.kill()
                job.process.wait()
    bad = [job for job in jobs if job.process.returncode != 0]
    print(f"{'FINDING' if bad else 'ok':<8} {target:<20} {min(job.used for job in jobs) / 60:.1f} minutes on each of "
          f"{len(jobs)} cores, {sum(job.runs() for job in jobs)} runs", flush=True)
    for job in bad:
        print(f"         {job.log}", flush=True)
    return not bad


def step_back():
    """Lowers the priority of the whole session, where the system counts by sessions: there, `nice` says nothing to others."""
    try:
        pathlib.Path("/proc/self/autogroup").write_text("19")
    except OSError:
        pass


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seconds", type=int, required=True)
    parser.add_argument("targets", nargs="+")
    chosen = parser.parse_args()
    step_back()
    FINDINGS.mkdir(parents=True, exist_ok=True)
    clean = [fuzz(target, chosen.seconds) for target in chosen.targets]
    print(f"fuzz: {sum(clean)} without a finding, {len(clean) - sum(clean)} with one")
    return 0 if all(clean) else 1


if __name__ == "__main__":
    sys.exit(main())
