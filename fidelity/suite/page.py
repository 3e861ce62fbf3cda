"""What the runs of the tests in the other Debian found: a record each, and a page of them."""
import datetime
import json
import os
import subprocess

TREE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PAGE = os.path.join(TREE, "docs", "second_windows.md")
RECORDS = os.path.join(TREE, "docs", "second_windows")
HEAD = """# The tests under another Wine

In the ordinary build one Wine is the only Windows, and one compiler with its headers the only one that
runs. Here the same tests are run under the Wine of a Debian 13: with the very programs of the ordinary
build, and with programs that a newer GCC made there for the Universal CRT, from headers that have the
credential provider framework's own declarations. Written by `./run fidelity --suite --write`; `./run
fidelity --suite` tries it again. What that Wine does otherwise stands with [the
imports](imports.md#what-differs-from-the-documentation); [the card stack](pcsc.md) is tried in the same
Debian.

"""


def commit():
    def git(*words):
        return subprocess.run(["git", "-C", TREE, *words], capture_output=True,
                              check=True).stdout.decode().strip()
    changed = git("status", "--porcelain", "--untracked-files=no", "--", ".", ":!docs")
    return git("rev-parse", "--short", "HEAD") + (" with changes" if changed else "")


def begun():
    """What a record begins with: of when and of what the run is."""
    return {"date": datetime.date.today().isoformat(), "commit": commit()}


def cell(text):
    return text.replace("|", "\\|")


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
    return "\n".join(lines + ["| " + " | ".join(map(cell, row)) + " |" for row in rows]) + "\n"


def row(record):
    left_out = sum(map(len, record["left out"].values())) + len(record["skipped"])
    return (record["programs"], record["compiler"], record["wine"], f"{record['passed']:,}",
            f"{len(record['failures']):,}", f"{left_out:,}", f"{record['seconds'] / 60:.1f}",
            f"{record['date']}, commit {record['commit']}")


def failures(records):
    rows = [(record["programs"], failure["name"], "<br>".join(failure["said"]))
            for record in records for failure in record["failures"]]
    return table(("programs", "test", "what it said"), rows) if rows else "None.\n"


def not_run(records):
    groups = {}
    for record in records:
        for reason, names in record["left out"].items():
            groups.setdefault(reason, {}).update(dict.fromkeys(names))
        for name in record["skipped"]:
            groups.setdefault("says itself that it cannot run there", {})[name] = None
    return table(("why", "tests"), [(reason, "; ".join(names)) for reason, names in groups.items()])


def own_declarations(record):
    if seen := record["saw our declarations"]:
        return "**Saw our own declarations of the framework:** " + ", ".join(seen) + "\n"
    return (f"None of the {record['files']:,} files compiled there saw our own declarations of the framework, but for\n"
            "the test that holds them against the framework's: value by value, size by size, and by a call of every\n"
            "method through both (`tests/declarations`).\n")


def only_in(one, other):
    names = sorted(set(one["imports"]) - set(other["imports"]))
    return ", ".join(f"`{name}`" for name in names) or "nothing"


def text(records):
    parts = [HEAD, table(("programs", "compiler", "Wine", "passed", "failed", "not run", "minutes", "when"),
                         map(row, records)),
             "\n## Failed\n", failures(records), "\n## Not run there\n", not_run(records)]
    for record in records:
        if "files" in record:
            parts += ["\n## The framework's own header\n", own_declarations(record)]
    if len(records) == 2:
        rows = [(one["compiler"], only_in(one, other)) for one, other in (records, records[::-1])]
        parts += ["\n## What only one of the two modules imports\n", table(("compiler", "functions"), rows)]
    return "".join(parts)


def write(record, order):
    """Keeps the record, and makes the page of all that there are, in this order."""
    os.makedirs(RECORDS, exist_ok=True)
    with open(os.path.join(RECORDS, record["folder"] + ".json"), "w", encoding="utf-8") as file:
        json.dump(record, file, indent=1, ensure_ascii=False)
        file.write("\n")
    records = []
    for folder in order:
        path = os.path.join(RECORDS, folder + ".json")
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                records.append(json.load(file))
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(text(records))
