#!/usr/bin/env python3
"""The module's search for reader and card on a PC/SC stack, under another Wine: ./run fidelity."""
import argparse
import difflib
import os
import signal
import subprocess
import sys
import time

from virtual_card import ATR, VirtualCard

TREE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(TREE, "fidelity"))
from debian import DebianTree  # noqa: E402

PAGE = os.path.join(TREE, "docs", "pcsc.txt")
PROBE = os.path.join(TREE, "build", "mingw", "bin", "KelvorFidelityProbe.exe")
SETTINGS = r"HKLM\SOFTWARE\KelvorDirectoryFidoLogon\SmartCard"
CARDS = r"HKLM\SOFTWARE\Microsoft\Cryptography\Calais\SmartCards"
CARD = "Kelvor Virtual Smart Card"
READERS = """FRIENDLYNAME "Virtual PCD"
DEVICENAME /dev/null:0x8C7B
LIBPATH /usr/lib/pcsc/drivers/serial/libifdvpcd.so
CHANNELID 0x8C7B
"""
PATIENCE_S = 20


class CardStack:
    """pcscd, in its `with` statement, with the readers of a configuration."""

    def __init__(self, debian, readers):
        self.debian, self.readers = debian, readers

    def __enter__(self):
        folder = self.debian.path("/tmp/readers")
        os.makedirs(folder, exist_ok=True)
        os.makedirs(self.debian.path("/run/pcscd"), exist_ok=True)
        with open(os.path.join(folder, "readers"), "w", encoding="utf-8") as file:
            file.write(self.readers)
        with open(self.debian.path("/tmp/pcscd.log"), "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(
                self.debian.command("pcscd", "--foreground", "--disable-polkit", "--config",
                                    "/tmp/readers"),
                stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        until(lambda: os.path.exists(self.debian.path("/run/pcscd/pcscd.comm")))
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGKILL)  # its namespace goes with it
        self.process.wait()
        socket = self.debian.path("/run/pcscd/pcscd.comm")
        if os.path.exists(socket):
            os.remove(socket)


def until(happened):
    """What `happened` answers, once that is true; the last answer after PATIENCE_S."""
    end = time.monotonic() + PATIENCE_S
    while not (answer := happened()) and time.monotonic() < end:
        time.sleep(0.2)
    return answer


def insert(reader=0):
    def attempt():
        try:
            return VirtualCard(reader)
        except OSError:
            return None
    return until(attempt)


class Search:
    """Runs the probe, and keeps what it said of each situation."""

    def __init__(self, debian):
        self.debian = debian
        self.lines = []

    def probe(self, *arguments):
        return self.debian.run_wine(PROBE, *arguments).strip()

    def see(self, situation, answer):
        self.lines.append(f"{situation}\n    {answer}\n")
        print(self.lines[-1], end="", flush=True)

    def find(self, situation, expected, hint=""):
        """What is found at last; a card needs a moment to be noticed."""
        answer = ""

        def found():
            nonlocal answer
            answer = self.probe("find", hint)
            return answer == expected
        until(found)
        self.see(situation, answer)

    def wait(self, situation, meanwhile=None):
        waiting = subprocess.Popen(self.debian.wine(PROBE, "wait"),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL, text=True)
        card = meanwhile() if meanwhile else None
        waited, answer = waiting.communicate()[0].strip().split("\n")
        seconds = int(waited.removesuffix(" ms")) / 1000
        length = "the two seconds alone" if seconds < 4 else (
            "shorter than the whole time" if seconds < 12 else "the whole time")
        self.see(situation, f"{length}; then {answer}")
        return card

    def forget_card(self):
        """What an earlier run registered; it fails where there was none."""
        subprocess.run(self.debian.wine("reg", "delete", f"{CARDS}\\{CARD}", "/f"),
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=False)

    def setting(self, key, name, kind, value):
        self.debian.run_wine("reg", "add", key, "/v", name, "/t", kind, "/d", value, "/f")


def comes_later():
    time.sleep(6)
    return insert()


def without_card(search):
    search.find("no card stack", "no reader")
    with CardStack(search.debian, ""):
        search.find("a card stack without a reader", "no reader")


def with_card(search):
    first = "reader 'Virtual PCD 00 00', card "
    with CardStack(search.debian, READERS):
        search.find("two readers without a card", first + "''")
        search.wait("the wait, and no card comes")
        card = insert()
        search.find("a card whose answer to reset nobody has registered", first + "''")
        search.setting(f"{CARDS}\\{CARD}", "ATR", "REG_BINARY", ATR.hex())
        search.find("the same card, registered as Windows does it", first + f"'{CARD}'")
        search.see("a logon, with a container that is pinned", search.probe("ready"))
        search.wait("the wait, with the card there")
        search.find("the hint names the second reader, which is empty",
                    "reader 'Virtual PCD 00 01', card ''", "00 01")
        other = insert(1)
        search.find("the same, with a card in it", f"reader 'Virtual PCD 00 01', card '{CARD}'",
                    "00 01")
        other.remove()
        search.find("the hint names no reader", "no reader", "Reader of another maker")
        card.remove()
        search.find("the card is taken away", first + "''")
        search.wait("the wait, and a card comes in the middle of it", comes_later).remove()


def parsed(words):
    parser = argparse.ArgumentParser(
        prog="./run fidelity",
        description="Sets up a Debian 13 in build/fidelity, runs its pcscd with virtual readers, and has the "
        "module's own code look for reader and card under its Wine 10. Compares what it found with "
        "docs/pcsc.txt. Needs root. Exit status: 0 as written, 1 not, 2 called wrongly or not by root.",
        epilog="./run fidelity --suite runs the tests there: see its --help.", allow_abbrev=False)
    parser.add_argument("--debootstrap", default="/", help=argparse.SUPPRESS)  # below which it lies
    parser.add_argument("--dry-run", action="store_true", help=argparse.SUPPRESS)
    parser.add_argument("--write", action="store_true", help="writes what it found to docs/pcsc.txt")
    given = parser.parse_args(words)
    if os.geteuid() != 0:
        parser.error("setting up another Debian in a folder needs root: sudo ./run fidelity")
    return given


def main(words):
    given = parsed(words)
    if given.dry_run:
        return 0
    debian = DebianTree(os.path.join(TREE, "build", "fidelity"), TREE, given.debootstrap)
    debian.make()
    search = Search(debian)
    search.see("the programs", debian.run_wine("--version").strip() + ", " +
               debian.run("pcscd", "--version").split("\n")[0].rstrip("."))
    search.forget_card()
    search.setting(SETTINGS, "Reader", "REG_SZ", "Virtual PCD")
    search.setting(SETTINGS, "Container", "REG_SZ", "kelvor-alice")
    without_card(search)
    with_card(search)
    if given.write:
        with open(PAGE, "w", encoding="utf-8") as file:
            file.writelines(search.lines)
        return 0
    with open(PAGE, encoding="utf-8") as file:
        before = file.read().splitlines(keepends=True)
    now = "".join(search.lines).splitlines(keepends=True)
    difference = list(difflib.unified_diff(before, now, PAGE, "what was found now"))
    sys.stdout.writelines(difference)
    return 1 if difference else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
