"""Writers of disk images: an HFS+ volume, and Apple's container of compressed pieces round it."""

import bz2
import lzma
import plistlib
import stat
import struct
import zlib

from bundles import with_parents
from containers import file_content, file_mode

BLOCK = 4096
NODE = 4096
SECTOR = 512
MAC_TIME = 2_082_844_800  # seconds from 1904 to 1970
FIRST_ID = 16  # of files; lower ones are the volume's own


def fork(size=0, start=0):
    """Where a file's bytes are: one piece."""
    blocks = -(-size // BLOCK)
    return struct.pack(">QII", size, 0, blocks) + struct.pack(">II", start, blocks) + bytes(56)


def key(parent, name):
    text = name.encode("utf-16-be")
    return struct.pack(">HIH", 6 + len(text), parent, len(text) // 2) + text


def owner(mode, special=0):
    return struct.pack(">IIBBHI", 0, 0, 0, 0, mode, special)


def folder_record(number, valence, mode, time):
    return struct.pack(">hHII5I", 1, 0, valence, number, *[time] * 5) + owner(mode) + bytes(40)


def file_record(number, mode, time, size, start, is_link):
    kind = b"slnkrhap" + bytes(8) if is_link else bytes(16)
    head = struct.pack(">hHII5I", 2, 0, 0, number, *[time] * 5) + owner(mode, 1)
    return head + kind + bytes(24) + fork(size, start) + fork()


def thread_record(is_folder, parent, name):
    text = name.encode("utf-16-be")
    return struct.pack(">hhIH", 3 if is_folder else 4, 0, parent, len(text) // 2) + text


def node(kind, height, records, forward=0, back=0):
    body = struct.pack(">IIbBHH", forward, back, kind, height, len(records), 0)
    places = []
    for record in records:
        places.append(len(body))
        body += record + bytes(len(record) % 2)
    places.append(len(body))
    table = b"".join(struct.pack(">H", place) for place in reversed(places))
    return body.ljust(NODE - len(table), b"\0") + table


def tree(records, longest_key):
    """A B-tree of the sorted records (key, data): its header, leaves, and a root above several."""
    leaves = [[]]
    size = 14
    for one, data in records:
        needed = len(one) + len(data) + 4
        if size + needed > NODE - 2:
            leaves.append([])
            size = 14
        leaves[-1].append((one, data))
        size += needed
    if not records:
        leaves = []
    nodes = [
        node(-1, 1, [one + data for one, data in leaf], i + 2 if i + 1 < len(leaves) else 0, i)
        for i, leaf in enumerate(leaves)
    ]
    depth, root = (1, 1) if leaves else (0, 0)
    if len(leaves) > 1:
        depth, root = 2, len(leaves) + 1
        above = [leaf[0][0] + struct.pack(">I", i + 1) for i, leaf in enumerate(leaves)]
        nodes.append(node(0, 2, above))
    total = len(nodes) + 1
    header = struct.pack(
        ">HIIIIHHIIHIBBI", depth, root, len(records), 1 if leaves else 0, len(leaves), NODE,
        longest_key, total, 0, 0, NODE, 0, 0xCF, 6) + bytes(64)
    used = bytes([0xFF] * (total // 8) + [0xFF << (8 - total % 8) & 0xFF])
    first = node(1, 0, [header, bytes(128), used.ljust(NODE - 256, b"\0")])
    return first + b"".join(nodes)


def hfs_plus(entries, name="Synth", case_sensitive=False):
    """A volume with the entries."""
    catalogue, data = [], []
    numbers = {"": 2}
    children = {}
    entries = with_parents(entries)
    for number, entry in enumerate(entries, FIRST_ID):
        numbers[entry.path] = number
        children.setdefault(entry.path.rpartition("/")[0], []).append(entry)
    start = 10  # of the files' blocks; what is before has a fixed place
    catalogue.append(((1, name), folder_record(2, len(children.get("", [])), 0o40755, MAC_TIME)))
    catalogue.append(((2, ""), thread_record(True, 1, name)))
    for entry in sorted(entries, key=lambda entry: numbers[entry.path]):
        above, _, own = entry.path.rpartition("/")
        parent, number, time = numbers[above], numbers[entry.path], entry.changed + MAC_TIME
        if entry.is_folder:
            count = len(children.get(entry.path, []))
            record = folder_record(number, count, file_mode(entry), time)
        else:
            content = file_content(entry)
            place = start + sum(len(one) for one in data) // BLOCK
            data.append(content.ljust(-(-len(content) // BLOCK) * BLOCK, b"\0"))
            record = file_record(number, file_mode(entry), time, len(content), place,
                                 stat.S_ISLNK(file_mode(entry)))
        catalogue.append(((parent, own), record))
        catalogue.append(((number, ""), thread_record(entry.is_folder, parent, own)))
    catalogue.sort(key=lambda record: (record[0][0], record[0][1].lower()))
    files = tree([(key(*one), record) for one, record in catalogue], 516)
    extents = tree([], 10)
    body = b"".join(data)
    blocks = start + (len(body) + len(files)) // BLOCK + 2
    bitmap = bytes([0xFF] * (blocks // 8 + 1)).ljust(BLOCK, b"\0")
    head = struct.pack(
        ">2sHI4sI4I9I", b"HX" if case_sensitive else b"H+", 5 if case_sensitive else 4, 0x100,
        b"10.0", 0, MAC_TIME, MAC_TIME, 0, MAC_TIME,
        sum(not e.is_folder for e in entries), sum(e.is_folder for e in entries), BLOCK, blocks, 0,
        0, 65536, 65536, FIRST_ID + len(entries)) + struct.pack(">IQ", 1, 1) + bytes(32)
    head += fork(BLOCK, 1) + fork(len(extents), 2) + fork(len(files), start + len(body) // BLOCK)
    head = (head + fork() + fork()).ljust(512, b"\0")
    volume = bytes(1024) + head
    volume = volume.ljust(BLOCK, b"\0") + bitmap + extents
    volume = volume.ljust(start * BLOCK, b"\0") + body + files
    volume = volume.ljust(blocks * BLOCK, b"\0")
    return volume[:-1024] + head + volume[-512:]


def lzfse(data):
    """One block of literals, which repeats nothing, and the end."""
    body = b""
    for start in range(0, len(data), 271):
        part = data[start : start + 271]
        few = len(part) < 16
        body += bytes([0xE0 | len(part)] if few else [0xE0, len(part) - 16]) + part
    body += b"\x06" + bytes(7)
    return b"bvxn" + struct.pack("<II", len(data), len(body)) + body + b"bvx$"


KINDS = {
    "UDRO": (1, lambda data: data),
    "UDZO": (0x80000005, zlib.compress),
    "UDBZ": (0x80000006, bz2.compress),
    "ULFO": (0x80000007, lzfse),
    "ULMO": (0x80000008, lambda data: lzma.compress(data, format=lzma.FORMAT_XZ)),
}


def checksum(data):
    return struct.pack(">III", 2, 32, zlib.crc32(data)) + bytes(124)


def udif(volumes, kind="UDZO", licence=False, piece=262_144):
    """The container of the volumes, each a partition of its own."""
    code, pack = KINDS[kind]
    fork_data, partitions, sector = b"", [], 0
    sums = [struct.pack(">I", zlib.crc32(volume)) for volume in volumes]
    for number, volume in enumerate(volumes):
        chunks, first = b"", len(fork_data)
        for start in range(0, len(volume), piece):
            part = volume[start : start + piece]
            packed = pack(part)
            what = (code, packed) if part.strip(b"\0") else (0, b"")
            chunks += struct.pack(">IIQQQQ", what[0], 0, start // SECTOR, len(part) // SECTOR,
                                  len(fork_data), len(what[1]))
            fork_data += what[1]
        count = len(volume) // SECTOR
        chunks += struct.pack(">IIQQQQ", 0xFFFFFFFF, 0, count, 0, len(fork_data), 0)
        table = b"mish" + struct.pack(">IQQQII", 1, sector, count, 0, piece // SECTOR + 8, number)
        table += bytes(24) + checksum(volume) + struct.pack(">I", len(chunks) // 40) + chunks
        title = f"disk image (Apple_HFS : {number})"
        partitions.append({"Attributes": "0x0050", "CFName": title, "Data": table,
                           "ID": str(number), "Name": title})
        sector += count
    resources = {"blkx": partitions}
    if licence:
        resources["LPic"] = [{"Attributes": "0x0000", "Data": bytes(8), "ID": "5000", "Name": ""}]
        resources["TEXT"] = [{"Attributes": "0x0000", "Data": b"You agree.", "ID": "5000",
                              "Name": "English"}]
    xml = plistlib.dumps({"resource-fork": resources})
    trailer = struct.pack(">4sIIIQQQQQII16s", b"koly", 4, 512, 1, 0, 0, len(fork_data), 0, 0, 1, 1,
                          bytes(16))
    trailer += checksum(fork_data) + struct.pack(">QQ", len(fork_data), len(xml)) + bytes(120)
    trailer += checksum(b"".join(sums)) + struct.pack(">IQ", 1, sector) + bytes(12)
    return fork_data + xml + trailer
