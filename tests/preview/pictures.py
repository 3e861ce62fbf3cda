#!/usr/bin/env python3
"""pictures.py BIN: the window plays every scenario of simulator/preview/pictures to its end, on a
screen that nobody sees, and writes each picture that they ask for: a PNG of the window's size with
a sign-in screen in it. BIN is the folder of the programs.
"""
import glob
import os
import re
import struct
import subprocess
import sys
import tempfile
import zlib

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SIZE = (1280, 800)
MANY_COLOURS = 200  # a picture, letters with smooth edges, two grounds; a blank window has few
SIGNATURE = b"\x89PNG\r\n\x1a\n"


def wanted_names():
    names = []
    for path in glob.glob(os.path.join(ROOT, "simulator/preview/pictures/*.scenario")):
        with open(path, encoding="utf-8") as file:
            names += re.findall(r"^picture (\S+)$", file.read(), re.MULTILINE)
    return sorted(names)


def chunks(data):
    at = len(SIGNATURE)
    while at < len(data):
        length, kind = struct.unpack_from(">I4s", data, at)
        yield kind, data[at + 8:at + 8 + length]
        at += length + 12


def paeth(left, up, corner):
    estimate = left + up - corner
    return min((left, up, corner), key=lambda value: abs(estimate - value))


def rows(raw, width, height, depth):
    """The rows of a picture of `depth` bytes a pixel, with PNG's filters taken back."""
    stride, before = width * depth, bytearray(width * depth)
    for number in range(height):
        start = number * (stride + 1)
        kind, row = raw[start], bytearray(raw[start + 1:start + 1 + stride])
        if kind:
            for x in range(stride):
                left = row[x - depth] if x >= depth else 0
                corner = before[x - depth] if x >= depth else 0
                row[x] = (row[x] + (left, before[x], (left + before[x]) // 2,
                                    paeth(left, before[x], corner))[kind - 1]) & 255
        yield row
        before = row


def problem_of(path):
    if not os.path.exists(path):
        return "was not written"
    with open(path, "rb") as file:
        data = file.read()
    if not data.startswith(SIGNATURE):
        return "is no PNG"
    parts = list(chunks(data))
    width, height, bits, colour = struct.unpack_from(">IIBB", parts[0][1])
    if (width, height) != SIZE:
        return f"is {width} by {height} pixels large"
    depth = {(8, 2): 3, (8, 6): 4}[bits, colour]
    raw = zlib.decompress(b"".join(part for kind, part in parts if kind == b"IDAT"))
    colours = {bytes(row[x:x + depth]) for row in rows(raw, width, height, depth)
               for x in range(0, len(row), depth)}
    return None if len(colours) >= MANY_COLOURS else f"has {len(colours)} colours"


def main(programs):
    names = wanted_names()
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run([os.path.join(ROOT, "scripts/show_preview"), programs, "pictures",
                              folder], check=False)
        if run.returncode != 0:
            return f"the window ended with exit status {run.returncode}"
        problems = [(name, problem_of(os.path.join(folder, name + ".png"))) for name in names]
    bad = [f"{name}.png {problem}" for name, problem in problems if problem]
    if len(names) != len(set(names)) or not names:
        bad.append(f"names of pictures: {names}")
    return "\n".join(bad) or None


sys.exit(main(sys.argv[1]))
