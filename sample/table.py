#!/usr/bin/env python3
"""Reads from Quillmere's log and from a picture of its window what the table shows.

    table.py scanned SAMPLE         succeeds once every row was matched after the scan
    table.py logged SAMPLE          prints what was matched after the scan; fails if a version is not
                                    its bundle's, or an entry lacks its match
    table.py complete PICTURE       succeeds if the picture shows every row in a row's colour
    table.py height PICTURE         prints how tall the window must be to just hold the table
    table.py print SAMPLE PICTURE   prints the table; fails if a row is not as it must be
    table.py button PICTURE NAME    prints the x and y of what is seen of that row's button
    table.py bar PICTURE NAME       prints how many percent of the row its bar covers

SAMPLE is the folder that make_sample.py filled. What a row stands for, its colour, is taken from
the picture; the installed version from the log; the catalogue's from the file that was served.
"""

import re
import shutil
import subprocess
import sys
import unicodedata
from dataclasses import dataclass
from pathlib import Path

from make_sample import CATALOGUE, read_table, unquoted

COLOURS = {  # of the default configuration
    (0xD4, 0xD4, 0xD4): "not installed",
    (0xFF, 0xDA, 0xDA): "older",
    (0xDA, 0xFF, 0xDA): "equal",
    (0xDA, 0xDA, 0xFF): "newer",
}
BAR = (127, 214, 127)
BUTTON = (0xD0, 0xD0, 0xD0)
BUTTON_FACE = 20  # of 24 points, without its border
LOG = "home/Library/Quillmere/quillmere.log"
SCANNED = "SysProfiler - data updated"
MATCH = re.compile(
    r" Profiler - '(?P<name>.*?)' → (?:NOT FOUND in system|"
    r"(?:\d+ candidates: \[(?P<candidates>.*)\] → )?matched '(?P<found>.*)' v(?P<version>.*))$"
)
NAME_WIDTH = 34


@dataclass
class Picture:
    """An RGB picture, eight bits a channel."""

    width: int
    height: int
    data: bytes

    def line(self, y):
        """The colours at y, from left to right."""
        pixels = self.data[3 * self.width * y : 3 * self.width * (y + 1)]
        return list(zip(pixels[0::3], pixels[1::3], pixels[2::3]))

    def column(self, x):
        """The colours at x, from top to bottom."""
        step = 3 * self.width
        return list(zip(*(self.data[3 * x + channel :: step] for channel in range(3))))


def read_picture(path):
    """The picture, converted by ImageMagick (its program has been renamed with version 7)."""
    program = shutil.which("magick") or "convert"
    command = [program, path, "-depth", "8", "ppm:-"]
    output = subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout
    header, size, depth, data = output.split(b"\n", 3)
    if header != b"P6" or depth != b"255":
        sys.exit(f"{path}: ImageMagick wrote {header!r} with depth {depth!r}")
    width, height = map(int, size.split())
    return Picture(width, height, data)


def runs(column):
    """(colour, first y, y after the last) of each stretch of one colour."""
    start = 0
    for y in range(1, len(column) + 1):
        if y == len(column) or column[y] != column[start]:
            yield column[start], start, y
            start = y


def row_runs(picture):
    """The table's rows and what follows them, seen where no text covers them.

    The rows are the stretches of a row's colour in the column of pixels that shows most of them;
    lines of the grid lie between, so neighbours of one colour stay apart.
    """

    def coloured(column):
        return sum(colour in COLOURS for colour in column)

    best = max((picture.column(x) for x in range(0, picture.width, 3)), key=coloured)
    found = list(runs(best))
    rows = [run for run in found if run[0] in COLOURS and run[2] - run[1] >= 12]
    after = [run for run in found if rows and run[1] >= rows[-1][2]]
    return rows, after


def fitting_height(picture):
    """The height at which nothing of the empty space below the last row is left."""
    _, after = row_runs(picture)
    empty = max((run[2] - run[1] for run in after), default=0)
    return picture.height - empty + 2


def row_span(picture, name):
    """(first y, y after the last) of the row of that name, in a table that is not scrolled."""
    index = [entry.name for entry in read_table().rows()].index(name)
    rows, _ = row_runs(picture)
    if index >= len(rows):
        sys.exit(f"the row of {name} is not seen")
    _, top, bottom = rows[index]
    return top, bottom


def button_place(picture, name):
    """(x, y) in the middle of what is seen of the download button of the row of that name."""
    top, bottom = row_span(picture, name)
    middle = min(top + 12, (top + 2 + bottom) // 2)
    for colour, start, end in runs(picture.line(top + 6)):
        if colour == BUTTON and end - start >= BUTTON_FACE:
            return (start + end) // 2, middle
    return sys.exit(f"the button of {name} is not seen whole")


def bar_percentage(picture, name):
    """The share of the row that its bar covers, seen just below the row's upper edge."""
    y = row_span(picture, name)[0] + 1
    bar = [x for x, colour in enumerate(picture.line(y)) if colour == BAR]
    row = [x for x, colour in enumerate(picture.line(y)) if colour == BAR or colour in COLOURS]
    return 100 * (bar[-1] - row[0]) // (row[-1] - row[0]) if bar else 0


def matches(sample):
    """(name, installed version) of each row, as logged after the last scan, in row order."""
    found = map(MATCH.search, log_lines(sample))
    return [(match["name"], installed_version(match)) for match in found if match]


def installed_version(match):
    """The version of the application that was chosen; empty when there is none."""
    if not match["candidates"]:
        return match["version"] or ""
    # The version after "matched" is "0" when no candidate is numbered.
    listed = dict(re.findall(r"'(.*?)' v(.*?)(?:, |$)", match["candidates"]))
    return listed[match["found"]]


def log_lines(sample):
    """The lines of the log that follow the last scan's end."""
    path = sample / LOG
    text = path.read_text(encoding="utf-8") if path.exists() else ""
    _, scanned, rest = text.rpartition(SCANNED)
    return rest.splitlines() if scanned else []


def print_logged(sample):
    """Prints each entry's match and returns how many are not as they must be."""
    organisation = read_table()
    versions = {Path(bundle.path).stem: "" if bundle.plist == "none" else bundle.version.split(" ")[0]
                for bundle in organisation.bundles}
    expected = organisation.rows()
    logged = [match for match in map(MATCH.search, log_lines(sample)) if match]
    wrong = abs(len(expected) - len(logged))
    for entry, match in zip(expected, logged):
        found, version = match["found"], installed_version(match)
        due = versions.get(unicodedata.normalize("NFC", found)) if found else ""
        is_right = (entry.name == match["name"] and version == due
                    and (entry.verdict == "not installed") == (found is None))
        wrong += not is_right
        print(f"{shortened(entry.name):{NAME_WIDTH}}  {found or 'not installed':{NAME_WIDTH}}  "
              f"{version}{'' if is_right else f'   WRONG: {due} is due'}")
    return wrong


def served_versions(sample):
    """The catalogue's version of each name; of a name listed twice, the later one."""
    lines = (sample / "www" / CATALOGUE).read_text(encoding="utf-8").splitlines()[1:]
    records = ([unquoted(cell.strip()) for cell in line.split(",")] for line in lines)
    return {record[0]: record[1] for record in records if record[4] == "0"}


def shortened(name):
    return name if len(name) <= NAME_WIDTH else name[: NAME_WIDTH - 1] + "…"


def print_table(sample, picture):
    """Prints the table and returns how many rows are not as they must be."""
    expected = read_table().rows()
    logged = matches(sample)
    rows, _ = row_runs(picture)
    if not len(expected) == len(logged) == len(rows):
        sys.exit(f"{len(expected)} rows are due, {len(logged)} are logged, {len(rows)} are shown")
    versions = served_versions(sample)
    wrong = 0

    def line(*cells):
        print("{:>3}  {:{}}  {:15}  {:17}  {}".format(cells[0], cells[1], NAME_WIDTH, *cells[2:]))

    line("", "Applications", "Version Locale", "Version Internet", "Verdict")
    for number, (entry, (name, version), run) in enumerate(zip(expected, logged, rows), start=1):
        verdict = COLOURS[run[0]]
        if (entry.name, entry.verdict) != (name, verdict):
            wrong += 1
            verdict += f"   WRONG: '{entry.name}' is due, {entry.verdict}"
        line(number, shortened(name), version, versions[name], verdict)
    return wrong


def main(command, *arguments):
    paths = [Path(argument) for argument in arguments]
    if command == "scanned" and len(paths) == 1:
        return len(matches(paths[0])) < len(read_table().rows())
    if command == "logged" and len(paths) == 1:
        return print_logged(paths[0]) > 0
    if command == "complete" and len(paths) == 1:
        return len(row_runs(read_picture(paths[0]))[0]) != len(read_table().rows())
    if command == "height" and len(paths) == 1:
        print(fitting_height(read_picture(paths[0])))
        return 0
    if command == "print" and len(paths) == 2:
        return print_table(paths[0], read_picture(paths[1])) > 0
    if command == "button" and len(paths) == 2:
        print(*button_place(read_picture(paths[0]), arguments[1]))
        return 0
    if command == "bar" and len(paths) == 2:
        print(bar_percentage(read_picture(paths[0]), arguments[1]))
        return 0
    return __doc__


if __name__ == "__main__":
    sys.stdout.reconfigure(encoding="utf-8")
    sys.exit(main(*(sys.argv[1:] or ["help"])))
