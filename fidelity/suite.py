#!/usr/bin/env python3
"""suite.py DEBOOTSTRAP [ARGUMENT...]: the tests of build/mingw under the Wine of another Debian.

The very programs that pass under the machine's own Wine. What tests the tree alone and needs no Wine
is left out, and so are the installer and the window, whose tools are not there. Arguments go to ctest. DEBOOTSTRAP is
the folder below which debootstrap was unpacked. Needs root.
"""
import os
import subprocess
import sys

from debian import DebianTree

TREE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.join(TREE, "build", "fidelity")
LEFT_OUT = "^(tree|fuzz|package)$"
NEEDS_SCREEN = "takes its picture"


def main(debootstrap, *arguments):
    debian = DebianTree(BUILD, TREE, debootstrap)
    debian.make()
    jobs = 2 * (os.cpu_count() or 1)
    prefixes = " ".join(str(number) for number in range(1, jobs + 1))
    steps = (f"cd {TREE} && export KELVOR_WINE_POOL={BUILD}/wine && "
             f"scripts/under_wine --prepare {prefixes} && "
             "ctest --test-dir build/mingw --output-on-failure --timeout 180 "
             f"--label-exclude '{LEFT_OUT}' --exclude-regex '{NEEDS_SCREEN}' -j {jobs} \"$@\"")
    return subprocess.run(debian.command("bash", "-c", steps, "bash", *arguments),
                          stdin=subprocess.DEVNULL, check=False).returncode


if __name__ == "__main__":
    if len(sys.argv) < 2:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    sys.exit(main(*sys.argv[1:]))
