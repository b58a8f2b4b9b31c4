"""Says how long tests will take: `ctest --show-only=json-v1 ... | python3 scripts/test_time.py JOBS`.

Before the first build, `python3 scripts/test_time.py JOBS PROCESSORS` says it for build and all tests.

A test's seconds are those of its last runs in this build, where CTest keeps them, else those that
tests/durations.txt gives. They are laid side by side as CTest does: the longest first.
"""

import json
import sys
from pathlib import Path

DURATIONS = Path("tests/durations.txt")
COSTS = Path("build/dev/Testing/Temporary/CTestCostData.txt")
UNKNOWN = 5.0  # seconds of a test that has never run
BUILD = 1_000.0  # seconds of one processor for everything, where all of them are busy


def measured():
    """Seconds by name, of the last runs."""
    seconds = {}
    if COSTS.is_file():
        for line in COSTS.read_text(encoding="utf-8").splitlines():
            words = line.split(" ")
            if len(words) == 3 and float(words[1]) > 0:
                seconds[words[0]] = float(words[2])
    return seconds


def tests(listing, former):
    """The seconds and processors of each test, longest first."""
    found = []
    for test in listing["tests"]:
        properties = {entry["name"]: entry["value"] for entry in test.get("properties", [])}
        cost = former.get(test["name"], float(properties.get("COST", 0)) or UNKNOWN)
        found.append((cost, int(properties.get("PROCESSORS", 1))))
    return sorted(found, reverse=True)


def side_by_side(wanted, jobs):
    """Seconds until the last test has ended."""
    ends = [0.0] * jobs
    for cost, processors in wanted:
        ends.sort()
        last = min(processors, jobs)
        end = ends[last - 1] + cost
        ends[:last] = [end] * last
    return max(ends)


def listed():
    """The tests that tests/durations.txt gives a time."""
    lines = DURATIONS.read_text(encoding="utf-8").splitlines()
    return sorted(((float(line.split()[0]), 1) for line in lines if line[:1].isdigit()), reverse=True)


def in_words(seconds):
    minutes = round(seconds / 60)
    return "less than a minute" if seconds < 60 else f"about {minutes} minute{'s'[: minutes > 1]}"


def main():
    jobs = int(sys.argv[1])
    if len(sys.argv) > 2:
        build = in_words(BUILD / int(sys.argv[2]))
        tests_time = in_words(side_by_side(listed(), jobs))
        print(f"First build: {build}; then all tests: {tests_time}, where nothing else runs.")
        return
    wanted = tests(json.load(sys.stdin), measured())
    time = in_words(side_by_side(wanted, jobs))
    print(f"{len(wanted)} tests, {jobs} at a time: {time} where nothing else runs.")


main()
