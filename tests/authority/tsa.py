"""The time-stamp authority itself: its keys, its certificates and its answers.

The openssl command makes and signs everything, so that the library reads another implementation's output in
tests. A folder holds: ca.pem and ca.key (the root), tsa.pem and tsa.key (the signer), openssl.cnf (how
`openssl ts -reply` answers), serial, and tls.pem with tls.key (the server's own certificate, for 127.0.0.1
and localhost). With --tac also tac.pem and tac.key (the issuer of the time attribute certificates).
"""

import fcntl
import os
import re
import subprocess
import tempfile

from tac import Issuer, Resigner, der

MAX_MESSAGE = 64 * 1024

# PKIFailureInfo, RFC 3161 2.4.2: the number of the bit that is set.
FAILURES = {
    "badAlg": 0,
    "badRequest": 2,
    "badDataFormat": 5,
    "timeNotAvailable": 14,
    "unacceptedPolicy": 15,
    "unacceptedExtension": 16,
    "addInfoNotAvailable": 17,
    "systemFailure": 25,
}

CERTIFICATE_SECTIONS = """\
[req]
distinguished_name = name
prompt = no
[name]
C = XX
O = Test Authority
CN = {common_name}
[root]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[signer]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = critical, timeStamping
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
[attribute_issuer]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
[server]
basicConstraints = critical, CA:FALSE
extendedKeyUsage = serverAuth
subjectAltName = IP:127.0.0.1, DNS:localhost
"""


class OpensslError(Exception):
    """The openssl command failed; the text is its output."""


def openssl(*arguments, data=None):
    """Runs openssl and returns its standard output."""
    environment = {k: v for k, v in os.environ.items() if not k.startswith("OPENSSL_")}
    done = subprocess.run(["openssl", *arguments], input=data, capture_output=True,
                          env=environment, timeout=300, check=False)
    if done.returncode != 0:
        raise OpensslError(f"openssl {arguments[0]}: {done.stderr.decode(errors='replace').strip()}")
    return done.stdout


def refusal(failure, text=None, status=2):
    """A TimeStampResp that carries no token; `failure` is a key of FAILURES."""
    bit = FAILURES[failure]
    octets = bytearray(bit // 8 + 1)
    octets[bit // 8] = 0x80 >> (bit % 8)
    fields = [der(0x02, bytes([status]))]
    if text is not None:
        fields.append(der(0x30, der(0x0C, text.encode())))
    fields.append(der(0x03, bytes([7 - bit % 8]), bytes(octets)))
    return der(0x30, der(0x30, *fields))


class Authority:
    """Keys, certificates and configuration in one folder, made where they are missing."""

    def __init__(self, folder, options):
        self.folder = os.path.abspath(folder)
        os.makedirs(self.folder, exist_ok=True)
        self.options = options
        with self._locked():
            self._make_root()
            self._make_signer()
            if options.tls:
                self._make_certificate("tls", "127.0.0.1", "server", ["rsa:2048"])
            if options.tac:
                self._make_certificate("tac", "Test Time Attribute Issuer", "attribute_issuer", ["rsa:2048"])
            if not os.path.exists(self.path("serial")):
                self._write("serial", "01\n")
        # Authorities that share a folder may answer in different ways: the file
        # is this process's own.
        self.configuration = f"openssl-{os.getpid()}.cnf"
        self._write(self.configuration, self._timestamp_section())
        self._resigner = self._make_resigner()

    def path(self, name):
        return os.path.join(self.folder, name)

    def answer(self, query):
        """The reply to a DER TimeStampReq, in DER."""
        if self.options.reject:
            return refusal(self.options.reject, self.options.status_text)
        with tempfile.TemporaryDirectory(dir=self.folder) as scratch:
            query_path = os.path.join(scratch, "query")
            reply_path = os.path.join(scratch, "reply")
            with open(query_path, "wb") as file:
                file.write(query)
            # The serial number is read, raised and written by openssl, unlocked.
            with self._locked():
                try:
                    openssl("ts", "-reply", "-config", self.path(self.configuration), "-section",
                            "authority", "-queryfile", query_path, "-out", reply_path)
                except OpensslError:
                    # openssl answers requests that it refuses, and fails on those that it cannot read.
                    return refusal("badDataFormat", "the query cannot be read")
            with open(reply_path, "rb") as file:
                reply = file.read()
            return self._resigner.resign(reply) if self._resigner else reply

    def close(self):
        try:
            os.unlink(self.path(self.configuration))
        except OSError:
            pass

    def _make_resigner(self):
        """The object that signs openssl's tokens again; None when they stay unchanged."""
        options = self.options
        if not options.tac and not options.extra_attribute:
            return None
        issuer = None
        if options.tac:
            issuer = Issuer(self.path("tac.key"), self._der_of("tac"), self._der_of("tsa"), options.tac_parts)
        return Resigner(self.path("tsa.key"), options, issuer)

    def _der_of(self, name):
        return openssl("x509", "-in", self.path(f"{name}.pem"), "-outform", "DER")

    def _locked(self):
        return FolderLock(self.path("lock"))

    def _write(self, name, text):
        with open(self.path(name), "w", encoding="ascii") as file:
            file.write(text)

    def _make_root(self):
        self._make_certificate("ca", "Test Root", "root", ["rsa:2048"])

    def _make_signer(self):
        options = self.options
        if options.key == "rsa":
            key = [f"rsa:{options.rsa_bits}", "-pkeyopt", f"rsa_keygen_pubexp:{options.rsa_exponent}"]
        elif options.key == "ec":
            key = ["ec", "-pkeyopt", "ec_paramgen_curve:P-256"]
        else:
            parameters = self.path("dsa.param")
            if not os.path.exists(parameters):
                openssl("genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt",
                        f"dsa_paramgen_bits:{options.dsa_bits}", "-pkeyopt",
                        f"dsa_paramgen_q_bits:{160 if options.dsa_bits <= 1024 else 256}",
                        "-out", parameters)
            key = [f"dsa:{parameters}"]
        self._make_certificate("tsa", "Test Time-Stamp Signer", "signer", key)

    def _make_certificate(self, name, common_name, section, key):
        """Makes NAME.key and NAME.pem, signed by the root (the root is self-signed)."""
        certificate = self.path(f"{name}.pem")
        if os.path.exists(certificate):
            return
        self._write(f"{name}.cnf", CERTIFICATE_SECTIONS.format(common_name=common_name))
        config = ["-config", self.path(f"{name}.cnf")]
        new_key = ["-newkey", *key, "-nodes", "-keyout", self.path(f"{name}.key")]
        unfinished = certificate + ".new"
        if name == "ca":
            openssl("req", "-x509", *config, *new_key, "-days", "3650", "-sha256",
                    "-extensions", section, "-out", unfinished)
        else:
            request = self.path(f"{name}.csr")
            openssl("req", "-new", *config, *new_key, "-sha256", "-out", request)
            openssl("x509", "-req", "-in", request, "-CA", self.path("ca.pem"), "-CAkey",
                    self.path("ca.key"), "-set_serial", f"0x{os.urandom(8).hex()}", "-days", "3650",
                    "-sha256", "-extfile", self.path(f"{name}.cnf"), "-extensions", section,
                    "-out", unfinished)
        # The certificate's presence says that its key is whole.
        os.replace(unfinished, certificate)

    def _timestamp_section(self):
        options = self.options
        lines = [
            "[authority]",
            f"serial = {self.path('serial')}",
            f"signer_cert = {self.path('tsa.pem')}",
            f"signer_key = {self.path('tsa.key')}",
            f"signer_digest = {options.digest}",
            f"default_policy = {options.policy}",
            f"digests = {', '.join(options.digests)}",
            f"ordering = {'yes' if options.ordering else 'no'}",
            f"tsa_name = {'yes' if options.tsa_name else 'no'}",
            f"ess_cert_id_chain = {'yes' if options.chain else 'no'}",
            f"ess_cert_id_alg = {'sha1' if options.ess == 'v1' else options.ess_digest}",
        ]
        if options.chain:
            lines.append(f"certs = {self.path('ca.pem')}")
        if options.other_policies:
            lines.append(f"other_policies = {', '.join(options.other_policies)}")
        if options.accuracy:
            lines.append(f"accuracy = {options.accuracy}")
        if options.clock_digits:
            lines.append(f"clock_precision_digits = {options.clock_digits}")
        return "\n".join(lines) + "\n"


class FolderLock:
    """Holds a lock that both threads and processes respect."""

    def __init__(self, path):
        self._path = path
        self._file = None

    def __enter__(self):
        self._file = open(self._path, "w", encoding="ascii")
        fcntl.flock(self._file, fcntl.LOCK_EX)

    def __exit__(self, *_):
        self._file.close()


def message_length(head):
    """The whole length of the DER element at the start of `head`.

    None when more octets are needed; ValueError when it is not a SEQUENCE of bounded length.
    """
    if len(head) >= 1 and head[0] != 0x30:
        raise ValueError("not a SEQUENCE")
    if len(head) < 2:
        return None
    first = head[1]
    if first < 0x80:
        return 2 + first
    count = first & 0x7F
    if not 1 <= count <= 4:
        raise ValueError("length form")
    if len(head) < 2 + count:
        return None
    total = 2 + count + int.from_bytes(head[2:2 + count], "big")
    if total > MAX_MESSAGE:
        raise ValueError("too long")
    return total


def object_identifier(text):
    """Argument type: a dotted object identifier, so that nothing else reaches openssl.cnf."""
    if not re.fullmatch(r"[0-2](\.[0-9]+)+", text):
        raise ValueError(text)
    return text
