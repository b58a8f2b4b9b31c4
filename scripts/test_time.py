"""Says how long tests will take: `ctest --show-only=json-v1 ... | python3 scripts/test_time.py JOBS`.

A test's seconds are those of its last runs in this build, where CTest keeps them, else those that
tests/durations.txt gives. They are laid side by side as CTest does: the longest first.
"""

import json
import sys
from pathlib import Path

COSTS = Path("build/dev/Testing/Temporary/CTestCostData.txt")
UNKNOWN = 5.0  # seconds of a test that has never run


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


def main():
    jobs = int(sys.argv[1])
    wanted = tests(json.load(sys.stdin), measured())
    minutes = side_by_side(wanted, jobs) / 60
    time = "less than a minute" if minutes < 1 else f"about {minutes:.0f} minutes"
    print(f"{len(wanted)} tests, {jobs} at a time: {time} where nothing else runs.")


main()
