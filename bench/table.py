"""The table, the verdicts and the file of the benchmarks that are written in Python.

A row is {"name", "unit", "values": {who: [a value of each run]}}.
"""

import json
import pathlib
import statistics


def show(rows, own):
    """Prints a line for each row and each of those who were measured, with the ratio of `own` to each of the others."""
    print(f"{'what':<34} {'who':<12} {'median':>10} {'spread':>21}  own / who")
    for row in rows:
        ours = statistics.median(row["values"][own])
        for who, values in sorted(row["values"].items(), key=lambda entry: (entry[0] != own, entry[0])):
            median = statistics.median(values)
            ratio = f"{ours / median:.2f}" if who != own and median else ""
            print(f"{row['name'] + ' [' + row['unit'] + ']':<34} {who:<12} {median:>10.2f} {min(values):>10.2f}–"
                  f"{max(values):<10.2f}  {ratio}".rstrip())


def verdict(name, value, most, unit):
    """Prints whether a value is within what is wanted."""
    met = "met" if value <= most else "FALLS SHORT"
    print(f"{met:<12} {name}: wanted at most {most:g}, is {value:.2f} {unit}")


def add_to(file, rows):
    """Adds rows to those that the file has."""
    path = pathlib.Path(file)
    known = json.loads(path.read_text()) if path.exists() else []
    for row in rows:
        row["median"] = {who: statistics.median(values) for who, values in row["values"].items()}
    path.write_text(json.dumps(known + rows, indent=2) + "\n")
