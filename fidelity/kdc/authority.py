"""The certification authority of the simulators in the hands of openssl, where it revokes cards. And
another authority, of openssl alone, for the domain."""
import base64
import json
import os
import subprocess
import time

# The name that the domain's certificate must carry, and the usage (RFC 4556, section 3.2.4).
KDC_EXTENSIONS = """
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = 1.3.6.1.5.2.3.5
subjectAltName = otherName:1.3.6.1.5.2.2;SEQUENCE:kdc_principal
[kdc_principal]
realm = EXP:0, GeneralString:{realm}
name = EXP:1, SEQUENCE:kdc_name
[kdc_name]
type = EXP:0, INTEGER:1
parts = EXP:1, SEQUENCE:kdc_parts
[kdc_parts]
service = GeneralString:krbtgt
realm = GeneralString:{realm}
"""
CA_CONFIG = """[ca]
default_ca = domain
[domain]
database = {folder}/index.txt
default_md = sha256
default_crl_days = 30
"""


def openssl(*arguments):
    subprocess.run(["openssl", *arguments], check=True, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)


def pem(kind, der):
    text = base64.encodebytes(der).decode()
    return f"-----BEGIN {kind}-----\n{text}-----END {kind}-----\n"


def der_value(tag, content):
    size = len(content)
    if size < 0x80:
        return bytes([tag, size]) + content
    length = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(length)]) + length + content


def rsa_private_key(blob):
    """The key of a BCRYPT_RSAPRIVATE_BLOB (bcrypt.h) as an RSAPrivateKey (RFC 8017) in DER."""
    sizes = [int.from_bytes(blob[at:at + 4], "little") for at in range(8, 24, 4)]
    numbers, at = [], 24
    for size in sizes:
        numbers.append(int.from_bytes(blob[at:at + size], "big"))
        at += size
    exponent, modulus, prime1, prime2 = numbers
    private = pow(exponent, -1, (prime1 - 1) * (prime2 - 1))
    content = b"".join(
        der_value(0x02, number.to_bytes(number.bit_length() // 8 + 1, "big"))
        for number in (0, modulus, exponent, private, prime1, prime2, private % (prime1 - 1),
                       private % (prime2 - 1), pow(prime2, -1, prime1)))
    return der_value(0x30, content)


class Authority:
    """An authority with its certificate and key as PEM files of a folder."""

    def __init__(self, folder):
        self.folder = folder
        self.certificate = os.path.join(folder, "ca.pem")
        self.key = os.path.join(folder, "ca-key.pem")
        # The certificate and the key of a domain controller, once there is one.
        self.kdc = os.path.join(folder, "kdc.pem"), os.path.join(folder, "kdc-key.pem")

    @classmethod
    def of_enrolment(cls, state, folder):
        """The one that the enrolment founded in a state folder of the simulators."""
        authority = cls(folder)
        with open(os.path.join(state, "ca.cer"), "rb") as file:
            authority.write("ca.pem", pem("CERTIFICATE", file.read()))
        with open(os.path.join(state, "ca.json"), encoding="utf-8") as file:
            blob = base64.b64decode(json.load(file)["key"])
        authority.write("ca-key.pem", pem("RSA PRIVATE KEY", rsa_private_key(blob)))
        return authority

    @classmethod
    def of_domain(cls, folder):
        """One for domain controllers alone."""
        authority = cls(folder)
        openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Domain CA",
                "-days", "3650", "-keyout", authority.key, "-out", authority.certificate)
        return authority

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8", opener=lambda at, how: os.open(at, how, 0o600)) as file:
            file.write(text)
        return path

    def certify_kdc(self, realm):
        certificate, key = self.kdc
        request = os.path.join(self.folder, "kdc.csr")
        extensions = self.write("kdc.cnf", KDC_EXTENSIONS.format(realm=realm))
        openssl("req", "-new", "-newkey", "rsa:2048", "-nodes", "-subj", f"/CN=KDC of {realm}",
                "-keyout", key, "-out", request)
        openssl("x509", "-req", "-in", request, "-CA", self.certificate, "-CAkey", self.key,
                "-CAcreateserial", "-days", "3650", "-sha256", "-extfile", extensions,
                "-out", certificate)

    def revocation_list(self, certificates):
        """The file of a list that revokes these certificates (DER)."""
        rows = []
        for certificate in certificates:
            serial = subprocess.run(
                ["openssl", "x509", "-inform", "DER", "-noout", "-serial"], input=certificate,
                check=True, capture_output=True).stdout.decode().strip().removeprefix("serial=")
            yesterday = time.strftime("%y%m%d%H%M%SZ", time.gmtime(time.time() - 86400))
            rows.append(f"R\t491231235959Z\t{yesterday}\t{serial}\tunknown\t/CN=card\n")
        self.write("index.txt", "".join(rows))
        config = self.write("ca.cnf", CA_CONFIG.format(folder=self.folder))
        path = os.path.join(self.folder, "crl.pem")
        openssl("ca", "-gencrl", "-config", config, "-cert", self.certificate, "-keyfile",
                self.key, "-out", path)
        return path


def cards_of(state):
    """The certificates of all cards that a state folder holds, in DER."""
    with open(os.path.join(state, "cards.json"), encoding="utf-8") as file:
        return [base64.b64decode(card["certificate"]) for card in json.load(file)["cards"]]
