"""The list of what no test takes, and why: `accepted.txt`, which says how it is written."""
import re
from collections import namedtuple

# first, last: the lines of the file that the entry stands for.
Entry = namedtuple("Entry", "where path branches lines first last")

HEAD = re.compile(r"(\S+):(?: (\d+) branch(?:es)?)?,?(?: (\d+) lines?)?")


def _place(source, code):
    """The line numbers in `source` where these lines stand one after another, whatever the indent."""
    texts = [line.strip() for line in source]
    return [start + 1 for start in range(len(texts) - len(code) + 1)
            if texts[start:start + len(code)] == code]


def _entry(where, paragraph, read_source):
    """(entry, nothing) or (nothing, what is wrong with the paragraph)."""
    head = HEAD.fullmatch(paragraph[0])
    if not head or not (head.group(2) or head.group(3)):
        return None, f"{where}: not 'FILE: N branches, N lines': {paragraph[0]}"
    code = [line.strip() for line in paragraph[1:] if line.startswith("    ")]
    if not code or len(code) == len(paragraph) - 1:
        return None, f"{where}: needs the indented lines of the source, then the reason"
    try:
        places = _place(read_source(head.group(1)), code)
    except OSError:
        return None, f"{where}: there is no {head.group(1)}"
    if len(places) != 1:
        found = "stand in several places" if places else "are not there any more"
        return None, f"{where}: these lines {found} in {head.group(1)}: {code[0]}"
    return Entry(where, head.group(1), int(head.group(2) or 0), int(head.group(3) or 0),
                 places[0], places[0] + len(code) - 1), None


def read(name, text, read_source):
    """The entries of the list, and what is wrong with it."""
    entries, problems = [], []
    paragraph, start = [], 0
    for number, line in enumerate(text.splitlines() + [""], 1):
        if line.startswith("#"):
            continue
        if line.strip():
            start = start if paragraph else number
            paragraph.append(line.rstrip())
        elif paragraph:
            entry, problem = _entry(f"{name}:{start}", paragraph, read_source)
            entries += [entry] if entry else []
            problems += [problem] if problem else []
            paragraph = []
    return entries, problems


def apply(entries, gaps):
    """Splits the gaps: (those that no entry accepts, the entries that say something else than is).

    A gap is anything with `path`, `line`, `branches` (how many were never taken) and `ran`.
    """
    problems, accepted = [], set()
    for entry in entries:
        inside = [gap for gap in gaps
                  if gap.path == entry.path and entry.first <= gap.line <= entry.last]
        branches = sum(gap.branches for gap in inside)
        lines = sum(not gap.ran for gap in inside)
        if (branches, lines) != (entry.branches, entry.lines):
            problems.append(f"{entry.where}: says {entry.branches} branches, {entry.lines} lines; "
                            f"never taken are {branches} and {lines}")
        accepted.update(inside)
    return [gap for gap in gaps if gap not in accepted], problems
