#!/usr/bin/env python3
"""Counts the GoogleTest cases of a run of ctest and lists its slowest tests.

  test_report.py LOG SHARDS      LOG: ctest's output; SHARDS: the folder of the shards' reports (tools/run_shard.sh)

Exit code 1 when no test ran at all.
"""
import collections
import json
import pathlib
import re
import sys

SLOWEST = 20
CTEST_LINE = re.compile(r"^ *\d+/\d+ Test +#\d+: (\S+) .*?(\d+\.\d+) sec", re.M)


def read_shards(folder):
    """(Folder of tests, case, seconds, result) of each case that ran; result is "passed", "failed" or "skipped"."""
    for file in sorted(pathlib.Path(folder).glob("*.json")):
        try:
            suites = json.loads(file.read_text(encoding="utf-8"))["testsuites"]
        except (ValueError, KeyError):
            continue  # the process ended while it wrote
        for case in (case for suite in suites for case in suite["testsuite"] if case["status"] == "RUN"):
            result = "failed" if case.get("failures") else "skipped" if case["result"] == "SKIPPED" else "passed"
            yield file.name.split(".")[0], f"{case['classname']}.{case['name']}", float(case["time"].rstrip("s")), result


def report(log, shards):
    """The lines of the report, and how many tests ran."""
    cases = list(read_shards(shards))
    processes = CTEST_LINE.findall(log)
    results = collections.Counter(case[3] for case in cases)
    folders = collections.Counter(case[0] for case in cases)
    lines = [f"Test cases: {len(cases)} ({results['passed']} passed, {results['failed']} failed, {results['skipped']} skipped)",
             "  " + ", ".join(f"{name} {count}" for name, count in sorted(folders.items()))]
    without = [name for name, _ in processes if re.search(r"\.\d+$", name) and not (shards / f"{name}.json").exists()]
    lines += [f"  ended without a report, its cases are not counted: {name}" for name in without]
    lines += [f"  skipped: {folder}.{name}" for folder, name, _, result in cases if result == "skipped"]
    times = [(seconds, f"{folder}.{name}") for folder, name, seconds, _ in cases]
    times += [(float(seconds), name) for name, seconds in processes if not (shards / f"{name}.json").exists()]
    lines += ["", "Slowest tests (s):"] + [f"{seconds:8.2f} {name}" for seconds, name in sorted(times, reverse=True)[:SLOWEST]]
    return lines, len(cases) + sum(1 for name, _ in processes if not re.search(r"\.\d+$", name))


def main():
    log, shards = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    lines, count = report(log.read_text(encoding="utf-8", errors="replace"), shards)
    print("\n".join(lines))
    if not count:
        sys.exit("error: no test has this name")


if __name__ == "__main__":
    main()
