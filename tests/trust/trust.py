#!/usr/bin/env python3
"""trust.py [--minutes N] [--seed N] [SECTION...]: the long form of what is proved of the module.

  --minutes N  ends after about that time; the figures then go to build/trust only
  --keep       writes the figures of a bounded run to docs/trust all the same
  --seed N     the seed of all random numbers, 1 when it is left out
  --list       the sections and what they do

A full run of a section writes its figures to docs/trust, and docs/trust.md anew. Exit status 0: all
held; 1: something did not; 2: the arguments make no sense.
"""
import argparse
import datetime
import json
import os
import subprocess
import sys
import time

import page
import sections
import tree


def whole_minutes(text):
    if not text.isdecimal() or int(text) == 0:
        raise argparse.ArgumentTypeError(f"'{text}' is not a number of minutes")
    return int(text)


def arguments():
    names = [section.name for section in sections.SECTIONS]
    parser = argparse.ArgumentParser(prog="./run trust", add_help=False)
    parser.add_argument("--minutes", type=whole_minutes)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("-h", "--help", action="store_true")
    parser.add_argument("sections", nargs="*", metavar="SECTION")
    given = parser.parse_args()
    if unknown := [name for name in given.sections if name not in names]:
        parser.error(f"no section is named {unknown[0]}; there are {', '.join(names)}")
    return given


def git(*words):
    return subprocess.run(["git", "-c", f"safe.directory={tree.ROOT}", *words], cwd=tree.ROOT,
                          capture_output=True, text=True).stdout.strip()


def commit():
    changed = git("status", "--porcelain", "--", "src", "tests", "simulator", "admin")
    return git("rev-parse", "--short", "HEAD") + (" with changes" if changed else "")


def run(section, given, limit, folder):
    """Whether all of the section held; its figures are in the folder afterwards."""
    report = os.path.join(folder, section.name + ".jsonl")
    if os.path.exists(report):
        os.remove(report)
    command = section.command.format(
        seed=given.seed, report=report, minutes=f"--minutes {limit}" if limit else "")
    print(f"\n== {section.title}\n   {command}", flush=True)
    begin = time.monotonic()
    status = subprocess.run(command, shell=True, cwd=tree.ROOT).returncode
    minutes = round((time.monotonic() - begin) / 60, 1)
    with open(report, "a", encoding="utf-8") as file:
        print(json.dumps({"run": {"commit": commit(), "minutes": minutes,
                                  "date": datetime.date.today().isoformat()}}), file=file)
    print(f"   {'held' if status == 0 else f'FAILED, exit status {status}'}, {minutes} minutes",
          flush=True)
    return status == 0


def main():
    given = arguments()
    if given.help:
        print(__doc__)
        return 0
    if given.list:
        for section in sections.SECTIONS:
            print(f"{section.name:12}{section.title}. {section.about}")
        return 0
    chosen = [section for section in sections.SECTIONS
              if not given.sections or section.name in given.sections]
    folder = os.path.join(tree.ROOT, "build", "trust")
    os.makedirs(folder, exist_ok=True)
    whole = sum(section.share for section in chosen)
    failed = []
    for section in chosen:
        limit = max(1, given.minutes * section.share // whole) if given.minutes else None
        if not run(section, given, limit, folder):
            failed.append(section.name)
        elif given.keep or not given.minutes:
            name = section.name + ".jsonl"
            os.replace(os.path.join(folder, name), os.path.join(tree.ROOT, "docs", "trust", name))
            page.write(os.path.join(tree.ROOT, "docs", "trust"),
                       os.path.join(tree.ROOT, page.PAGE))
    if given.minutes and not given.keep:
        page.write(folder, os.path.join(folder, "trust.md"))
        print("\nThe figures stand in build/trust/trust.md.")
    print(f"\n{len(chosen) - len(failed)} of {len(chosen)} sections held"
          + (f"; not {', '.join(failed)}" if failed else "") + ".")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
