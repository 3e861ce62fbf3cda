"""A Kerberos realm of MIT's programs, all of it below one folder: no root, nothing in /etc, its port
on 127.0.0.1 alone."""
import glob
import os
import secrets
import shutil
import socket
import subprocess

NAME = "corp.example"  # in lower case, as the users' names end in it

# Of the PC: the file of the domain is another one, so that neither trusts what only the other does.
CLIENT = """[libdefaults]
    default_realm = {name}
    dns_lookup_kdc = false
    dns_lookup_realm = false
    dns_canonicalize_hostname = false
    rdns = false
    udp_preference_limit = 1
    # The PC's own clock counts.
    kdc_timesync = 0
[realms]
    {name} = {{
        kdc = 127.0.0.1:{port}
        {pc_trusts}
        pkinit_eku_checking = kpKDC
    }}
[plugins]
    clpreauth = {{
        module = pkinit:{pkinit}
    }}
"""
SERVER = """[libdefaults]
    default_realm = {name}
[plugins]
    kdcpreauth = {{
        module = pkinit:{pkinit}
    }}
[kdcdefaults]
    kdc_listen = ""
    kdc_tcp_listen = 127.0.0.1:{port}
[realms]
    {name} = {{
        database_name = {folder}/principal
        key_stash_file = {folder}/stash
        acl_file = {folder}/acl
        {certificates}
    }}
[dbmodules]
    db_module_dir = {database_modules}
[logging]
    kdc = STDERR
"""
CERTIFICATES = """pkinit_identity = FILE:{certificate},{key}
        {domain_trusts}
        pkinit_allow_upn = true
        pkinit_eku_checking = {usage}
"""


def anchors(files):
    return "\n        ".join(f"pkinit_anchors = FILE:{file}" for file in files)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Programs:
    """MIT's programs and libraries, unpacked below `root` or installed."""

    def __init__(self, root):
        self.root = root
        self.libraries = [folder for pattern in ("usr/lib/*-linux-gnu", "lib/*-linux-gnu")
                          for folder in glob.glob(os.path.join(root, pattern))]

    def find(self, pattern):
        for root in (self.root, "/"):
            if found := glob.glob(os.path.join(root, pattern)):
                return found[0]
        raise FileNotFoundError(f"{pattern} is neither below {self.root} nor installed")

    def environment(self, **more):
        libraries = os.pathsep.join(self.libraries)
        return {**os.environ, "LD_LIBRARY_PATH": libraries, **more}

    def clock(self, offset):
        """What lets a program believe in a clock that is wrong by `offset`."""
        if not offset:
            return {}
        return {"LD_PRELOAD": self.find("usr/lib/*/faketime/libfaketime.so.1"),
                "FAKETIME": offset}


class Realm:
    """Made with its people, who can sign in with a certificate and nothing else."""

    def __init__(self, folder, programs, people):
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder, mode=0o700)
        self.folder, self.programs = folder, programs
        self.port = free_port()
        self.kdc = None
        self.configure(None, [], [])
        self.call("usr/sbin/kdb5_util", "-r", NAME, "create", "-s", "-P", secrets.token_hex(16))
        for person in people:
            self.call("usr/sbin/kadmin.local", "-r", NAME, "-q",
                      f"addprinc -randkey +requires_preauth {person}")

    def environment_of_pc(self):
        return self.programs.environment(KRB5_CONFIG=self.path("pc.conf"))

    def environment(self):
        return self.programs.environment(KRB5_CONFIG=self.path("domain.conf"),
                                         KRB5_KDC_PROFILE=self.path("domain.conf"))

    def path(self, name):
        return os.path.join(self.folder, name)

    def call(self, program, *arguments):
        run = subprocess.run([self.programs.find(program), *arguments], env=self.environment(),
                             stdin=subprocess.DEVNULL, capture_output=True, check=False)
        # kadmin.local ends with success whatever comes of its request.
        if run.returncode != 0 or b"while " in run.stderr:
            raise RuntimeError(f"{program}: {run.stderr.decode()}{run.stdout.decode()}")

    def disable(self, person):
        self.call("usr/sbin/kadmin.local", "-r", NAME, "-q",
                  f"modify_principal -allow_tix {person}")

    def configure(self, identity, domain_trusts, pc_trusts, revoked=None, needs_list=False,
                  usage="scLogin"):
        """`identity`: the domain's certificate and key, or None for a domain without one;
        `domain_trusts`, `pc_trusts`: certificates of the authorities that either believes;
        `revoked`: a revocation list; `needs_list`: without one the domain believes no card; `usage`: what
        a card must be meant for, as MIT names it."""
        values = {
            "name": NAME, "port": self.port, "folder": self.folder,
            "pc_trusts": anchors(pc_trusts),
            "pkinit": self.programs.find("usr/lib/*/krb5/plugins/preauth/pkinit.so"),
            "database_modules": os.path.dirname(
                self.programs.find("usr/lib/*/krb5/plugins/kdb/db2.so")),
            "certificates": "",
        }
        if identity:
            certificate, key = identity
            values["certificates"] = CERTIFICATES.format(
                certificate=certificate, key=key, domain_trusts=anchors(domain_trusts),
                usage=usage)
        if revoked:
            values["certificates"] += f"        pkinit_revoke = FILE:{revoked}\n"
        if needs_list:
            values["certificates"] += "        pkinit_require_crl_checking = true\n"
        for name, text in (("pc.conf", CLIENT), ("domain.conf", SERVER)):
            with open(self.path(name), "w", encoding="utf-8") as file:
                file.write(text.format(**values))

    def start(self, clock=""):
        """Until it listens; `clock`, such as "+20m", sets its clock wrong."""
        command = [self.programs.find("usr/sbin/krb5kdc"), "-n", "-r", NAME]
        self.kdc = subprocess.Popen(
            command, env={**self.environment(), **self.programs.clock(clock)},
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        said = ""
        for line in self.kdc.stderr:
            said += line
            if "commencing operation" in line:
                return
        raise RuntimeError(f"krb5kdc does not start:\n{said}")

    def stop(self):
        """What it said since it was started."""
        if self.kdc is None:
            return ""
        self.kdc.terminate()
        said = self.kdc.communicate()[1]
        self.kdc = None
        return said
