"""parse_catalogue.py FILE: reads a catalogue by Python's own csv module into one dict per row;
prints the seconds that took and a digest of the content."""

import csv
import hashlib
import io
import sys
import time

with open(sys.argv[1], "rb") as file:
    body = file.read()

start = time.perf_counter()
rows = csv.reader(io.StringIO(body.decode("utf-8"), newline=""))
titles = next(rows)[1:]
catalogue = {}
names = []
for fields in rows:
    row = dict(zip(titles, fields[1:]))
    if row.get("Ignored") == "0":
        catalogue[fields[0]] = row
        names.append(fields[0])
seconds = time.perf_counter() - start

digest = hashlib.sha1()
for name in names:
    row = catalogue[name]
    digest.update("\t".join([name] + [row[title] for title in titles]).encode() + b"\n")
print(seconds, digest.hexdigest())
