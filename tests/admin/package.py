#!/usr/bin/env python3
"""package.py CASE BIN FOLDER: the installer, by Wine's own msiexec, in a prefix of its own.

BIN holds the programs, FOLDER the packages that the case `build` makes for the others. Each set of
properties is tried by `./run trust installer`.
"""
import os
import re
import sys

from installed_pc import (CLASS, FORGET_SETTINGS, MODULE, MODULE_FILE, SETTINGS_KEY, SOME, Pc, expect,
                          expect_status, given, msiexec, must, settings, tree, windows_path)

CASE, BIN, FOLDER = sys.argv[1:]
PC = Pc("package", os.path.dirname(BIN), FOLDER)
OLDER, VERSION, NEWER, DAMAGED = "0.9.0", "1.0.0", "1.1.0", "1.2.0"
INSTALL_FAILURE = 1603 & 0xFF  # Wine hands Linux the low byte of ERROR_INSTALL_FAILURE
# Administrators own it; SYSTEM and they have full control, handed down; nothing comes from above.
CLOSED = "O:BAG:SYD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)"


def msi(version):
    return os.path.join(FOLDER, f"{version}.msi")


def expect_unchanged(before, what):
    after = PC.snapshot()
    for kind, was, found in zip(("registry", "files", "versions"), before, after):
        expect(found, was, f"{kind} {what}")


def build():
    os.makedirs(FOLDER, exist_ok=True)
    for version, *options in ((OLDER,), (VERSION,), (NEWER,), (DAMAGED, "--damaged")):
        must("python3", "-B", "admin/installer/build_msi.py", BIN, msi(version), "--version",
             version, *options)
    PC.renew()


def properties():
    before = PC.snapshot()
    for names in [(), tuple(SOME)]:
        PC.install_and_remove(msi(VERSION), VERSION, names, before)


def log_folder():
    rows = must("msiinfo", "export", msi(VERSION), "MsiLockPermissionsEx").splitlines()[3:]
    expect({tuple(row.split("\t")[1:4]) for row in rows},
           {(name, "CreateFolder", CLOSED) for name in ("DataFolder", "LogFolder")},
           "who may write where the log lies")
    rows = must("msiinfo", "export", msi(VERSION), "CreateFolder").splitlines()[3:]
    expect({row.split("\t")[0] for row in rows}, {"CompanyFolder", "DataFolder", "LogFolder"},
           "folders that are made")


def each_property():
    for name, (value, spelled, data) in SOME.items():
        ran = PC.run_file(msiexec("/i", msi(VERSION), *given([name])), f"reg query HKLM\\{SETTINGS_KEY}",
                          msiexec("/x", msi(VERSION)), FORGET_SETTINGS)
        shown = ran.stdout.decode()
        expect_status(ran.returncode, 0, f"{name}: {shown}")
        found = re.findall(r"^ +(\S+) +REG_(?:SZ|DWORD) +(.*?)\r?$", shown, re.MULTILINE)
        wanted = f"0x{data}" if spelled.startswith("dword") else data
        expect(set(found), {(value, wanted)}, f"settings after {name}")
        PC.forget_log()


def repair():
    PC.install(msi(VERSION), ["ENABLED"])
    whole = PC.snapshot()
    os.remove(os.path.join(PC.drive, MODULE_FILE))
    PC.wine("reg", "delete", rf"HKLM\SOFTWARE\Classes\CLSID\{CLASS}", "/f")
    status = PC.msiexec("/i", msi(VERSION), "REINSTALL=ALL", "REINSTALLMODE=amus")
    expect_status(status, 0, "repair")
    expect_unchanged(whole, "after the repair")


def upgrade():
    PC.install(msi(VERSION), ["ENABLED", "FIDOSERVERURL"])
    before = PC.snapshot()
    PC.install(msi(NEWER), ["FIDOGATE"])
    after = PC.snapshot()
    expect(after[0] - before[0], settings(["FIDOGATE"]), "new in the registry")
    expect(before[0] - after[0], set(), "gone from the registry")
    expect(after[1], before[1], "files after the upgrade")
    expect(after[2], {NEWER}, "versions listed")


def failed_upgrade():
    rows = must("msiinfo", "export", msi(NEWER), "InstallExecuteSequence").splitlines()[3:]
    places = {action: int(place) for action, _, place in (row.split("\t") for row in rows)}
    within = sorted((place, action) for action, place in places.items()
                    if place >= places["InstallInitialize"])
    expect({within[1][1]}, {"RemoveExistingProducts"}, "the first action of the transaction")
    PC.install(msi(VERSION), ["ENABLED"])
    whole = PC.snapshot()
    expect_status(PC.msiexec("/i", msi(DAMAGED)), INSTALL_FAILURE, "a damaged newer version")
    PC.install(msi(VERSION))
    expect_unchanged(whole, "after the failure and the way back")


def downgrade():
    PC.install(msi(VERSION), ["ENABLED"])
    before = PC.snapshot()
    expect_status(PC.msiexec("/i", msi(OLDER), "FIDOGATE=1"), INSTALL_FAILURE, "an older version")
    expect_unchanged(before, "after the refusal")


def wrong_value():
    before = PC.snapshot()
    for property_ in ("ENABLED=yes", "FIDOGATE=2", "FIDODEVINSECURETLS=true"):
        expect_status(PC.msiexec("/i", msi(VERSION), property_), INSTALL_FAILURE, property_)
    expect_unchanged(before, "after the refusals")


def logon_screen():
    PC.install(msi(VERSION))
    played = PC.wine(os.path.join(BIN, "KelvorSimLogonUi.exe"), "--with-service", "--script",
                  windows_path(os.path.join(tree.ROOT, "simulator/scenarios/sign-in.scenario")))
    expect_status(played.returncode, 0, played.stdout.decode(errors="replace"))


def signature():
    name, password = os.path.join(FOLDER, "throw-away"), os.path.join(FOLDER, "password")
    with open(password, "w", encoding="ascii") as file:
        file.write("throw-away")
    must("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
         "/CN=Throw-away", "-addext", "extendedKeyUsage=codeSigning", "-keyout", name + ".key",
         "-out", name + ".pem")
    must("openssl", "pkcs12", "-export", "-inkey", name + ".key", "-in", name + ".pem",
         "-passout", "file:" + password, "-out", name + ".pfx")
    package = os.path.join(FOLDER, "signed.msi")
    must("python3", "-B", "admin/installer/build_msi.py", BIN, package, "--certificate",
         name + ".pfx", "--password-file", password)
    must("msiextract", "--directory", FOLDER, package)
    extracted = [os.path.join(folder, file) for folder, _, names in os.walk(FOLDER)
                 for file in names if file.startswith("Kelvor") and file[-4:] in (".dll", ".exe")]
    expect({os.path.basename(path) for path in extracted},
           {MODULE + ".dll", "KelvorFidoAdLogonAdmin.exe"}, "programs in the package")
    for path in (package, *extracted):
        must("osslsigncode", "verify", "-CAfile", name + ".pem", "-in", path)


CASES = {case.__name__: case for case in (
    build, properties, each_property, log_folder, repair, upgrade, failed_upgrade, downgrade,
    wrong_value, logon_screen, signature)}
try:
    CASES[CASE]()
finally:
    if CASE not in ("build", "log_folder", "signature"):
        for installed in (VERSION, NEWER):
            PC.msiexec("/x", msi(installed))
        PC.forget()
