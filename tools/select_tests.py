#!/usr/bin/env python3
"""Finds the tests that the arguments of ./test name.

  ctest --show-only=json-v1 | select_tests.py NAME...

Prints ctest's regular expression, then the filter for GoogleTest (empty: all tests of the selected shards). A NAME is a label (a
folder of tests such as image, or batch, check, fuzz, stress, studio), the name of a test of ctest (studio.viewer, core.2), or the
name of a GoogleTest case (CodecThreads, Film.Merges). The latter two may have * and ?.
"""
import fnmatch
import json
import re
import sys

SHARD = re.compile(r"(\w+)\.\d+$")


class Unknown(Exception):
    """Names that cannot be selected; the text says why."""


def case_filter(name, folders):
    """The folder of a name like image.Film.Merges, or none, and GoogleTest's filter for it."""
    folder, _, rest = name.partition(".")
    if rest and folder in folders:
        name = rest
    else:
        folder = None
    return folder, name if re.search(r"[.*?]", name) else f"{name}.*:*.{name}"


def select(names, tests):
    """`tests` are pairs of a name and its labels. Returns the selected names of ctest, sorted, and GoogleTest's filter."""
    shards = {name: SHARD.match(name).group(1) for name, labels in tests
              if SHARD.match(name) and SHARD.match(name).group(1) in labels}
    chosen, filtered, filters = set(), set(), []
    for wanted in names:
        found = {name for name, labels in tests if wanted in labels or fnmatch.fnmatchcase(name, wanted)}
        if found:
            chosen |= found
            continue
        folder, text = case_filter(wanted, set(shards.values()))
        filters.append(text)
        filtered |= {name for name, owner in shards.items() if folder in (None, owner)}
    if chosen and filters:
        raise Unknown(f"{' '.join(filters)}: not a folder or scenario; test cases cannot be run together with those")
    if not chosen and not filtered:
        raise Unknown("there are no tests in this build")
    return sorted(chosen or filtered), ":".join(filters)


def main():
    listed = json.load(sys.stdin)["tests"]
    tests = []
    for test in listed:
        properties = {entry["name"]: entry["value"] for entry in test.get("properties", [])}
        tests.append((test["name"], properties.get("LABELS", [])))
    try:
        names, text = select(sys.argv[1:], tests)
    except Unknown as problem:
        sys.exit(f"error: {problem}")
    print("^(" + "|".join(map(re.escape, names)) + ")$")
    print(text)


if __name__ == "__main__":
    main()
