#!/usr/bin/env python3
"""suite.py [--minutes N] [--report FILE]: plays the suite on both checked builds of the module.

With a time limit it plays every second, third... test: about as many as fit in. The builds come on
top of it when they are not there yet.
"""
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


# What both suites take on two cores: an estimate, from the time of the ordinary one.
WHOLE_MINUTES = 16


def play(build, stride):
    """Whether all tests of the build passed, and how many they were."""
    tests = None
    with subprocess.Popen([os.path.join(ROOT, "run"), "checked", build, "-I", f"1,,{stride}"],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace") as running:
        for line in running.stdout:
            print(line, end="", flush=True)
            if found := re.search(r"(\d+) tests failed out of (\d+)", line):
                tests = int(found[2])
    return running.returncode == 0 and tests is not None, tests


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--minutes", type=int, help="about how long the tests may take")
    parser.add_argument("--report", help="the file that figures are added to")
    options = parser.parse_args()
    stride = -(-WHOLE_MINUTES // options.minutes) if options.minutes else 1
    held = True
    for build, claim in CLAIMS.items():
        passed, tests = play(build, stride)
        held = held and passed
        if passed and options.report:
            with open(options.report, "a", encoding="utf-8") as file:
                print(json.dumps({"claim": claim, "figure": f"{tests:,} tests"}), file=file)
    return 0 if held else 1


if __name__ == "__main__":
    sys.exit(main())
