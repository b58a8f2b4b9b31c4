"""Makes installers of every kind and lets the companion tell what each would bring.

Every answer must be right or "unknown", none wrong. The share of "unknown" is printed for each kind;
it must not exceed 10 %.
"""

import collections
import json
import os
import pathlib
import subprocess
import sys
import tempfile

from shapes import UNKNOWN, Shapes

COMPANION = os.environ["QUILLMERE_CATALOGUE"]
FACTS = ("location", "name", "version", "identifier", "minimumSystem", "processors", "newestFile")
MOST_UNKNOWN = {"zip": 10, "package": 10, "image": 10}  # per cent


def told_of(path):
    """What the companion tells of the file, as a dictionary."""
    result = subprocess.run([COMPANION, "read-installer", str(path)], capture_output=True,
                            check=True, text=True, env={**os.environ, "TZ": "UTC"})
    return json.loads(result.stdout)


class Comparison:
    """Of one file: what is wrong, and whether anything that can be known was not told."""

    def __init__(self, truth, told):
        self.wrong = []
        self.lacks = False
        items = [{"unknown": told["unknown"]}] if "unknown" in told else told["items"]
        wanted = truth["items"]
        if len(items) != len(wanted) and "unknown" not in told:
            self.wrong.append(f"{len(items)} items instead of {len(wanted)}")
            return
        for i, one in enumerate(wanted):
            self.compare_item(one, items[min(i, len(items) - 1)])

    def compare_item(self, wanted, told):
        if "unknown" in told:
            self.lacks = self.lacks or "unknown" not in wanted
            return
        if "unknown" in wanted:
            self.wrong.append(f"told of what nobody can know: {told}")
            return
        if told["openedOn"] != wanted["openedOn"]:
            self.wrong.append(f"opened on {told['openedOn']}")
        if "path" in wanted and told["path"] != wanted["path"]:
            self.wrong.append(f"opens {told['path']} instead of {wanted['path']}")
        for note in wanted.get("notes", []):
            if not any(note in one for one in told["notes"]):
                self.wrong.append(f"no note about {note}: {told['notes']}")
        if len(told["bundles"]) != len(wanted["bundles"]):
            self.wrong.append(f"bundles {[b['location'] for b in told['bundles']]}")
            return
        for one, other in zip(wanted["bundles"], told["bundles"]):
            self.compare_bundle(one, other)

    def compare_bundle(self, wanted, told):
        for fact in FACTS:
            if isinstance(told[fact], dict):
                self.lacks = self.lacks or wanted[fact] != UNKNOWN
            elif told[fact] != wanted[fact]:
                self.wrong.append(f"{fact} is {told[fact]!r} instead of {wanted[fact]!r}")


def main():
    files = collections.Counter()
    lacking = collections.defaultdict(list)
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        shapes = Shapes(folder)
        shapes.zips()
        shapes.packages()
        shapes.nested()
        shapes.images()
        for name, truth in shapes.truths.items():
            comparison = Comparison(truth, told_of(pathlib.Path(folder, name)))
            files[truth["kind"]] += 1
            if comparison.lacks:
                lacking[truth["kind"]].append(name)
            for wrong in comparison.wrong:
                failures += 1
                print(f"{name}: {wrong}", file=sys.stderr)
    for kind, count in files.items():
        share = 100 * len(lacking[kind]) / count
        print(f"{kind}: {count} files, {share:.1f} % unknown {' '.join(lacking[kind])}")
        failures += share > MOST_UNKNOWN.get(kind, 100)
    return 1 if failures or sum(files.values()) < 120 else 0


sys.exit(main())
