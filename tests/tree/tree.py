"""What the checks of the tree share: where the tree is, which files it holds, how they report."""
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def _all_files():
    if not os.path.exists(os.path.join(ROOT, ".git")):  # an unpacked archive
        for folder, folders, names in os.walk(ROOT):
            folders[:] = [name for name in folders if name not in ("build", "__pycache__")]
            yield from (os.path.relpath(os.path.join(folder, name), ROOT) for name in names)
        return
    listing = subprocess.run(
        ["git", "-c", f"safe.directory={ROOT}", "ls-files", "--cached", "--others",
         "--exclude-standard", "-z"], cwd=ROOT, check=True, capture_output=True).stdout.decode()
    yield from (path for path in set(listing.split("\0"))
                if path and os.path.isfile(os.path.join(ROOT, path)))


def files(*patterns, below=""):
    """The tree's files whose path (from the root) matches one of the patterns, committed or new."""
    return sorted(path for path in _all_files() if path.startswith(below) and
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
