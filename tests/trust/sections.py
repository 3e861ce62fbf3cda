"""What `./run trust` runs, in its order, and what docs/trust.md says of it.

The long form of a section is its whole command; with a time limit the section gets its share of it.
A command may hold {seed}, {minutes} (the section's limit, or nothing) and {report}, the file that
the figures go to.
"""
from collections import namedtuple

# name: as in `./run trust NAME`. about: what it proves and how. share: of the whole time, in percent.
Section = namedtuple("Section", "name title about share command")

WINE = "scripts/under_wine build/mingw/tests/trust"


def program(name, count):
    return (f"{WINE}/{name}/kelvor_trust_{name}.exe --seed {{seed}} --count {count} {{minutes}}"
            " --report {report}")


SECTIONS = (
    Section(
        "codec", "Fuzzing of the JSON codec",
        "A libFuzzer program for each function of the codec, with AddressSanitizer and UBSan; each"
        " answer is compared with that of a slow reader of the same rules.",
        10, "python3 -B tests/trust/codec/fuzz.py build/fuzz --runs 100000000 --seed {seed}"
            " {minutes} --report {report}"),
    Section(
        "answers", "Answers of the card service",
        "Whole sign-ins of the shipped DLL, over a real pipe, with a service whose answers are cut,"
        " changed, doubled, nested, split, late or made up.",
        35, program("answers", 200_000)),
    Section(
        "faults", "Every import fails, everywhere",
        "A sign-in of each road once for each call of each imported function, with that call made to"
        " fail in every way its documentation allows.",
        10, program("faults", 1_000_000)),
    Section(
        "sequences", "Random LogonUI",
        "Seeded sequences of everything that LogonUI, the user, the key, the directory and the card"
        " service can do, in any order, with the module's threads running.",
        20, program("sequences", 20_000)),
    Section(
        "soak", "Soak and neighbours",
        "One process in which people sign in, fail, change keys and leave for half an hour, its memory,"
        " handles and threads measured; then two processes that sign in at once for a minute.",
        10, f"{WINE}/soak/kelvor_trust_soak.exe --seed {{seed}} --count 1000000 --minutes 30 {{minutes}}"
            " --report {report}"),
    Section(
        "memory", "Misused memory and undefined behaviour",
        "The whole suite on two other builds of the same sources: one whose every allocation ends at"
        " a guard page and vanishes when it is freed, one that traps at undefined behaviour.",
        10, "python3 -B tests/trust/memory/suite.py {minutes} --report {report}"),
    Section(
        "installer", "Installing and removing",
        "The installer with every set of its properties, by Wine's own msiexec. Before, while it is"
        " installed and after its removal HKEY_LOCAL_MACHINE\\Software and the files of the drive are"
        " compared, but for Windows Installer's own books and temporary files.",
        5, "python3 -B tests/trust/installer/every_set.py build/mingw --seed {seed} {minutes}"
           " --report {report}"),
)
