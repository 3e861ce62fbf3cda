#!/usr/bin/env python3
"""text_coverage.py: every log text and every text for the user in src/ is asserted by a test.

Texts are the literals given to LogInfo, LogWarn and LogError, and all wide ones. A text counts
as asserted when a literal in tests/, or a line of a scenario, holds it, with any text in the place
of each conversion; a log line's format also needs its level beside it. Where a test builds the text with +,
what it adds counts as any text. Prints what no test asserts.
"""
import re

import cpp_text
import tree

LOG_LEVELS = {"LogInfo": "INFO", "LogWarn": "WARN", "LogError": "ERROR"}
CONVERSION = re.compile(r"%[-0-9]*(?:ls|s|zu|lu|ld|lX|d|u|X)")
ANY = "\0"
LEAST_LETTERS = 3  # what has fewer is punctuation between values


def is_text(value):
    return sum(letter.isalpha() for letter in CONVERSION.sub("", value)) >= LEAST_LETTERS


def product_texts():
    """(file, line, level or nothing, text) of each text in src/."""
    found = []
    for path in tree.cpp_files("src/"):
        parts = cpp_text.tokens(tree.read(path))
        included = {n + 2 for n, token in enumerate(parts) if token.value == "#"}
        for index, token in enumerate(parts):
            if token.kind == "text" and token.wide and index not in included:
                found.append((path, token.line, "", token.value))
            if token.value in LOG_LEVELS and parts[index + 1].value == "(":
                log_format, values = cpp_text.arguments(parts, index + 1)
                found += [(path, text.line, LOG_LEVELS[token.value], text.value)
                          for text in log_format if text.kind == "text"]
                found += [(path, text.line, "", text.value)
                          for text in values if text.kind == "text"]
    return [text for text in found if is_text(text[3])]


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


def pattern_of(text):
    pieces = [re.escape(piece) for piece in CONVERSION.split(text)]
    return re.compile(".*".join(pieces), re.DOTALL)


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
