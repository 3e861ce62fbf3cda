#!/usr/bin/env python3
"""lint.py CLANG_TIDY BUILD: clang-tidy has nothing to say about what is shipped (BUILD: the clang build).

That is the module in src/ and the administrator's tool in admin/tool/.
"""
import json
import os
import re
import shlex
import sys

import tree

TRIANGLE = re.compile(r":\d+:\d+: (warning|error): ")


SHIPPED = ("src/", "admin/tool/")


def shipped_files(find):
    return [path for below in SHIPPED for path in find(below)]


def flags():
    """The compiler's flags of any source of the tool, without the source and its object.

    They are the module's own, and the tool's folder for includes.
    """
    with open(os.path.join(sys.argv[2], "compile_commands.json"), encoding="utf-8") as file:
        words = next(shlex.split(entry["command"]) for entry in json.load(file)
                     if os.path.relpath(entry["file"], tree.ROOT).startswith("admin/tool/check/"))
    return words[1:words.index("-o")]


def units():
    """A file a folder that includes all of its sources.

    Nearly all of the linter's time goes into the headers, which it so reads once a folder.
    """
    folders = {}
    for source in shipped_files(lambda below: tree.files(r"\.cpp$", below=below)):
        folders.setdefault(os.path.dirname(source), []).append(source)
    place = os.path.join(sys.argv[2], "lint")
    os.makedirs(place, exist_ok=True)
    for folder, sources in folders.items():
        unit = os.path.join(place, folder.replace("/", "_") + ".cpp")
        with open(unit, "w", encoding="utf-8") as file:
            file.writelines(f'#include "{os.path.join(tree.ROOT, path)}"\n' for path in sources)
        yield unit


results = tree.run_all([[sys.argv[1], "--quiet", "--checks=-bugprone-suspicious-include", unit,
                         "--", *flags()] for unit in units()], os.cpu_count())
problems = set()
for command, status, output in results:
    complaints = [line.replace(tree.ROOT + "/", "") for line in output.splitlines()
                  if TRIANGLE.search(line)]
    problems.update(complaints)
    if status and not complaints:
        problems.add(f"{command[3]}: {output.strip()[-500:]}")
for source in shipped_files(tree.cpp_files):
    for number, line in enumerate(tree.read(source).splitlines(), 1):
        if "NOLINT" in line and not re.search(r"NOLINT(NEXTLINE|BEGIN|END)?\([\w.,* -]+\)(: \S|$)",
                                              line):
            problems.add(f"{source}:{number}: a NOLINT that does not name its check and its reason")
tree.finish(sorted(problems), "The checks and their settings stand in .clang-tidy.")
