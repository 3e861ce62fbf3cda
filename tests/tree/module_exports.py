#!/usr/bin/env python3
"""module_exports.py MODULE: exactly the two entry points of a COM server are exported."""
import sys

import tree
from pe_image import PeImage

WANTED = ["DllCanUnloadNow", "DllGetClassObject"]

names, count = PeImage(sys.argv[1]).export_names()
problems = []
if sorted(names) != WANTED:
    problems.append(f"exported names: {sorted(names)}")
if count != len(WANTED):
    problems.append(f"{count} functions are exported")
tree.finish(problems, f"The module exports {' and '.join(WANTED)}, and nothing else.")
