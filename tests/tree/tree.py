"""What the checks of the tree share: where the tree is, which files it holds, how they report."""
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def files(*patterns, below=""):
    """The tree's files whose path (from the root) matches one of the patterns, committed or new."""
    listing = subprocess.run(
        ["git", "-c", f"safe.directory={ROOT}", "ls-files", "--cached", "--others",
         "--exclude-standard", "-z", "--", below or "."],
        cwd=ROOT, check=True, capture_output=True).stdout.decode()
    return sorted(path for path in set(listing.split("\0")) if path and
                  os.path.isfile(os.path.join(ROOT, path)) and
                  any(re.search(pattern, path) for pattern in patterns))


def cpp_files(below=""):
    return files(r"\.(cpp|h)$", below=below)


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def run_all(commands, workers):
    """Runs the commands side by side; answers (command, exit status, output) of each, in order."""
    def run(command):
        result = subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT)
        return command, result.returncode, result.stdout.decode(errors="replace")

    with ThreadPoolExecutor(workers) as pool:
        return list(pool.map(run, commands))


def finish(problems, advice):
    """Ends the check: exit status 0 without problems, else they are listed with the advice."""
    if not problems:
        sys.exit(0)
    print(f"{len(problems)} problem(s):")
    for problem in problems:
        print(f"  {problem}")
    print(advice)
    sys.exit(1)
