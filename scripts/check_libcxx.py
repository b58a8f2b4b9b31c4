#!/usr/bin/env python3
"""Checks that every file compiles against libc++, which is Apple's standard library.

    check_libcxx.py COMPILE_COMMANDS

Takes the compiler's command lines from the database, and gives them to clang with libc++ and
without making an object. What libc++ 14 lacks is rejected here, long before a Mac sees it.
"""

import json
import os
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

CLANG = ["clang++-14", "-stdlib=libc++", "-fsyntax-only", "-Wno-unknown-warning-option"]
DROPPED_WITH_VALUE = {"-o", "-MT", "-MF"}
DROPPED = {"-MD", "-c"}


def arguments_for_clang(command):
    words = shlex.split(command)
    while os.path.basename(words[0]) == "ccache":
        words = words[1:]
    kept = []
    rest = iter(words[1:])
    for word in rest:
        if word in DROPPED_WITH_VALUE:
            next(rest)
        elif word not in DROPPED:
            kept.append(word)
    return CLANG + kept


def check(entry):
    """What clang says against the file; empty when it compiles."""
    result = subprocess.run(arguments_for_clang(entry["command"]), cwd=entry["directory"],
                            capture_output=True, text=True, check=False)
    return result.stderr if result.returncode != 0 else ""


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        entries = json.load(file)
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        failures = [text for text in pool.map(check, entries) if text]
    for text in failures:
        print(text, file=sys.stderr)
    if failures or not entries:
        sys.exit(f"{len(failures)} of {len(entries)} files do not compile against libc++.")
    print(f"{len(entries)} files compile against libc++.")


if __name__ == "__main__":
    main()
