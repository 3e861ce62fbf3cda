#!/usr/bin/env python3
"""explain_texts.py: the words that `explain` says the user saw are the module's own."""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import cpp_text  # noqa: E402
import product_texts  # noqa: E402
import tree  # noqa: E402

shown = {text for _, _, _, text in product_texts.product_texts()}
quoted = [(path, token) for path in tree.cpp_files("admin/tool/explain/")
          for token in cpp_text.tokens(tree.read(path))
          if token.kind == "text" and token.wide and len(token.value.split()) > 1]
problems = [f"{path}:{token.line}: no text of the module: {token.value!r}"
            for path, token in quoted if token.value not in shown]
if not quoted:
    problems.append("admin/tool/explain quotes no text of the module")
tree.finish(problems, "Quote the text as it stands in src/.")
