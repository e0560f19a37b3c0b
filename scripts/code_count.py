#!/usr/bin/env python3
"""The house count of code lines: lines that are neither blank nor only a
comment, in the C++, Python and scenario files git tracks, split into tests
and the rest.

  scripts/code_count.py [--files]

Tests are the *_test.cpp and *_test.py files, the fixtures they share
(test_*.h), everything under tests/ (unit harnesses, scenarios, the fuzzer,
the model check, the timeline check, the store's process tests). The rest is the code: the library, the store, the
sim, the test kit, the examples and the benchmarks. The figure is given for
the whole tree and without the store (redis/, bench/redis/, tests/redis/),
the way it was counted before the store existed.
"""

import collections
import os
import re
import subprocess
import sys

SOURCE = re.compile(r"\.(h|cpp|py|scn)$")
TEST = re.compile(r"(^tests/|_test\.(cpp|py)$|(^|/)test_[^/]+\.h$)")
STORE = re.compile(r"^(redis/|bench/redis/|tests/redis/)")


def code_lines(path):
    hash_comments = path.endswith((".py", ".scn"))
    count, in_block = 0, False
    with open(path, errors="replace") as text:
        for line in text:
            line = line.strip()
            if not line:
                continue
            if hash_comments:
                count += not line.startswith("#")
                continue
            if in_block:
                in_block = "*/" not in line
                continue
            if line.startswith("//"):
                continue
            if line.startswith("/*"):
                in_block = "*/" not in line
                continue
            count += 1
    return count


def main():
    root = subprocess.run(["git", "rev-parse", "--show-toplevel"], capture_output=True, text=True,
                          check=True).stdout.strip()
    os.chdir(root)
    files = [f for f in subprocess.run(["git", "ls-files"], capture_output=True, text=True,
                                       check=True).stdout.split() if SOURCE.search(f) and os.path.exists(f)]
    totals = collections.Counter()
    for path in files:
        kind = "test" if TEST.search(path) else "code"
        lines = code_lines(path)
        totals[kind] += lines
        if not STORE.search(path):
            totals["core " + kind] += lines
        if "--files" in sys.argv:
            print(f"{lines:6} {kind} {path}")
    for label, prefix in (("whole tree", ""), ("without the store", "core ")):
        code, test = totals[prefix + "code"], totals[prefix + "test"]
        print(f"{label}: code {code}, tests {test}: tests are {100 * test / code:.1f}% of the code")


if __name__ == "__main__":
    main()
