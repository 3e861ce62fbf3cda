#!/usr/bin/env python3
"""reproducible.py MODULE: the same tree, built in another folder, gives the same bytes."""
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile

import tree

NAME = "KelvorFidoAdLogonCredentialProvider"


def copy_tree(target):
    for path in tree.files("."):
        place = os.path.join(target, path)
        os.makedirs(os.path.dirname(place), exist_ok=True)
        shutil.copy2(os.path.join(tree.ROOT, path), place)


def run(command, folder):
    result = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if result.returncode:
        sys.exit(f"{' '.join(command)} failed:\n{result.stdout.decode(errors='replace')[-3000:]}")


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


with tempfile.TemporaryDirectory(prefix="a folder elsewhere ") as elsewhere:
    copy_tree(elsewhere)
    run(["cmake", "--preset", "mingw"], elsewhere)
    run(["cmake", "--build", "build/mingw", "--parallel", str(os.cpu_count()), "--target", NAME],
        elsewhere)
    first = digest(sys.argv[1])
    second = digest(os.path.join(elsewhere, "build", "mingw", "bin", NAME + ".dll"))
tree.finish([] if first == second else [f"SHA-256 {first} here, {second} elsewhere"],
            "Something in the build depends on the folder, the time or the process.")
