"""Runs clang-tidy over every source of compile databases.

    tidy.py [--jobs N] [--remark FILE] [--no-cache] BUILD_FOLDER...

A source that is in several databases is read once, with the flags of the first. A finding in a header is printed once,
however many sources include it, and counted as one of a header. A source whose last run was clean, and whose
preprocessed text, flags and checks are the same as then, is not analysed again; without the cache, nobody has to find
out whether they are.
"""

import argparse
import concurrent.futures
import hashlib
import json
import os
import re
import shlex
import subprocess
import sys

TIDY = "clang-tidy-19"
COMPILER = "clang++-19"
LLVM_CONFIG = "llvm-config-19"
# See there; without it every run would find the same, in twice the time and more.
SCOPE = os.path.join("script", "lib", "tidy_scope.cpp")
# path:line:column: error: text [check]
FINDING = re.compile(r"^(?P<path>[^\s:][^:]*):\d+:\d+: (?:warning|error|fatal error): .*$", re.MULTILINE)
LIMIT_SECONDS = 600
# The analyzer follows calls less deeply than it could: that takes half the time, and what it found beyond was wrong.
ARGUMENTS = ["--quiet", "--extra-arg=-Wno-unknown-warning-option"] + [
    f"--extra-arg={word}" for word in ("-Xclang", "-analyzer-config", "-Xclang", "mode=shallow")
]


def entries(folders, root):
    """(source, database folder, arguments, working folder), each source once."""
    seen = set()
    for folder in folders:
        with open(os.path.join(folder, "compile_commands.json"), encoding="utf-8") as file:
            database = json.load(file)
        for entry in database:
            source = os.path.realpath(os.path.join(entry["directory"], entry["file"]))
            inside = os.path.relpath(source, root)
            if source in seen or inside.startswith(("..", "build" + os.sep)):
                continue
            seen.add(source)
            arguments = entry.get("arguments") or shlex.split(entry["command"])
            yield source, folder, arguments, entry["directory"]


def compiled_scope():
    """The library of SCOPE, made anew: its compiler and its headers are those of this clang-tidy."""
    library = os.path.join(os.getcwd(), "build", "tidy_scope.so")
    flags = subprocess.run([LLVM_CONFIG, "--cxxflags"], capture_output=True, text=True, check=True).stdout.split()
    command = [COMPILER, *flags, "-O1", "-fPIC", "-shared", SCOPE, "-o", library]
    subprocess.run(command, check=True)
    return library


def fingerprint(source, arguments, directory, configuration):
    """What the analysis depends on; nothing when the source does not even preprocess."""
    plain = []
    skip = False
    for argument in arguments[1:]:
        if skip or argument in ("-c", "-MD", "-MMD"):
            skip = False
        elif argument in ("-o", "-MF", "-MT", "-MQ"):
            skip = True
        else:
            plain.append(argument)
    # With comments: NOLINT is one.
    command = [COMPILER, *plain, "-E", "-C", "-w"]
    result = subprocess.run(command, cwd=directory, capture_output=True, check=False)
    if result.returncode != 0:
        return None
    digest = hashlib.sha256(configuration)
    digest.update("\0".join([source, *plain]).encode())
    digest.update(result.stdout)
    return digest.hexdigest()


def analyse(entry, scope, cache, configuration):
    source, folder, arguments, directory = entry
    key = fingerprint(source, arguments, directory, configuration) if cache else None
    mark = os.path.join(cache, key) if key else None
    if mark and os.path.exists(mark):
        return source, 0, "", True
    try:
        result = subprocess.run(
            [TIDY, f"--load={scope}", *ARGUMENTS, "-p", folder, source],
            capture_output=True,
            text=True,
            errors="replace",
            timeout=LIMIT_SECONDS,
            check=False,
        )
        status, text = result.returncode, result.stdout
        # Standard error counts suppressed findings, and says why a run broke off.
        if status != 0 and not FINDING.search(text):
            text += result.stderr
    except subprocess.TimeoutExpired:
        status, text = 1, f"{source}: the analysis took longer than {LIMIT_SECONDS} s\n"
    if status == 0 and mark:
        with open(mark, "w", encoding="utf-8"):
            pass
    return source, status, text, False


def blocks(text):
    """The findings of one run, each with the lines that belong to it."""
    block = []
    for line in text.splitlines():
        if FINDING.match(line) and block:
            yield "\n".join(block)
            block = []
        block.append(line)
    if block:
        yield "\n".join(block)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--remark")
    parser.add_argument("--no-cache", action="store_true")
    parser.add_argument("folders", nargs="+")
    options = parser.parse_args()

    root = os.getcwd()
    cache = os.path.join(root, "build", "tidy-cache")
    if options.no_cache:
        cache = None
    else:
        os.makedirs(cache, exist_ok=True)
    version = subprocess.run([TIDY, "--version"], capture_output=True, check=True).stdout
    configuration = version + " ".join(ARGUMENTS).encode()
    for path in (".clang-tidy", os.path.join("tests", ".clang-tidy"), SCOPE):
        with open(path, "rb") as file:
            configuration += file.read()

    scope = compiled_scope()
    work = list(entries(options.folders, root))
    findings, in_headers, bad_sources, reused = set(), 0, 0, 0
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        runs = [pool.submit(analyse, entry, scope, cache, configuration) for entry in work]
        for number, run in enumerate(concurrent.futures.as_completed(runs), 1):
            source, status, text, from_cache = run.result()
            reused += from_cache
            bad_sources += status != 0
            print(f"[{number}/{len(work)}] {os.path.relpath(source, root)}", flush=True)
            if status == 0:
                continue
            for block in blocks(text):
                if block in findings:
                    continue
                findings.add(block)
                match = FINDING.match(block)
                in_headers += bool(match and match["path"].endswith(".h"))
                print(block, flush=True)

    summary = f"{len(work)} sources ({reused} unchanged since a clean run)"
    if bad_sources:
        summary += f", {len(findings)} findings, {in_headers} of them in headers"
    print(summary)
    if options.remark:
        with open(options.remark, "w", encoding="utf-8") as file:
            file.write(summary)
    return 1 if bad_sources or not work else 0


if __name__ == "__main__":
    sys.exit(main())
