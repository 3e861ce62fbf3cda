#!/usr/bin/env python3
"""secret_log_argument.py COMPILER: no secret compiles as an argument of a log line.

What carries a secret is put where a text or a number compiles, with each level of the log and with
each conversion; the compiler has to refuse it for that reason and no other.
"""
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

import tree

FLAGS = ["-std=c++20", "-fsyntax-only", "-D_UCRT", "-DUNICODE", "-D_UNICODE",
         "-DWIN32_LEAN_AND_MEAN", "-DNOMINMAX", "-D_WIN32_WINNT=0x0A00", "-Isrc"]
THROWN = "<throw-expression>"
REASON = "the log line's format does not fit its arguments"

HEAD = """#include "diag/log.h"
#include "provider/pin_text.h"
#include "sclogon/logon_handover.h"
#include "secret.h"
template <class T> T& Some();
"""

FUNCTIONS = ("LogInfo", "LogWarn", "LogError")
HARMLESS = (("%s", "Some<const std::string>()"), ("%ls", "Some<const std::wstring>()"),
            ("%zu", "Some<const kelvor::SecretText>().Size()"), ("%d", "1"))
SECRETS = ("Some<const kelvor::SecretText>()", "Some<const kelvor::SecretBytes>()",
           "Some<kelvor::Secret<wchar_t>>()", "Some<const kelvor::LogonHandover>()",
           "Some<const kelvor::PinText>()", "Some<const kelvor::SecretBytes>().Data()",
           "Some<const kelvor::SecretText>().View()")


def compile_calls(calls):
    """Compiles each call on a line of its own: what the compiler says, and the calls it refuses."""
    unit = HEAD + "".join(f"void Say{number}() {{ kelvor::{call}; }}\n"
                          for number, call in enumerate(calls))
    result = subprocess.run([sys.argv[1], *FLAGS, "-x", "c++", "-"], input=unit.encode(),
                            cwd=tree.ROOT, capture_output=True)
    output = result.stderr.decode(errors="replace")
    first = HEAD.count("\n") + 1
    lines = {int(line) for line in re.findall(
        r"^<stdin>:(\d+):\d+:.*(?:error: |log_detail::Format<)", output, re.MULTILINE)}
    return output, [call for number, call in enumerate(calls) if first + number in lines]


def calls_with(arguments):
    return [f'{function}("the value is {conversion}", {argument})'
            for function in FUNCTIONS for conversion, argument in arguments]


harmless = calls_with(HARMLESS)
secret = calls_with((conversion, argument) for conversion in ("%s", "%ls", "%zu", "%X")
                    for argument in SECRETS)
with ThreadPoolExecutor(2) as pool:
    (said, refused), (reasons, secrets_refused) = pool.map(compile_calls, (harmless, secret))
problems = [f"{call} does not compile" for call in refused]
if said and not refused:
    problems.append(f"the compiler says: {said[:400]}")
problems += [f"{call} compiles" for call in secret if call not in secrets_refused]
problems += [f"a secret is refused for another reason: {line}"
             for line in reasons.splitlines() if "error: " in line and THROWN not in line]
if REASON not in reasons:
    problems.append(f"the compiler does not show the reason: {reasons[:400]}")
tree.finish(problems, "A secret does not belong in the log; see src/diag/log.h.")
