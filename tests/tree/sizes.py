#!/usr/bin/env python3
"""sizes.py: no source file is longer than 400 lines, no function longer than 60."""
import re

import tree

FILE_LINES, FUNCTION_LINES = 400, 60


def long_functions(path, lines):
    """A brace alone on its line opens a function: the formatter puts no other brace there."""
    problems = []
    for start, line in enumerate(lines):
        opening = re.fullmatch(r"( *)\{", line)
        if not opening:
            continue
        closing = re.compile(opening.group(1) + r"\}")
        end = next(n for n in range(start + 1, len(lines)) if closing.match(lines[n]))
        if end - start - 1 > FUNCTION_LINES:
            problems.append(f"{path}:{start + 1}: a function of {end - start - 1} lines")
    return problems


found = []
for source in tree.files(r"\.(cpp|h|py)$"):
    text = tree.read(source).splitlines()
    if len(text) > FILE_LINES:
        found.append(f"{source}: {len(text)} lines")
    if not source.endswith(".py"):
        found += long_functions(source, text)
tree.finish(found, "Split by responsibility: one file, one job; one function, one step.")
