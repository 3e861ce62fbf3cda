#!/usr/bin/env python3
"""words.py: files, their names and the commit messages hold no word that does not belong there.

The tree speaks as this system's own developer would, and leaves nothing for later.
"""
import re
import subprocess

import tree

# Put together from pieces, so that this file does not hold what it looks for.
SOURCE_TEXT = "spec" "ification"
FOREIGN = re.compile(
    rf"\b(the|this|our|per|see|to|in|by) spec\b|\b{SOURCE_TEXT}s?\b|\bas " "specif" r"ied\b"
    r"|\bParts? [1-7]\.[0-9]|\bspec" r"\.md\b|\b(issue|reading)s? #?[0-9]+\b", re.IGNORECASE)
LATER = re.compile(r"\b(TO" "DO|FIX" "ME|XX" "X|HA" r"CK)\b")
NAMES = re.compile(rf"(^|[/_-])spec(ification)?([/_-]|\.(md|txt|h|cpp)$)", re.IGNORECASE)
BINARY = re.compile(r"\.(bmp|png|der|bin)$")


def text_problems(where, text):
    problems = []
    for number, line in enumerate(text.splitlines(), 1):
        if found := FOREIGN.search(line) or LATER.search(line):
            problems.append(f"{where}:{number}: '{found.group(0)}'")
    return problems


problems = []
for path in tree.files("."):
    if NAMES.search(path):
        problems.append(f"{path}: its name")
    if not BINARY.search(path):
        problems += text_problems(path, tree.read(path))
messages = subprocess.run(["git", "-c", f"safe.directory={tree.ROOT}", "log", "--format=%h %s%n%b"],
                          cwd=tree.ROOT, capture_output=True).stdout.decode()
problems += text_problems("commit messages", messages)
tree.finish(problems, "Say what the code does and why, in this project's own words, and finish it.")
