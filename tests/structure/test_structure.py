"""The sources include each other as the tables of docs/architecture.md say, and in no circle.

Each rule is tried on the project itself, and on a copy of it in which something forbidden was
planted: there it must be found.
"""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ["QUILLMERE_SOURCE"])
CORE_LINKS = os.environ["QUILLMERE_CORE_LINKS"].split(",")

CODE = ("src", "tools", "tests", "bench", "fuzz")
ROOTS = ("src", "tools", "tests")  # what an include's path begins at
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]+"([^"]+)"', re.MULTILINE)
QUOTED = re.compile(r"`([^`]+)`")
# Folders deeper down that have a line of their own.
ROOMS = ("src", "tools", "tools/companion", "tests")


def files_of(root):
    """The project's files, as paths below it."""
    if (root / ".git").exists():
        command = ["git", "-C", root, "ls-files", "-z", "-co", "--exclude-standard"]
        listed = subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True).stdout
        names = listed.split("\0")
    else:
        names = [path.relative_to(root).as_posix() for path in root.rglob("*")]
        names = [name for name in names if not name.startswith("build/")]
    return sorted(name for name in names if (root / name).is_file())


def folder(path):
    return path.rpartition("/")[0]


def unit(path):
    """A header and its source are one unit."""
    return path.rpartition(".")[0]


class Project:
    """Who includes whom."""

    def __init__(self, root):
        self.files = files_of(root)
        self.sources = [
            name
            for name in self.files
            if name.startswith(tuple(f"{part}/" for part in CODE)) and name.endswith((".h", ".cpp"))
        ]
        known = set(self.sources)
        self.includes = []  # (file, included file)
        for name in self.sources:
            for text in INCLUDE.findall((root / name).read_text(encoding="utf-8")):
                beside = [f"{folder(name)}/{text}"] + [f"{part}/{text}" for part in ROOTS]
                self.includes += [(name, path) for path in beside if path in known][:1]
        self.rows = rows_of((root / "docs/architecture.md").read_text(encoding="utf-8"))


def rows_of(text):
    """{folder: cells} of each line of a table that begins with a folder."""
    rows = {}
    for line in text.splitlines():
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        name = re.fullmatch(r"`([^`]+)`", cells[0])
        if line.startswith("|") and name:
            rows[name[1]] = cells[1:]
    return rows


def allowed(rows, name):
    """The folders that the file of that name may include, by its folder's last cell.

    "nothing; `main` also `src/ui`" lets one file include more; a folder's name with "/*" stands for
    all folders below it too.
    """
    if folder(name) not in rows:
        return set()
    general, _, special = rows[folder(name)][-1].partition(";")
    found = set(QUOTED.findall(general))
    only, *more = QUOTED.findall(special) or [""]
    return found | set(more) if only == Path(name).stem else found


def is_allowed(target, patterns):
    return any(
        target == pattern or (pattern.endswith("/*") and f"{target}/".startswith(pattern[:-1]))
        for pattern in patterns
    )


def forbidden_includes(project):
    return [
        f"{name} includes {target}"
        for name, target in project.includes
        if folder(name) != folder(target)
        and not is_allowed(folder(target), allowed(project.rows, name))
    ]


def unused_permissions(project):
    """What a line of the tables permits, though nothing makes use of it."""
    unused = []
    for name, cells in project.rows.items():
        used = {folder(target) for source, target in project.includes if folder(source) == name}
        for pattern in QUOTED.findall(cells[-1]) if len(cells) > 1 else []:
            if "/" in pattern and not any(is_allowed(target, [pattern]) for target in used):
                unused.append(f"{name} does not include {pattern}")
    return unused


def circles(pairs):
    """The groups of names that lead to each other."""
    leads = {}
    for start, end in pairs:
        if start != end:
            leads.setdefault(start, set()).add(end)

    def reached(start):
        seen, waiting = set(), [start]
        while waiting:
            for following in leads.get(waiting.pop(), ()):
                if following not in seen:
                    seen.add(following)
                    waiting.append(following)
        return seen

    reach = {name: reached(name) for name in leads}
    found = set()
    for name in leads:
        group = {other for other in reach[name] if name in reach.get(other, ())}
        if name in group:
            found.add(" ".join(sorted(group)))
    return sorted(found)


def unit_circles(project):
    return circles([(unit(name), unit(target)) for name, target in project.includes])


def folders_without_a_line(project):
    wanted = set()
    for name in project.files:
        parts = name.split("/")[:-1]
        if parts and not parts[0].startswith("."):
            wanted.add(parts[0])
            wanted |= {
                "/".join(parts[: depth + 1])
                for depth in range(1, len(parts))
                if "/".join(parts[:depth]) in ROOMS
            }
    return sorted(name for name in wanted - set(ROOMS) if name not in project.rows)


def wrong_links(links):
    """What of Qt the program without its windows is linked with, and must not be."""
    permitted = ("Qt6::Core", "Qt6::Network")
    return [name for name in links if name.startswith("Qt") and name not in permitted]


class Sources(unittest.TestCase):
    """The project as it is."""

    project = Project(SOURCE)

    def test_something_was_read(self):
        self.assertIn(("src/app/main.cpp", "src/ui/mainwindow.h"), self.project.includes)
        self.assertGreater(len(self.project.includes), 300)

    def test_includes_are_permitted(self):
        self.assertEqual(forbidden_includes(self.project), [])

    def test_permissions_are_used(self):
        self.assertEqual(unused_permissions(self.project), [])

    def test_no_circle_of_units(self):
        self.assertEqual(unit_circles(self.project), [])

    def test_each_folder_has_its_line(self):
        self.assertEqual(folders_without_a_line(self.project), [])

    def test_core_is_linked_with_no_widget(self):
        self.assertIn("Qt6::Core", CORE_LINKS)
        self.assertEqual(wrong_links(CORE_LINKS), [])


class Planted(unittest.TestCase):
    """Copies of the project in which something is wrong."""

    def assert_new(self, check, project, expected):
        """Besides what the check finds in the project as it is, it finds this in the copy."""
        former = check(Sources.project)
        self.assertEqual([found for found in check(project) if found not in former], expected)

    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.root = Path(self.scratch.name)
        for name in files_of(SOURCE):
            if name.endswith((".h", ".cpp", "architecture.md")):
                (self.root / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(SOURCE / name, self.root / name)

    def plant(self, name, line):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        former = path.read_text(encoding="utf-8") if path.exists() else ""
        path.write_text(line + "\n" + former, encoding="utf-8")
        return Project(self.root)

    def test_core_that_includes_a_window(self):
        project = self.plant("src/web/transfer.cpp", '#include "ui/mainwindow.h"')
        self.assert_new(
            forbidden_includes, project, ["src/web/transfer.cpp includes src/ui/mainwindow.h"]
        )

    def test_what_main_may_include_another_file_may_not(self):
        project = self.plant("src/app/debug.cpp", '  #  include "ui/mainwindow.h"')
        self.assert_new(
            forbidden_includes, project, ["src/app/debug.cpp includes src/ui/mainwindow.h"]
        )

    def test_room_that_includes_a_room_above_it(self):
        name = "tools/companion/report/source.cpp"
        project = self.plant(name, '#include "companion/log/trouble.h"')
        self.assert_new(
            forbidden_includes, project, [f"{name} includes tools/companion/log/trouble.h"]
        )

    def test_program_that_includes_a_test(self):
        project = self.plant("src/ui/waitdialog.cpp", '#include "support/limits.h"')
        self.assert_new(
            forbidden_includes, project, ["src/ui/waitdialog.cpp includes tests/support/limits.h"]
        )

    def test_circle_over_a_third_unit(self):
        self.plant("src/web/transfer.h", '#include "web/webprofiler.h"')
        project = self.plant("src/web/catalogueline.h", '#include "web/transfer.h"')
        found = unit_circles(project)
        self.assertEqual(len(found), 1, found)
        for name in ("src/web/transfer", "src/web/webprofiler", "src/web/catalogueline"):
            self.assertIn(name, found[0].split())

    def test_permission_that_nobody_uses(self):
        text = (self.root / "docs/architecture.md").read_text(encoding="utf-8")
        line = next(line for line in text.splitlines() if line.startswith("| `src/config` |"))
        changed = text.replace(line, line[: line.rindex("|")] + ", `src/web` |")
        (self.root / "docs/architecture.md").write_text(changed, encoding="utf-8")
        self.assert_new(
            unused_permissions, Project(self.root), ["src/config does not include src/web"]
        )

    def test_folder_without_a_line(self):
        project = self.plant("tools/companion/attic/attic.h", "#pragma once")
        self.assert_new(folders_without_a_line, project, ["tools/companion/attic"])
        project = self.plant("attic/attic.h", "#pragma once")
        self.assert_new(folders_without_a_line, project, ["attic", "tools/companion/attic"])

    def test_core_that_is_linked_with_widgets(self):
        self.assertEqual(wrong_links([*CORE_LINKS, "Qt6::Widgets"]), ["Qt6::Widgets"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
