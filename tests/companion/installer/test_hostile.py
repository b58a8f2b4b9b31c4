"""Gives the companion installers that are made to harm their reader.

Each answer must be "unknown", or the truth where there is one; the reader's memory and time stay
below a bound, its temporary folder is gone afterwards, and nothing is written anywhere else.
"""

import gzip
import json
import lzma
import os
import pathlib
import resource
import struct
import subprocess
import sys
import tempfile
import time
import zipfile
import zlib

import containers
import images
from bundles import Bundle, Entry
from shapes import gzipped, with_list

COMPANION = os.environ["QUILLMERE_CATALOGUE"]
MOST_MEMORY = 1_048_576  # KiB of one process, beyond what an ordinary file takes
MOST_SECONDS = 150  # the limit of a processor's time, and what a loaded machine adds


def told_of(path, temporary):
    """What the companion tells of the file, read as `archive` reads it: in a process with limits."""
    command = [COMPANION, "archive", "--json", str(path)]
    result = subprocess.run(command, capture_output=True, text=True, check=False,
                            env={**os.environ, "TMPDIR": str(temporary), "TZ": "UTC"})
    assert result.returncode in (0, 1), (path, result)
    return json.loads(result.stdout)["archives"][0]["installer"]


def answer(told):
    """The application's version; "unknown" where it, or all, is not known; "nothing"."""
    if "unknown" in told:
        return "unknown"
    versions = []
    for item in told["items"]:
        if "unknown" in item:
            return "unknown"
        for bundle in item["bundles"]:
            version = bundle["version"]
            versions.append("unknown" if isinstance(version, dict) else version or "none")
    return " ".join(versions) or "nothing"


def is_damaged(told):
    return any(item.get("damaged") for item in told["items"])


def package(payload, info=None, **files):
    return containers.xar({"PackageInfo": info or containers.package_info(), "Payload": payload,
                           **files})


def greedy_xz(data):
    """`data` as xz whose head asks for 4 GiB of memory."""
    packed = bytearray(lzma.compress(data, format=lzma.FORMAT_XZ))
    start, size = 12, (packed[12] + 1) * 4
    packed[start + 4] = 40  # the size of its dictionary
    packed[start + size - 4 : start + size] = struct.pack(
        "<I", zlib.crc32(packed[start : start + size - 4]))
    return bytes(packed)


def pbzx_of(packed, size):
    return (b"pbzx" + struct.pack(">Q", containers.CHUNK) + struct.pack(">QQ", size, len(packed)) +
            packed)


def self_holding_list():
    """A binary property list that is a dictionary in itself."""
    objects = [b"\xd1\x01\x00", b"\x51a"]
    body = b"bplist00" + b"".join(objects)
    table = bytes([8, 11])
    return body + table + bytes(6) + struct.pack(">BBQQQ", 1, 1, len(objects), 0, len(body))


def deep_binary_list(depth):
    """Lists in one another."""
    body, places = b"bplist00", []
    for number in range(depth):
        places.append(len(body))
        body += b"\xa1" + struct.pack(">I", number + 1) if number + 1 < depth else b"\xa0"
    table = b"".join(struct.pack(">I", place) for place in places)
    return body + table + bytes(6) + struct.pack(">BBQQQ", 4, 4, depth, 0, len(body))


BUNDLE = Bundle()
GOOD = containers.cpio(BUNDLE.entries())
LAUGHS = ('<?xml version="1.0"?><!DOCTYPE x [<!ENTITY a "ha">' +
          "".join(f'<!ENTITY {chr(98 + i)} "{("&" + chr(97 + i) + ";") * 10}">' for i in range(12)) +
          "]>")


def member(path, content=b"", mode=0o100644, claimed=None):
    """A member of cpio's newer form, which may claim another size."""
    head = bytearray(containers.cpio_member(path, mode, 1, content, 0, "newc"))
    if claimed is not None:
        head[54:62] = b"%08x" % claimed
    return bytes(head)


def hostile_lists():
    yield "list-huge", b" " * 6_000_000, "unknown"
    yield "list-self", self_holding_list(), "unknown"
    yield "list-deep-binary", deep_binary_list(20_000), "unknown"
    yield "list-deep-xml", b"<plist><dict>" + b"<a>" * 1_000_000, "unknown"
    yield "list-deep-old", b"{ a = " + b"(" * 1_000_000, "unknown"
    yield "list-laughs", (LAUGHS + "<plist><dict><key>&m;</key></dict></plist>").encode(), "unknown"
    yield "list-outside", (
        b'<?xml version="1.0"?><!DOCTYPE plist [<!ENTITY x SYSTEM "file:///etc/hostname">]><plist>'
        b"<dict><key>CFBundleShortVersionString</key><string>&x;</string></dict></plist>"), "none"


def hostile_payloads():
    zeros = gzip.compress(bytes(400_000_000), 1)
    yield "bomb-gzip", zeros, "unknown"
    yield "bomb-member", gzip.compress(
        member("./Synth.app/Contents/Info.plist", bytes(300_000_000)), 1), "unknown"
    yield "bomb-members", gzip.compress(member("./a") * 2_000_001, 1), "unknown"
    yield "greedy-pbzx", pbzx_of(greedy_xz(GOOD), len(GOOD)), "unknown"
    yield "greedy-xz", greedy_xz(GOOD), None  # a sanitizer's build has the memory
    yield "pbzx-claims", b"pbzx" + b"\xff" * 24 + b"x" * 100, "unknown"
    yield "claims-4-gib", member("./Synth.app/Contents/Info.plist", b"x", claimed=0xFFFFFFFF), \
        "unknown"
    yield "claims-name", b"070701" + b"f" * 104 + b"x" * 100, "unknown"
    trailer = containers.cpio_member("TRAILER!!!", 0, 0, b"", 0, "newc")
    for number, path in enumerate(["../Applications/Synth.app/Contents/Info.plist",
                                   "./Synth.app/../../x"]):
        yield f"leads-out-{number}", member(path, BUNDLE.info_plist()) + trailer, "unknown"
    latin = member("./Synth.app/Contents/\u00e9").replace("\u00e9".encode(), b"\xe9x")
    yield "no-utf8", latin + trailer, "unknown"


def links():
    """Links where a bundle has files and folders: they are not followed."""
    top = Entry("Synth.app")
    for name, entries in {
        "self": [Entry("Synth.app/Contents", target="Contents")],
        "cycle": [Entry("Synth.app/Contents", target="Other"),
                  Entry("Synth.app/Other", target="Contents")],
        "up": [Entry("Synth.app/Contents", target="..")],
        "list": [Entry("Synth.app/Contents"),
                 Entry("Synth.app/Contents/Info.plist",
                       target="{ CFBundleShortVersionString = 9; }")],
        "out": [Entry("Synth.app/Contents"),
                Entry("Synth.app/Contents/Info.plist", target="/etc/passwd")],
    }.items():
        yield f"link-{name}", gzipped([top, *entries]), "unknown"


def hostile_packages(folder):
    for name, content, expected in hostile_lists():
        yield f"{name}.pkg", package(gzipped(with_list(content))), expected
    for name, payload, expected in [*hostile_payloads(), *links()]:
        yield f"{name}.pkg", package(payload), expected
    yield "info-laughs.pkg", package(
        gzipped(BUNDLE.entries()),
        (LAUGHS + '<pkg-info install-location="&m;"/>').encode()), "unknown"
    yield "distribution-deep.pkg", package(
        gzipped(BUNDLE.entries()), Distribution=b"<a>" * 1_000_000), "unknown"
    good = package(gzipped(BUNDLE.entries()))
    head = struct.pack(">IHHQQI", 0x78617221, 28, 1, 2**62, 2**62, 1)
    yield "contents-huge.pkg", head + good[28:], "unknown"
    packed = zlib.compress(b"<?xml version='1.0'?><xar><toc>" + b" " * 500_000_000, 1)
    yield "contents-bomb.pkg", struct.pack(">IHHQQI", 0x78617221, 28, 1, len(packed), 2**40, 0) + \
        packed, "unknown"
    yield "head-long.pkg", struct.pack(">IHHQQI", 0x78617221, 0xFFFF, 1, 9, 9, 9) + b"x", "unknown"


def hostile_images():
    volume = images.hfs_plus(BUNDLE.entries())
    whole = images.udif([volume])
    end = len(whole) - 512
    for name, place, value in [("xml", 216, 2**62), ("xml-size", 224, 2**62), ("data", 24, 2**62),
                               ("sectors", 492, 2**62)]:
        wrong = bytearray(whole)
        wrong[end + place : end + place + 8] = struct.pack(">Q", value)
        yield f"image-{name}.dmg", bytes(wrong), None
    for name, content, expected in hostile_lists():
        yield f"image-{name}.dmg", images.udif([images.hfs_plus(with_list(content))]), expected
    yield "image-links.dmg", images.udif([images.hfs_plus(
        [Entry("Synth.app"), Entry("Synth.app/Contents", target="..")])]), "unknown"


def cuts():
    """Files that end too early: nothing else than the truth or "unknown" may be told."""
    product = containers.xar({
        "Distribution": containers.distribution({"id0": "#synth.pkg"}, [("", ["id0"])]),
        "synth.pkg/PackageInfo": containers.package_info(),
        "synth.pkg/Payload": gzipped(BUNDLE.entries())})
    volume = images.udif([images.hfs_plus(BUNDLE.entries())])
    for ending, data in [("pkg", product), ("dmg", volume)]:
        for number in range(24):
            yield f"cut-{number}.{ending}", data[: len(data) * number // 24 + number % 3], None
    payload = containers.pbzx(GOOD, 500)
    for number in range(24):
        yield f"cut-payload-{number}.pkg", package(payload[: len(payload) * number // 24]), None


def zips(folder):
    """Archives; `unzip` refuses some, and then nothing is read."""
    for name, content, expected in hostile_lists():
        path = pathlib.Path(folder, f"{name}.zip")
        containers.zip_archive(path, with_list(content))
        yield path.name, None, expected
    path = pathlib.Path(folder, "packed-bomb.zip")
    containers.zip_archive(path, [Entry("Synth.pkg", package(gzip.compress(bytes(400_000_000), 1)),
                                        0o644)])
    yield path.name, None, "unknown"
    path = pathlib.Path(folder, "out.zip")
    with zipfile.ZipFile(path, "w") as archive:
        archive.writestr("../../outside/Synth.app/Contents/Info.plist", "x")
    yield path.name, None, "unknown"
    whole = pathlib.Path(folder, "whole.zip")
    containers.zip_archive(whole, BUNDLE.entries())
    data = whole.read_bytes()
    whole.unlink()
    for number in range(24):
        yield f"cut-{number}.zip", data[: len(data) * number // 24], None


def tree(folder):
    return sorted(str(path) for path in pathlib.Path(folder).rglob("*"))


def main():
    wrong = []
    count = 0
    with tempfile.TemporaryDirectory() as place:
        files, temporary = pathlib.Path(place, "files"), pathlib.Path(place, "temporary")
        files.mkdir()
        temporary.mkdir()
        good = files / "good.pkg"
        good.write_bytes(package(gzipped(BUNDLE.entries())))
        assert answer(told_of(good, temporary)) == "2.5"
        usual = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        longest = ("", 0)
        for name, data, expected in [*hostile_packages(files), *hostile_images(), *cuts(),
                                     *zips(files)]:
            path = files / name
            if data is not None:
                path.write_bytes(data)
            before = tree(place)
            start = time.monotonic()
            facts = told_of(path, temporary)
            told = answer(facts)
            longest = max(longest, (name, time.monotonic() - start), key=lambda one: one[1])
            if told not in ([expected] if expected else ["unknown", "2.5"]):
                wrong.append(f"{name}: told {told!r}")
            if name.startswith(("bomb-members", "greedy")) and is_damaged(facts):
                wrong.append(f"{name}: called damaged, and is only large")
            if tree(place) != before:
                wrong.append(f"{name}: left {set(tree(place)) ^ set(before)}")
            path.unlink()
            count += 1
    memory = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss - usual
    print(f"{count} files; the longest {longest[0]}, {longest[1]:.1f} s; {memory // 1024} MiB more "
          "than an ordinary file")
    if memory > MOST_MEMORY:
        wrong.append("takes too much memory")
    if longest[1] > MOST_SECONDS:
        wrong.append("takes too long")
    print("\n".join(wrong), file=sys.stderr)
    return 1 if wrong else 0


sys.exit(main())
