#!/usr/bin/env python3
"""Runs clang-tidy and clazy over the project's files; .ci/run does it once all is built.

    lint.py [--list] COMPILE_COMMANDS...

Both tools spend nearly all their time on Qt's headers, so the files are read by the dozen: of those
whose commands agree, some are copied into one file of build/lint, which the tools read in their
place. (Including them is not enough: clang's analyzer passes over what the file that it is given
includes.) Where two of them use a name twice, the compiler says so first, and they are read apart. A
file that has a command in several databases is read as the first says. A file of the project that
no database knows is a failure, and so is one that does not compile.

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

from compilecommands import PROJECT, unlisted

LINT = PROJECT / "build/lint"
FOLDERS = ("src", "tools", "tests", "bench", "fuzz")
TOGETHER = 12

COMPILER = "clang++-14"
# Where a program has one user, who waits for it anyway, its start may make lists; no file of these
# needs another's while it starts.
CONSTANTS_MAY_BE_OBJECTS = "level1,no-non-pod-global-static"
CLAZY_CHECKS = {"tests": CONSTANTS_MAY_BE_OBJECTS, "bench": CONSTANTS_MAY_BE_OBJECTS,
                "fuzz": CONSTANTS_MAY_BE_OBJECTS}
DROPPED_WITH_VALUE = {"-o", "-c", "-MT", "-MF"}
# Warnings are the compiler's affair, and a sanitizer's code is nobody's finding.
DROPPED = re.compile(r"-MD$|-W|-fsanitize|-fno-sanitize")
# Those that all of Qt's headers see; others are a file's own.
COMMON_MACRO = re.compile(r"QT_(?!TESTCASE_)")

# What a file seems to define for itself: a function, a class, a constant. Only a hint that spares
# time, the compiler decides.
OWN_NAME = re.compile(r"^(?:(?:class|struct|enum class|enum|union) (\w+)"
                      r"|(?!namespace|using)\w[\w:<>,*& ]*[ *&](\w+)(?:\(|\[| =|\{))", re.M)
# What each program has once.
ENTRIES = {"main": re.compile(r"\bmain\(|\b[A-Z_]+_MAIN\("),
           "LLVMFuzzerTestOneInput": re.compile(r"\bLLVMFuzzerTestOneInput\(")}

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


class Unit:
    """A file as one command compiles it."""

    def __init__(self, entry):
        self.path = Path(os.path.normpath(os.path.join(entry["directory"], entry["file"])))
        self.macros, self.folders, self.options = [], [], []
        words = iter(shlex.split(entry["command"]))
        for word in words:
            if word in DROPPED_WITH_VALUE:
                next(words)
            elif word.startswith("-D") and not COMMON_MACRO.match(word[2:]):
                self.macros.append(word[2:].partition("="))
            elif word.startswith("-I"):
                self.folders.append(word[2:])
            elif self.options or word.startswith("-"):
                self.options += [] if DROPPED.match(word) else [word]
        text = self.path.read_text(encoding="utf-8")
        self.lines = text.splitlines()
        self.names = {name for found in OWN_NAME.findall(text) for name in found if name}
        self.names -= ENTRIES.keys()
        self.entries = {name for name, pattern in ENTRIES.items() if pattern.search(text)}

    def key(self):
        """The same for those that can be read together."""
        of_project = [folder for folder in self.folders if "_autogen/" not in folder]
        return self.top(), tuple(self.options), tuple(sorted(of_project))

    def top(self):
        return self.path.relative_to(PROJECT).parts[0]

    def frame(self, renamed):
        """The lines before and after its own, with other names for those given."""
        macros = [(name, value or "1") for name, _, value in self.macros] + [*renamed.items()]
        return ([f"#define {name} {value}" for name, value in macros],
                [f"#undef {name}" for name, _ in macros])


class Umbrella:
    """Some files that are read as one."""

    def __init__(self, units):
        self.units = units
        self.path = None
        self.origins = []
        self.trouble = ""

    def takes(self, unit):
        return (len(self.units) < TOGETHER and unit.key() == self.units[0].key()
                and not any(unit.names & other.names or unit.path == other.path
                            for other in self.units))

    def write(self, path):
        self.path = path
        # An entry point keeps its name where it can: some checks look at that one.
        owners = [name for unit in self.units for name in unit.entries]
        shared = {name for name in owners if owners.count(name) > 1}
        lines = []
        self.origins = []
        for number, unit in enumerate(self.units):
            renamed = {name: f"{name}_{number}" for name in sorted(shared & unit.entries)}
            before, after = unit.frame(renamed)
            lines += [*before, *unit.lines, *after]
            self.origins += [(unit.path, 1)] * len(before)
            self.origins += [(unit.path, line + 1) for line in range(len(unit.lines))]
            self.origins += [(unit.path, len(unit.lines))] * len(after)
        path.write_text("\n".join(lines) + "\n", encoding="utf-8")

    def told(self, output):
        """A tool's output with the places where the lines come from."""
        def origin(match):
            path, line = self.origins[int(match.group(1)) - 1]
            return f"{path}:{line}:"
        return re.sub(rf"{re.escape(str(self.path))}:(\d+):", origin, output)

    def command(self):
        folders = list(dict.fromkeys(folder for unit in self.units for folder in unit.folders))
        beside = sorted({f"-iquote{unit.path.parent}" for unit in self.units})
        return [COMPILER, *(f"-I{folder}" for folder in folders), *beside, *self.units[0].options]

    def entry(self):
        return {"directory": str(LINT), "file": str(self.path),
                "arguments": [*self.command(), "-c", str(self.path)]}

    def title(self):
        return " ".join(str(unit.path.relative_to(PROJECT)) for unit in self.units)


def run(command):
    result = subprocess.run(command, cwd=PROJECT, capture_output=True, text=True, check=False)
    return result.returncode, result.stdout + result.stderr


def units_of(databases):
    """Every file of the project with the commands of the first database that knows it."""
    found = {}
    for database in databases:
        here = {}
        for entry in json.loads(Path(database).read_text(encoding="utf-8")):
            path = Path(os.path.realpath(os.path.join(entry["directory"], entry["file"])))
            if path in found or not path.is_relative_to(PROJECT) \
                    or path.relative_to(PROJECT).parts[0] not in FOLDERS:
                continue
            unit = Unit(entry)
            here.setdefault(path, {}).setdefault(tuple(unit.macros), unit)
        found.update(here)
    return [unit for path in sorted(found) for unit in found[path].values()]


def gathered(units):
    umbrellas = []
    for unit in units:
        place = next((umbrella for umbrella in umbrellas if umbrella.takes(unit)), None)
        if place:
            place.units.append(unit)
        else:
            umbrellas.append(Umbrella([unit]))
    return umbrellas


def compiling(umbrella):
    """Umbrellas that hold the same files and compile, but for single files that never do."""
    code, output = run([*umbrella.command(), "-fsyntax-only", "-ferror-limit=0", str(umbrella.path)])
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


def findings(umbrella, command, pattern):
    """What a tool has against the files, a text for each finding that is one by its pattern."""
    code, output = run([*command, "-p", str(LINT), str(umbrella.path)])
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
    entries = [umbrella.entry() for umbrella in umbrellas]
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
    units = units_of(databases)
    missing = unlisted(FOLDERS, {unit.path for unit in units})
    if missing:
        sys.exit(f"No command compiles: {' '.join(missing)}")
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
