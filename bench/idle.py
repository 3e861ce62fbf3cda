"""The processor time of a process that waits, as the kernel counts it, in nanoseconds."""
import glob
import os
import subprocess
import time

STEP_S = 2


def process_of(argument):
    """The Windows program that was started with this argument; None while it is not there."""
    for path in glob.glob("/proc/[0-9]*/cmdline"):
        try:
            with open(path, "rb") as file:
                words = file.read().split(b"\0")
        except OSError:
            continue
        if argument.encode() in words and words[0].endswith(b"kelvor_bench.exe"):
            return int(path.split("/")[2])
    return None


def processor_ns(process):
    total = 0
    for path in glob.glob(f"/proc/{process}/task/*/schedstat"):
        with open(path, encoding="ascii") as file:
            total += int(file.read().split()[0])
    return total


def side_by_side(commands, seconds):
    """Runs the commands, by the argument that marks each, at once. The time of each in every step."""
    running = {}
    for argument, command in commands.items():
        running[argument] = subprocess.Popen(command, stdout=subprocess.PIPE)
        while b"waiting" not in running[argument].stdout.readline():
            if running[argument].poll() is not None:
                raise RuntimeError(f"{argument} did not begin to wait")
    processes = {argument: process_of(argument) for argument in commands}
    samples = {argument: [] for argument in commands}
    before = {argument: processor_ns(process) for argument, process in processes.items()}
    for _ in range(seconds // STEP_S):
        time.sleep(STEP_S)
        for argument, process in processes.items():
            now = processor_ns(process)
            samples[argument].append((now - before[argument]) / 1000)
            before[argument] = now
    for argument in commands:
        running[argument].communicate()
    return samples
