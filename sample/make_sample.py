#!/usr/bin/env python3
"""Makes the sample organisation from the table in applications.txt.

    make_sample.py FOLDER

FOLDER then holds
    Applications/              the installed application bundles
    www/                       what the catalogue server offers: the catalogue and the installers
    slow-files.txt             the paths below www/ that the server sends slowly, one a line

Both folders are made anew each time, and come out the same each time. Nothing in them works: an
"installer" is a text or noise under an installer's name.
"""

import argparse
import plistlib
import random
import shutil
import sys
import zipfile
from dataclasses import dataclass, field
from pathlib import Path

TABLE = Path(__file__).with_name("applications.txt")
CATALOGUE = "config/01_MacOS.csv"
INSTALLERS = "data/software/macos"
HEADER = ["Application", "Version", "Release date", "Filename", "Ignored"]
VERDICTS = ("not installed", "older", "equal", "newer", "-")
SLOW_BYTES = 2_000_000  # about 250 kB a second: the bar is seen to move
ZIP_TIME = (2026, 1, 1, 12, 0, 0)  # archives are the same at every call


@dataclass
class Entry:
    """One line of the catalogue."""

    fields: list  # as the catalogue spells them, in the order of HEADER
    served: str
    verdict: str

    @property
    def name(self):
        return unquoted(self.fields[0])

    @property
    def installer(self):
        return unquoted(self.fields[3])


@dataclass
class Bundle:
    """One installed application."""

    path: str
    version: str
    plist: str


@dataclass
class Organisation:
    entries: list = field(default_factory=list)
    bundles: list = field(default_factory=list)
    archives: dict = field(default_factory=dict)  # archive name -> its items, in order

    def rows(self):
        """The entries that Quillmere shows, in the catalogue's order."""
        return [entry for entry in self.entries if entry.verdict != "-"]


def unquoted(text):
    return text[1:-1] if len(text) > 1 and text[0] == text[-1] == '"' else text


def read_table(path=TABLE):
    """The organisation that the table describes; ends the program at a line it cannot read."""
    organisation = Organisation()
    in_archives = False
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), start=1):
        if not line.strip() or line.startswith("#"):
            continue
        if line.strip() == "[archives]":
            in_archives = True
            continue
        cells = [cell.strip() for cell in line.split("|")]
        if in_archives and len(cells) == 2:
            organisation.archives.setdefault(cells[0], []).append(cells[1])
            continue
        if in_archives or len(cells) not in (9, 10):
            sys.exit(f"{path.name}:{number}: {len(cells)} columns; correct the line")
        entry = Entry(cells[0:5], cells[5], cells[6])
        if cells[0]:
            if entry.verdict not in VERDICTS:
                sys.exit(f"{path.name}:{number}: unknown verdict '{entry.verdict}'")
            organisation.entries.append(entry)
        if cells[7]:
            plist = cells[9] if len(cells) == 10 else ""
            organisation.bundles.append(Bundle(cells[7], cells[8], plist))
    return organisation


def write_catalogue(organisation, path):
    # Joined as they stand: the quotes that the table shows are part of the fields.
    lines = [",".join(fields) for fields in [HEADER, *(e.fields for e in organisation.entries)]]
    path.parent.mkdir(parents=True)
    path.write_bytes("".join(line + "\n" for line in lines).encode())


def info_plist(name, version, form):
    """The bytes of an Info.plist, or None for a bundle that has none."""
    if form == "none":
        return None
    key = "CFBundleLongVersionString" if form == "long" else "CFBundleShortVersionString"
    identifier = "".join(letter for letter in name if letter.isascii() and letter.isalnum())
    values = {
        "CFBundleIdentifier": "org.example.sample." + identifier,
        "CFBundleName": name,
        "CFBundlePackageType": "APPL",
        key: version,
    }
    kind = plistlib.FMT_BINARY if form == "binary" else plistlib.FMT_XML
    return plistlib.dumps(values, fmt=kind)


def write_bundle(bundle, applications):
    contents = applications / bundle.path / "Contents"
    contents.mkdir(parents=True, exist_ok=True)
    plist = info_plist(Path(bundle.path).stem, bundle.version, bundle.plist)
    if plist is not None:
        (contents / "Info.plist").write_bytes(plist)


def installer_bytes(name, size=3000):
    """What stands in an installer: a sentence, then noise that no archive can make smaller."""
    sentence = f"'{name}' is part of Quillmere's sample organisation, installs nothing.\n".encode()
    return sentence + random.Random(name).randbytes(size - len(sentence))


def add_to_archive(archive, item, content):
    """Adds a file, or a bundle of one file when the item's name says so."""
    if item.endswith(".app"):
        name = Path(item).stem
        item += "/Contents/Info.plist"
        content = info_plist(name, "1.0", "")
    entry = zipfile.ZipInfo(item, date_time=ZIP_TIME)
    entry.compress_type = zipfile.ZIP_DEFLATED
    entry.external_attr = 0o100644 << 16
    archive.writestr(entry, content)


def is_large(item):
    return item.endswith((".pkg", ".dmg")) and not item.startswith("__MACOSX/")


def write_archive(path, items, size):
    """An archive of about `size` bytes, most of them in its packages and images."""
    share = size // max(1, sum(is_large(item) for item in items))
    with zipfile.ZipFile(path, "w") as archive:
        for item in items:
            content = installer_bytes(item, share if is_large(item) else 300)
            add_to_archive(archive, item, content)


def write_installers(organisation, folder):
    folder.mkdir(parents=True)
    for entry in organisation.entries:
        name = entry.installer
        if entry.served == "missing":
            continue
        size = SLOW_BYTES if entry.served == "slow" else 3000
        if name.endswith(".zip"):
            write_archive(folder / name, organisation.archives[name], size)
        else:
            (folder / name).write_bytes(installer_bytes(name, size))


def make(organisation, folder):
    applications = folder / "Applications"
    www = folder / "www"
    for old in (applications, www):
        if old.exists():
            shutil.rmtree(old)
    applications.mkdir(parents=True)
    for bundle in organisation.bundles:
        write_bundle(bundle, applications)
    write_catalogue(organisation, www / CATALOGUE)
    write_installers(organisation, www / INSTALLERS)
    slow = [entry for entry in organisation.entries if entry.served == "slow"]
    text = "".join(f"{INSTALLERS}/{entry.installer}\n" for entry in slow)
    (folder / "slow-files.txt").write_bytes(text.encode())


def main():
    parser = argparse.ArgumentParser(description="Makes the sample organisation.")
    parser.add_argument("folder", type=Path, help="the folder to make it in")
    make(read_table(), parser.parse_args().folder)


if __name__ == "__main__":
    main()
