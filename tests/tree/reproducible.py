#!/usr/bin/env python3
"""reproducible.py BUILD [--whole]: the same tree, built in another folder, gives the same bytes.

BUILD is the build's folder here. Compares one object in so many of the module, from every folder of
src/; with --whole the module itself, all of which is then compiled.
"""
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile

import tree

NAME = "KelvorFidoAdLogonCredentialProvider"
OBJECTS = "src/CMakeFiles/kelvor_objects.dir"


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


def compared():
    """Files of the build: the first source of every folder, or the module."""
    if sys.argv[2:] == ["--whole"]:
        return [f"bin/{NAME}.dll"]
    firsts = {}
    for source in tree.files(r"\.cpp$", below="src/"):
        firsts.setdefault(os.path.dirname(source), source)
    return [f"{OBJECTS}/{os.path.relpath(source, 'src')}.obj" for source in firsts.values()]


with tempfile.TemporaryDirectory(prefix="a folder elsewhere ") as elsewhere:
    copy_tree(elsewhere)
    run(["cmake", "--preset", "mingw"], elsewhere)
    run(["cmake", "--build", "build/mingw", "--parallel", str(os.cpu_count()), "--target",
         *(NAME if path.startswith("bin/") else path for path in compared())], elsewhere)
    problems = [f"{path}: other bytes there" for path in compared()
                if digest(os.path.join(sys.argv[1], path)) !=
                digest(os.path.join(elsewhere, "build", "mingw", path))]
tree.finish(problems, "Something in the build depends on the folder, the time or the process.")
