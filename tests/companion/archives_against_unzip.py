"""Compares `archive` with what unzip leaves of archives by many programs, and the choice among it.

Usage: archives_against_unzip.py COMPANION [--random N] [--unzip PATH] [--all-programs] [--keep FOLDER]

Each shape is a folder's content, packed by each program: zip, 7z, bsdtar, Python, and a writer of the
layout that ditto has. Then come single archives with odd heads, and N random ones (60). Each archive is
unpacked by /usr/bin/unzip under LC_ALL=C and C.UTF-8, and by the unzip at PATH, as one built for a Mac.
A second model of the client's choice looks at what is there. `archive` must tell the same; where the
unzips differ, or a name is there that a Mac cannot hold, it must have a finding that says so.

Without --all-programs a program that is missing is left out. --keep leaves archives that are told
wrongly in FOLDER.
"""

import argparse
import io
import json
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import zipfile
import zlib
from concurrent.futures import ThreadPoolExecutor

SEED = 20261122
PROCESSORS = {"arm64": ("arm",), "x86_64": ("x86", "x64", "amd64")}
LOCALES = ("C", "C.UTF-8")
ODD_NAMES = {"archive-bytes", "archive-letters", "archive-accents"}
UNFIT_NAMES = {"archive-bytes", "archive-letters"}
DOS, UNIX, NTFS, DARWIN = 0, 3, 10, 19
FILE, EXECUTABLE, FOLDER, LINK = 0o100644, 0o100755, 0o040755, 0o120777

# What lies in the folder that is packed: a path and, behind " -> ", a link's target. "/" ends a folder
# that is empty.
SHAPES = {
    "one package": ["Tool.pkg"],
    "one application": ["Tool.app/Contents/Info.plist", "Tool.app/Contents/MacOS/Tool"],
    "one image": ["Tool.dmg", "ReadMe.txt"],
    "large package": ["Tool.mpkg/Contents/a", "Tool.mpkg/Contents/b"],
    "capital endings": ["TOOL.PKG"],
    "both processors": ["Tool-arm64.pkg", "Tool-x86_64.pkg"],
    "universal": ["Tool-arm64-x86_64.pkg", "Tool.pkg"],
    "one processor alone": ["Tool-arm64.dmg"],
    "amd64": ["Tool-amd64.pkg", "Tool-ARM.pkg"],
    "processor in a folder": ["arm64/Tool.pkg", "x64/Tool.pkg"],
    "deep and flat": ["a/b/c/Tool.pkg", "z/Tool.pkg"],
    "in a folder": ["Tool 2.5/Tool.pkg", "Tool 2.5/ReadMe.txt"],
    "tie": ["B.pkg", "A.pkg", "C.pkg"],
    "tie by ending": ["Caffeine Helper.app/x", "Caffeine.app/x"],
    "tie by kind": ["Tool.pkg", "Tool.dmg", "Tool.app/x"],
    "tie by case": ["tool.pkg", "Tool.pkg"],
    "helper inside": ["Tool.app/Contents/Helper.app/x", "Tool.app/x"],
    "package inside": ["Tool.app/Contents/Resources/Helper.pkg"],
    "processor in the outer one": ["PyCharm.app/Contents/bin/H.app/x"],
    "uninstaller": ["Tool.pkg", "Uninstall Tool.pkg"],
    "uninstaller alone": ["MyUninstaller.app/x"],
    "nothing": ["ReadMe.txt", "bin/tool"],
    "shadow": ["Tool.app/x", "__MACOSX/Tool.app/._x"],
    "shadow first": ["in/Tool.app/x", "__MACOSX/Tool.app/._x"],
    "shadow deeper": ["in/deep/Tool.app/x", "__MACOSX/in/Tool.app/x"],
    "resource forks": ["Tool.pkg", "__MACOSX/._Tool.pkg"],
    "hidden": [".Tool.pkg", ".hidden/Tool.pkg", "Real.pkg"],
    "hidden alone": [".hidden/Tool.app/x"],
    "empty folders": ["Tool.app/", "empty/"],
    "empty package folder": ["a/Tool.pkg/"],
    "blanks": [" Tool.pkg", "Tool .pkg", "Tool 2 .app/x"],
    "long names": ["x" * 251 + ".pkg", "y" * 255],
    "deep folders": ["/".join(["folder"] * 60) + "/Tool.pkg"],
    "accents": ["\u00c9t\u00e9.pkg"],
    "decomposed": ["E\u0301te\u0301.app/x", "Other.pkg"],
    "accents beside": ["Tool.pkg", "Lies mich \u00fc.txt"],
    "Chinese": ["\u5b89\u88c5.pkg", "\u8bfb.txt"],
    "emoji": ["Tool \U0001f680.app/x"],
    "brackets": ["Tool [1].pkg", "Tool (2).pkg", "a*b?.txt"],
    "signs": ["Tool & Co.pkg", "'q'.txt", '"d".txt', "$HOME.txt", "-o.pkg", "#U00e9.pkg"],
    "dots": ["..Tool.pkg", "Tool..pkg", "a..b/Tool...dmg"],
    "link beside": ["Tool.app/x", "Applications -> /Applications"],
    "link within": ["Tool.app/Versions/A/x", "Tool.app/Versions/Current -> A"],
    "link to a bundle": ["real/Tool.app/x", "Tool.app -> real/Tool.app"],
    "link to nothing": ["Real.pkg", "Tool.pkg -> none"],
    "link out": ["Real.pkg", "d/Tool.pkg -> ../../x"],
    "link to the root": ["Real.pkg", "Tool.app -> /"],
    "link in a circle": ["a.app -> b.app", "b.app -> a.app", "Real.pkg"],
    "semicolons": ["Tool.pkg;1", "Other;2.pkg"],
    "backslash": ["d\\Tool.pkg", "Real.pkg"],
    "control": ["Tool\x01.pkg", "a\tb.txt"],
    "bytes": [b"caf\xe9.pkg", "Real.pkg"],
    "bytes alone": [b"\xff.app/x"],
}

# What is told wrongly, and why it stays so.
KNOWN = {"another name in UTF-8": "libzip gives an item's name in Unicode alone, a Mac's unzip takes the other"}


def split_link(entry):
    entry = os.fsencode(entry)
    path, _, target = entry.partition(b" -> ")
    return path, target


def build(entries, folder):
    """Makes what the entries tell below @p folder."""
    for entry in entries:
        path, target = split_link(entry)
        full = os.path.join(folder, path)
        if path.endswith(b"/"):
            os.makedirs(full, exist_ok=True)
            continue
        os.makedirs(os.path.dirname(full), exist_ok=True)
        if target:
            os.symlink(target, full)
        else:
            with open(full, "wb") as file:
                file.write(b"content of " + path[:40])
            os.chmod(full, 0o755 if b"MacOS" in path else 0o644)


def items_of(entries):
    """The items of a folder with these entries as ditto lists them: parents first."""
    items, seen = [], set()
    for entry in entries:
        path, target = split_link(entry)
        steps = path.rstrip(b"/").split(b"/")
        parents = len(steps) if path.endswith(b"/") else len(steps) - 1
        for depth in range(1, parents + 1):
            parent = b"/".join(steps[:depth]) + b"/"
            if parent not in seen:
                seen.add(parent)
                items.append(dict(name=parent, data=b"", mode=FOLDER))
        if not path.endswith(b"/"):
            items.append(dict(name=path, data=target or b"content", mode=LINK if target else FILE))
    return items


def raw_zip(items, start=b"", shift=0, comment=b"", tail=b""):
    """An archive made byte by byte: what an item's heads say may differ from what follows."""
    body, directory = bytearray(start), bytearray()
    for item in items:
        name, data = item["name"], item.get("data", b"x")
        method = item.get("method", 0)
        packed = item.get("packed", data)
        if method == 8 and "packed" not in item:
            deflate = zlib.compressobj(9, zlib.DEFLATED, -15)
            packed = deflate.compress(data) + deflate.flush()
        crc = item.get("crc", zlib.crc32(data))
        flags, extra = item.get("flags", 0), item.get("extra", b"")
        needed = item.get("needed", 20)
        system = item.get("system", UNIX)
        size = item.get("size", len(data))
        offset = item.get("offset", len(body) + shift)
        late = bool(flags & 8)
        body += struct.pack("<IHHHHHIIIHH", 0x04034b50, needed, flags, method, 0, 0x5b35, 0 if late else crc,
                            0 if late else len(packed), 0 if late else size, len(name), len(extra))
        body += item.get("local", name) + extra + packed
        if late:
            body += struct.pack("<IIII", 0x08074b50, crc, len(packed), size)
        attributes = item.get("mode", FILE) << 16 if system in (UNIX, DARWIN) else item.get("mode_dos", 0)
        directory += struct.pack("<IHHHHHHIIIHHHHHII", 0x02014b50, system << 8 | 21, needed, flags, method, 0,
                                 0x5b35, crc, len(packed), size, len(name), len(extra), 0, 0, 0, attributes,
                                 offset)
        directory += name + extra
    end = struct.pack("<IHHHHIIH", 0x06054b50, 0, 0, len(items), len(items), len(directory),
                      len(body) + shift, len(comment))
    return bytes(body + directory + end + comment + tail)


def by_ditto(entries, path):
    items = items_of(entries)
    for item in items:
        item["extra"] = struct.pack("<HHII", 0x5855, 8, 1700000000, 1700000000)
        if item["mode"] == FILE:
            item.update(flags=8, method=8)
    with open(path, "wb") as file:
        file.write(raw_zip(items))


def by_python(entries, path):
    with zipfile.ZipFile(path, "w") as archive:
        for item in items_of(entries):
            info = zipfile.ZipInfo(item["name"].decode("utf-8", "surrogateescape"))
            info.external_attr = item["mode"] << 16
            info.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(info, item["data"])


def run_in(folder, *command):
    ended = subprocess.run(command, cwd=folder, env=dict(os.environ, LC_ALL="C.UTF-8"),
                           stdin=subprocess.DEVNULL, capture_output=True, check=False, timeout=60)
    return ended.returncode in (0, 1)


PROGRAMS = {
    "zip": lambda folder, path: run_in(folder, "zip", "-q", "-r", "-y", path, "."),
    "zip -k": lambda folder, path: run_in(folder, "zip", "-q", "-k", "-r", "-y", path, "."),
    "zip -D": lambda folder, path: run_in(folder, "zip", "-q", "-D", "-r", "-y", path, "."),
    "7z": lambda folder, path: run_in(folder, "7z", "a", "-tzip", "-snl", "-bd", path, "."),
    "7z -mm=BZip2": lambda folder, path: run_in(folder, "7z", "a", "-tzip", "-snl", "-mm=BZip2", path, "."),
    "7z -mm=LZMA": lambda folder, path: run_in(folder, "7z", "a", "-tzip", "-snl", "-mm=LZMA", path, "."),
    "bsdtar": lambda folder, path: run_in(folder, "bsdtar", "-c", "--format", "zip", "-f", path, "."),
}


def tools_for(folder, entries, names):
    """The programs of @p names that can pack the entries, as functions of the archive's path."""
    tools = {name: (lambda path, pack=pack: pack(folder, path)) for name, pack in PROGRAMS.items()
             if name in names}
    if any(split_link(entry)[1] for entry in entries):
        tools.pop("zip -k", None)  # DOS has no links: it would pack what they lead to
    if "ditto's layout" in names:
        tools["ditto's layout"] = lambda path: by_ditto(entries, path)
    if "python" in names:
        tools["python"] = lambda path: by_python(entries, path)
    return tools


def odd_archives():
    """Single archives whose heads say odd things, by what is odd."""
    tool, other = dict(name=b"Tool.pkg"), dict(name=b"Other.txt")
    mark = dict(flags=0x800)
    sound = raw_zip([tool, other])
    yield "no item", raw_zip([])
    yield "UTF-8 with a mark", raw_zip([dict(name="\u00c9.pkg".encode(), **mark)])
    yield "UTF-8 of DOS with a mark", raw_zip([dict(name="\u00c9.pkg".encode(), system=DOS, **mark)])
    yield "UTF-8 of NTFS", raw_zip([tool, dict(name="\u00c9.txt".encode(), system=NTFS)])
    yield "code page 437", raw_zip([dict(name=b"\x90t\x82.pkg", system=DOS)])
    yield "code page 437 of Unix", raw_zip([dict(name=b"\x90t\x82.pkg")])
    yield "Latin-1", raw_zip([dict(name=b"\xc9t\xe9.pkg")])
    yield "Latin-1 of NTFS", raw_zip([dict(name=b"\xc9t\xe9.pkg", system=NTFS)])
    yield "Latin-1 with a mark", raw_zip([dict(name=b"\xc9.pkg", **mark)])
    yield "a byte 0xFF beside", raw_zip([tool, dict(name=b"\xff")])
    yield "letters of Darwin", raw_zip([dict(name="\u00c9.app/x".encode(), system=DARWIN)])
    name = "\u00c9.pkg".encode()
    path = struct.pack("<BI", 1, zlib.crc32(b"x.pkg")) + name
    yield "a name of its own in UTF-8", raw_zip(
        [dict(name=b"x.pkg", extra=struct.pack("<HH", 0x7075, len(path)) + path)])
    path = struct.pack("<BI", 1, 1) + name
    yield "a stale name in UTF-8", raw_zip(
        [dict(name=b"x.pkg", extra=struct.pack("<HH", 0x7075, len(path)) + path)])
    path = struct.pack("<BI", 1, zlib.crc32(b"x.pkg")) + b"y.pkg"
    yield "another name in UTF-8", raw_zip(
        [dict(name=b"x.pkg", extra=struct.pack("<HH", 0x7075, len(path)) + path)])
    yield "control with a mark", raw_zip([dict(name=b"Tool\x01.pkg", **mark)])
    yield "backslashes of DOS", raw_zip([dict(name=b"d\\Tool.pkg", system=DOS)])
    yield "backslashes of NTFS", raw_zip([dict(name=b"d\\Tool.pkg", system=NTFS)])
    yield "absolute", raw_zip([dict(name=b"/Tool.pkg")])
    yield "steps out", raw_zip([dict(name=b"../Tool.pkg")])
    yield "drive", raw_zip([dict(name=b"C:Tool.pkg", system=DOS)])
    yield "empty name", raw_zip([tool, dict(name=b"")])
    yield "NUL in a name", raw_zip([dict(name=b"Tool\0x.pkg")])
    yield "line feed in a name", raw_zip([dict(name=b"a\nTool.pkg")])
    yield "twice", raw_zip([tool, tool])
    yield "file and folder", raw_zip([tool, dict(name=b"Tool.pkg/a")])
    yield "wrong checksum", raw_zip([dict(name=b"Tool.pkg", crc=1)])
    yield "wrong size", raw_zip([dict(name=b"Tool.pkg", method=8, data=b"abc" * 99, size=7)])
    yield "broken stream", raw_zip([dict(name=b"Tool.pkg", method=8, packed=b"\xff\xff\xff")])
    yield "unknown method", raw_zip([dict(name=b"Tool.pkg", method=99)])
    yield "version needed 63", raw_zip([dict(name=b"Tool.pkg", needed=63)])
    yield "encrypted", raw_zip([dict(name=b"Tool.pkg", flags=1, data=b"x" * 20)])
    yield "strongly encrypted", raw_zip([dict(name=b"Tool.pkg", flags=0x41, data=b"x" * 20)])
    yield "data behind the item", raw_zip([dict(name=b"Tool.pkg", flags=8, method=8)])
    yield "stored with data behind", raw_zip([dict(name=b"Tool.pkg", flags=8)])
    yield "two names", raw_zip([dict(name=b"Tool.pkg", local=b"Cool.pkg")])
    yield "two in one", sound + sound
    yield "overlapping", raw_zip([tool, dict(name=b"Loot.pkg", offset=0)])
    yield "behind a script", b"#!/bin/sh\n" + sound
    yield "behind a script, adjusted", raw_zip([tool], start=b"#!/bin/sh\n")
    yield "offsets too small", raw_zip([tool], start=b"#!/bin/sh\n", shift=-10)
    yield "comment", raw_zip([tool], comment=b"hello")
    yield "bytes behind", raw_zip([tool], tail=b"\0" * 40)
    yield "cut off", sound[:-4]
    yield "cut in the middle", sound[:60]
    yield "no archive", b"<html>"
    yield "empty file", b""
    yield "pipe", raw_zip([dict(name=b"Tool.pkg", mode=0o010644), other])
    yield "unreadable folder", raw_zip([dict(name=b"d/", mode=0o040000, data=b""), dict(name=b"d/Tool.pkg")])
    yield "folder without a slash", raw_zip([dict(name=b"Tool.app", mode=FOLDER, data=b"")])
    yield "folder of DOS", raw_zip([dict(name=b"Tool.app/", system=DOS, mode_dos=0x10, data=b"")])
    yield "link, then below it", raw_zip([dict(name=b"d", mode=LINK, data=b"e"), dict(name=b"d/Tool.pkg")])
    yield "long path", raw_zip([dict(name=b"folder/" * 150 + b"Tool.pkg")])
    yield "very long path", raw_zip([dict(name=b"folder/" * 700 + b"Tool.pkg")])
    with io.BytesIO() as memory:
        with zipfile.ZipFile(memory, "w", zipfile.ZIP_LZMA) as archive:
            archive.writestr("Tool.pkg", "x" * 1000)
        yield "LZMA of Python", memory.getvalue()


STEPS = ["Tool.app", "Tool-arm64.pkg", "x64 Tool.dmg", "disk", "__MACOSX", ".hidden", "Uninstall.app", "a.txt",
         "T.pkg", "t.PKG", "\u00c9.dmg", "Caf\u00e9.app", "Contents", "b c", "Tool;1.pkg", "d.mpkg", "x", b"\xe9.pkg"]


def random_entries(chance):
    entries, files, folders = [], set(), set()
    for _ in range(1 + chance.randrange(7)):
        steps = [os.fsencode(chance.choice(STEPS)) for _ in range(1 + chance.randrange(4))]
        above = {b"/".join(steps[:depth]) for depth in range(1, len(steps))}
        path = b"/".join(steps)
        if path in files | folders or above & files:
            continue
        files.add(path)
        folders |= above
        if chance.random() < 0.15:
            path += b" -> " + os.fsencode(chance.choice(STEPS + ["..", "/Applications", "Tool.app/x"]))
        entries.append(path)
    return entries


def random_raw(chance):
    """An archive of random heads, now and then with one wrong byte."""
    items = []
    for _ in range(1 + chance.randrange(5)):
        name = b"/".join(os.fsencode(chance.choice(STEPS)) for _ in range(1 + chance.randrange(3)))
        item = dict(name=name, system=chance.choice([UNIX] * 6 + [DOS, NTFS, DARWIN]),
                    method=chance.choice([0, 8]), flags=chance.choice([0, 0, 8, 0x800]),
                    data=b"data" * chance.randrange(9), mode=chance.choice([FILE, FILE, EXECUTABLE]))
        if chance.random() < 0.1:
            item.update(name=name + b"/", data=b"", mode=FOLDER)
        elif chance.random() < 0.1:
            item.update(mode=LINK, data=os.fsencode(chance.choice(STEPS)), method=0, flags=0)
        items.append(item)
    archive = bytearray(raw_zip(items))
    if chance.random() < 0.2:
        archive[chance.randrange(len(archive))] = chance.randrange(256)
    return bytes(archive)


def is_text(name):
    try:
        name.decode()
    except UnicodeDecodeError:
        return False
    return True


def ending_of(name):
    return next((end for end in (".mpkg", ".app", ".pkg", ".dmg") if name.lower().endswith(end)), None)


def listed(folder):
    """What the client's walk sees below @p folder, as relative paths; and whether all names are text."""
    found, all_text = [], True

    def walk(below):
        nonlocal all_text
        for item in os.scandir(os.path.join(folder, below)):
            path = os.path.join(below, item.name)
            all_text = all_text and is_text(item.name)
            if item.name.startswith(b".") or not os.path.exists(item.path) or not is_text(path):
                continue
            found.append(path.decode())
            if item.is_dir(follow_symlinks=False):
                walk(path)

    walk(b"")
    return found, all_text


def units(text):
    return text.encode("utf-16-be")


def choice_of(paths, processor):
    """The path that the client opens on @p processor; None where it opens nothing."""
    def score(name):
        low = name.lower()
        names = {key: any(word in low for word in words) for key, words in PROCESSORS.items()}
        other = next(key for key in PROCESSORS if key != processor)
        return 2 * names[processor] - names[other]

    def rank(path):
        name = path.rpartition("/")[2]
        stem = name.rpartition(".")[0]
        return (-score(name), path.count("/"), path.startswith("__MACOSX/"), units(stem), units(name), units(path))

    fit = [path for path in paths if ending_of(path.rpartition("/")[2])
           and "uninstall" not in path.rpartition("/")[2].lower()]
    return min(fit, key=rank, default=None)


def unpacked(unzip, locale, archive, folder):
    """What the client would open by processor, and whether all names are text; None where unzip fails."""
    os.makedirs(folder)
    environment = {key: value for key, value in os.environ.items() if key not in ("UNZIP", "UNZIPOPT")}
    ended = subprocess.run([unzip, "-o", archive, "-d", folder], env=dict(environment, LC_ALL=locale),
                           stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                           start_new_session=True, check=False)
    paths, all_text = listed(os.fsencode(folder))
    for top, folders, _ in os.walk(folder):
        for name in folders:
            if not os.path.islink(os.path.join(top, name)):
                os.chmod(os.path.join(top, name), 0o700)
    shutil.rmtree(folder)
    if ended.returncode != 0:
        return None, True
    return {processor: choice_of(paths, processor) for processor in PROCESSORS}, all_text


def told(companion, archives, locale):
    """What `archive` tells of each archive, under @p locale."""
    ended = subprocess.run([companion, "archive", "--json"] + archives, capture_output=True, check=False,
                           env=dict(os.environ, LC_ALL=locale))
    if ended.returncode not in (0, 1):
        raise SystemExit("archive ended with %d: %s" % (ended.returncode, ended.stderr.decode()))
    return json.loads(ended.stdout)["archives"]


def differences(archive, reports, unzips, folder):
    """Sentences on what `archive` told wrongly under each locale."""
    nothing = {processor: None for processor in PROCESSORS}
    outcomes = {}
    for name, (unzip, locale) in unzips.items():
        outcomes[name] = unpacked(unzip, locale, archive, os.path.join(folder, name))
    wrong = []
    for locale, report in reports.items():
        rules = {finding["rule"] for finding in report["findings"]}
        errors = {finding["rule"] for finding in report["findings"] if finding["severity"] == "error"}
        if report["unzip"] is None:
            wrong.append("not tried")
        for name, (choice, all_text) in outcomes.items():
            if not all_text and not rules & UNFIT_NAMES:
                wrong.append("%s: %s leaves a name that is no text, and nothing says so" % (locale, name))
            if choice is None and not errors and not (name == "C" and rules & ODD_NAMES) and not (
                    name == "a Mac's" and "archive-method" in rules):
                wrong.append("%s: %s fails, and no error says so" % (locale, name))
            if report["opens"] != (choice or nothing) and not (
                    rules & (ODD_NAMES | {"archive-method"}) if name != "C.UTF-8" else errors & UNFIT_NAMES):
                if choice is not None or report["opens"] != nothing:
                    wrong.append("%s: %s leads to %s, told is %s" % (locale, name, choice, report["opens"]))
        sure = outcomes["C.UTF-8"][0]
        if sure is not None and report["opens"] == nothing and any(sure.values()):
            wrong.append("%s: it opens %s, told is nothing" % (locale, sure))
    return wrong


def all_archives(folder, names, count):
    """Makes the archives in @p folder; yields what each is, with its path."""
    number = 0

    def pack(what, entries, chosen):
        nonlocal number
        content = os.path.join(folder, "content-%d" % number)
        os.mkdir(content)
        build(entries, os.fsencode(content))
        for name, tool in tools_for(content, entries, chosen).items():
            number += 1
            path = os.path.join(folder, "%d.zip" % number)
            try:
                tool(path)
            except (UnicodeError, ValueError):
                continue  # Python packs no bytes that are no text
            if os.path.exists(path):
                yield "%s by %s" % (what, name), path
        shutil.rmtree(content)

    for what, entries in SHAPES.items():
        yield from pack(what, entries, names)
    for what, archive in odd_archives():
        number += 1
        path = os.path.join(folder, "%d.zip" % number)
        with open(path, "wb") as file:
            file.write(archive)
        yield what, path
    chance = random.Random(SEED)
    for one in range(count):
        number += 1
        if chance.random() < 0.5:
            yield from pack("random %d" % one, random_entries(chance), [chance.choice(names)])
            continue
        path = os.path.join(folder, "%d.zip" % number)
        with open(path, "wb") as file:
            file.write(random_raw(chance))
        yield "random heads %d" % one, path


def usable_programs(must_be_all):
    names = ["python", "ditto's layout"]
    for name in PROGRAMS:
        if shutil.which(name.split()[0]):
            names.append(name)
        elif must_be_all:
            raise SystemExit(name.split()[0] + " is missing")
    return names


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("companion")
    parser.add_argument("--random", type=int, default=60)
    parser.add_argument("--unzip")
    parser.add_argument("--all-programs", action="store_true")
    parser.add_argument("--keep")
    options = parser.parse_args()
    unzips = {locale: ("/usr/bin/unzip", locale) for locale in LOCALES}
    if options.unzip:
        unzips["a Mac's"] = (options.unzip, "C.UTF-8")
    names = usable_programs(options.all_programs)
    failed = known = opened = failing = 0
    with tempfile.TemporaryDirectory(prefix="archives-") as folder:
        archives = list(all_archives(folder, names, options.random))
        paths = [path for _, path in archives]
        reports = {locale: told(os.path.abspath(options.companion), paths, locale) for locale in LOCALES}

        def compare(number):
            return differences(paths[number], {locale: reports[locale][number] for locale in LOCALES}, unzips,
                               os.path.join(folder, "out-%d" % number))

        with ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
            for number, wrong in enumerate(pool.map(compare, range(len(archives)))):
                report = reports["C.UTF-8"][number]
                opened += any(report["opens"].values())
                failing += report["unzip"] != 0
                if wrong and archives[number][0] in KNOWN:
                    known += 1
                elif wrong:
                    failed += 1
                    print(archives[number][0] + ": " + "; ".join(wrong))
                    for locale in LOCALES:
                        found = reports[locale][number]["findings"]
                        print("    %s: %s" % (locale, ", ".join(one["rule"] for one in found)))
                    if options.keep:
                        shutil.copy(paths[number], options.keep)
    print("%d archives by %d programs under %s: %d open something, %d make unzip fail, %d are told "
          "wrongly, %d as is known" % (len(archives), len(names), ", ".join(unzips), opened, failing, failed, known))
    if opened < len(archives) / 4 or failing < 10:
        raise SystemExit("too few of a kind: the comparison says little")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
