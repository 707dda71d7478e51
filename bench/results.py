"""Keeps what a run of the benchmarks has measured, with the computer that it was measured on, and the table for people.

    results.py MEASURED.json FOLDER

writes FOLDER/DATE.json and FOLDER/README.md.
"""

import datetime
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys

_VERSIONS = {
    "haproxy": ["haproxy", "-v"],
    "nginx": ["nginx", "-v"],
    "socat": ["socat", "-V"],
    "nmap": ["nmap", "--version"],
}


def _output(command):
    """What a command prints, or nothing where it does not run."""
    try:
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False).stdout
    except OSError:
        return ""


def _value(file, name):
    for line in pathlib.Path(file).read_text(encoding="utf-8").splitlines():
        key, _, value = line.replace("=", ":", 1).partition(":")
        if key.strip() == name:
            return value.strip().strip('"')
    return "unknown"


def _version(command):
    found = re.search(r"\d+\.\d+(\.\d+)*", _output(command))
    return found.group() if found else "not there"


def _commit():
    changed = _output(["git", "status", "--porcelain", "--untracked-files=no"]).strip()
    return _output(["git", "rev-parse", "--short=10", "HEAD"]).strip() + (" and changes" if changed else "")


def describe():
    """The computer, and what was measured on it."""
    return {
        "date": datetime.date.today().isoformat(),
        "commit": _commit(),
        "processor": _value("/proc/cpuinfo", "model name"),
        "cores": os.cpu_count(),
        "memoryMiB": int(_value("/proc/meminfo", "MemTotal").split()[0]) // 1024,
        "kernel": platform.release(),
        "system": _value("/etc/os-release", "PRETTY_NAME"),
        "peers": {name: _version(command) for name, command in _VERSIONS.items()},
    }


def _figure(value):
    return f"{value:,.0f}" if abs(value) >= 1000 else f"{value:.3g}"


def _cell(values):
    middle = _figure(statistics.median(values))
    return middle if len(values) == 1 else f"{middle} ({_figure(min(values))}–{_figure(max(values))})"


def _row(row):
    own = row.get("own") or next(iter(row["values"]))
    others = ", ".join(f"{who} {_cell(values)}" for who, values in sorted(row["values"].items()) if who != own)
    wanted = ""
    met = ""
    if "wanted" in row:
        word, bound = next(iter(row["wanted"].items()))
        is_now = statistics.median(row["values"][own])
        wanted = f"{'≤' if word == 'atMost' else '≥'} {_figure(bound)}"
        met = "yes" if (is_now <= bound if word == "atMost" else is_now >= bound) else "no"
    return f"| {row['name']} | {row['unit']} | {_cell(row['values'][own])} | {others} | {wanted} | {met} |"


def table(machine, rows):
    """The text for people."""
    peers = ", ".join(f"{name} {version}" for name, version in machine["peers"].items())
    limits = [f"- {row['name']}: {row['limit']}" for row in rows if row.get("limit")]
    return "\n".join([
        "# Results",
        "",
        f"Written by `script/bench --results` on {machine['date']}, commit {machine['commit']}: {machine['processor']}, "
        f"{machine['cores']} cores, {machine['memoryMiB']} MiB, Linux {machine['kernel']}, {machine['system']}. Peers: {peers}.",
        "",
        "Medians, with the lowest and highest of the runs in parentheses; everything in a row was measured in turns.",
        "",
        "| what | unit | own | others | wanted | met |",
        "|---|---|---|---|---|---|",
        *(_row(row) for row in rows),
        "",
        "What nothing here could beat:",
        "",
        *limits,
        "",
    ])


def main():
    rows = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    folder = pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    machine = describe()
    document = {"machine": machine, "rows": rows}
    (folder / f"{machine['date']}.json").write_text(
        json.dumps(document, indent=2, ensure_ascii=False) + "\n", encoding="utf-8")
    (folder / "README.md").write_text(table(machine, rows), encoding="utf-8")


if __name__ == "__main__":
    main()
