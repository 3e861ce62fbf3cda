"""How often each line and branch of src/ ran: the counts of all processes, added up.

gcov lists the branches of a line in the order of its machine code. A branch that is only the way
from a call into the handling of an exception is marked by gcov; it and the way on from that call
are no branches of the source. A template has several machine codes for one place of the source,
and a header several objects: the function's place is what they have in common.
"""
import glob
import json
import os
import subprocess
from collections import Counter, defaultdict

GCOV = "x86_64-w64-mingw32-gcov-win32"


class Counts:
    def __init__(self):
        self.lines = defaultdict(Counter)  # file -> line -> count
        self._branches = defaultdict(Counter)  # (file, line) -> (function, number) -> count

    def add(self, source):
        """Adds what gcov says of one source file of one object."""
        path = source["file"]
        places = {function["name"]: (function["start_line"], function["start_column"])
                  for function in source["functions"]}
        for line in source["lines"]:
            number = line["line_number"]
            self.lines[path][number] += line["count"]
            place = places.get(line.get("function_name"))
            for index, count in enumerate(branch_counts(line["branches"])):
                self._branches[path, number][place, index] += count

    def branches(self, path, line):
        """The counts of the line's branches, in the order of the source's functions."""
        found = self._branches.get((path, line), {})
        return [found[key] for key in sorted(found)]


def branch_counts(branches):
    """Without those of exceptions: gcov puts such a one right behind the way on from its call."""
    kept = []
    for branch in branches:
        if branch["throw"]:
            kept.pop()
        else:
            kept.append(branch["count"])
    return kept


def _notes(build):
    """The notes that the compiler left beside each object, by their path below the build folder."""
    found = glob.glob(os.path.join(build, "src", "**", "*.gcno"), recursive=True)
    return sorted(os.path.relpath(path, build) for path in found)


def _say(folder, build, notes):
    """What gcov says of the counts below the folder; an object without counts never ran."""
    for note in notes:  # gcov looks for the notes beside the counts
        link = os.path.join(folder, note)
        os.makedirs(os.path.dirname(link), exist_ok=True)
        if not os.path.lexists(link):
            os.symlink(os.path.join(build, note), link)
    result = subprocess.run([GCOV, "--json-format", "--branch-probabilities", "--stdout", *notes],
                            cwd=folder, check=True, stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL)
    return [json.loads(line) for line in result.stdout.decode().splitlines() if line]


def read(build, folder):
    """The sum over all counts below `folder`, where each Wine prefix has a folder of its own."""
    counts = Counts()
    notes = _notes(build)
    prefixes = sorted(glob.glob(os.path.join(folder, "*", "")))
    for prefix in prefixes or [os.path.join(folder, "nothing-ran")]:
        for answer in _say(prefix, build, notes):
            for source in answer["files"]:
                if source["file"].startswith("src/"):
                    counts.add(source)
    return counts
