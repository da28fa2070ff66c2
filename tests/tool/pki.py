"""Certificates, revocation lists and tokens with the faults that a test asks for.

The openssl command signs everything. Repeated requests are served from a cache: keys by their name,
certificates by all of their arguments. Times are datetime values in UTC without fractions.
"""

import datetime
import hashlib
import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "authority"))
from tac import SEQUENCE, SHA256, GENERALIZED_TIME, INTEGER, OCTET_STRING, der, elements, integer, oid

NOW = datetime.datetime.now(datetime.timezone.utc).replace(microsecond=0, tzinfo=None)
DAY = datetime.timedelta(days=1)
SECOND = datetime.timedelta(seconds=1)
YEAR = 365 * DAY
GENTIME = NOW - YEAR  # of the tokens, unless a test chooses another
DIGEST = hashlib.sha256(b"what is to be stamped\n").hexdigest()

ROOT_EXTENSIONS = {
    "basicConstraints": "critical,CA:TRUE",
    "keyUsage": "critical,keyCertSign,cRLSign",
    "subjectKeyIdentifier": "hash",
}
CA_EXTENSIONS = {**ROOT_EXTENSIONS, "authorityKeyIdentifier": "keyid"}
SIGNER_EXTENSIONS = {
    "basicConstraints": "critical,CA:FALSE",
    "keyUsage": "critical,digitalSignature",
    "extendedKeyUsage": "critical,timeStamping",
    "subjectKeyIdentifier": "hash",
    "authorityKeyIdentifier": "keyid",
}
# A root that signs tokens itself may have no other usage than that.
LONE_EXTENSIONS = {name: SIGNER_EXTENSIONS[name] for name in ("keyUsage", "extendedKeyUsage", "subjectKeyIdentifier")}

# The entry extension reasonCode with keyCompromise (RFC 5280 5.3.1), and the reasons that openssl has no word for.
KEY_COMPROMISE = bytes.fromhex("0603551d1504030a0101")
LATER_REASONS = {"privilegeWithdrawn": 9, "aACompromise": 10}

CA_SECTION = """\
[ca]
default_ca = authority
[authority]
database = {work}/index
serial = {work}/serial
new_certs_dir = {work}
crlnumber = {work}/crlnumber
default_md = sha256
policy = any
unique_subject = no
email_in_dn = no
[any]
countryName = optional
organizationName = optional
commonName = supplied
[extensions]
{extensions}
{sections}
"""


def openssl(*arguments, data=None):
    """The output of the openssl command; without the system's settings, which name policies."""
    done = subprocess.run(["openssl", *arguments], input=data, capture_output=True, check=False, timeout=120,
                          env={**os.environ, "OPENSSL_CONF": "/dev/null"})
    if done.returncode != 0:
        raise AssertionError(f"openssl {' '.join(arguments)}: {done.stderr.decode(errors='replace')}")
    return done.stdout


def stamp_of(time):
    """YYYYMMDDHHMMSSZ, as openssl reads it and GeneralizedTime holds it."""
    return time.strftime("%Y%m%d%H%M%SZ")


def iso(time):
    return time.strftime("%Y-%m-%dT%H:%M:%SZ")


def epoch(time):
    return str(int(time.replace(tzinfo=datetime.timezone.utc).timestamp()))


class Certificate:
    """A certificate in a PEM file, with the file of its key."""

    def __init__(self, path, key, subject, issuer):
        self.path, self.key, self.subject = path, key, subject
        self.issuer = issuer or self
        self.der = openssl("x509", "-in", path, "-outform", "DER")
        body = elements(elements(elements(self.der)[0][1])[0][1])
        self.serial = next(content for tag, content, _ in body if tag == INTEGER).hex().upper()
        self.fingerprint = hashlib.sha256(self.der).hexdigest()

    @property
    def pem(self):
        with open(self.path, "rb") as file:
            return file.read()


class Chain:
    """A signer, its intermediates from the root downwards, and the root."""

    def __init__(self, root, intermediates, signer):
        self.root, self.intermediates, self.signer = root, intermediates, signer


class Pki:
    """Keys and certificates in one folder."""

    def __init__(self, folder):
        self._folder = folder
        self._certificates = {}
        self._count = 0

    def _path(self, ending):
        self._count += 1
        return os.path.join(self._folder, f"{self._count}{ending}")

    def file(self, *parts, ending=".pem"):
        """A new file of these octets."""
        path = self._path(ending)
        with open(path, "wb") as file:
            file.write(b"".join(parts))
        return path

    def key(self, name, algorithm="rsa:2048"):
        """The file of the key of that name and algorithm: rsa:BITS, ec:CURVE or ed25519."""
        path = os.path.join(self._folder, f"{name}-{algorithm.replace(':', '-')}.key")
        if not os.path.exists(path):
            kind, _, size = algorithm.partition(":")
            option = {"rsa": f"rsa_keygen_bits:{size}", "ec": f"ec_paramgen_curve:{size}"}.get(kind)
            openssl("genpkey", "-algorithm", kind, *(("-pkeyopt", option) if option else ()), "-out", path)
            with open(path + ".csr", "wb") as file:
                file.write(openssl("req", "-new", "-key", path, "-subj", "/CN=unnamed",
                                   "-config", self.file(b"[req]\ndistinguished_name=name\n[name]\n")))
        return path

    def _configuration(self, extensions=None, sections="", index=""):
        """A folder with everything that `openssl ca` needs, for a single use."""
        work = self._path(".ca")
        os.mkdir(work)
        lines = "\n".join(f"{name} = {value}" for name, value in (extensions or {}).items() if value)
        for name, text in (("index", index), ("serial", f"10{os.urandom(7).hex().upper()}\n"), ("crlnumber", f"{self._count:04X}\n"),
                           ("cnf", CA_SECTION.format(work=work, extensions=lines, sections=sections))):
            with open(os.path.join(work, name), "w", encoding="ascii") as file:
                file.write(text)
        return os.path.join(work, "cnf")

    def certificate(self, key, issuer=None, subject=None, algorithm="rsa:2048", not_before=NOW - 8 * YEAR,
                    not_after=NOW + 8 * YEAR, digest="sha256", base=None, extensions=None, sections=""):
        """A certificate for the key of that name, by `issuer` or by itself.

        `extensions` replaces members of `base`, None takes one away; `sections` is text that they refer to.
        """
        subject = subject or f"/C=XX/O=Chain Test/CN={key}"
        chosen = {**(base or {}), **(extensions or {})}
        what = (key, issuer, subject, algorithm, not_before, not_after, digest, sections, tuple(chosen.items()))
        if what not in self._certificates:
            key_file = self.key(key, algorithm)
            signing = ("-cert", issuer.path, "-keyfile", issuer.key) if issuer else ("-selfsign", "-keyfile", key_file)
            made = self._path(".pem")
            ed25519 = (issuer.key if issuer else key_file).endswith("-ed25519.key")
            openssl("ca", "-batch", "-notext", "-config", self._configuration(chosen, sections), *signing,
                    "-in", key_file + ".csr", "-out", made, "-subj", subject, "-md", "null" if ed25519 else digest,
                    "-startdate", stamp_of(not_before), "-enddate", stamp_of(not_after), "-extensions", "extensions")
            self._certificates[what] = Certificate(made, key_file, subject, issuer)
        return self._certificates[what]

    def chain(self, length=3, root=None, signer=None, **intermediates):
        """A chain of `length` certificates; the arguments are those of certificate(), by role.

        The intermediates are ca1, ca2 and ca3, ca1 next to the root. A chain of one is a root that signs.
        """
        if length == 1:
            lone = self.certificate("lone", base=LONE_EXTENSIONS, **(signer or {}))
            return Chain(lone, [], lone)
        top = above = self.certificate("root", base=ROOT_EXTENSIONS, **(root or {}))
        between = []
        for name in (f"ca{n}" for n in range(1, length - 1)):
            above = self.certificate(name, above, base=CA_EXTENSIONS, **intermediates.get(name, {}))
            between.append(above)
        return Chain(top, between, self.certificate("signer", above, base=SIGNER_EXTENSIONS, **(signer or {})))

    def revocation_list(self, issuer, *revoked, last=NOW - DAY, following=NOW + 30 * DAY, extensions=None,
                        sections="", key=None, digest="sha256"):
        """A DER CertificateList; `revoked` are (certificate, reason or None, date), `key` signs in the issuer's place.

        Reasons are the words of RFC 5280, also those that openssl has no word for.
        """
        lines, patched = [], {}
        for certificate, reason, date in revoked:
            word = "keyCompromise" if reason in LATER_REASONS else {"cACompromise": "CACompromise"}.get(reason, reason)
            if reason in LATER_REASONS:
                patched[bytes.fromhex(certificate.serial)] = LATER_REASONS[reason]
            date = date.strftime("%y%m%d%H%M%SZ")
            lines.append("\t".join(("R", (NOW + 9 * YEAR).strftime("%y%m%d%H%M%SZ"), date + (f",{word}" if word else ""),
                                    certificate.serial, "unknown", certificate.subject)) + "\n")
        extensions = {"authorityKeyIdentifier": "keyid", **(extensions or {})}
        pem = openssl("ca", "-gencrl", "-config", self._configuration(extensions, sections, "".join(lines)),
                      "-cert", issuer.path, "-keyfile", issuer.key, "-md", digest, "-crlexts", "extensions",
                      "-crl_lastupdate", stamp_of(last), "-crl_nextupdate", stamp_of(following))
        made = openssl("crl", "-outform", "DER", data=pem)
        return self._signed_again(made, patched, key or issuer.key) if patched or key else made

    def _signed_again(self, made, reasons, key):
        """The list with other reasons, by serial number, under a signature of `key` (RSA)."""
        body, algorithm, _ = (whole for _, _, whole in elements(elements(made)[0][1]))
        for serial, number in reasons.items():
            at = body.index(KEY_COMPROMISE, body.index(der(INTEGER, serial)))
            body = body[:at] + KEY_COMPROMISE[:-1] + bytes([number]) + body[at + len(KEY_COMPROMISE):]
        signature = openssl("dgst", "-sha256", "-sign", key, data=body)
        return der(SEQUENCE, body, algorithm, der(0x03, b"\0", signature))

    def token(self, chain, time=GENTIME, carried=None, bare=False):
        """A DER token of that genTime over DIGEST; `carried` are certificates in addition to the signer's.

        A bare one has none at all, as when a request does not ask for them.
        """
        if carried is None:
            carried = chain.intermediates
        info = der(SEQUENCE, integer(1), oid("1.3.6.1.4.1.32473.1"),
                   der(SEQUENCE, der(SEQUENCE, SHA256, b"\5\0"), der(OCTET_STRING, bytes.fromhex(DIGEST))),
                   integer(int.from_bytes(os.urandom(7), "big") + 1), der(GENERALIZED_TIME, stamp_of(time).encode()))
        beside = ("-certfile", self.file(*(certificate.pem for certificate in carried))) if carried else ()
        return openssl("cms", "-sign", "-binary", "-nodetach", "-nosmimecap", "-cades", "-md", "sha256",
                       "-econtent_type", "1.2.840.113549.1.9.16.1.4", "-outform", "DER",
                       *(("-nocerts",) if bare else beside),
                       "-signer", chain.signer.path, "-inkey", chain.signer.key, data=info)

    def reply(self, chain):
        """A DER reply over DIGEST as `openssl ts` makes it, at this very moment."""
        configuration = ["[authority]", f"serial = {self.file(b'01', ending='.serial')}", f"signer_cert = {chain.signer.path}",
                         f"signer_key = {chain.signer.key}", "signer_digest = sha256", "default_policy = 1.3.6.1.4.1.32473.1",
                         "digests = sha256", "ess_cert_id_alg = sha256"]
        if chain.intermediates:
            configuration.append(f"certs = {self.file(*(certificate.pem for certificate in chain.intermediates))}")
        query = openssl("ts", "-query", "-digest", DIGEST, "-sha256", "-cert")
        return openssl("ts", "-reply", "-section", "authority", "-queryfile", self.file(query, ending=".tsq"),
                       "-config", self.file("\n".join(configuration).encode(), ending=".cnf"))


def flipped(pem):
    """A PEM certificate with the last octet of its signature changed."""
    made = bytearray(openssl("x509", "-outform", "DER", data=pem))
    made[-1] ^= 1
    return openssl("x509", "-inform", "DER", data=bytes(made))


def flipped_list(made):
    """A DER list with the last octet of its signature changed."""
    return made[:-1] + bytes([made[-1] ^ 1])


def verify_error(*arguments, at):
    """The verdict of `openssl verify` on a chain: 0, or the first X509_V_ERR number; the last argument is the
    signer."""
    done = subprocess.run(["openssl", "verify", "-no-CApath", "-no-CAstore", "-purpose", "timestampsign",
                           "-attime", epoch(at), *arguments],
                          capture_output=True, check=False, timeout=120,
                          env={**os.environ, "OPENSSL_CONF": "/dev/null"})
    if done.returncode == 0:
        return 0
    for line in done.stderr.decode().splitlines():
        if line.startswith("error ") and " at " in line:
            return int(line.split()[1])
    raise AssertionError(done.stderr.decode())


def ts_accepts(token, *arguments, at):
    """Whether `openssl ts -verify` accepts the token file, which is one over DIGEST."""
    done = subprocess.run(["openssl", "ts", "-verify", "-digest", DIGEST, "-in", token, "-token_in",
                           "-attime", epoch(at), *arguments],
                          capture_output=True, check=False, timeout=120,
                          env={**os.environ, "OPENSSL_CONF": "/dev/null"})
    return b"Verification: OK" in done.stdout + done.stderr
