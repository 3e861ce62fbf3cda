#!/usr/bin/env python3
"""suite.py [--report FILE]: plays the whole suite on both checked builds of the module."""
import argparse
import json
import os
import re
import subprocess
import sys

ROOT = os.path.abspath(os.path.join(os.path.dirname(os.path.abspath(__file__)), *[os.pardir] * 3))

CLAIMS = {
    "pageheap": "With every C++ allocation of the module on pages of its own, a guard page behind it"
                " and the pages gone after the free, no test faults",
    "undefined": "With a trap in the module at every place whose behaviour could be undefined, no"
                 " test runs into one",
}


def play(build):
    """Whether all tests of the build passed, and how many they were."""
    tests = None
    with subprocess.Popen([os.path.join(ROOT, "run"), "checked", build], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace") as running:
        for line in running.stdout:
            print(line, end="", flush=True)
            if found := re.search(r"(\d+) tests failed out of (\d+)", line):
                tests = int(found[2])
    return running.returncode == 0 and tests is not None, tests


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--report", help="the file that figures are added to")
    options = parser.parse_args()
    held = True
    for build, claim in CLAIMS.items():
        passed, tests = play(build)
        held = held and passed
        if passed and options.report:
            with open(options.report, "a", encoding="utf-8") as file:
                print(json.dumps({"claim": claim, "figure": f"{tests:,} tests"}), file=file)
    return 0 if held else 1


if __name__ == "__main__":
    sys.exit(main())
