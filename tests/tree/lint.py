#!/usr/bin/env python3
"""lint.py CLANG_TIDY BUILD: clang-tidy has nothing to say about src/ (BUILD: the clang build)."""
import os
import re
import sys

import tree

TRIANGLE = re.compile(r":\d+:\d+: (warning|error): ")

sources = tree.files(r"\.cpp$", below="src/")
results = tree.run_all([[sys.argv[1], "-p", sys.argv[2], "--quiet", source] for source in sources],
                       os.cpu_count())
problems = set()
for command, status, output in results:
    complaints = [line.replace(tree.ROOT + "/", "") for line in output.splitlines()
                  if TRIANGLE.search(line)]
    problems.update(complaints)
    if status and not complaints:
        problems.add(f"{command[-1]}: {output.strip()[-500:]}")
for source in tree.cpp_files("src/"):
    for number, line in enumerate(tree.read(source).splitlines(), 1):
        if "NOLINT" in line and not re.search(r"NOLINT(NEXTLINE|BEGIN|END)?\([\w.,* -]+\)(: \S|$)",
                                              line):
            problems.add(f"{source}:{number}: a NOLINT that does not name its check and its reason")
tree.finish(sorted(problems), "The checks and their settings stand in .clang-tidy.")
