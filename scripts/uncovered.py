"""Compares the lines that no test reaches with those that the documentation names.

    uncovered.py COVERAGE.json TESTING.md

A line is named by a table row that begins with its file and its text: | `src/a.cpp` | `text` | why |
Line numbers would change with each edit above them.
"""

import json
import re
import sys

ROW = re.compile(r"^\| `(src/[^`]+)` \| (`+)(.+?)\2 \| .+ \|$")


def unreached(coverage_path):
    """File and text of each line that was compiled but never run."""
    with open(coverage_path, encoding="utf-8") as coverage:
        files = json.load(coverage)["files"]
    for file in files:
        with open(file["file"], encoding="utf-8") as source:
            texts = source.read().splitlines()
        # A line of a template counts once for each instance of it.
        counts = {}
        for line in file["lines"]:
            if not line.get("gcovr/noncode"):
                number = line["line_number"]
                counts[number] = counts.get(number, 0) + line["count"]
        for number, count in counts.items():
            if count == 0:
                yield file["file"], number, texts[number - 1].strip()


def main():
    coverage_path, documentation_path = sys.argv[1:]
    with open(documentation_path, encoding="utf-8") as documentation:
        rows = [ROW.match(line.rstrip("\n")) for line in documentation]
    named = {(row[1], row[3].strip()) for row in rows if row}
    missing = list(unreached(coverage_path))
    for file, number, text in missing:
        if (file, text) not in named:
            print(f"{file}:{number}: not reached: {text}")
    found = {(file, text) for file, _, text in missing}
    for file, text in sorted(named - found):
        print(f"{documentation_path}: reached now, or gone: {file}: {text}")
    sys.exit(0 if found <= named else 1)


main()
