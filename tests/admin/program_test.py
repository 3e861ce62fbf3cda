#!/usr/bin/env python3
"""program_test.py PROGRAM: the administrator's tool as it is shipped, run as an administrator would.

Runs in the prefix of the installer's tests, in which nothing of the sign-in is left when none of them
runs: `check` finds what is missing and changes nothing.
"""
import json
import os
import struct
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import pe_image  # noqa: E402
import tree  # noqa: E402

RESOURCE_MANIFEST = 24  # RT_MANIFEST
FIXED_INFO_SIGNATURE = 0xFEEF04BD  # VS_FIXEDFILEINFO.dwSignature
UNDER_WINE = os.path.join(tree.ROOT, "scripts", "under_wine")
problems = []


def run(*words):
    result = subprocess.run([UNDER_WINE, "--in", "package", sys.argv[1], *words], stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, timeout=120)
    return result.returncode, result.stdout.decode(), result.stderr.decode()


def expect(holds, problem):
    if not holds:
        problems.append(problem)


def check_resources():
    image = pe_image.PeImage(sys.argv[1])
    version = image.resource(pe_image.RESOURCE_VERSION, 1) or b""
    start = version.find(struct.pack("<I", FIXED_INFO_SIGNATURE))
    high, low = struct.unpack_from("<II", version, start + 8) if start >= 0 else (0, 0)
    numbers = f"{high >> 16}.{high & 0xFFFF}.{low >> 16}"
    expect(numbers == sys.argv[2], f"the file version is {numbers}, not {sys.argv[2]}")
    expect(b'level="asInvoker"' in (image.resource(RESOURCE_MANIFEST, 1) or b""),
           "the manifest asks for an administrator's rights")


def check_help():
    status, output, error = run("--help")
    expect(status == 0 and error == "" and "\r" not in output, f"--help: {status} {error!r}")
    commands = [line.split()[0] for line in output.split("Commands:\n")[1].split("\n\n")[0].split("\n")]
    expect({"check", "explain"} <= set(commands), f"--help names {commands}")
    for command in commands:
        for words in (("help", command), (command, "--help")):
            status, output, error = run(*words)
            expect(status == 0 and error == "" and
                   output.startswith(f"Usage: KelvorFidoAdLogonAdmin {command}"),
                   f"{words}: {status} {output!r} {error!r}")


def check_wrong_use():
    for words in ((), ("bogus",), ("check", "--bogus"), ("check", "--user", "alice"),
                  ("explain",), ("explain", "zz"), ("log", "--html", ""), ("log", "--file", ""),
                  ("log", "--file", "a.log", "--html", ".\\A.log.1"), ("log", "--since", "noon")):
        status, output, error = run(*words)
        expect(status == 2 and output == "" and error.startswith("KelvorFidoAdLogonAdmin: "),
               f"{words}: {status} {output!r} {error!r}")


def check_explain():
    status, output, _ = run("explain", "0x31")
    expect(status == 0 and "incorrect PIN — check your security key's PIN" in output,
           f"explain 0x31: {status} {output!r}")
    status, output, _ = run("explain", "0x80091234")
    expect(status == 1, f"explain of an unknown code: {status} {output!r}")


def check_check():
    status, output, error = run("check")
    expect(status == 3 and error == "" and "\x1b" not in output, f"check: {status} {error!r}")
    expect(output.startswith("FAIL  registration "), f"check begins with {output[:80]!r}")
    status, output, error = run("check", "--json", "--user", "CORP\\alice")
    expect(status == 3 and error == "", f"check --json: {status} {error!r}")
    found = json.loads(output)
    expect(found["outcome"] == "broken" and len(found["checks"]) == 20, f"check --json: {found}")
    expect(found["tool"] == sys.argv[2], f"check --json: tool {found['tool']}")


check_resources()
check_help()
check_wrong_use()
check_explain()
check_check()
tree.finish(problems, "The tool stands in admin/tool.")
