"""Writers of what bundles are shipped in: cpio, pbzx, xar, ZIP. Each takes entries of bundles.py."""

import bz2
import gzip
import hashlib
import lzma
import os
import pathlib
import stat
import struct
import subprocess
import time
import zipfile
import zlib
from xml.sax.saxutils import escape

from bundles import with_parents

CHUNK = 16 * 1024 * 1024
FIRST_DATE = 315_532_800  # 1980, the first that a ZIP archive can tell


def file_mode(entry):
    if entry.is_folder:
        return stat.S_IFDIR | entry.mode
    return (stat.S_IFLNK if entry.target is not None else stat.S_IFREG) | entry.mode


def file_content(entry):
    return entry.target.encode() if entry.target is not None else entry.content or b""


def cpio(entries, prefix="./", form="odc"):
    """The form that payloads have; `newc` is Linux's."""
    out = b""
    for number, entry in enumerate(with_parents(entries), 1):
        out += cpio_member(prefix + entry.path, file_mode(entry), number, file_content(entry),
                           entry.changed, form)
    return out + cpio_member("TRAILER!!!", 0, 0, b"", 0, form)


def cpio_member(name, mode, number, content, changed, form):
    raw = name.encode() + b"\0"
    if form == "odc":
        head = "070707%06o%06o%06o%06o%06o%06o%06o%011o%06o%011o" % (
            1, number, mode, 0, 0, 1, 0, changed, len(raw), len(content))
        return head.encode() + raw + content
    head = "070701" + "%08x" * 13 % (
        number, mode, 0, 0, 1, changed, len(content), 0, 0, 0, 0, len(raw), 0)
    start = head.encode() + raw
    return pad4(start) + pad4(content)


def pad4(data):
    return data + bytes(-len(data) % 4)


def pbzx(data, chunk=CHUNK, stored=()):
    """Apple's chunks of xz; those of the numbers `stored` stand as they are."""
    out = b"pbzx" + struct.pack(">Q", chunk)
    for number, start in enumerate(range(0, len(data), chunk)):
        part = data[start : start + chunk]
        packed = part if number in stored else lzma.compress(part, format=lzma.FORMAT_XZ)
        out += struct.pack(">QQ", len(part), len(packed)) + packed
    return out


PACKERS = {
    "gzip": lambda data: gzip.compress(data, mtime=0),
    "bzip2": bz2.compress,
    "xz": lzma.compress,
    "pbzx": pbzx,
    "plain": lambda data: data,
}


def package_info(location="/Applications", relocatable=False, scripts=(), inner=""):
    named = "".join(f'<{script} file="./{script}"/>' for script in scripts)
    place = "" if location is None else f' install-location="{escape(location)}"'
    return (
        f'<?xml version="1.0"?><pkg-info format-version="2" identifier="org.example.synth.pkg" '
        f'version="9.9"{place} relocatable="{str(relocatable).lower()}" auth="root">'
        f'<payload installKBytes="1" numberOfFiles="9"/>'
        f'{"<scripts>" + named + "</scripts>" if scripts else ""}{inner}</pkg-info>'
    ).encode()


def xar(files, checksum="sha1", method="gzip", first=()):
    """An archive of the files, by path; the contents of those named in `first` come first."""
    digest = getattr(hashlib, checksum)
    heap = bytes(digest().digest_size)
    places = {}
    packed = {}
    for path in sorted(files, key=lambda path: (path not in first, path)):
        plain = method == "none" or path.endswith("Payload")
        packed[path] = files[path] if plain else zlib.compress(files[path])
        places[path] = len(heap)
        heap += packed[path]
    tree = {}
    for path in files:
        node = tree
        *folders, name = path.split("/")
        for folder in folders:
            node = node.setdefault(folder, {})
        node[name] = path
    counter = iter(range(1, 10_000))

    def describe(node):
        text = ""
        for name, inside in node.items():
            text += f'<file id="{next(counter)}"><name>{escape(name)}</name>'
            if isinstance(inside, dict):
                text += f"<type>directory</type>{describe(inside)}</file>"
                continue
            style = "x-gzip" if packed[inside] is not files[inside] else "octet-stream"
            text += (
                f"<type>file</type><data><archived-checksum style=\"{checksum}\">"
                f"{digest(packed[inside]).hexdigest()}</archived-checksum>"
                f"<extracted-checksum style=\"{checksum}\">"
                f"{digest(files[inside]).hexdigest()}</extracted-checksum>"
                f'<encoding style="application/{style}"/><size>{len(files[inside])}</size>'
                f"<offset>{places[inside]}</offset><length>{len(packed[inside])}</length></data>"
                "</file>")
        return text

    size = len(digest(b"").digest())
    contents = (
        f'<?xml version="1.0" encoding="UTF-8"?><xar><toc><creation-time>2026-03-02T10:00:00'
        f'</creation-time><checksum style="{checksum}"><size>{size}</size><offset>0</offset>'
        f"</checksum>{describe(tree)}</toc></xar>").encode()
    toc = zlib.compress(contents)
    heap = digest(toc).digest() + heap[size:]
    if checksum == "sha1":
        head = struct.pack(">IHHQQI", 0x78617221, 28, 1, len(toc), len(contents), 1)
    else:
        name = checksum.encode().ljust(36, b"\0")
        head = struct.pack(">IHHQQI", 0x78617221, 64, 1, len(toc), len(contents), 3) + name
    return head + toc + heap


def xar_by_bsdtar(files, folder, options=""):
    """The same by libarchive's writer."""
    root = pathlib.Path(folder, "xar")
    for path, content in files.items():
        target = root / path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(content)
    made = pathlib.Path(folder, "made.xar")
    subprocess.run(
        ["bsdtar", "-c", "--format", "xar", *(["--options", options] if options else []), "-f",
         str(made), "-C", str(root), *sorted({path.split("/")[0] for path in files})], check=True)
    data = made.read_bytes()
    subprocess.run(["rm", "-r", str(root), str(made)], check=True)
    return data


def distribution(packages, choices, attributes="", inner=""):
    """`packages`: folder by identifier; `choices`: attributes and identifiers."""
    text = f'<?xml version="1.0"?><installer-gui-script minSpecVersion="2"{attributes}>{inner}'
    for number, (more, identifiers) in enumerate(choices):
        refs = "".join(f'<pkg-ref id="{identifier}"/>' for identifier in identifiers)
        text += f'<choice id="choice{number}" title="x" {more}>{refs}</choice>'
    for identifier, place in packages.items():
        text += f'<pkg-ref id="{identifier}" version="9.9" auth="root">{escape(place)}</pkg-ref>'
    return (text + "</installer-gui-script>").encode()


def zip_archive(path, entries, method=zipfile.ZIP_DEFLATED, parents=True):
    with zipfile.ZipFile(path, "w", method) as archive:
        for entry in with_parents(entries) if parents else entries:
            name = entry.path + "/" if entry.is_folder else entry.path
            info = zipfile.ZipInfo(name, time.gmtime(max(entry.changed, FIRST_DATE))[:6])
            info.create_system = 3
            info.external_attr = file_mode(entry) << 16
            info.compress_type = zipfile.ZIP_STORED if entry.is_folder else method
            archive.writestr(info, file_content(entry))


def lay_out(entries, folder):
    """Writes the entries below the folder, for programs that pack what lies on a disk."""
    for entry in with_parents(entries):
        path = pathlib.Path(folder, entry.path)
        if entry.is_folder:
            path.mkdir(parents=True, exist_ok=True)
        elif entry.target is not None:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.symlink_to(entry.target)
            continue
        else:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(entry.content)
        path.chmod(entry.mode)
    for path in sorted(pathlib.Path(folder).rglob("*"), reverse=True):
        os.utime(path, (entries[0].changed,) * 2, follow_symlinks=False)
