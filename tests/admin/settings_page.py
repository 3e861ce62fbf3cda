#!/usr/bin/env python3
"""settings_page.py: docs/settings.md has a row for each value that the module reads, with the default
of the module's source and the type and limit of the policy that writes it."""
import os
import re
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import tree  # noqa: E402

PAGE, HEADER, ADMX = "docs/settings.md", "src/settings/settings.h", \
    "admin/policies/KelvorFidoAdLogon.admx"
header = tree.read(HEADER)
rows = {cells[0].strip("`"): cells for cells in
        (re.split(r" *\| *", line.strip("| ")) for line in tree.read(PAGE).splitlines()
         if line.startswith("| `"))}
values = re.findall(r'k\w+Value = L"(\w+)"', header)
limits = dict(re.findall(r'valueName="(\w+)" maxLength="(\d+)"', tree.read(ADMX)))
problems = [f"{name}: has a row, or is read, alone" for name in set(rows) ^ set(values)]
for name in set(rows) & set(values):
    _, kind, default, longest, _ = rows[name]
    if (kind, longest) != (("REG_SZ", f"{int(limits[name]):,} characters") if name in limits
                           else ("REG_DWORD", "")):
        problems.append(f"{name}: type {kind}, longest '{longest}'")
    known = re.search(rf'kDefault{name} = L"(.*)"', header)
    if known and default != f"`{known.group(1)}`":
        problems.append(f"{name}: default {default}")
tree.finish(problems, f"{PAGE} is held against {HEADER} and the policies.")
