#!/usr/bin/env python3
"""demo.py [--write] [--all | NAME...]: sign-ins that a Kerberos domain of MIT's programs decides over.

  (nothing)   plays "accepted", as it happens
  NAME        plays this scenario, of fidelity/kdc/scenarios or of simulator/scenarios
  --all       plays every scenario of either folder in which the domain is asked, and compares
              what a person saw with docs/kdc and docs/transcripts
  --list      tells the names of those
  --write     writes docs/kdc instead of comparing
  --dry       only looks at the arguments

`./run demo --kdc` calls it and builds what it needs. Ends with 0 when all was as it should be, 1
when something was not, 2 when it was called wrongly.
"""
import difflib
import os
import subprocess
import sys

import page
from setting import BUILD, HOST, MODULE, UNDER_WINE, Setting
from scenario import TREE, Scenario, ordinary, own

sys.path.insert(0, os.path.join(TREE, "tests", "scenarios"))
from plays import play_for_sure, read, windows_path  # noqa: E402

DEFAULT = "accepted"
SEEN = os.path.join(BUILD, "seen.txt")


def without_domain(lines):
    """What our own domain does not say."""
    return [line for line in lines if not line.startswith("KDC ")]


def watch(scenario):
    """Plays it before the user's eyes."""
    with Setting(scenario) as setting:
        return subprocess.run(
            UNDER_WINE + [HOST, "--register", windows_path(MODULE), "--then", HOST,
                          "--with-service", "--script", windows_path(scenario.path),
                          *setting.options()], check=False).returncode


def compare(scenario, write):
    """What is wrong with a run of it, as lines; nothing when all is well."""
    with Setting(scenario) as setting:
        status, output = play_for_sure(HOST, MODULE, scenario.path, SEEN, UNDER_WINE,
                                       setting.options())
    if status != 0:
        return [output, f"{scenario.name} did not end as it says: exit status {status}\n"]
    seen = read(SEEN)
    if not scenario.is_own:
        seen = without_domain(seen)
    elif write:
        with open(scenario.transcript, "w", encoding="utf-8") as file:
            file.writelines(seen)
    return list(difflib.unified_diff(read(scenario.transcript), seen,
                                     scenario.transcript, "what was seen now"))


def compare_all(scenarios, write):
    failed = []
    for number, scenario in enumerate(scenarios, 1):
        problems = compare(scenario, write)
        print(f"{number:3}/{len(scenarios)}  {'DIFFERENT' if problems else 'as written'}  "
              f"{scenario.name}", flush=True)
        sys.stdout.writelines(problems)
        failed += [scenario.name] if problems else []
    if write:
        page.main(["--write"])
    if failed:
        print("not as written: " + ", ".join(failed))
    return 1 if failed else 0


def main(arguments):
    flags = {argument for argument in arguments if argument.startswith("-")}
    names = [argument for argument in arguments if not argument.startswith("-")]
    if flags & {"-h", "--help"}:
        print(__doc__)
        return 0
    if flags - {"--all", "--list", "--write", "--dry"} or (names and flags & {"--all", "--list"}):
        print(__doc__, file=sys.stderr)
        return 2
    if "--list" in flags:
        for scenario in own() + ordinary():
            print(f"{scenario.name:32}{scenario.sentence}")
        return 0
    try:
        scenarios = [Scenario(name) for name in names]
    except FileNotFoundError as error:
        print(f"There is no such scenario: {error.filename}", file=sys.stderr)
        return 2
    if "--dry" in flags:
        return 0
    if "--all" in flags:
        return compare_all(own() + ordinary(), "--write" in flags)
    if "--write" in flags:
        return compare_all(scenarios or own(), True)
    return max(map(watch, scenarios or [Scenario(DEFAULT)]))


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
