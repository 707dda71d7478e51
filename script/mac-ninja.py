#!/usr/bin/env python3
"""Writes build.ninja and the list of objects for the Mac compile: mac-ninja.py ZIG TARGET BUILD-FOLDER.

The sources and their definitions are those of the configured build; the Mac's half of the platform layer takes the
place of the Linux half. A source that no CMakeLists.txt names is an error.
"""
import json
import pathlib
import re
import shlex
import sys

root = pathlib.Path.cwd()
NOT_BUILT_THERE = ("src/ui/", "src/dns-sd/", "src/platform/linux/")
# Of cmake/Hardening.cmake: this compiler has settings of its own for them, and takes a second one for a mistake.
PROTECTION = ("_FORTIFY_SOURCE", "_GLIBCXX_ASSERTIONS", "_LIBCPP_HARDENING_MODE")


def warnings():
    text = (root / "cmake/Warnings.cmake").read_text()
    return re.findall(r"-W[\w=+-]+", text.split("target_compile_options", 1)[1])


def configured(build):
    """Source → definitions, of everything that the build on this system compiles."""
    commands = json.loads((root / build / "configure/compile_commands.json").read_text())
    sources = {}
    for entry in commands:
        name = str(pathlib.Path(entry["file"]).relative_to(root))
        sources[name] = [word for word in shlex.split(entry["command"])
                         if word.startswith("-D") and word[2:].partition("=")[0] not in PROTECTION]
    return sources


def mac_sources(build):
    on_this_system = configured(build)
    platform = on_this_system["src/platform/Utf8.cpp"]
    named = (root / "src/platform/CMakeLists.txt").read_text()
    sources = {}
    unnamed = []
    for path in sorted((root / "src").rglob("*.cpp")):
        name = str(path.relative_to(root))
        if name.startswith(NOT_BUILT_THERE):
            continue
        if name.startswith("src/platform/macos/"):
            if name.removeprefix("src/platform/") in named.split():
                sources[name] = platform
                continue
        elif name in on_this_system:
            sources[name] = on_this_system[name]
            continue
        unnamed.append(name)
    # Objective-C++ is compiled on a Mac alone.
    objective = [str(path.relative_to(root / "src/platform")) for path in (root / "src/platform").rglob("*.mm")]
    unnamed += [name for name in objective if name not in named.split()]
    if unnamed:
        sys.exit("no CMakeLists.txt names " + ", ".join(unnamed))
    return sources


def escaped(text):
    return text.replace("$", "$$")


def main():
    if sys.argv[1:] in (["--help"], ["-h"]):
        print(__doc__.strip())
        return
    if len(sys.argv) != 4:
        print(__doc__.strip(), file=sys.stderr)
        sys.exit(2)
    zig, target, build = sys.argv[1:]
    flags = ["-target", target, "-std=c++20", "-O1", *warnings()]
    flags += [f"-I{root}/src", "-isystem", f"{root}/{build}/include"]
    lines = [
        "builddir = .",
        "rule compile",
        f"  command = {escaped(shlex.join([zig, 'c++', *flags]))} $definitions -MD -MF $out.d -c $in -o $out",
        "  depfile = $out.d",
        "  deps = gcc",
        "  description = compile $in",
    ]
    objects = []
    for name, definitions in mac_sources(build).items():
        objects.append(f"objects/{name}.o")
        # The version of the compiler is an input too: a newer one compiles everything again.
        lines.append(f"build {objects[-1]}: compile {root}/{name} | zig-version.stamp")
        lines.append(f"  definitions = {escaped(shlex.join(definitions))}")
    folder = root / build
    stamp, version = folder / "zig-version.stamp", (folder / "zig-version").read_text()
    if not stamp.exists() or stamp.read_text() != version:
        stamp.write_text(version)
    (folder / "object-list").write_text("\n".join(objects) + "\n")
    (folder / "build.ninja").write_text("\n".join(lines) + "\n")


main()
