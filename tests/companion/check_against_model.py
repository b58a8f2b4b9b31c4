"""Compares `check` with a second model of the client's rules, over random catalogues.

Usage: check_against_model.py COMPANION [CATALOGUES]

The model tells of each line whether the client drops it, reads a field otherwise than a spreadsheet
does, or matches or offers it otherwise than it reads. Both ways must agree: each such line has a
finding of that kind, and no other line has one.
"""

import json
import os
import random
import subprocess
import sys
import tempfile
import unicodedata
from concurrent.futures import ThreadPoolExecutor

SEED = 20261122
TITLES = ["Version", "Release date", "Filename", "Ignored"]
NAMES = ["Synth", "Synth 2", "Synth Pro", "Atlas", "Atlas", "Borealis", "Ink/Pen", "Ink.app", "Pen.APP",
         "\u00c9t\u00e9", "E\u0301te\u0301", "\u4e2d\u6587", "My quillmere tool", "Quillmere", "", "A\0B",
         "A\x1bB", "A\u200bB", "A\u202eB", "A\u00a0B", "\u00a0Trimmed", "\u0646\u200c\u0647", "A\u200dB",
         '"Quoted"', '" Blank"', '"Ink ""6.04"""', 'Ink ""6.04""', '"Open', 'Screen 27"', '"a" and "b"',
         b"Caf\xe9", b"\xff\xfe", '"Ink, Pen"', '"Ink; Pen"', "3\"", "  Wide  ", '"', '""', "x" * 300]
VERSIONS = ["1.0", "10.4.1", "2", "1.2.3.4.5", "007", "", "v1", "1.2b3", "1..2", "1.2 (34)", "(1.2)",
            "1.2 (3.99999999999)", "2147483647", "2147483648", '" 1.2 "', "\u0661.2", "1\u0661.2", "1. 2",
            "1.beta", "Release 1", "1.", "1.00000000000", '"1.2"', "1,2", "-1", b"1.2\xe9", "1.2\u200b"]
DATES = ["2026-09-21", "", '"21, September"', b"ao\xfbt", '"""x"""', "x\ty"]
FILES = ["a.dmg", "b.PKG", "c d.zip", "e.tar.gz", "f.iso", '"g.dmg"', "", "a", "a-2.5", "a.exe", "a.app",
         "a.xyz", "a#b.dmg", "a?b.dmg", "a%20b.dmg", "x/a.dmg", "../a.dmg", "..", ".", ".dmg", "a\0.dmg",
         "a\u202eb.dmg", "y" * 252 + ".dmg", "y" * 251 + ".dmg", b"caf\xe9.dmg", '"a, b.dmg"', 'a"b.dmg']
IGNORED = ["0"] * 12 + [" 0 ", '"0"', "1", "00", "", "no", '" 0"', "0\u200b"]
OPENED = ("dmg", "pkg", "zip", "gz", "iso")
KINDS = {"dropped": "dropped", "name": "name", "version": "version", "file": "file", "field": "field",
         "encoding": "field"}


def raw(text):
    return text if isinstance(text, bytes) else text.encode()


def random_catalogue(chance):
    """The bytes of a catalogue: mostly usual entries, with some oddity in each."""
    titles = TITLES + ["Note"] * chance.choice([0, 0, 1])
    chance.shuffle(titles)
    odd = chance.choice([0.02, 0.1, 0.4])

    def value(title):
        pool = {"Version": VERSIONS, "Release date": DATES, "Filename": FILES, "Ignored": IGNORED,
                "Note": DATES}[title]
        return chance.choice(pool) if chance.random() < odd else pool[0]

    lines = [",".join(["Name"] + titles).encode()]
    for number in range(chance.randrange(12)):
        name = chance.choice(NAMES) if chance.random() < 3 * odd else "Plain %d." % number
        fields = [name] + [value(title) for title in titles]
        line = b",".join(raw(field) for field in fields)
        fault = chance.random()
        if fault < odd / 10:
            line = b",".join(raw(field) for field in fields[:chance.randrange(5)])
        elif fault < odd / 5:
            line += b",more"
        lines.append(line)
    end = chance.choice([b"\n", b"\n", b"\r\n"])
    mark = chance.choice([b"", b"", b"", b"\xef\xbb\xbf"])
    return mark + end.join(lines) + end


def is_blank(c):
    return unicodedata.category(c)[0] == "Z" or c in "\t\n\v\f\r\x85"


def trimmed(text):
    start, end = 0, len(text)
    while start < end and is_blank(text[start]):
        start += 1
    while end > start and is_blank(text[end - 1]):
        end -= 1
    return text[start:end]


def client_field(text):
    text = trimmed(text)
    return text[1:-1] if len(text) >= 2 and text[0] == text[-1] == '"' else text


def spreadsheet_fields(line):
    """The fields as a spreadsheet reads them; None for one whose quotes are not in order."""
    fields, at = [], 0
    while True:
        start = at
        while at < len(line) and is_blank(line[at]):
            at += 1
        if at < len(line) and line[at] == '"':
            value, at = "", at + 1
            while at < len(line) and not (line[at] == '"' and line[at + 1:at + 2] != '"'):
                at += 2 if line[at] == '"' else 1
                value += line[at - 1]
            at += 1
            after = line.find(",", at)
            after = len(line) if after < 0 else after
            if at <= len(line) and not trimmed(line[at:after]):
                fields.append(value)
                at = after
            else:
                at = line.find(",", start)
                at = len(line) if at < 0 else at
                fields.append(None)
        else:
            at = line.find(",", start)
            at = len(line) if at < 0 else at
            fields.append(trimmed(line[start:at]))
        if at >= len(line):
            return fields
        at += 1


def is_unseen(c):
    return unicodedata.category(c) in ("Cc", "Cf", "Cs", "Zl", "Zp")


def is_joiner_in_place(name, at):
    return name[at] in "\u200c\u200d" and 0 < at < len(name) - 1 and name[at - 1] > "\x7f" < name[at + 1]


def is_odd_name(name):
    if not name or is_blank(name[0]) or is_blank(name[-1]):
        return True
    for at, c in enumerate(name):
        odd_blank = is_blank(c) and c not in " \u3000"
        if (odd_blank or is_unseen(c)) and not is_joiner_in_place(name, at):
            return True
    spellings = {unicodedata.normalize(form, name) for form in ("NFC", "NFD")}
    return (spellings != {name} or name.lower().endswith(".app") or "/" in name or
            ("quillmere" in name.lower() and name != "Quillmere"))


def is_odd_version(version):
    parts = trimmed(version).split(".")
    return not all(part.isascii() and part.isdigit() and int(part) < 2 ** 31 for part in parts)


def is_odd_file(name):
    ending = name.rpartition(".")
    return (not name or any(c in "#?%/" or is_unseen(c) for c in name) or len(name.encode()) > 255 or
            not ending[0] or ending[2].lower() not in OPENED)


def model(data):
    """The kinds of findings that each line must have, by its number; None for a useless header."""
    text = data.decode("utf-8", "replace")
    text = text[1:] if text.startswith("\ufeff") else text
    lines = [line[:-1] if line.endswith("\r") else line for line in text.split("\n")]
    if lines[-1] == "":
        lines.pop()
    titles = lines[0].split(",")
    columns = [0] + [titles.index(title, 1) for title in TITLES]
    kinds, entries = {}, []
    for number, line in enumerate(lines[1:], 2):
        kinds[number] = found = set()
        values = [client_field(field) for field in line.split(",")]
        used = [values[column] if column < len(values) else "" for column in columns]
        if used[4] != "0":
            found.add("dropped")
            continue
        name, version, _, file_name, _ = used
        entries.append((number, name))
        meant = spreadsheet_fields(line)
        meant = [meant[column] if column < len(meant) else "" for column in columns]
        if meant != used or any("\ufffd" in value or '""' in value for value in used):
            found.add("field")
        if is_odd_name(name):
            found.add("name")
        if is_odd_version(version):
            found.add("version")
        if is_odd_file(file_name):
            found.add("file")
    names = [name for _, name in entries]
    for place, (number, name) in enumerate(entries):
        begins = any(other != name and other.startswith(name) for other in names)
        if name and (name in names[:place] or begins):
            kinds[number].add("name")
    return kinds, bool(entries)


def told(companion, path):
    ended = subprocess.run([companion, "check", "--json", path], capture_output=True, check=False)
    if ended.returncode not in (0, 1):
        raise SystemExit("check ended with %d: %s" % (ended.returncode, ended.stderr))
    kinds, has_entries = {}, True
    for finding in json.loads(ended.stdout)["findings"]:
        if finding["rule"] == "no-entry":
            has_entries = False
        else:
            kind = KINDS.get(finding["rule"].split("-")[0], finding["rule"])
            kinds.setdefault(finding["line"], set()).add(kind)
    return kinds, has_entries


def difference(companion, folder, seed):
    data = random_catalogue(random.Random(seed))
    path = os.path.join(folder, "%d.csv" % seed)
    with open(path, "wb") as file:
        file.write(data)
    expected, has_entries = model(data)
    found, finds_entries = told(companion, path)
    dropped = {number for number, kinds in expected.items() if kinds == {"dropped"}}
    # A dropped line may be told by what made it so.
    found = {number: {"dropped"} if number in dropped else kinds for number, kinds in found.items()}
    expected = {number: kinds for number, kinds in expected.items() if kinds}
    if found == expected and has_entries == finds_entries:
        return len(expected), None
    return len(expected), "seed %d\n%s\nmodel: %s\ncheck: %s" % (seed, data, expected, found)


def main():
    companion = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 2000
    lines, failures = 0, []
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor(2) as pool:
        results = pool.map(lambda seed: difference(companion, folder, seed), range(SEED, SEED + count))
        for odd_lines, failure in results:
            lines += odd_lines
            if failure:
                failures.append(failure)
    print("%d catalogues, %d lines that want a finding, %d disagreements" % (count, lines, len(failures)))
    print("\n\n".join(failures[:10]))
    return 1 if failures or lines < count else 0


if __name__ == "__main__":
    sys.exit(main())
