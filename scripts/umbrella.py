"""Several files that a tool reads as one, for lint.py and compile_darwin.py.

Nearly all the time of such tools goes into Qt's headers. So of files whose commands agree some are
copied into one, which is read in their place. (Including them is not enough: clang's analyzer passes
over what the file that it is given includes.)
"""

import json
import os
import re
import shlex
import subprocess
import sys
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
TOGETHER = 12

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

    def options(self):
        """What a compiler is told besides the file."""
        folders = list(dict.fromkeys(folder for unit in self.units for folder in unit.folders))
        beside = sorted({f"-iquote{unit.path.parent}" for unit in self.units})
        return [*(f"-I{folder}" for folder in folders), *beside, *self.units[0].options]

    def title(self):
        return " ".join(str(unit.path.relative_to(PROJECT)) for unit in self.units)


def units_of(databases, folders):
    """Every file below these folders with the commands of the first database that knows it; ends the
    program when there is one that none knows."""
    found = {}
    for database in databases:
        here = {}
        for entry in json.loads(Path(database).read_text(encoding="utf-8")):
            path = Path(os.path.realpath(os.path.join(entry["directory"], entry["file"])))
            if path in found or not path.is_relative_to(PROJECT) \
                    or path.relative_to(PROJECT).parts[0] not in folders:
                continue
            unit = Unit(entry)
            here.setdefault(path, {}).setdefault(tuple(unit.macros), unit)
        found.update(here)
    missing = unlisted(folders, found.keys())
    if missing or not found:
        sys.exit(f"No command compiles: {' '.join(missing)}")
    return [unit for path in sorted(found) for unit in found[path].values()]


def unlisted(folders, known):
    """The project's source files below these folders that are not among the known paths."""
    listed = subprocess.run(["git", "ls-files", "-z", *(f"{name}/*.cpp" for name in folders)],
                            cwd=PROJECT, capture_output=True, text=True, check=True).stdout
    paths = [PROJECT / path for path in filter(None, listed.split("\0"))]
    return [str(path) for path in paths if path.exists() and path not in known]


def gathered(units):
    """Umbrellas over all of these, not written yet."""
    umbrellas = []
    for unit in units:
        place = next((umbrella for umbrella in umbrellas if umbrella.takes(unit)), None)
        if place:
            place.units.append(unit)
        else:
            umbrellas.append(Umbrella([unit]))
    return umbrellas
