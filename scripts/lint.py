#!/usr/bin/env python3
"""Runs clang-tidy and clazy over the project's files; .ci/run does it once all is built.

    lint.py [--list] COMPILE_COMMANDS...

The files are read by the dozen, see umbrella.py. Where two of them use a name twice, the compiler says
so first, and they are read apart. A file that has a command in several databases is read as the first
says. A file of the project that no database knows is a failure, and so is one that does not compile.

With --list it stops when it knows who is read with whom, and prints that.
"""

import json
import os
import re
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from umbrella import PROJECT, Umbrella, Unit, gathered, units_of

LINT = PROJECT / "build/lint"
FOLDERS = ("src", "tools", "tests", "bench", "fuzz")

COMPILER = "clang++-14"
# Where a program has one user, who waits for it anyway, its start may make lists; no file of these
# needs another's while it starts.
CONSTANTS_MAY_BE_OBJECTS = "level1,no-non-pod-global-static"
CLAZY_CHECKS = {"tests": CONSTANTS_MAY_BE_OBJECTS, "bench": CONSTANTS_MAY_BE_OBJECTS,
                "fuzz": CONSTANTS_MAY_BE_OBJECTS}

# What must be found in the second of three files, and by whom: each run sees first that it can fail.
PLANTED = """#include <QStringList>
const char* const nothing = 0;
int quotient(int number)
{
    int zero = 0;
    return number / zero;
}
bool haveOneEmpty(const QStringList& names)
{
    for (const QString name : names) {
        if (name.isEmpty()) {
            return true;
        }
    }
    return false;
}
"""
PLANTED_FINDINGS = (("clang-tidy", 2, "modernize-use-nullptr"),
                    ("clang-tidy", 6, "clang-analyzer-core.DivideZero"),
                    ("clazy", 10, "clazy-range-loop-reference"))


def run(command):
    result = subprocess.run(command, cwd=PROJECT, capture_output=True, text=True, check=False)
    return result.returncode, result.stdout + result.stderr


def command(umbrella):
    return [COMPILER, *umbrella.options()]


def compiling(umbrella):
    """Umbrellas that hold the same files and compile, but for single files that never do."""
    code, output = run([*command(umbrella), "-fsyntax-only", "-ferror-limit=0", str(umbrella.path)])
    output = umbrella.told(output)
    if code == 0:
        return [umbrella]
    if len(umbrella.units) == 1:
        umbrella.trouble = f"{umbrella.title()} does not compile; is everything built?\n{output}"
        return [umbrella]
    blamed = [unit for unit in umbrella.units if re.search(
        rf"^{re.escape(str(unit.path))}:\d+:\d+: (?:fatal )?error:", output, re.M)]
    if not blamed or len(blamed) == len(umbrella.units):
        blamed = umbrella.units[len(umbrella.units) // 2:]
    parts = [Umbrella([unit for unit in umbrella.units if unit not in blamed]), Umbrella(blamed)]
    for number, part in enumerate(parts):
        part.write(umbrella.path.with_name(f"{umbrella.path.stem}{'ab'[number]}.cpp"))
    umbrella.path.unlink()
    return [whole for part in parts for whole in compiling(part)]


def findings(umbrella, tool, pattern):
    """What a tool has against the files, a text for each finding that is one by its pattern."""
    code, output = run([*tool, "-p", str(LINT), str(umbrella.path)])
    output = umbrella.told(output)
    head = r"/[^\n]*: (?:error|warning): "
    texts = [text.rstrip() for text in re.split(rf"^(?={head})", output, flags=re.M)]
    found = [text for text in texts if re.match(head, text) and re.search(pattern, text)]
    return found or ([output] if code else [])


def clang_tidy(umbrella):
    return findings(umbrella, ["clang-tidy-14", "--quiet"], ": (?:error|warning): ")


def clazy(umbrella):
    top = umbrella.units[0].top()
    return findings(umbrella, ["clazy-standalone", f"--checks={CLAZY_CHECKS.get(top, 'level1')}",
                               f"--header-filter={header_filter()}"], r"\[-Wclazy-|: error: ")


def header_filter():
    """The files that are the project's own, as .clang-tidy has it."""
    text = (PROJECT / ".clang-tidy").read_text(encoding="utf-8")
    return re.search(r"^HeaderFilterRegex: '(.*)'$", text, re.M).group(1)


def write_database(umbrellas):
    entries = [{"directory": str(LINT), "file": str(umbrella.path),
                "arguments": [*command(umbrella), "-c", str(umbrella.path)]}
               for umbrella in umbrellas]
    (LINT / "compile_commands.json").write_text(json.dumps(entries, indent=1), encoding="utf-8")


def planted(options):
    """Three files of which the one in the middle has mistakes."""
    folder = LINT / "src"
    folder.mkdir(exist_ok=True)
    texts = {"first": "int first();\n", "second": PLANTED, "third": "int third();\n"}
    units = []
    for name, text in texts.items():
        path = folder / f"{name}.cpp"
        path.write_text(text, encoding="utf-8")
        units.append(Unit({"directory": str(folder), "file": str(path),
                           "command": shlex.join([COMPILER, *options])}))
    umbrella = Umbrella(units)
    umbrella.write(LINT / "planted.cpp")
    return umbrella


def unfound(umbrella):
    """What the tools miss of that which is planted."""
    found = {"clang-tidy": clang_tidy(umbrella), "clazy": clazy(umbrella)}
    for tool, line, check in PLANTED_FINDINGS:
        place = f"{umbrella.units[1].path}:{line}:"
        if not any(text.startswith(place) and check in text.splitlines()[0] for text in found[tool]):
            yield f"{tool} does not find {check} in line {line} of {umbrella.units[1].path}"


def prepared(databases, pool):
    """The umbrellas over all files, each known to compile."""
    units = units_of(databases, FOLDERS)
    LINT.mkdir(parents=True, exist_ok=True)
    for old in LINT.glob("*.cpp"):
        old.unlink()
    umbrellas = gathered(units)
    for number, umbrella in enumerate(umbrellas):
        umbrella.write(LINT / f"{umbrella.units[0].top()}{number:02}.cpp")
    umbrellas = [part for parts in pool.map(compiling, umbrellas) for part in parts]
    held = {unit.path for umbrella in umbrellas for unit in umbrella.units}
    assert held == {unit.path for unit in units}
    troubles = [umbrella.trouble for umbrella in umbrellas if umbrella.trouble]
    if troubles:
        sys.exit("\n".join(troubles))
    return units, umbrellas


def main():
    arguments = [word for word in sys.argv[1:] if word != "--list"]
    if not arguments:
        sys.exit(__doc__)
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        units, umbrellas = prepared(arguments, pool)
        seeds = planted(units[0].options)
        write_database([*umbrellas, seeds])
        for umbrella in umbrellas:
            print(f"{umbrella.path.name}: {umbrella.title()}")
        if "--list" in sys.argv:
            return
        missed = list(unfound(seeds))
        if missed:
            sys.exit("\n".join([*missed, "So this check proves nothing."]))
        runs = [(tool, umbrella) for umbrella in umbrellas for tool in (clang_tidy, clazy)]
        runs.sort(key=lambda one: -len(one[1].units))
        found = {text.splitlines()[0]: text
                 for texts in pool.map(lambda one: one[0](one[1]), runs) for text in texts}
    for text in found.values():
        print(text, file=sys.stderr)
    if found:
        sys.exit(f"{len(found)} findings.")
    print(f"{len({unit.path for unit in units})} files, read as {len(umbrellas)}: no finding.")


if __name__ == "__main__":
    main()
