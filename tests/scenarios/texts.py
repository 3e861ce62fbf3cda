#!/usr/bin/env python3
"""texts.py: every text that the module can show to a user is seen in a transcript of a scenario, and
so can be reached by anybody who opens that scenario in the preview. What cannot be is listed in
unseen.py; a row of it that has become wrong is an error, too.
"""
import os
import re
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import tree  # noqa: E402
from product_texts import pattern_of, product_texts  # noqa: E402
from unseen import UNSEEN  # noqa: E402


seen = "\n".join(tree.read(path) for path in tree.files(r"^docs/transcripts/.*\.txt$"))
texts = {text: f"{path}:{line}" for path, line, level, text in product_texts()
         if not level and re.search(r"\w \w|…", text)}
problems = []
for text, place in sorted(texts.items(), key=lambda item: item[1]):
    if bool(pattern_of(text).search(seen)) == (text in UNSEEN):
        problems.append(f"{place}: {text!r}" + (" is seen after all" if text in UNSEEN else ""))
problems += [f"no such text any more: {text!r}" for text in UNSEEN if text not in texts]
tree.finish(problems, "No transcript shows these texts: a scenario that does, or a row in unseen.py.")
