#!/usr/bin/env python3
"""Fuzzes the functions of the codec: each against a slow reader of the same rules, with sanitizers.

A difference, a crash or what a sanitizer objects to is told with the input that led there and the
command that replays it; the exit status is 1 then, and when there is too little coverage.
"""
import argparse
import json
import os
import shutil
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor

import coverage
import seeds

HERE = os.path.dirname(os.path.abspath(__file__))
# The codec looks at a few characters at a time: longer texts find nothing more and cost speed. What
# is long is run once before.
LONGEST = {"escape": 10, "skip_space": 12, "read_string": 48, "skip_value": 48, "find_key": 56,
           "read_bool": 48, "read_results": 56}
# The sanitizer remembers few freed blocks and no stacks: those of the failure itself are told.
SANITIZER = "malloc_context_size=0:quarantine_size_mb=4:thread_local_quarantine_size_kb=64"
PROGRESS_SECONDS = 10


class Target:
    """One program, and where it keeps what."""

    def __init__(self, function, build):
        self.function = function
        self.program = os.path.join(build, "bin", f"kelvor_fuzz_{function}")
        self.short_seeds = os.path.join(build, "seeds", function)
        self.long_seeds = os.path.join(build, "long_seeds", function)
        self.corpus = os.path.join(build, "corpus", function)
        self.findings = os.path.join(build, "findings", function + "-")
        self.profiles = coverage.folder(build, function)
        self.log = os.path.join(build, f"{function}.log")

    def prepare(self):
        shutil.rmtree(self.profiles, ignore_errors=True)
        for folder in (self.corpus, os.path.dirname(self.findings)):
            os.makedirs(folder, exist_ok=True)
        seeds.write(self.function, self.short_seeds, self.long_seeds)

    def start(self, *arguments):
        """Starts the program; what it says goes to its log."""
        environment = dict(os.environ, ASAN_OPTIONS=SANITIZER,
                           LLVM_PROFILE_FILE=os.path.join(self.profiles, "%p.profraw"))
        with open(self.log, "wb") as log:
            return subprocess.Popen([self.program, f"-artifact_prefix={self.findings}", *arguments],
                                    stdout=log, stderr=subprocess.STDOUT, env=environment)

    def said(self):
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read().splitlines()

    def statistic(self, name):
        line = next(line for line in self.said() if line.startswith(f"stat::{name}:"))
        return int(line.split()[-1])

    def last_count(self):
        counts = [line.split()[0] for line in self.said() if line.startswith("#")]
        return int(counts[-1].strip("#")) if counts else 0


class Failure(Exception):
    """A program ended otherwise than it should."""


def wait(target, process):
    while True:
        try:
            status = process.wait(PROGRESS_SECONDS)
            break
        except subprocess.TimeoutExpired:
            print(f"{target.function}: {target.last_count():,} executions so far", flush=True)
    if status == 0:
        return
    said = target.said()
    kept = [line.split()[-1] for line in said if "Test unit written to" in line]
    advice = [f"replay it: {target.program} {path}" for path in kept]
    raise Failure("\n".join([f"{target.function} FAILED with exit status {status}", *said[-60:],
                             *advice]))


def limits(options):
    """How much a function gets: what comes first of --runs and its share of --minutes, or --seconds."""
    if not options.runs:
        return [f"-max_total_time={options.seconds}"]
    share = (options.minutes or 0) * 60 * options.workers // len(LONGEST)
    return [f"-runs={options.runs}", f"-max_total_time={share}"]


def fuzz(target, options):
    """The function's name, its executions and how long they took."""
    target.prepare()
    wait(target, target.start("-runs=0", "-max_len=70000", target.short_seeds, target.long_seeds))
    begin = time.monotonic()
    wait(target, target.start(
        f"-seed={options.seed}", f"-max_len={LONGEST[target.function]}", *limits(options),
        f"-dict={HERE}/json.dict", "-entropic=0", "-print_final_stats=1",
        target.corpus, target.short_seeds))
    seconds = max(1, round(time.monotonic() - begin))
    executions = target.statistic("number_of_executed_units")
    print(f"{target.function}: {executions:,} executions in {seconds} s, "
          f"{executions // seconds:,} a second", flush=True)
    return target.function, executions, seconds


def report(path, seed, results, covered):
    """Adds the figures to the file that the page of figures is made of."""
    fewest = min(executions for _, executions, _ in results)
    lines = [
        {"claim": "Each function of the JSON codec answers as a slow reader does that was written "
                  "apart from it, and neither AddressSanitizer nor UBSan objects",
         "figure": f"{fewest:,} or more fuzzed inputs a function, {len(results)} functions",
         "seed": seed},
        {"claim": "Regions of the codec's source that this fuzzing ran",
         "figure": f"{covered:.1f} %", "seed": seed},
        {"title": "Fuzzing of the JSON codec", "header": ["function", "inputs", "seconds"],
         "rows": [[function, f"{executions:,}", f"{seconds:,}"]
                  for function, executions, seconds in results]}]
    with open(path, "a", encoding="utf-8") as file:
        file.writelines(json.dumps(line) + "\n" for line in lines)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", help="the folder of the fuzzing programs' build")
    parser.add_argument("functions", nargs="*", help="the functions to fuzz; all without a name")
    parser.add_argument("--seconds", type=int, default=30, help="how long each is fuzzed")
    parser.add_argument("--runs", type=int, help="how many inputs each gets, instead of a time")
    parser.add_argument("--minutes", type=int, help="ends --runs of all functions earlier")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--workers", type=int, default=os.cpu_count(), help="how many at once")
    parser.add_argument("--report", help="the file that figures are added to")
    options = parser.parse_args()
    if unknown := set(options.functions) - set(LONGEST):
        parser.error(f"no such function: {', '.join(sorted(unknown))}")
    if not os.path.isdir(os.path.join(options.build, "bin")):
        parser.error(f"no programs in {options.build}: ./run fuzz builds them")
    return options


def main():
    options = arguments()
    targets = [Target(function, os.path.abspath(options.build))
               for function in options.functions or LONGEST]
    with ThreadPoolExecutor(options.workers) as pool:
        runs = [pool.submit(fuzz, target, options) for target in targets]
        failures = [run.exception() for run in runs if run.exception()]
    for failure in failures:
        print(failure)
    if failures:
        return 1
    if options.functions:
        return 0
    covered, enough = coverage.judge(os.path.abspath(options.build), LONGEST)
    if options.report:
        report(options.report, options.seed, [run.result() for run in runs], covered)
    return 0 if enough else 1


if __name__ == "__main__":
    sys.exit(main())
