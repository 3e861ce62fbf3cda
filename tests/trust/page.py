#!/usr/bin/env python3
"""page.py [--write]: docs/trust.md shows the figures just as the runs wrote them to docs/trust/."""
import json
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import sections  # noqa: E402
import tree  # noqa: E402

PAGE = "docs/trust.md"
HEAD = """# Trust

Each line is a claim, the figure that the last run gave for it, and the seed of its random
numbers. The command below a title proves it again; `./run trust` runs all of them, `./run trust
--minutes N` as much as fits into the time. What ctest runs on every change is the short form of the
same programs. The figures are written by the runs, into `docs/trust/`; nobody types them. A run that
was bounded shows fewer tries than the whole form has; its minutes stand beside its date.
"""


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def section_text(section, records):
    run = next(record["run"] for record in records if "run" in record)
    figures = [(record["claim"], record["figure"], str(record.get("seed", "")))
               for record in records if "claim" in record]
    text = (f"\n## {section.title}\n{section.about}\n\n    ./run trust {section.name}\n\n"
            f"{run['date']}, commit {run['commit']}, {run['minutes']} minutes.\n\n")
    text += table(("claim", "figure", "seed"), figures)
    for record in records:
        if "title" in record:
            text += f"\n{record['title']}\n\n" + table(record["header"], record["rows"])
    return text


def page(folder):
    """The page of the reports in a folder; a section without a report is left out."""
    text = HEAD
    for section in sections.SECTIONS:
        path = os.path.join(folder, section.name + ".jsonl")
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                text += section_text(section, [json.loads(line) for line in file])
    return text


def write(folder, path):
    with open(path, "w", encoding="utf-8") as file:
        file.write(page(folder))


if __name__ == "__main__":
    reports = os.path.join(tree.ROOT, "docs", "trust")
    if sys.argv[1:] == ["--write"]:
        write(reports, os.path.join(tree.ROOT, PAGE))
        sys.exit(0)
    tree.finish([] if page(reports) == tree.read(PAGE) else [f"{PAGE}: not what docs/trust/ says"],
                "tests/trust/page.py --write makes the page anew.")
