#!/usr/bin/env python3
"""index.py [--write]: docs/transcripts/README.md lists every scenario with what a person sees of it,
and no transcript is left of a scenario that is gone."""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import tree  # noqa: E402

PAGE = "docs/transcripts/README.md"
HEAD = """# What a person sees

Each page is one run of a [scenario](../../simulator/scenarios) on the sign-in screen of this project,
with the module as it is shipped: what the user did, every text of the status line, the tile whenever
the user acted, what the card service was asked, and what LSA said. The tests play every scenario and
compare. `./run demo NAME` plays one for you, `./run transcripts` writes the pages anew.

| what happens | seen | scenario |
|---|---|---|
"""


def row(path):
    name = os.path.splitext(os.path.basename(path))[0]
    sentence = tree.read(path).split("\n", 1)[0].lstrip("# ").strip()
    return (f"| {sentence} | [{name}]({name}.txt) | "
            f"[steps](../../simulator/scenarios/{name}.scenario) |\n")


scenarios = tree.files(r"^simulator/scenarios/.*\.scenario$")
page = HEAD + "".join(row(path) for path in scenarios)
if sys.argv[1:] == ["--write"]:
    with open(os.path.join(tree.ROOT, PAGE), "w", encoding="utf-8") as file:
        file.write(page)
    sys.exit(0)
names = {os.path.splitext(os.path.basename(path))[0] for path in scenarios}
problems = [f"{path}: its scenario is gone" for path in tree.files(r"^docs/transcripts/.*\.txt$")
            if os.path.splitext(os.path.basename(path))[0] not in names]
if page != tree.read(PAGE):
    problems.append(f"{PAGE}: another list of scenarios")
tree.finish(problems, "./run transcripts writes the page anew.")
