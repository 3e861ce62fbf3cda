#!/usr/bin/env python3
"""secrets_lint.py: nothing in src/ called a PIN or a secret is a string that leaves copies behind."""
import re

import tree

PLAIN = re.compile(
    r"\bstd::(?:w?string|vector<[^<>]*>|array<[^<>]*>)(?:_view)?\s*&?\s*"
    r"((?=[a-z])\w*(?:[pP]in(?![a-z])|[sS]ecret|[hH]mac|[aA]uthValue)\w*)\s*[;,={()]")

problems = []
for path in tree.cpp_files("src/"):
    for number, line in enumerate(tree.read(path).splitlines(), 1):
        if (found := PLAIN.search(line)) and "_view" not in found.group(0):
            problems.append(f"{path}:{number}: {found.group(1)}")
tree.finish(problems, "Secrets live in the types of src/secret.h, which wipe themselves.")
