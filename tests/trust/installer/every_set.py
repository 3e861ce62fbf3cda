#!/usr/bin/env python3
"""every_set.py BUILD [--seed N] [--minutes N] [--report FILE]: the installer with every set of properties.

Builds the installer from the programs of the build. In as many Wine prefixes as there are processors it is
installed with each set in turn and removed again; registry and files are compared with those of before.
The seed decides the order: with a time limit it is any of the sets that are tried.
"""
import argparse
import itertools
import json
import multiprocessing
import os
import random
import sys
import time
from concurrent.futures import ProcessPoolExecutor, as_completed

ROOT = os.path.abspath(os.path.join(os.path.dirname(os.path.abspath(__file__)), *[os.pardir] * 3))
sys.path.insert(0, os.path.join(ROOT, "tests", "admin"))
import installed_pc  # noqa: E402

FOLDER = os.path.join(ROOT, "build", "trust", "installer")
VERSION = "1.0.0"
MSI = os.path.join(FOLDER, VERSION + ".msi")
CLAIM = ("Installed with a set of properties, the product writes its registration, its files, its log's"
         " folders and those settings, and no other thing; removed again, it leaves nothing but the log"
         " and those settings")


class Worker:
    """One process with a PC of its own."""

    def __init__(self, prefix, build):
        self.pc = installed_pc.Pc(prefix, build, FOLDER)
        self.pc.renew()
        self.before = self.pc.snapshot()

    worker = None

    @classmethod
    def begin(cls, prefixes, build):
        cls.worker = cls(prefixes.get(), build)

    @classmethod
    def try_set(cls, names):
        cls.worker.pc.install_and_remove(MSI, VERSION, names, cls.worker.before)
        return names


def sets(seed):
    properties = installed_pc.SOME
    found = [names for count in range(len(properties) + 1)
             for names in itertools.combinations(properties, count)]
    random.Random(seed).shuffle(found)
    return found


def try_sets(wanted, build, minutes):
    """How many were tried before the time was over."""
    workers = os.cpu_count()
    prefixes = multiprocessing.SimpleQueue()
    for number in range(workers):
        prefixes.put(f"installer-{number}")
    begin, tried = time.monotonic(), 0
    with ProcessPoolExecutor(workers, initializer=Worker.begin, initargs=(prefixes, build)) as pool:
        try:
            for running in as_completed([pool.submit(Worker.try_set, names) for names in wanted]):
                tried += 1
                seconds = round(time.monotonic() - begin)
                print(f"{tried} of {len(wanted)} [{seconds // 60}:{seconds % 60:02}]: "
                      f"{' '.join(running.result()) or 'no property'}", flush=True)
                if minutes and seconds >= minutes * 60:
                    break
        finally:
            pool.shutdown(cancel_futures=True)
    return tried


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", help="the folder of the build")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--minutes", type=int, help="ends after about that time")
    parser.add_argument("--report", help="the file that figures are added to")
    return parser.parse_args()


def main():
    options = arguments()
    os.makedirs(FOLDER, exist_ok=True)
    installed_pc.must("python3", "-B", "admin/installer/build_msi.py",
                      os.path.join(options.build, "bin"), MSI, "--version", VERSION)
    wanted = sets(options.seed)
    tried = try_sets(wanted, options.build, options.minutes)
    if options.report:
        with open(options.report, "a", encoding="utf-8") as file:
            print(json.dumps({"claim": CLAIM, "figure": f"{tried} of {len(wanted)} sets",
                              "seed": options.seed}), file=file)


if __name__ == "__main__":
    main()
