#!/usr/bin/env python3
"""build_msi.py BIN MSI [--check] [--version X.Y.Z] [--damaged]
             [--certificate PFX --password-file FILE [--timestamp URL]]

Makes the installer from the programs in the folder BIN: stages the files, lets wixl make the database,
and adds what wixl has no words for. With a certificate (PKCS #12) the programs and the MSI are signed.
With --damaged its files cannot be unpacked, to try what a failure leaves. With --check it only looks at
the arguments. Exit status 2: they make no sense.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
HERE = os.path.join(ROOT, "admin", "installer")
PROGRAMS = ("KelvorFidoAdLogonCredentialProvider.dll", "KelvorFidoAdLogonAdmin.exe")
POLICIES = ("KelvorFidoAdLogon.admx", "en-US/KelvorFidoAdLogon.adml")
DOCS = ("accessibility", "deployment", "limits", "recovery", "settings", "troubleshooting")
# An attribute of a component (Windows Installer's Component table).
PERMANENT = 16
# Right behind InstallInitialize (1500), which begins what Windows Installer takes back when it fails:
# the older version is removed in there, not before.
REMOVAL_OF_OLDER = "1501"
# Names of eight letters for folders whose own name is longer.
SHORT_FOLDERS = {"ProductFolder": "FIDOAD~1", "DataFolder": "KELVOR~1"}
# Who may do what in the log's folders: SYSTEM and Administrators everything, nobody else anything,
# whatever the folder above says. Administrators own them, also where somebody else had made them.
CLOSED = "O:BAG:SYD:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)"


def run(command, **options):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    if result.returncode:
        sys.exit(f"{command[0]} failed:\n{result.stdout.decode(errors='replace')}")
    return result.stdout.decode(errors="replace")


def arguments():
    parser = argparse.ArgumentParser(
        prog="./run package", usage="./run package [--certificate PFX --password-file FILE [--timestamp URL]]",
        description="Makes the installer of this version in build/package.",
        epilog="`./run trust installer` installs it with every set of its properties and holds registry and "
               "files against those of before.")
    parser.add_argument("bin", help=argparse.SUPPRESS)
    parser.add_argument("msi", help=argparse.SUPPRESS)
    parser.add_argument("--check", action="store_true", help=argparse.SUPPRESS)
    parser.add_argument("--damaged", action="store_true", help=argparse.SUPPRESS)
    parser.add_argument("--version", default=project_version(), help=argparse.SUPPRESS)
    parser.add_argument("--certificate", metavar="PFX", help="signs the programs and the MSI with it")
    parser.add_argument("--password-file", metavar="FILE", help="its password")
    parser.add_argument("--timestamp", metavar="URL", help="where signatures get their time")
    given = parser.parse_args()
    if not re.fullmatch(r"\d{1,3}\.\d{1,3}\.\d{1,5}", given.version):
        parser.error(f"a version is three numbers, such as 1.0.0, not '{given.version}'")
    if bool(given.certificate) != bool(given.password_file):
        parser.error("--certificate and --password-file belong together")
    for path in filter(None, (given.certificate, given.password_file)):
        if not os.path.isfile(path):
            parser.error(f"there is no file {path}")
    return given


def project_version():
    with open(os.path.join(ROOT, "CMakeLists.txt"), encoding="utf-8") as file:
        return re.search(r"project\(\S+ VERSION (\S+)", file.read()).group(1)


def stage(given, folder):
    sources = [os.path.join(given.bin, name) for name in PROGRAMS]
    sources += [os.path.join(ROOT, "admin", "policies", name) for name in POLICIES]
    sources += [os.path.join(ROOT, "docs", name + ".md") for name in DOCS]
    sources.append(os.path.join(HERE, "KelvorFidoAdLogon.wxs"))
    for source in sources:
        if not os.path.isfile(source):
            sys.exit(f"{source} is missing: ./run package builds it first")
        shutil.copy2(source, folder)


def sign(given, path):
    if not given.certificate:
        return
    signed = path + ".signed"
    run(["osslsigncode", "sign", "-pkcs12", given.certificate, "-readpass", given.password_file,
         "-h", "sha256", "-n", "Kelvor FIDO AD Logon",
         *(["-ts", given.timestamp] if given.timestamp else []), "-in", path, "-out", signed])
    os.replace(signed, path)


def edit_table(msi, folder, table, edit):
    """Hands the fields of each row of a table, by their columns' names, to `edit`."""
    lines = run(["msiinfo", "export", msi, table]).splitlines()
    columns = lines[0].split("\t")
    rows = []
    for line in lines[3:]:
        row = dict(zip(columns, line.split("\t")))
        edit(row)
        rows.append("\t".join(row[column] for column in columns))
    path = os.path.join(folder, table + ".idt")
    with open(path, "w", encoding="utf-8") as file:
        file.write("\r\n".join(lines[:3] + rows) + "\r\n")
    run(["msibuild", msi, "-i", path])


def close_log_folders(msi, folder):
    rows = "".join(f"{name}Closed\t{name}\tCreateFolder\t{CLOSED}\t\r\n"
                   for name in ("DataFolder", "LogFolder"))
    path = os.path.join(folder, "MsiLockPermissionsEx.idt")
    with open(path, "w", encoding="utf-8") as file:
        file.write("MsiLockPermissionsEx\tLockObject\tTable\tSDDLText\tCondition\r\n"
                   "s72\ts72\ts32\ts0\tS255\r\n"
                   "MsiLockPermissionsEx\tMsiLockPermissionsEx\r\n" + rows)
    run(["msibuild", msi, "-i", path])


def short_name(number, name):
    return f"KELVOR{number:02}.{name.rsplit('.', 1)[1][:3].upper()}"


def complete(msi, folder, version):
    """A setting is written when its property is given; settings and log stay when the product goes; an
    older version goes for good only when this one is there."""
    settings = []

    def component(row):
        kind, _, name = row["Component"].partition(".")
        if kind == "Setting":
            settings.append(name.upper())
            row["Condition"] = name.upper()
        if kind in ("Setting", "Log"):
            row["Attributes"] = str(int(row["Attributes"]) | PERMANENT)

    def file(row):
        row["FileName"] = short_name(int(row["Sequence"]), row["FileName"]) + "|" + row["FileName"]
        if row["File"] in ("Module.dll", "AdminTool.exe"):
            row["Version"], row["Language"] = version + ".0", "1033"

    def directory(row):
        if row["Directory"] in SHORT_FOLDERS:
            row["DefaultDir"] = SHORT_FOLDERS[row["Directory"]] + "|" + row["DefaultDir"]

    def property_(row):
        if row["Property"] == "SecureCustomProperties":
            row["Value"] = ";".join([row["Value"], *settings])

    def registry(row):
        row["Key"] = row["Key"].rstrip("\\")

    def action(row):
        if row["Action"] == "RemoveExistingProducts":
            row["Sequence"] = REMOVAL_OF_OLDER

    for table, edit in (("Component", component), ("File", file), ("Directory", directory),
                        ("Property", property_), ("Registry", registry), ("InstallExecuteSequence", action)):
        edit_table(msi, folder, table, edit)
    close_log_folders(msi, folder)


def damage(msi, folder):
    path = os.path.join(folder, "no-cabinet")
    with open(path, "w", encoding="ascii") as file:
        file.write("no cabinet")
    run(["msibuild", msi, "-a", "files.cab", path])


def main():
    given = arguments()
    if given.check:
        return
    with tempfile.TemporaryDirectory() as folder:
        stage(given, folder)
        for name in PROGRAMS:
            sign(given, os.path.join(folder, name))
        msi = os.path.join(folder, "package.msi")
        run(["wixl", "-a", "x64", "-D", "Version=" + given.version, "-o", msi,
             "KelvorFidoAdLogon.wxs"], cwd=folder)
        complete(msi, folder, given.version)
        if given.damaged:
            damage(msi, folder)
        sign(given, msi)
        shutil.copyfile(msi, given.msi)
    print(given.msi)


main()
