"""The texts of the module: what it logs and what it shows."""
import re

import cpp_text
import tree

LOG_LEVELS = {"LogInfo": "INFO", "LogWarn": "WARN", "LogError": "ERROR"}
CONVERSION = re.compile(r"%[-0-9]*(?:ls|s|zu|lu|ld|lX|d|u|X)")
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


def pattern_of(text):
    pieces = [re.escape(piece) for piece in CONVERSION.split(text)]
    return re.compile(".*".join(pieces), re.DOTALL)
