"""A PC on which the installer is tried: a Wine prefix of its own, with Wine's own msiexec.

What stands in registry and files is compared with what was there before, but for Windows Installer's
own books.
"""
import contextlib
import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import tree  # noqa: E402

CLASS = "{C48FBE3D-B4E8-4597-97A8-79FD7D8DEFCF}"
MODULE = "KelvorFidoAdLogonCredentialProvider"
MODULE_FILE = f"windows/system32/{MODULE}.dll"
SETTINGS_KEY = r"SOFTWARE\KelvorDirectoryFidoLogon\SmartCard"
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
FORGET_SETTINGS = "reg delete HKLM\\" + SETTINGS_KEY.rsplit("\\", 1)[0] + " /f"
REGISTRATION = {
    (rf"SOFTWARE\Classes\CLSID\{CLASS}", "@", f'"{MODULE}"'),
    (rf"SOFTWARE\Classes\CLSID\{CLASS}\InprocServer32", "@", f'"{MODULE}.dll"'),
    (rf"SOFTWARE\Classes\CLSID\{CLASS}\InprocServer32", "ThreadingModel", '"Apartment"'),
    (r"SOFTWARE\Microsoft\Windows\CurrentVersion\Authentication\Credential Providers"
     rf"\{CLASS}", "@", f'"{MODULE}"'),
}
DATA_FOLDER = "ProgramData/KelvorDirectoryFidoLogon/"
LOG_FILE = DATA_FOLDER + "Logs/CredentialProviderFido.log"
LOG_FOLDERS = {DATA_FOLDER, DATA_FOLDER + "Logs/"}
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


def expect(found, wanted, what):
    if found != wanted:
        sys.exit(f"{what}:\n  too much: {sorted(found - wanted)}\n  missing: "
                 f"{sorted(wanted - found)}")


def expect_status(status, wanted, what):
    if status != wanted:
        sys.exit(f"{what}: exit status {status}, not {wanted}")


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def settings(names):
    return {(SETTINGS_KEY, SOME[name][0], SOME[name][1]) for name in names}


def given(names):
    return [f"{name}={SOME[name][2]}" for name in names]


def msiexec(action, msi, *properties):
    """A line of a command file: msiexec wants quotes around a value with blanks, not around the
    property with its value, which is how Wine passes an argument on."""
    quoted = [re.sub("=(.* .*)", r'="\1"', text) for text in properties]
    return " ".join(["msiexec", action, windows_path(msi), "/qn", *quoted])


def with_keys(values):
    """The values, and the keys that they lie in."""
    keys = {key.rsplit("\\", above)[0] for key, _, _ in values for above in range(key.count("\\"))}
    return values | {(key, "", "") for key in keys}


def read_registry(text):
    """(key, value, data) of a copy of HKLM\\Software as Wine writes it; each key stands there by itself,
    too."""
    found, key = set(), ""
    for line in re.sub(r"\\\n *", "", text).splitlines():
        if header := re.fullmatch(r"\[(.*)\] \d+", line):
            key = "SOFTWARE\\" + header[1].replace("\\\\", "\\")
            found.add((key, "", ""))
        elif line.startswith(('"', "@")):
            name, data = line.split("=", 1)
            found.add((key, name.strip('"'), data))
    return with_keys(found)


class Pc:
    """The prefix of that name. `build` is the folder of the build, `folder` for what is written in
    passing."""

    def __init__(self, prefix, build, folder):
        self.prefix = prefix
        self.copy_registry = os.path.join(build, "tests", "admin", "kelvor_registry_copy.exe")
        self.registry = os.path.join(folder, prefix + ".reg")
        self.commands = os.path.join(folder, prefix + ".cmd")
        pool = os.environ.get("KELVOR_WINE_POOL") or os.path.join(tree.ROOT, "build", "wine")
        self.drive = os.path.join(pool, prefix, "drive_c")

    def renew(self):
        shutil.rmtree(os.path.dirname(self.drive), ignore_errors=True)
        must("scripts/under_wine", "--prepare", self.prefix)

    def wine(self, *command):
        in_prefix = ("scripts/under_wine", "--in", self.prefix, *command)
        result = run(*in_prefix)
        if result.returncode == 1 and not result.stdout:
            # Once in a thousand starts Wine ends like this before the program has begun.
            print(f"{command[0]} did not begin in the prefix {self.prefix}: once more", flush=True)
            result = run(*in_prefix)
        return result

    def run_file(self, *lines):
        """Runs the lines as a command file, up to the first that fails; Linux gets the low byte of its
        exit status."""
        with open(self.commands, "w", encoding="ascii", newline="\r\n") as file:
            file.writelines(f"@{line}\n@if not %errorlevel%==0 exit %errorlevel%\n" for line in lines)
        return self.wine("cmd", "/c", windows_path(self.commands))

    def msiexec(self, action, msi, *properties):
        return self.run_file(msiexec(action, msi, *properties)).returncode

    def install(self, msi, names=()):
        expect_status(self.msiexec("/i", msi, *given(names)), 0, f"installing with {names}")

    def remove(self, msi):
        expect_status(self.msiexec("/x", msi), 0, "removing")

    def forget(self):
        """What stays when the product goes: settings and log."""
        self.run_file(FORGET_SETTINGS)
        self.forget_log()

    def forget_log(self):
        shutil.rmtree(os.path.join(self.drive, DATA_FOLDER), ignore_errors=True)

    def snapshot(self, before=(), behind=()):
        """What stands in HKLM\\Software but for Windows Installer's books; the files, and the folders
        with a slash at their end; the versions in the list of installed programs. The lines are run
        before and behind the look at the registry."""
        with contextlib.suppress(FileNotFoundError):
            os.remove(self.registry)
        look = f"{windows_path(self.copy_registry)} {windows_path(self.registry)}"
        ran = self.run_file(*before, look, *behind)
        expect_status(ran.returncode, 0, f"{before}: {ran.stdout.decode(errors='replace')}")
        with open(self.registry, encoding="ascii") as file:
            registry = read_registry(file.read())
        versions = {data.strip('"') for key, name, data in registry
                    if "\\Uninstall\\" in key and name == "DisplayVersion"}
        own = {entry for entry in registry
               if "\\Installer" not in entry[0] and "\\Uninstall" not in entry[0]}
        return own, self.files(), versions

    def files(self):
        found = {os.path.relpath(os.path.join(folder, name), self.drive) + end
                 for folder, folders, names in os.walk(self.drive)
                 for end, some in (("/", folders), ("", names)) for name in some}
        return {path for path in found
                if not path.startswith("windows/Installer/") and "/Temp/" not in path}

    def install_and_remove(self, msi, version, names, before):
        """Compares with the snapshot before, while the product is installed and when it is gone."""
        registry, files, versions = self.snapshot([msiexec("/i", msi, *given(names))])
        expect(registry - before[0], with_keys(REGISTRATION | settings(names)) - before[0],
               f"registry with {names}")
        expect(files - before[1], FILES | LOG_FOLDERS, f"files with {names}")
        expect(versions, {version}, "in the list of installed programs")
        with open(os.path.join(self.drive, LOG_FILE), "w", encoding="ascii") as log:
            log.write("a line of the module\n")
        registry, files, versions = self.snapshot([msiexec("/x", msi)], [FORGET_SETTINGS] if names else [])
        expect(registry - before[0], with_keys(settings(names)) - before[0],
               f"left in the registry with {names}")
        expect(files - before[1], LOG_FOLDERS | {LOG_FILE}, f"files left with {names}")
        expect(versions, set(), "left in the list of installed programs")
        expect((before[0] - registry) | (before[1] - files), set(), f"gone with {names}")
        self.forget_log()
