#!/usr/bin/env python3
"""headers.py COMPILER DOCTEST: each header compiles alone, and twice in one translation unit.

DOCTEST is the folder of doctest.h, which the headers of tests may include. A header that its own
source includes before all others has been compiled alone by the build.
"""
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

import tree

FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion",
         "-Wshadow", "-Werror", "-DUNICODE", "-D_UNICODE", "-DWIN32_LEAN_AND_MEAN", "-DNOMINMAX",
         "-D_WIN32_WINNT=0x0A00", "-Isrc", "-Iadmin/tool", "-Isimulator", "-Itests", "-Ibench",
         "-Itests/support"]

# Where sources are compiled without a precompiled header.
BUILT_ALONE = ("src/", "admin/", "simulator/", "tests/support/", "tests/trust/")


def is_proved_by_the_build(header):
    source = header[:-2] + ".cpp"
    if not header.startswith(BUILT_ALONE) or not os.path.exists(os.path.join(tree.ROOT, source)):
        return False
    first = re.search(r'^#include (.*)$', tree.read(source), re.MULTILINE)
    return header.endswith(first.group(1).strip('"')) and "#pragma once\n" in tree.read(header)


def compile_alone(header):
    flags = FLAGS + (["-isystem", sys.argv[2]] if header.startswith("tests/") else ["-D_UCRT"])
    name = os.path.join(tree.ROOT, header)
    unit = f'#include "{name}"\n#include "{name}"\n'
    result = subprocess.run([sys.argv[1], *flags, "-x", "c++", "-"], input=unit.encode(),
                            cwd=tree.ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return header, result.returncode, result.stdout.decode(errors="replace")


with ThreadPoolExecutor(os.cpu_count()) as pool:
    results = list(pool.map(compile_alone, [header for header in tree.files(r"\.h$")
                                            if not is_proved_by_the_build(header)]))
problems = []
for header, status, output in results:
    if status:
        errors = [line for line in output.splitlines() if "error" in line]
        problems.append(f"{header}: {errors[0] if errors else output}")
tree.finish(problems, "A header includes what it needs itself.")
