"""A Debian 13 in a folder: a newer Wine and a real card stack, without touching the machine's own."""
import glob
import os
import shutil
import subprocess

SUITE = "trixie"
MIRROR = "http://deb.debian.org/debian"
# Wine and what it loads, what pcscd loads. The latter is unpacked, since its package wants a login
# manager.
INCLUDED = "wine,wine64,libgnutls30t64,libpcsclite1,libpolkit-gobject-1-0,libsystemd0,libudev1"
UNPACKED = ("pcscd", "vsmartcard-vpcd")
# A program of the tree sees its own processes and files; all of them end with the one in front.
ENTER = """
mount -t proc proc {root}/proc && mount --rbind /dev {root}/dev &&
mkdir -p {root}{tree} && mount --bind {tree} {root}{tree} &&
exec chroot {root} /usr/bin/env -i PATH=/usr/bin:/bin:/usr/sbin:/sbin HOME=/root LANG=C.UTF-8 \
    WINEDEBUG=-all WINEPREFIX=/root/prefix WINEARCH=win64 "$@"
"""


class DebianTree:
    """Below `folder`; `tree`, the project, is seen there under its own path. Needs root."""

    def __init__(self, folder, tree, debootstrap):
        self.root = os.path.join(folder, SUITE)
        self.enter = ENTER.format(root=self.root, tree=tree)
        unpacked = os.path.exists(os.path.join(debootstrap, "usr/sbin/debootstrap"))
        self.debootstrap = debootstrap if unpacked else "/"  # where it is installed

    def make(self):
        """Once; a tree that was not finished is made anew."""
        done = self.root + ".done"
        if os.path.exists(done):
            return
        shutil.rmtree(self.root, ignore_errors=True)
        environment = {**os.environ, "DEBOOTSTRAP_DIR":
                       os.path.join(self.debootstrap, "usr/share/debootstrap")}
        subprocess.run([os.path.join(self.debootstrap, "usr/sbin/debootstrap"),
                        "--variant=minbase", f"--include={INCLUDED}", SUITE, self.root, MIRROR],
                       env=environment, check=True)
        self.run("sh", "-c", f"cd /tmp && apt-get download -q {' '.join(UNPACKED)}")
        for package in glob.glob(os.path.join(self.root, "tmp", "*.deb")):
            subprocess.run(["dpkg", "-x", package, self.root], check=True)
        self.run_wine("wineboot", "-i")
        with open(done, "w", encoding="utf-8"):
            pass

    def add(self, packages):
        """Installs what is not there of them."""
        there = subprocess.run(self.command("dpkg", "-s", *packages), stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        if there.returncode != 0:
            subprocess.run(self.command("env", "DEBIAN_FRONTEND=noninteractive", "apt-get", "install",
                                        "-q", "-y", "--no-install-recommends", *packages),
                           stdin=subprocess.DEVNULL, check=True)

    def command(self, *command):
        return ["unshare", "--mount", "--pid", "--fork", "--kill-child", "sh", "-c", self.enter,
                "sh", *command]

    def wine(self, *command):
        """Wine's server writes the registry when it is told to end."""
        return self.command("sh", "-c", 'wine "$@"; status=$?; wineserver -k; exit $status', "sh",
                            *command)

    def run(self, *command):
        """What a program printed."""
        return self.output_of(self.command(*command))

    def run_wine(self, *command):
        return self.output_of(self.wine(*command))

    @staticmethod
    def output_of(command):
        run = subprocess.run(command, stdin=subprocess.DEVNULL,
                             capture_output=True, check=False)
        text = run.stdout.decode("utf-8", "replace").replace("\r", "")
        if run.returncode != 0:
            raise RuntimeError(f"{command[-1]} ended with {run.returncode}:\n{text}"
                               f"{run.stderr.decode('utf-8', 'replace')}")
        return text

    def path(self, inside):
        return self.root + inside
