"""Small invented applications, as files with modes and times, and what a Mac tells of them."""

import plistlib
import struct
from dataclasses import dataclass, field

CHANGED = 1_772_366_400  # 2026-03-01 12:00 UTC
DATE = "2026-03-01"

PROCESSORS = {"x86_64": 0x01000007, "arm64": 0x0100000C, "i386": 7, "ppc": 18}


@dataclass
class Entry:
    """A file, a folder (content None) or a link (target set)."""

    path: str
    content: bytes | None = None
    mode: int = 0o755
    target: str | None = None
    changed: int = CHANGED

    @property
    def is_folder(self):
        return self.content is None and self.target is None


def thin(processor, size=512):
    """A program for one processor: the head of its file, and something after it."""
    kind = PROCESSORS[processor]
    magic = 0xFEEDFACF if kind & 0x01000000 else 0xFEEDFACE
    order = ">" if processor == "ppc" else "<"
    return struct.pack(f"{order}7I", magic, kind, 3, 2, 0, 0, 0) + bytes(size)


def program(*processors, wide=False):
    """A program for several processors is one of each behind one head."""
    if len(processors) == 1:
        return thin(processors[0])
    head = struct.pack(">II", 0xCAFEBABF if wide else 0xCAFEBABE, len(processors))
    body = b""
    for processor in processors:
        one = thin(processor)
        place = 4096 + len(body)
        if wide:
            head += struct.pack(">IIQQII", PROCESSORS[processor], 3, place, len(one), 12, 0)
        else:
            head += struct.pack(">IIIII", PROCESSORS[processor], 3, place, len(one), 12)
        body += one
    return head.ljust(4096, b"\0") + body


def old_text(values):
    """A property list in the form that is older than XML."""
    lines = [f'    {key} = "{value}"; // a note' for key, value in values.items()]
    return ("{\n" + "\n".join(lines) + "\n}\n").encode()


WRITERS = {
    "xml": lambda values: plistlib.dumps(values, fmt=plistlib.FMT_XML),
    "binary": lambda values: plistlib.dumps(values, fmt=plistlib.FMT_BINARY),
    "old": old_text,
    "crlf": lambda values: plistlib.dumps(values).replace(b"\n", b"\r\n"),
    "utf16": lambda values: plistlib.dumps(values)
    .decode()
    .replace("UTF-8", "UTF-16")
    .encode("utf-16"),
}


@dataclass
class Bundle:
    """An application: its files, relative to the folder that holds it, and what is true of it."""

    name: str = "Synth"
    version: str | None = "2.5"
    form: str = "xml"
    processors: tuple = ("arm64", "x86_64")
    identifier: str = "org.example.synth"
    minimum: str = "11.0"
    folder: str = ""  # around it
    values: dict = field(default_factory=dict)  # further ones of its Info.plist
    truth: dict = field(default_factory=dict)  # what differs from the above
    extra: list = field(default_factory=list)  # further files, relative to the bundle
    program: bytes | None = None
    mode: int = 0o755
    changed: int = CHANGED

    def info_plist(self):
        values = {
            "CFBundleExecutable": self.name,
            "CFBundleIdentifier": self.identifier,
            "LSMinimumSystemVersion": self.minimum,
            **self.values,
        }
        if self.version is not None:
            values["CFBundleShortVersionString"] = self.version
        return WRITERS[self.form](values)

    def entries(self):
        top = f"{self.folder}{self.name}.app"
        content = self.program if self.program is not None else program(*self.processors)
        entries = [
            Entry(top),
            Entry(f"{top}/Contents"),
            Entry(f"{top}/Contents/Info.plist", self.info_plist(), 0o644),
            Entry(f"{top}/Contents/MacOS"),
            Entry(f"{top}/Contents/MacOS/{self.name}", content, self.mode),
            Entry(f"{top}/Contents/Resources"),
            Entry(f"{top}/Contents/Resources/help.txt", b"help\n" * 200, 0o644),
        ]
        for entry in self.extra:
            entries.append(
                Entry(f"{top}/{entry.path}", entry.content, entry.mode, entry.target, entry.changed)
            )
        for entry in entries:
            entry.changed = self.changed
        return entries

    def facts(self, place="/Applications/"):
        """What is to be told of it, once it lies in the folder `place`."""
        return {
            "location": f"{place}{self.name}.app",
            "name": self.name,
            "version": (self.version or "").split(" ")[0],
            "identifier": self.identifier,
            "minimumSystem": self.minimum,
            "processors": sorted(self.processors),
            "newestFile": DATE,
            **self.truth,
        }


def with_parents(entries):
    """The same, with the folders that none of them is."""
    known = {entry.path for entry in entries}
    parents = []
    for entry in entries:
        steps = entry.path.split("/")[:-1]
        for end in range(1, len(steps) + 1):
            path = "/".join(steps[:end])
            if path not in known:
                known.add(path)
                parents.append(Entry(path))
    return parents + entries
