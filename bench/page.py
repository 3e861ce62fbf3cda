"""The table as text, and its place in docs/performance.md."""
import datetime
import os
import platform
import re
import subprocess

from programs import ROOT

PAGE = os.path.join(ROOT, "docs", "performance.md")
BEGIN, END = "<!-- table: written by ./run bench --write -->", "<!-- end of the table -->"
HEAD = ["row", "module", "beside it", "ratio", "to reach", "reached"]


def table(lines):
    rows = [HEAD] + [line.cells() for line in lines]
    widths = [max(len(row[column]) for row in rows) for column in range(len(HEAD))]
    texts = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |"
             for row in rows]
    texts.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(texts)


def output_of(*command):
    return subprocess.run(command, cwd=ROOT, capture_output=True).stdout.decode().strip()


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        found = re.search(r"^model name\s*: (.*)$", file.read(), re.MULTILINE)
    return found.group(1) if found else platform.machine()


def circumstances(lines, seconds):
    commit = output_of("git", "-c", f"safe.directory={ROOT}", "rev-parse", "--short=10", "HEAD")
    changed = output_of("git", "-c", f"safe.directory={ROOT}", "status", "--porcelain",
                        "--untracked-files=no", "--", "src", "bench")
    samples = [line.samples for line in lines if line.samples > 1]
    return (f"Made on {datetime.date.today():%d %B %Y} at commit `{commit}`"
            f"{' with changes' if changed else ''}, on {os.cpu_count()} cores "
            f"({processor()}), {output_of('wine', '--version')}, Linux {platform.release()}, in "
            f"{seconds:.0f} s; {min(samples)} to {max(samples)} samples of each side, medians with "
            f"the quartiles in parentheses. Load average at its end: {os.getloadavg()[0]:.1f}.")


def write(lines, seconds):
    with open(PAGE, encoding="utf-8") as file:
        text = file.read()
    begin, end = text.index(BEGIN) + len(BEGIN), text.index(END)
    text = f"{text[:begin]}\n{circumstances(lines, seconds)}\n\n{table(lines)}\n{text[end:]}"
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(text)
    print(f"written to {os.path.relpath(PAGE, ROOT)}")
