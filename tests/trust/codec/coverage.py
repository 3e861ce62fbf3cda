#!/usr/bin/env python3
"""coverage.py BUILD FUNCTION...: the fuzzing of these functions has run nearly all of the codec."""
import glob
import json
import os
import subprocess
import sys

LEAST_PERCENT = 97.0
SOURCE = "src/cardsvc/json_codec.cpp"


def folder(build, function):
    """Where a function's programs count what they run."""
    return os.path.join(build, "profiles", function)


def _tool(name, *arguments):
    return subprocess.run([name, *arguments], check=True, capture_output=True).stdout


def _merged(build, functions):
    counts = []
    for function in functions:
        found = glob.glob(os.path.join(folder(build, function), "*.profraw"))
        if not found:
            raise RuntimeError(f"{function} was not fuzzed")
        counts += found
    merged = os.path.join(build, "profiles", "merged.profdata")
    _tool("llvm-profdata-14", "merge", "-sparse", "-o", merged, *counts)
    return merged


def judge(build, functions):
    """Tells the percentage of the codec's regions that ran; answers it and whether it suffices."""
    program = os.path.join(build, "bin", f"kelvor_fuzz_{next(iter(functions))}")
    files = json.loads(_tool("llvm-cov-14", "export", "-summary-only", program,
                             f"-instr-profile={_merged(build, functions)}"))["data"][0]["files"]
    regions = next(file["summary"]["regions"] for file in files
                   if file["filename"].endswith(SOURCE))
    percent = regions["covered"] * 100 / regions["count"]
    print(f"{regions['covered']} of {regions['count']} regions of {SOURCE} ran: {percent:.1f} %, "
          f"{LEAST_PERCENT:.0f} % is the least", flush=True)
    return percent, percent >= LEAST_PERCENT


if __name__ == "__main__":
    sys.exit(0 if judge(os.path.abspath(sys.argv[1]), sys.argv[2:])[1] else 1)
