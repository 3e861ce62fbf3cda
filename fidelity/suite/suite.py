#!/usr/bin/env python3
"""The tests under the Wine of another Debian, with programs of two compilers: ./run fidelity --suite."""
import argparse
import json
import os
import subprocess
import sys
from dataclasses import dataclass

import imports
import page
import results
from left_out import left_out

TREE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(TREE, "fidelity"))
from debian import DebianTree  # noqa: E402

BUILD = os.path.join(TREE, "build", "fidelity")
# What the tests are called by and call, and a screen.
TEST_TOOLS = ("cmake", "python3", "openssl", "wixl", "msitools", "osslsigncode", "xvfb",
              "fonts-open-sans")
BUILD_TOOLS = ("cmake", "ninja-build", "python3", "g++-mingw-w64-ucrt64", "doctest-dev",
               "rapidjson-dev")
OWN_DECLARATIONS = "credential_provider_declarations.h"
MEANT_TO_SEE_THEM = "tests/declarations/"
INSIDE = "cd {tree} && export KELVOR_WINE_POOL={pool} && "


@dataclass(frozen=True)
class Programs:
    title: str
    folder: str  # below build/
    compiler: str


HERE = Programs("those of the ordinary build", "mingw", "x86_64-w64-mingw32-g++-win32")
THERE = Programs("built in that Debian, with the framework's own header", "ucrt64",
                 "x86_64-w64-mingw32ucrt-g++")
CHOICE = {"here": [HERE], "there": [THERE], "both": [HERE, THERE]}


def step(text):
    print(f"\n== {text}", flush=True)


class Suite:
    """Runs tests in a Debian of a folder."""

    def __init__(self, debian):
        self.debian = debian
        self.jobs = 2 * (os.cpu_count() or 1)
        self.inside = INSIDE.format(tree=TREE, pool=os.path.join(BUILD, "wine"))

    def shell(self, script, *arguments, **options):
        return subprocess.run(
            self.debian.command("bash", "-c", self.inside + script, "bash", *arguments),
            stdin=subprocess.DEVNULL, **options)

    def build(self):
        self.debian.add(BUILD_TOOLS)
        self.shell("cmake --preset ucrt64 >/dev/null && cmake --build build/ucrt64", check=True)

    def prepare(self):
        self.debian.add(TEST_TOOLS)
        prefixes = " ".join(str(number) for number in range(1, self.jobs + 1))
        self.shell(f"scripts/under_wine --prepare {prefixes}", check=True)

    def listing(self, programs):
        run = self.shell(f"ctest --test-dir build/{programs.folder} --show-only=json-v1",
                         stdout=subprocess.PIPE, check=True)
        return json.loads(run.stdout)

    def run(self, programs, groups, arguments):
        """The results of all tests but those of the groups."""
        names = os.path.join(BUILD, programs.folder + ".left-out")
        report = os.path.join(BUILD, programs.folder + ".xml")
        with open(names, "w", encoding="utf-8") as file:
            file.writelines(name + "\n" for group in groups.values() for name in group)
        if os.path.exists(report):
            os.remove(report)
        self.shell(f"ctest --test-dir build/{programs.folder} --output-on-failure --timeout 180 "
                   f"-j {self.jobs} --exclude-from-file {names} --output-junit {report} \"$@\"",
                   *arguments, check=False)
        if not os.path.exists(report):
            raise RuntimeError("ctest ended without having run anything")
        return results.read(report)

    def own_declarations(self):
        """How many files of the build there are, and which of them saw our own declarations."""
        deps = self.shell(f"ninja -C build/{THERE.folder} -t deps", stdout=subprocess.PIPE,
                          check=True).stdout.decode()
        files = [entry for entry in deps.split("\n\n")
                 if "#deps" in entry and MEANT_TO_SEE_THEM not in entry.split(":")[0]]
        return {"files": len(files), "saw our declarations":
                [entry.split(":")[0].strip().split("\n")[-1] for entry in files
                 if OWN_DECLARATIONS in entry]}

    def record(self, programs, arguments):
        """Runs the tests with these programs, and tells what is to be written down."""
        found = page.begun() | {"folder": programs.folder, "programs": programs.title}
        if programs is THERE:
            step("Building there (ten minutes at first)")
            self.build()
            found |= self.own_declarations()
        step(f"Running the tests under that Wine, the programs {programs.title}")
        groups = left_out(self.listing(programs), programs is THERE)
        return found | self.run(programs, groups, arguments) | {
            "left out": groups, "compiler": self.compiler(programs),
            "imports": imports.imported(programs.folder),
            "wine": self.debian.run_wine("--version").strip()}

    def compiler(self, programs):
        command = [programs.compiler, "--version"]
        if programs is THERE:
            return self.debian.run(*command).split("\n")[0]
        return subprocess.run(command, capture_output=True, check=True).stdout.decode().split("\n")[0]


def parsed(words):
    parser = argparse.ArgumentParser(
        prog="./run fidelity --suite",
        description="Runs the tests under the Wine of a Debian 13, which is set up below build/fidelity "
        "(minutes, once). Needs root. Exit status: 0 all passed, 1 not, or some files saw our own "
        "declarations of the framework, 2 called wrongly.",
        epilog="What else is given goes to ctest, such as -R pipe.", allow_abbrev=False)
    parser.add_argument("--debootstrap", default="/", help=argparse.SUPPRESS)  # below which it lies
    parser.add_argument("--dry-run", action="store_true", help=argparse.SUPPRESS)
    parser.add_argument("--programs", choices=CHOICE, default="both",
                        help="here: those of build/mingw, which pass under the machine's own Wine; there: "
                        "built in that Debian by a newer GCC with newer headers; both is the default")
    parser.add_argument("--write", action="store_true",
                        help="writes down what they did: docs/second_windows.md")
    given, for_ctest = parser.parse_known_args(words)
    if given.write and for_ctest:
        parser.error("only the whole is written down: --write goes with nothing for ctest")
    if os.geteuid() != 0:
        parser.error("setting up another Debian in a folder needs root: sudo ./run fidelity --suite")
    return given, for_ctest


def main(words):
    given, for_ctest = parsed(words)
    if given.dry_run:
        return 0
    debian = DebianTree(BUILD, TREE, given.debootstrap)
    debian.make()
    suite = Suite(debian)
    suite.prepare()
    complaints = 0
    for programs in CHOICE[given.programs]:
        record = suite.record(programs, for_ctest)
        complaints += len(record.get("saw our declarations", [])) + len(record["failures"])
        print(page.text([record]))
        if given.write:
            page.write(record, [each.folder for each in CHOICE["both"]])
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
