#!/usr/bin/env python3
"""layers.py: includes in src/ go only where the table in docs/architecture.md lets them.

Each row of the table, `| `folder` | `folder`, `folder` | ... |`, stands above those it may include.
"""
import re

import tree

PAGE = "docs/architecture.md"
FOUNDATION = "foundation"  # the headers directly in src/


def allowed_by_page():
    allowed = {}
    in_table = False
    for line in tree.read(PAGE).splitlines():
        if line.startswith("|") and "may include" in line.lower():
            in_table = True
        elif not line.startswith("|"):
            in_table = False
        elif in_table and line.startswith("| `"):
            cells = line.strip("|").split("|")
            allowed[cells[0].strip(" `")] = re.findall(r"`(\w+)`", cells[1])
    return allowed


def folder_of(path):
    parts = path.split("/")
    return parts[0] if len(parts) > 1 else FOUNDATION


def table_problems(allowed):
    order = list(allowed)
    problems = [] if order else [f"{PAGE} has no table with a 'may include' column"]
    for folder, lower in allowed.items():
        for other in lower:
            if other not in order or order.index(other) <= order.index(folder):
                problems.append(f"{PAGE}: {folder} stands above no row called {other}")
    return problems


def include_problems(path, allowed):
    folder = folder_of(path.removeprefix("src/"))
    if folder not in allowed:
        return [f"{path}: the table has no row for {folder}"]
    problems = []
    for number, line in enumerate(tree.read(path).splitlines(), 1):
        included = re.match(r'\s*#\s*include\s*"([^"]+)"', line)
        if not included:
            continue
        other = folder_of(included.group(1))
        if f"src/{included.group(1)}" not in headers:
            problems.append(f'{path}:{number}: "{included.group(1)}" is not a path below src/')
        elif other != folder and other not in allowed[folder]:
            problems.append(f"{path}:{number}: {folder} may not include {other}")
    return problems


headers = set(tree.files(r"\.h$", below="src/"))
may_include = allowed_by_page()
found = table_problems(may_include)
for source in tree.cpp_files("src/"):
    found += include_problems(source, may_include)
tree.finish(found, "The direction of the subsystems is written down in docs/architecture.md.")
