#!/usr/bin/env python3
"""package.py CASE BIN FOLDER: the installer, by Wine's own msiexec, in a prefix of its own.

BIN holds the programs, FOLDER the packages that the case `build` makes for the others. What a case
finds in registry and files is compared with what was there before, but for Windows Installer's own
books. The case `every_set` takes an hour and is not run by ctest.
"""
import contextlib
import itertools
import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import tree  # noqa: E402

CASE, BIN, FOLDER = sys.argv[1:]
PREFIX = "package"
POOL = os.environ.get("KELVOR_WINE_POOL") or os.path.join(tree.ROOT, "build", "wine")
DRIVE = os.path.join(POOL, PREFIX, "drive_c")
CLASS = "{C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF}"
MODULE = "KelvorFidoAdLogonCredentialProvider"
MODULE_FILE = f"windows/system32/{MODULE}.dll"
SETTINGS_KEY = r"SOFTWARE\KelvorDirectoryFidoLogon\SmartCard"
OLDER, VERSION, NEWER = "0.9.0", "1.0.0", "1.1.0"
INSTALL_FAILURE = 1603 & 0xFF  # Wine hands Linux the low byte of ERROR_INSTALL_FAILURE
SOME = {  # a value of each kind for every property
    "ENABLED": ("Enabled", "dword:00000001", "1"),
    "FIDOGATE": ("FidoGate", "dword:00000001", "1"),
    "FIDOSERVERURL": ("FidoServerUrl", '"https://signin.corp.example"',
                      "https://signin.corp.example"),
    "FIDORPID": ("FidoRpId", '"corp.example"', "corp.example"),
    "FIDODEVINSECURETLS": ("FidoDevInsecureTls", "dword:00000000", "0"),
    "CSP": ("Csp", '"A provider"', "A provider"),
    "READER": ("Reader", '"Reader 0"', "Reader 0"),
    "CONTAINER": ("Container", '"alice-container"', "alice-container"),
    "CONTAINERUPN": ("ContainerUpn", '"alice@corp.example"', "alice@corp.example"),
}
REGISTRATION = {
    (rf"SOFTWARE\Classes\CLSID\{CLASS}", "@", f'"{MODULE}"'),
    (rf"SOFTWARE\Classes\CLSID\{CLASS}\InprocServer32", "@", f'"{MODULE}.dll"'),
    (rf"SOFTWARE\Classes\CLSID\{CLASS}\InprocServer32", "ThreadingModel", '"Apartment"'),
    (r"SOFTWARE\Microsoft\Windows\CurrentVersion\Authentication\Credential Providers"
     rf"\{CLASS}", "@", f'"{MODULE}"'),
}
PROGRAM_LIST = r"HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall"
DATA_FOLDER = "ProgramData/KelvorDirectoryFidoLogon/"
LOG_FILE = DATA_FOLDER + "Logs/CredentialProviderFido.log"
LOG = {DATA_FOLDER, DATA_FOLDER + "Logs/", LOG_FILE}
# Administrators own it; SYSTEM and they have full control, handed down; nothing comes from above.
CLOSED = "O:BAG:SYD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)"
FILES = {MODULE_FILE, "Program Files/Kelvor/"} | {"Program Files/Kelvor/FidoAdLogon/" + name for name in (
    "", "KelvorFidoAdLogonAdmin.exe", "policies/", "policies/KelvorFidoAdLogon.admx",
    "policies/en-US/", "policies/en-US/KelvorFidoAdLogon.adml", "docs/", "docs/accessibility.md",
    "docs/deployment.md", "docs/limits.md", "docs/recovery.md", "docs/settings.md",
    "docs/troubleshooting.md")}


def run(*command):
    return subprocess.run(command, cwd=tree.ROOT, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)


def must(*command):
    result = run(*command)
    if result.returncode:
        sys.exit(f"{' '.join(command)} failed:\n{result.stdout.decode(errors='replace')}")
    return result.stdout.decode(errors="replace")


def wine(*command):
    return run("scripts/under_wine", "--in", PREFIX, *command)


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def msi(version):
    return os.path.join(FOLDER, f"{version}.msi")


def msiexec(action, package, *properties):
    """From a command file: msiexec wants quotes around a value with blanks, not around the property
    with its value, which is how Wine passes an argument on."""
    quoted = [re.sub("=(.* .*)", r'="\1"', text) for text in properties]
    path = os.path.join(FOLDER, "msiexec.cmd")
    with open(path, "w", encoding="ascii", newline="\r\n") as file:
        file.write(" ".join(["@msiexec", action, windows_path(package), "/qn", *quoted]) +
                   "\n@exit %errorlevel%\n")
    return wine("cmd", "/c", windows_path(path)).returncode


def registry():
    """(key, value, data) of HKLM\\Software, without Windows Installer's books and the list of installed
    programs. Each key stands there by itself, too."""
    path = os.path.join(FOLDER, "registry.reg")
    with contextlib.suppress(FileNotFoundError):
        os.remove(path)  # that of earlier is not to be taken for that of now
    export = ("reg", "export", r"HKLM\Software", windows_path(path), "/y")
    if wine(*export).returncode:  # once in a thousand starts Wine fails before the program begins
        print("the registry could not be read: once more")
        must("scripts/under_wine", "--in", PREFIX, *export)
    with open(path, encoding="utf-16") as file:
        text = re.sub(r"\\\n *", "", file.read())
    found, key = set(), ""
    for line in text.splitlines():
        if line.startswith("["):
            key = line[1:-1].removeprefix("HKEY_LOCAL_MACHINE\\").replace("Software", "SOFTWARE", 1)
            name, data = "", ""
        elif "=" in line:
            name, data = line.split("=", 1)
        else:
            continue
        if "\\Installer" not in key and "\\Uninstall" not in key:
            found.add((key, name.strip('"'), data))
    return found


def with_keys(values):
    """The values, and the keys that they lie in."""
    keys = {key.rsplit("\\", above)[0] for key, _, _ in values for above in range(key.count("\\"))}
    return values | {(key, "", "") for key in keys}


def installed_versions():
    shown = wine("reg", "query", PROGRAM_LIST, "/s").stdout.decode()
    return set(re.findall(r"DisplayVersion\s+REG_SZ\s+(\S+)", shown))


def files():
    """Every file, and every folder with a slash at its end, but for Windows Installer's own."""
    found = {os.path.relpath(os.path.join(folder, name), DRIVE) + end
             for folder, folders, names in os.walk(DRIVE)
             for end, some in (("/", folders), ("", names)) for name in some}
    return {path for path in found
            if not path.startswith("windows/Installer/") and "/Temp/" not in path}


def snapshot():
    return registry(), files()


def expect(found, wanted, what):
    if found != wanted:
        sys.exit(f"{what}:\n  too much: {sorted(found - wanted)}\n  missing: "
                 f"{sorted(wanted - found)}")


def expect_status(status, wanted, what):
    if status != wanted:
        sys.exit(f"{what}: exit status {status}, not {wanted}")


def settings(names):
    return {(SETTINGS_KEY, SOME[name][0], SOME[name][1]) for name in names}


def given(names):
    return [f"{name}={SOME[name][2]}" for name in names]


def forget():
    """What stays when the product goes: settings and log."""
    wine("reg", "delete", "HKLM\\" + SETTINGS_KEY.rsplit("\\", 1)[0], "/f")
    shutil.rmtree(os.path.join(DRIVE, DATA_FOLDER), ignore_errors=True)


def install(names=(), version=VERSION):
    expect_status(msiexec("/i", msi(version), *given(names)), 0, f"installing with {names}")


def remove(version=VERSION):
    expect_status(msiexec("/x", msi(version)), 0, "removing")


def build():
    os.makedirs(FOLDER, exist_ok=True)
    for version in (OLDER, VERSION, NEWER):
        must("python3", "-B", "admin/installer/build_msi.py", BIN, msi(version), "--version",
             version)
    shutil.rmtree(os.path.dirname(DRIVE), ignore_errors=True)
    must("scripts/under_wine", "--prepare", PREFIX)


def install_and_remove(names, before):
    """Compares registry and files with those before, while it is installed and when it is gone."""
    install(names)
    with open(os.path.join(DRIVE, LOG_FILE), "w", encoding="ascii") as log:
        log.write("a line of the module\n")
    registry_now, files_now = snapshot()
    expect(registry_now - before[0], with_keys(REGISTRATION | settings(names)) - before[0],
           f"registry with {names}")
    expect(files_now - before[1], FILES | LOG, f"files with {names}")
    expect(installed_versions(), {VERSION}, "in the list of installed programs")
    remove()
    registry_left, files_left = snapshot()
    expect(registry_left - before[0], with_keys(settings(names)) - before[0],
           f"left in the registry with {names}")
    expect(files_left - before[1], LOG, f"files left with {names}")
    expect(installed_versions(), set(), "left in the list of installed programs")
    expect((before[0] - registry_left) | (before[1] - files_left), set(), f"gone with {names}")
    forget()


def properties():
    before = snapshot()
    for names in [(), tuple(SOME)]:
        install_and_remove(names, before)


def every_set():
    before = snapshot()
    sets = [names for count in range(len(SOME) + 1) for names in itertools.combinations(SOME, count)]
    for number, names in enumerate(sets, 1):
        install_and_remove(names, before)
        print(f"{number} of {len(sets)}: {' '.join(names) or 'none'}", flush=True)


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
        install([name])
        shown = wine("reg", "query", "HKLM\\" + SETTINGS_KEY).stdout.decode()
        found = re.findall(r"^ +(\S+) +REG_(?:SZ|DWORD) +(.*?)\r?$", shown, re.MULTILINE)
        wanted = f"0x{data}" if spelled.startswith("dword") else data
        expect(set(found), {(value, wanted)}, f"settings after {name}")
        remove()
        forget()


def repair():
    install(["ENABLED"])
    whole = snapshot()
    os.remove(os.path.join(DRIVE, MODULE_FILE))
    wine("reg", "delete", rf"HKLM\SOFTWARE\Classes\CLSID\{CLASS}", "/f")
    expect_status(msiexec("/i", msi(VERSION), "REINSTALL=ALL", "REINSTALLMODE=amus"), 0, "repair")
    expect(snapshot()[0], whole[0], "registry after the repair")
    expect(snapshot()[1], whole[1], "files after the repair")


def upgrade():
    install(["ENABLED", "FIDOSERVERURL"])
    before = snapshot()
    install(["FIDOGATE"], NEWER)
    after = snapshot()
    expect(after[0] - before[0], settings(["FIDOGATE"]), "new in the registry")
    expect(before[0] - after[0], set(), "gone from the registry")
    expect(after[1], before[1], "files after the upgrade")
    expect(installed_versions(), {NEWER}, "versions listed")


def downgrade():
    install(["ENABLED"])
    before = snapshot()
    expect_status(msiexec("/i", msi(OLDER), "FIDOGATE=1"), INSTALL_FAILURE, "an older version")
    expect(snapshot()[0], before[0], "registry after the refusal")
    expect(snapshot()[1], before[1], "files after the refusal")


def wrong_value():
    before = snapshot()
    for property_ in ("ENABLED=yes", "FIDOGATE=2", "FIDODEVINSECURETLS=true"):
        expect_status(msiexec("/i", msi(VERSION), property_), INSTALL_FAILURE, property_)
    expect(snapshot()[0], before[0], "registry after the refusals")
    expect(snapshot()[1], before[1], "files after the refusals")


def logon_screen():
    install()
    played = wine(os.path.join(BIN, "KelvorSimLogonUi.exe"), "--with-service", "--script",
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
    build, properties, every_set, each_property, log_folder, repair, upgrade, downgrade, wrong_value,
    logon_screen, signature)}
try:
    CASES[CASE]()
finally:
    if CASE not in ("build", "log_folder", "signature"):
        for installed in (VERSION, NEWER):
            msiexec("/x", msi(installed))
        forget()
