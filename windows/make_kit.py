#!/usr/bin/env python3
"""make_kit.py BUILD MSI DAMAGED ZIP: packs what windows/verify.ps1 checks on a Windows PC.

BUILD is the folder of a whole build with the first compiler, DAMAGED an installer of a newer version that
fails. The kit holds the tree as it is committed,
the programs and tests of the build, below root/ at the paths at which they were built: as drive Z:,
the tests find them there. Steps that need a person are those of the table in docs/windows.md.
"""
import glob
import json
import os
import re
import subprocess
import sys
import time
import zipfile

TREE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PAGE = os.path.join(TREE, "docs", "windows.md")
HEAD = "| what | do | expected |"


def output_of(*command):
    return subprocess.run(command, cwd=TREE, check=True, capture_output=True).stdout.decode()


def steps_by_hand():
    with open(PAGE, encoding="utf-8") as file:
        table = file.read().split(HEAD, 1)[1].split("\n\n", 1)[0]
    rows = [[cell.strip() for cell in line.strip("|").split("|")]
            for line in table.strip().splitlines()[1:]]
    return [dict(zip(("title", "do", "expect"), row)) for row in rows]


def programs_of(build):
    return sorted(path for pattern in ("**/*.exe", "**/*.dll")
                  for path in glob.glob(os.path.join(build, pattern), recursive=True)
                  if "CMakeFiles" not in path)


def main(build, msi, damaged, kit):
    build = os.path.abspath(build)
    programs = programs_of(build)
    tests = [os.path.relpath(path, TREE) for path in programs
             if re.fullmatch(r"kelvor_(?!trust|checked)\w*tests\.exe", os.path.basename(path))]
    if not tests:
        sys.exit(f"make_kit.py: no tests are built in {build}")
    about = {"tree": TREE, "commit": output_of("git", "rev-parse", "HEAD").strip(),
             "made": time.strftime("%Y-%m-%d %H:%M UTC", time.gmtime()),
             "tests": tests, "byHand": steps_by_hand()}
    with zipfile.ZipFile(kit, "w", zipfile.ZIP_DEFLATED) as file:
        file.writestr("kit.json", json.dumps(about, indent=2, ensure_ascii=False))
        file.write(os.path.join(TREE, "windows", "verify.ps1"), "verify.ps1")
        file.write(msi, os.path.basename(msi))
        file.write(damaged, "damaged/newer.msi")
        for name in output_of("git", "ls-files", "-z").split("\0"):
            path = os.path.join(TREE, name)
            if name and os.path.isfile(path):
                file.write(path, "root" + path)
        for path in programs:
            file.write(path, "root" + path)
    print(f"{kit}: {os.path.getsize(kit) / 2**20:.0f} MiB, {len(tests)} programs of tests, "
          f"{len(about['byHand'])} steps by hand")


if __name__ == "__main__":
    if len(sys.argv) != 5:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    main(*sys.argv[1:])
