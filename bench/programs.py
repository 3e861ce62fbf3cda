"""Runs the programs of the benchmark and reads what they print: one figure a line, in JSON."""
import json
import os
import subprocess
import sys

import idle

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


class Programs:
    def __init__(self, build, native):
        self.folder = os.path.join(build, "bench")
        self.native = native

    def row(self, name, *arguments):
        return self._read(self._wine("kelvor_bench.exe", name, *arguments))

    def idle(self, seconds):
        """The two sides in prefixes of their own: each has Windows' services to itself. They begin
        anew four times, since where a process lies and who began stays as it is while it runs."""
        sides = ["idle-module", "idle-bare"]
        samples = {side: [] for side in sides}
        for _ in range(0, seconds, max(seconds // 4, 2)):
            commands = {side: self._wine("kelvor_bench.exe", side, seconds // 4 + 10,
                                         prefix=f"bench-{side}") for side in sides}
            for side, taken in idle.side_by_side(commands, max(seconds // 4, 2)).items():
                samples[side] += taken
            sides.reverse()
        return samples

    def json(self, samples):
        return self._read(self._wine("kelvor_bench_json.exe", str(samples)))

    def json_native(self, samples):
        return self._read([os.path.join(self.native, "kelvor_bench_json_native"), str(samples)])

    def _wine(self, program, *arguments, prefix="bench"):
        return [os.path.join(ROOT, "scripts", "under_wine"), "--in", prefix,
                os.path.join(self.folder, program), *map(str, arguments)]

    @staticmethod
    def _read(command):
        result = subprocess.run(command, stdout=subprocess.PIPE, cwd=ROOT)
        if result.returncode:
            sys.exit(f"bench.py: {' '.join(command[-3:])} ended with {result.returncode}")
        lines = result.stdout.decode().splitlines()
        return [json.loads(line) for line in lines if line.startswith("{")]
