#!/usr/bin/env python3
"""module_imports.py MODULE: what the module imports is what docs/imports.md says it calls.

The page has a heading for each library and below it a table whose rows name functions, what they
are called for, and where: files below src/, or "runtime" for what the compiler's runtime calls.
"""
import re
import sys

import tree
from pe_image import PeImage

PAGE = "docs/imports.md"
RUNTIME = "runtime"
BINDS_AT_RUN_TIME = re.compile(r"(GetProcAddress|LoadLibrary|LdrLoad)")


def table():
    """(library in lower case, function) -> the words of its row's last column."""
    rows, library = {}, None
    for line in tree.read(PAGE).splitlines():
        if heading := re.match(r"#+ `(\S+)`", line):
            library = heading.group(1).lower()
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if library and line.startswith("| `") and len(cells) == 3:
            for function in re.findall(r"`([^`]+)`", cells[0]):
                rows.setdefault((library, function), []).extend(
                    re.findall(r"[\w./]+", cells[2]))
    return rows


def calls(file, function):
    # The Windows headers leave out the W of a wide function where a source may name either.
    return re.search(rf"\b{re.escape(function)}\b", tree.read(f"src/{file}"))


def row_problems(key, places):
    library, function = key
    problems = []
    for place in places:
        if place == RUNTIME:
            continue
        if f"src/{place}" not in sources:
            problems.append(f"{library} {function}: there is no src/{place}")
        elif not calls(place, function):
            problems.append(f"{library} {function}: src/{place} does not name it")
    if not places:
        problems.append(f"{library} {function}: the table does not say where")
    return problems


sources = tree.cpp_files("src/")
imported = {(library.lower(), function)
            for library, functions in PeImage(sys.argv[1]).imports().items()
            for function in functions}
rows = table()
problems = [f"imported, but not in the table: {library} {function}"
            for library, function in sorted(imported - set(rows))]
problems += [f"in the table, but not imported: {library} {function}"
             for library, function in sorted(set(rows) - imported)]
problems += [f"bound at run time, past the import table: {library} {function}"
             for library, function in sorted(imported) if BINDS_AT_RUN_TIME.match(function)]
for key in sorted(rows):
    problems += row_problems(key, rows[key])
tree.finish(problems, f"{PAGE} lists every import: see its first lines.")
