#!/usr/bin/env python3
"""module_imports.py MODULE: what the module imports is what docs/imports.md says it calls.

The page has a heading for each library and below it a table whose rows name functions, what they
are called for, and where: files below src/, or "runtime" for what the compiler's runtime calls. Below
"When one fails" a row tells, for a function at one place, what it answers then and what the module
does; where it has rows at all, it has one for every place.
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
        if line.startswith("#"):
            heading = re.match(r"#+ `(\S+)`", line)
            library = heading.group(1).lower() if heading else None
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if library and line.startswith("| `") and len(cells) == 3:
            for function in re.findall(r"`([^`]+)`", cells[0]):
                rows.setdefault((library, function), []).extend(
                    re.findall(r"[\w./]+", cells[2]))
    return rows


def failures():
    """function -> the places for which the page tells what a failure does."""
    rows, function = {}, None
    for line in tree.read(PAGE).splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if not line.startswith("| ") or len(cells) != 4:
            continue
        if named := re.fullmatch(r"`(\w+)`", cells[0]):
            function = named.group(1)
        if place := re.fullmatch(r"`([\w./]+)`", cells[2]):
            rows.setdefault(function, []).append(place.group(1))
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


def callers(function):
    """The files that call it; the header that declares the key's library does not."""
    call = re.compile(rf"(?<![\w:.>])(?:std::)?{re.escape(function)}\(")
    return {path.removeprefix("src/") for path in sources
            if path != DECLARES and call.search(re.sub(r"//.*", "", tree.read(path)))}


DECLARES = "src/fido/key_library.h"
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
places = {function: set(where) for (_, function), where in rows.items() if where != [RUNTIME]}
for function, where in sorted(places.items()):
    problems += [f"{function}: src/{path} calls it and stands in no row"
                 for path in sorted(callers(function) - where)]
for function, where in sorted(failures().items()):
    if sorted(where) != sorted(places.get(function, [])):
        problems.append(f"{function}: its failures are told for {', '.join(where)}")
tree.finish(problems, f"{PAGE} lists every import: see its first lines.")
