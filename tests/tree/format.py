#!/usr/bin/env python3
"""format.py CLANG_FORMAT: every C++ file has the form that .clang-format gives it."""
import os
import sys

import tree

sources = tree.cpp_files()
size = 20
batches = [sources[start:start + size] for start in range(0, len(sources), size)]
results = tree.run_all([[sys.argv[1], "--dry-run", "-Werror", *batch] for batch in batches],
                       os.cpu_count())
problems = [line for _, status, output in results if status
            for line in output.splitlines() if "error:" in line]
tree.finish(problems, "`./run format` formats them.")
