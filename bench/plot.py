#!/usr/bin/env python3
"""bench/plot.py JSON SVG: draws what `quillmere_bench --growth --json JSON` has measured; wants
gnuplot."""

import json
import subprocess
import sys

TITLES = {
    "table": "filling the table (rows)",
    "paint": "painting it the first time (rows)",
    "refresh": "showing a scan (rows, 1 of 5 installed)",
    "catalogue": "reading the catalogue (entries)",
    "matching": "matching (entries, 1 of 5 installed)",
    "scan": "scanning (applications)",
    "plists": "reading versions (applications)",
    "log": "logging (lines)",
}

with open(sys.argv[1], encoding="utf-8") as file:
    measured = json.load(file)

commands = [
    "set terminal svg size 760,560 background 'white' font 'sans-serif,12'",
    f"set output {sys.argv[2]!r}",
    "set logscale xy",
    "set xrange [180:11000]",
    "set xtics (200, 500, 1000, 2000, 5000, 10000)",
    "set xlabel 'rows, entries, applications, lines'",
    "set ylabel 'seconds'",
    "set format y '%g'",
    "set grid",
    "set key below reverse Left maxcols 2",
    f"set title 'Qt {measured['qt']}, {measured['cores']} cores, {measured['system']}'",
]
plots = []
for number, workload in enumerate(measured["workloads"], start=1):
    commands.append(f"$data{number} << END")
    commands += [f"{size} {seconds}" for size, seconds in workload["seconds"]]
    commands.append("END")
    plots.append(f"$data{number} with linespoints title '{TITLES[workload['id']]}'")
commands.append("plot " + ", ".join(plots))
subprocess.run(["gnuplot"], input="\n".join(commands) + "\n", text=True, check=True)
