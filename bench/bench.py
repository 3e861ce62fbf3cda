#!/usr/bin/env python3
"""bench.py BUILD NATIVE [ROW...] [--write] [--samples N]: the table of what the module costs.

BUILD holds the programs built for Windows, NATIVE the one for this machine. With --write the table
is put into docs/performance.md, with the run that made it. Exit status 0, whatever was reached; 1
when something could not be measured, because the two sides did not do the same work for instance.
"""
import argparse
import os
import sys
import time

import images
import limits
import page
from programs import Programs

MODULE = "KelvorFidoAdLogonCredentialProvider.dll"


def by_row(figures, row):
    return [figure for figure in figures if figure["row"] == row]


def click(run):
    figures = run.programs.row("click", run.samples(300))
    return [line for figure in by_row(figures, "click to credential")
            for line in limits.median_and_p99(figure, 1.10, 1.25)] + [
                limits.p99_at_most(figure, 5000)
                for figure in by_row(figures, "answer to next step")]


def logonui_thread(run):
    return list(limits.longest(run.programs.row("thread", run.samples(100)), 5000))


def idle_tile(run):
    samples = run.programs.idle(2 * run.samples(32))
    return [limits.at_most({"row": "idle tile", "case": "2 s of 64 s",
                            "sides": {"module": samples["idle-module"],
                                      "bare": samples["idle-bare"]}}, "bare", 1.10)]


def log_line(run):
    return [limits.at_most(figure, "bare", 1.15)
            for figure in run.programs.row("log-line", run.samples(400))]


def load(run):
    return [limits.at_most(figure, "bare", 1.5)
            for figure in run.programs.row("load", run.samples(200))]


def enumeration(run):
    figures = run.programs.row("enumeration", run.samples(40))
    lines = [limits.at_most(figure, "bare", 1.2) for figure in by_row(figures, "enumeration")]
    for line in lines:
        line.limit, line.reached = "reported", None
    with_log = [limits.at_most(figure, "bare", 1.2)
                for figure in by_row(figures, "enumeration with the log")]
    for line in with_log:
        line.limit, line.reached = "reported", None
    return with_log + lines + list(limits.a_user(by_row(figures, "enumeration")))


def account_filter(run):
    return list(limits.in_proportion(run.programs.row("account-filter", run.samples(100))))


def look_up(run):
    figures = run.programs.json(run.samples(60))
    lines = [line for figure in by_row(figures, "keyed look-up")
             for line in limits.look_up(figure)]
    lines += [limits.extra_blocks(figure)
              for figure in by_row(figures, "keyed look-up, blocks beyond the values")]
    native = run.programs.json_native(run.samples(60))
    return lines + [line for figure in by_row(native, "keyed look-up, native")
                    for line in limits.look_up(figure)]


def module_size(run):
    return list(images.sizes(os.path.join(run.build, "bin", MODULE),
                             os.path.join(run.build, "bench", "kelvor_bench_empty.dll")))


def memory(run):
    cases = ("memory-empty", "memory-1", "memory-10", "memory-1000")
    kib = {case: [] for case in cases}
    for _ in range(run.samples(30)):
        for case in cases:
            kib[case] += list(run.programs.row(case)[0]["sides"].values())[0]
    return list(limits.memory(kib))


ROWS = {"click": click, "thread": logonui_thread, "idle": idle_tile, "log-line": log_line, "look-up": look_up,
        "enumeration": enumeration, "account-filter": account_filter, "module-size": module_size,
        "load": load, "memory": memory}


class Run:
    def __init__(self, options):
        self.build, self.most = options.build, options.samples
        self.programs = Programs(options.build, options.native)

    def samples(self, wanted):
        return min(wanted, self.most) if self.most else wanted


def arguments():
    parser = argparse.ArgumentParser(prog="./run bench", usage="./run bench [ROW...] [--write] "
                                     "[--samples N]")
    parser.add_argument("build", help=argparse.SUPPRESS)
    parser.add_argument("native", help=argparse.SUPPRESS)
    parser.add_argument("rows", nargs="*", metavar="ROW", help=", ".join(ROWS))
    parser.add_argument("--write", action="store_true",
                        help="put the whole table into docs/performance.md")
    parser.add_argument("--samples", type=int, help="at most so many samples of each side")
    parser.add_argument("--dry-run", action="store_true", help=argparse.SUPPRESS)
    options = parser.parse_intermixed_args()
    unknown = [row for row in options.rows if row not in ROWS]
    if unknown:
        parser.error(f"there is no row {unknown[0]}; there are: {', '.join(ROWS)}")
    if options.samples is not None and options.samples < 1:
        parser.error("at least one sample is needed")
    if options.write and (options.rows or options.samples):
        parser.error("only the whole table with all its samples is written down")
    return options


def main():
    options = arguments()
    if options.dry_run:
        return
    run = Run(options)
    began = time.monotonic()
    lines = []
    for row in options.rows or ROWS:
        print(f"measuring {row}  [{time.monotonic() - began:.0f} s]", file=sys.stderr, flush=True)
        lines += ROWS[row](run)
    print(page.table(lines))
    if options.write:
        page.write(lines, time.monotonic() - began)


main()
