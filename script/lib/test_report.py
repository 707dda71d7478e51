"""Adds up test reports in JUnit's XML form.

    test_report.py REPORT.xml...

Names every test that did not pass, with the reason, and ends with a line "N PASSED M FAILED" for the calling script.
A test that was skipped, disabled or not run has not passed. A report that is missing or holds no test is a failure too.
"""

import re
import sys
import xml.etree.ElementTree as ElementTree

# What GoogleTest prints around the one case of a run.
FRAME = re.compile(
    r"^(Running main\(\)|Note: |\[[ =-]{10}\]|\[  (PASSED|FAILED)  \] \d|\s*\d+ FAILED TEST).*\n?", re.MULTILINE
)


def first_lines(text, count=12):
    lines = [line.rstrip() for line in (text or "").strip().splitlines()]
    return lines[:count] + (["…"] if len(lines) > count else [])


def name_of(case):
    name, group = case.get("name", "?"), case.get("classname", "")
    return name if group in ("", name) else f"{group}.{name}"


def why_not_passed(case):
    """Nothing for a test that passed, else a list of lines."""
    for tag in ("failure", "error", "skipped"):
        element = case.find(tag)
        if element is not None:
            reason = [element.get("message") or ""] + first_lines(element.text)
            reason += first_lines(FRAME.sub("", case.findtext("system-out") or ""), 40)
            return [tag] + [line for line in reason if line]
    status = case.get("status", "run")
    return None if status in ("run", "") else [status]


def main(paths):
    passed = failed = 0
    for path in paths:
        try:
            cases = list(ElementTree.parse(path).iter("testcase"))
        except (OSError, ElementTree.ParseError) as error:
            print(f"FAILED  the report {path} cannot be read: {error}")
            failed += 1
            continue
        if not cases:
            print(f"FAILED  the report {path} holds no test")
            failed += 1
        for case in cases:
            reason = why_not_passed(case)
            if reason is None:
                passed += 1
                continue
            failed += 1
            print(f"FAILED  {name_of(case)}")
            for line in reason:
                print(f"    | {line}")
    print(f"{passed} PASSED {failed} FAILED")


if __name__ == "__main__":
    main(sys.argv[1:])
