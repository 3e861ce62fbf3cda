#!/usr/bin/env python3
"""troubleshooting.py: docs/troubleshooting.md tells of every text that a user can see, and of no other.

Texts stand there in double quotes. What is only logged, or only a name, is on the list of
tests/scenarios/unseen.py.
"""
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, "..", "tree"), os.path.join(HERE, "..", "scenarios")]
import tree  # noqa: E402
import unseen  # noqa: E402
from product_texts import product_texts  # noqa: E402

PAGE = "docs/troubleshooting.md"
LEAST = 20  # letters; what is shorter may be the name of something
IN_A_LOG_LINE = "in the reader"  # stands in the transcripts by chance


def words(text):
    return " ".join(text.split())


page = words(tree.read(PAGE)).replace('"Other user"', "Other user")
texts = {words(text.removeprefix("Sign-in failed: ")).strip(" :").removesuffix(" (")
         .replace('"', "") for path, line, level, text in product_texts()
         if not level and re.search(r"\w \w|…", text) and text != IN_A_LOG_LINE
         and unseen.UNSEEN.get(text) not in (unseen.LOG, unseen.NAME)} - {""}
quoted = {text.removesuffix(": ") for text in re.findall(r'"([^"]*)"', page)}
problems = [f"missing: {text!r}" for text in sorted(texts - quoted)]
problems += [f"no such text: {text!r}" for text in sorted(quoted - texts) if len(text) >= LEAST]
tree.finish(problems, f"{PAGE} explains each text: its cause, and what to do.")
