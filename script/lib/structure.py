"""Checks the rules of the folders and reports long files.

Fails for: an #ifdef on the operating system outside the folders for it; a folder that includes from a folder above it;
windows (Qt) outside src/ui, its tests and its benchmark; a test that docs/security.md names and that does not exist. Long
files and functions are reported only: whoever reads the report judges.
"""

import pathlib
import re
import sys

# From the bottom up: a folder may include from itself and from those before it.
LAYERS = ["platform", "providers", "profile", "discovery", "bridge", "update", "core", "control"]
TOPS = ["agent", "ui", "ctl", "dns-sd"]
SYSTEM = re.compile(r"^\s*#\s*(if|ifdef|ifndef|elif|elifdef|elifndef)\b.*(__linux__|__linux\b|__APPLE__|_WIN32|TARGET_OS_)")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
QT = re.compile(r"^(Q[A-Z]\w*|Qt\w*/.*)$")
MAY_KNOW_THE_SYSTEM = ("src/platform/linux/", "src/platform/macos/")
USUAL_LINES = {".cpp": 250, ".h": 120, ".mm": 250, ".qml": 150, ".py": 250}


def sources():
    for top in ("src", "lab", "bench", "fuzz", "tests", "script"):
        for path in sorted(pathlib.Path(top).rglob("*")):
            if path.is_file() and path.suffix in USUAL_LINES:
                yield path


def layer_fault(path, included):
    """Why the folder of `path` may not include `included`; nothing when it may."""
    if path.parts[0] != "src" or len(path.parts) < 3:
        return None
    folder, target = path.parts[1], included.split("/")[0]
    if folder in LAYERS and target in LAYERS and LAYERS.index(target) > LAYERS.index(folder):
        return f"{folder} is below {target}"
    if target in TOPS and folder != target:
        return f"nothing includes from {target}"
    return None


def faults_of(path, lines):
    windows_allowed = path.parts[:2] in (("src", "ui"), ("tests", "ui"), ("bench", "window"))
    for number, line in enumerate(lines, 1):
        where = f"{path}:{number}"
        if SYSTEM.match(line) and not str(path).startswith(MAY_KNOW_THE_SYSTEM):
            yield f"{where}: a condition on the operating system outside src/platform/linux and src/platform/macos"
        match = INCLUDE.match(line)
        if not match:
            continue
        if QT.match(match[2]) and not windows_allowed:
            yield f"{where}: includes Qt's {match[2]} outside src/ui"
        if match[1] == '"' and (fault := layer_fault(path, match[2])):
            yield f'{where}: includes "{match[2]}": {fault}'


def named_tests(text):
    """The tests that a document names: "Suite.name" of the unit tests, "file.py::name" of the lab's."""
    return re.findall(r"`(\w+\.(?:py::test_)?\w+)`", text)


def missing_tests(document):
    written = "\n".join(path.read_text(encoding="utf-8") for path in sorted(pathlib.Path("tests").rglob("*.cpp")))
    units = {f"{suite}.{name}" for suite, name in re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", written)}
    lab = {f"{path.name}::{name}" for path in pathlib.Path("tests/lab").glob("test_*.py")
           for name in re.findall(r"^def (test_\w+)", path.read_text(encoding="utf-8"), re.M)}
    named = named_tests(document.read_text(encoding="utf-8"))
    if not named:
        yield f"{document}: names no test"
    for name in named:
        if name not in units | lab:
            yield f"{document}: there is no test {name}"


def main():
    faults, long_files, count = [], [], 0
    for path in sources():
        lines = path.read_text(encoding="utf-8").splitlines()
        count += 1
        if path.suffix != ".py":
            faults += faults_of(path, lines)
        if len(lines) > USUAL_LINES[path.suffix]:
            long_files.append((len(lines), path))
    faults += missing_tests(pathlib.Path("docs/security.md"))
    for length, path in sorted(long_files, reverse=True):
        print(f"long: {path} has {length} lines, usual are up to {USUAL_LINES[path.suffix]}")
    for fault in faults:
        print(f"FAULT  {fault}")
    summary = f"{count} files, {len(long_files)} of them long, {len(faults)} faults"
    print(summary)
    folder = pathlib.Path("build/check-logs")
    if folder.is_dir():
        (folder / "structure.remark").write_text(summary, encoding="utf-8")
    return 1 if faults or not count else 0


if __name__ == "__main__":
    sys.exit(main())
