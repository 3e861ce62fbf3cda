#!/usr/bin/env python3
"""real_console.py PROGRAM: the administrator's tool on a console, which Wine has where a terminal is.

Its colours are there unless NO_COLOR says otherwise or the output goes elsewhere, and every letter
of a name arrives.
"""
import fcntl
import os
import pty
import struct
import subprocess
import sys
import tempfile
import termios

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import tree  # noqa: E402

UNDER_WINE = os.path.join(tree.ROOT, "scripts", "under_wine")
LINE = "2026-11-21 16:23:01.000  pid=4711  tid=200    INFO   "
LOG = LINE + "GetSerialization: enter user='CORP\\jürgen-鍵' otherUser=0\r\n"
PLAIN = "2026-11-21 16:23:01.000  CORP\\jürgen-鍵  (tap)  not finished in the log  0 ms"
COLOURED = PLAIN.replace("2026-11-21 16:23:01.000", "\x1b[1m2026-11-21 16:23:01.000\x1b[0m").replace(
    "not finished in the log", "\x1b[33mnot finished in the log\x1b[0m")
ROWS_AND_COLUMNS = struct.pack("HHHH", 50, 200, 0, 0)  # a line needs no second one
problems = []


def start(log, output, terminal, no_color):
    environment = {name: value for name, value in os.environ.items() if name != "NO_COLOR"}
    environment |= {"LC_ALL": "C.UTF-8", "TERM": "xterm"}
    if no_color is not None:
        environment["NO_COLOR"] = no_color
    return subprocess.Popen(
        [UNDER_WINE, sys.argv[1], "log", "--file", "Z:" + log.replace("/", "\\")],
        stdin=terminal, stdout=output, stderr=terminal, env=environment, start_new_session=True)


def read_to_end(master):
    """What the other end wrote until the last program closed it, which reads as an error."""
    said = b""
    try:
        while some := os.read(master, 65536):
            said += some
    except OSError:
        pass
    return said


def on_console(log, no_color=None):
    master, terminal = pty.openpty()
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, ROWS_AND_COLUMNS)
    tool = start(log, terminal, terminal, no_color)
    os.close(terminal)
    said = read_to_end(master).decode(errors="replace")
    os.close(master)
    return tool.wait(), said


def redirected(log):
    """The output goes into a pipe; the other streams of the program are a console."""
    master, terminal = pty.openpty()
    tool = start(log, subprocess.PIPE, terminal, None)
    os.close(terminal)
    said = tool.stdout.read().decode(errors="replace")
    os.close(master)
    return tool.wait(), said


def expect(ran, wanted, unwanted, what):
    status, said = ran
    if status != 0 or wanted not in said or (unwanted and unwanted in said):
        problems.append(f"{what}: exit status {status}, {said!r}")


with tempfile.NamedTemporaryFile("w", suffix=".log", encoding="utf-8", newline="") as file:
    file.write(LOG)
    file.flush()
    expect(on_console(file.name), COLOURED, None, "on a console")
    expect(on_console(file.name, ""), COLOURED, None, "with an empty NO_COLOR")
    expect(on_console(file.name, "1"), PLAIN, "\x1b[1m", "with NO_COLOR")
    expect(redirected(file.name), PLAIN + "\n", "\x1b", "redirected")
tree.finish(problems, "The tool's console stands in admin/tool/console.")
