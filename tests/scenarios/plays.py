#!/usr/bin/env python3
"""plays.py HOST MODULE SCENARIO TRANSCRIPT COMMAND...: a scenario ends as its file says, and what a
person saw of it is what TRANSCRIPT says.

COMMAND runs a Windows program. With --write in place of TRANSCRIPT's check the file is written:
plays.py --write HOST MODULE SCENARIO TRANSCRIPT COMMAND...
"""
import difflib
import os
import subprocess
import sys
import tempfile


# Once in some thousand starts the loader of Wine's own libraries trips over a program that ends, and
# the next one lacks its cryptography; or a program that is started ends before it is one, which Wine
# reports as ERROR_INTERNAL_ERROR.
WINE_TRIPPED = ("Inconsistency detected by ld.so", "(error 1359)")
COULD_NOT_RUN = 3


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def play(host, module, scenario, seen, command, options=()):
    """The run's exit status and what it printed; what a person saw goes to the file `seen`."""
    run = subprocess.run(
        command + [host, "--register", windows_path(module), "--then", host, "--with-service",
                   "--script", windows_path(scenario), "--transcript", windows_path(seen),
                   *options],
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return run.returncode, run.stdout.decode("utf-8", "replace")


def play_for_sure(*arguments):
    """As play; a run that Wine prevented is begun once more, and said to be."""
    status, output = play(*arguments)
    if status != COULD_NOT_RUN or not any(sign in output for sign in WINE_TRIPPED):
        return status, output
    status, again = play(*arguments)
    return status, f"{output}\nWine could not run it: once more\n{again}"


def read(path):
    try:
        with open(path, encoding="utf-8") as file:
            return file.read().splitlines(keepends=True)
    except FileNotFoundError:
        return []


def main(arguments):
    write = arguments[0] == "--write"
    host, module, scenario, transcript = arguments[write:write + 4]
    with tempfile.TemporaryDirectory() as folder:
        seen = os.path.join(folder, "seen.txt")
        status, output = play_for_sure(host, module, scenario, seen, arguments[write + 4:])
        print(output)
        if status != 0:
            return f"{scenario} did not end as it says: exit status {status}"
        now = read(seen)
    if write:
        with open(transcript, "w", encoding="utf-8") as file:
            file.writelines(now)
        return None
    before = read(transcript)
    if now == before:
        return None
    sys.stdout.writelines(difflib.unified_diff(before, now, transcript, "what was seen now"))
    return (f"{transcript} does not say what was seen. If it is right now: "
            f"./run transcripts {os.path.splitext(os.path.basename(scenario))[0]}")


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
