"""whole.py URL: what the program does without its window, in plain Python: fetches the catalogue
behind URL, finds the applications, matches and compares. Prints a line for each entry: its name,
the installed application, the order of the two versions."""

import bisect
import os
import plistlib
import re
import subprocess
import sys
import urllib.request


def order(installed, offered):
    def numbers(version):
        parts = version.split("(")[0].strip().split(".")
        return [int(re.match(r"\d*", part).group() or 0) for part in parts]

    for a, b in zip(numbers(installed), numbers(offered)):
        if a != b:
            return 1 if a > b else -1
    return 0


with urllib.request.urlopen(sys.argv[1]) as reply:
    lines = reply.read().decode("utf-8").splitlines()
titles = lines[0].split(",")
version_place, ignored_place = titles.index("Version"), titles.index("Ignored")
entries = []
for line in lines[1:]:
    fields = [field.strip().strip('"') for field in line.split(",")]
    if fields[ignored_place] == "0":
        entries.append((fields[0], fields[version_place]))

command = ["find", "/Applications", "-maxdepth", "3", "-type", "d", "-name", "*.app"]
found = subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout.decode().splitlines()
locations = {os.path.basename(path)[:-4]: path for path in found}
names = sorted(locations)
versions = {}


def version_of(name):
    if name not in versions:
        with open(locations[name] + "/Contents/Info.plist", "rb") as file:
            versions[name] = plistlib.load(file)["CFBundleShortVersionString"]
    return versions[name]


for entry, offered in entries:
    best, newest = "", "0"
    first = bisect.bisect_left(names, entry)
    candidates = []
    while first < len(names) and names[first].startswith(entry):
        candidates.append(names[first])
        first += 1
    if candidates:
        best = candidates[0]
    for candidate in candidates if len(candidates) > 1 else []:
        if re.fullmatch("[0-9. ]*", candidate.replace(entry, "")):
            if order(newest, version_of(candidate)) <= 0:
                best, newest = candidate, version_of(candidate)
    print(f"{entry}\t{best}\t{order(version_of(best), offered) if best else ''}")
