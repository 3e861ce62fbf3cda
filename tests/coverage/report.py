#!/usr/bin/env python3
"""report.py BUILD COUNTS: which lines and branches of src/ the tests took; COUNTS is the folder
that they were counted into.

Exit status 1 when too little was taken, when src/provider or src/signin holds a line or branch
that was never taken and is not on the list of accepted ones, or when that list is out of date.
"""
import os
import re
import sys
from collections import namedtuple

import accepted
import counts

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
LIST = "tests/coverage/accepted.txt"
LEAST_LINES, LEAST_BRANCHES = 98.0, 90.0

Share = namedtuple("Share", "taken total")
# One line of which something was never taken: how many of its branches, and whether it ran.
Gap = namedtuple("Gap", "path line branches of ran")


def source_lines(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read().splitlines()


def forget_lines_without_words(found):
    """A closing brace stands for the end of what lives there, on the exceptional way out, too."""
    for path, lines in found.lines.items():
        texts = source_lines(path)
        for line in [line for line in lines if not re.search(r"\w", texts[line - 1])]:
            del lines[line]


def percent(share):
    return 100.0 * share.taken / share.total if share.total else 100.0


def in_words(share):
    return f"{share.taken:5}/{share.total:<5}{percent(share):6.1f} %"


def total(shares):
    return Share(sum(share.taken for share in shares), sum(share.total for share in shares))


def shares_of(path, found):
    lines = found.lines[path]
    branches = [count for line in lines for count in found.branches(path, line)]
    return (Share(sum(count > 0 for count in lines.values()), len(lines)),
            Share(sum(count > 0 for count in branches), len(branches)))


def gaps_of(path, found):
    gaps = []
    for line, count in sorted(found.lines[path].items()):
        branches = found.branches(path, line)
        never = sum(taken == 0 for taken in branches)
        if never or not count:
            gaps.append(Gap(path, line, never, len(branches), count > 0))
    return gaps


def print_table(rows):
    width = max(len(name) for name in rows)
    print(f"{'':{width}}  {'lines':>19}   {'branches':>19}")
    for name, (lines, branches) in rows.items():
        print(f"{name:{width}}  {in_words(lines)}   {in_words(branches)}")


def print_gaps(gaps):
    for gap in gaps:
        what = f"{gap.branches} of {gap.of} branches" if gap.ran else "the line"
        text = source_lines(gap.path)[gap.line - 1].strip()
        print(f"  {gap.path}:{gap.line}: {what}: {text}")


def main(build, folder):
    found = counts.read(os.path.abspath(build), os.path.abspath(folder))
    forget_lines_without_words(found)
    paths = sorted(path for path in found.lines if found.lines[path])
    rows = {path: shares_of(path, found) for path in paths}
    rows["all of src/"] = tuple(total(column) for column in zip(*rows.values()))
    print_table(rows)

    with open(os.path.join(ROOT, LIST), encoding="utf-8") as file:
        entries, problems = accepted.read(LIST, file.read(), source_lines)
    gaps = [gap for path in paths for gap in gaps_of(path, found)]
    open_gaps, stale = accepted.apply(entries, gaps)
    problems += stale
    print(f"\nNever taken: {len(gaps)} lines hold such a place; {len(gaps) - len(open_gaps)} of them "
          f"are on {LIST}." + (" The others:" if open_gaps else ""))
    print_gaps(open_gaps)

    lines, branches = rows["all of src/"]
    if percent(lines) < LEAST_LINES:
        problems.append(f"fewer than {LEAST_LINES} % of the lines of src/ were taken")
    if percent(branches) < LEAST_BRANCHES:
        problems.append(f"fewer than {LEAST_BRANCHES} % of the branches of src/ were taken")
    if open_gaps:
        problems.append(f"{len(open_gaps)} lines hold what no test takes: write the test, or put the "
                        "place on the list with its reason")
    print("Branches that only lead into the handling of an exception are not counted.\n")
    for problem in problems:
        print(f"PROBLEM: {problem}")
    return 1 if problems else 0


sys.exit(main(*sys.argv[1:]))
