#!/usr/bin/env python3
"""text_coverage.py: every log text and every text for the user in src/ is asserted by a test.

Texts are the literals given to LogInfo, LogWarn and LogError, and all wide ones. A text counts
as asserted when a literal in tests/, or a line of a scenario, holds it, with any text in the place
of each conversion; a log line's format also needs its level beside it. Where a test builds the text with +,
what it adds counts as any text. Prints what no test asserts.
"""
import cpp_text
import tree
from product_texts import LOG_LEVELS, pattern_of, product_texts

ANY = "\0"


def joined(parts):
    """The literals of a run of tokens; those added together with + are one, ANY between them."""
    texts, index = [], 0
    while index < len(parts):
        if parts[index].kind != "text":
            index += 1
            continue
        text, index = parts[index].value, index + 1
        while index < len(parts) and parts[index].value == "+":
            text += ANY
            index += 1
            while (index < len(parts) and parts[index].kind != "text" and
                   parts[index].value not in ",;{}+"):
                index += 1
            if index < len(parts) and parts[index].kind == "text":
                text += parts[index].value
                index += 1
        texts.append(text)
    return texts


def statements(source):
    """Runs of tokens between semicolons and braces."""
    run = []
    for token in cpp_text.tokens(source):
        if token.kind == "mark" and token.value in ";{}":
            yield run
            run = []
        else:
            run.append(token)
    yield run


def asserted_texts():
    """(text, the levels named beside it) of every literal and scenario line of the tests."""
    found = set()
    for path in tree.cpp_files("tests/"):
        for run in statements(tree.read(path)):
            texts = joined(run)
            levels = frozenset(texts) & set(LOG_LEVELS.values())
            found.update((text, levels) for text in texts)
    for path in tree.files(r"\.scenario$"):
        for line in tree.read(path).splitlines():
            if not line.lstrip().startswith("#"):
                levels = frozenset(level for level in LOG_LEVELS.values() if level in line)
                found.add((line, levels))
    return found


asserted = asserted_texts()
problems = []
for path, line, level, text in sorted(set(product_texts())):
    pattern = pattern_of(text)
    matches = [levels for candidate, levels in asserted if pattern.search(candidate)]
    if not matches:
        problems.append(f"{path}:{line}: {text!r}")
    elif level and not any(level in levels for levels in matches):
        problems.append(f"{path}:{line}: {text!r} (asserted, but not with its level {level})")
tree.finish(problems, "No test asserts these texts.")
