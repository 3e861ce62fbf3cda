#!/usr/bin/env python3
"""Every link of a page leads to a file of the tree, and to a heading of it where it names one. Pages
that the installer brings link to one another only: the tree is not there where they are read."""
import os
import re

import tree

LINK = re.compile(r"\]\((?!https?:)([^)#\s]*)(?:#([^)\s]*))?\)")
INSTALLED = {f"docs/{name}" for name in re.findall(
    r'Name="([\w-]+\.md)"', tree.read("admin/installer/KelvorFidoAdLogon.wxs"))}


def anchors(text):
    """The names by which the headings of a page are linked to."""
    titles = re.findall(r"^#+ (.*)$", text, re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles}


def complaints(page, texts):
    for target, anchor in LINK.findall(texts[page]):
        path = os.path.normpath(os.path.join(os.path.dirname(page), target)) if target else page
        if not os.path.exists(os.path.join(tree.ROOT, path)):
            yield f"{page}: there is no {path}"
        elif anchor and anchor not in anchors(texts.get(path, "")):
            yield f"{page}: {path} has no heading #{anchor}"
        elif page in INSTALLED and path not in INSTALLED:
            yield f"{page}: {path} is not installed with it"


texts = {path: tree.read(path) for path in tree.files(r"\.md$")}
tree.finish([line for page in texts for line in complaints(page, texts)],
            "Lead the link to where its page is read.")
