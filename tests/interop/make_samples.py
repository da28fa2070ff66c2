#!/usr/bin/python3
"""Makes the samples that the interoperability tests read, with the openssl command alone.

    make_samples.py FOLDER

FOLDER is created again. A list in it has one line per sample: its name, and facts from its making as `word=value`;
the files of a sample begin with its name.

  requests.txt      NAME.tsq the query, NAME.tsq.txt as openssl prints it
  replies.txt       NAME.tsr the reply, NAME.tsr.txt as openssl prints it, NAME.token the token
  rejections.txt    NAME.tsr and NAME.tsr.txt of replies that carry no token
  tokens.txt        NAME.token, made by `openssl cms` and not by `openssl ts`
  unknown.txt       NAME.token with a value of a type that the library has no decoder for
  certificates.txt  NAME.der

KEY.pem, KEY.der and KEY.key belong to the signers, ca.pem is the root of all.
"""

import concurrent.futures
import os
import shutil
import sys

sys.dont_write_bytecode = True  # write nothing next to the sources
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "authority"))

from tsa import OpensslError, der, openssl  # noqa: E402

POLICY = "1.3.6.1.4.1.99999.1"  # policies that no configuration of openssl has a name for
OTHER_POLICY = "1.2.3.4.5.6.77.8888"
TST_INFO_TYPE = "1.2.840.113549.1.9.16.1.4"
IMPRINTS = ["sha256", "sha1", "sha512", "md5", "sha384"]
DIGESTS = ["sha1", "sha256", "sha384", "sha512"]
LATER_ESS = ["sha256", "sha384", "sha512"]  # sha1 makes the first version of the attribute

RSA_KEYS = {  # bits, public exponent
    "rsa1000": (1000, 65537),
    "rsa1024": (1024, 3),
    "rsa2047": (2047, 3),
    "rsa2048": (2048, 65537),
    "rsa3072": (3072, 3),
    "rsa4096": (4096, 65537),
}
OTHER_KEYS = ["many", "dc", "ec", "dsa1024", "dsa2048"]

NAMES = {  # of the signers; the others have the first
    None: "/C=XX/O=Interop/CN=Signer",
    "rsa2048": "/C=GB/ST=Some State/L=Some Place/O=Interop Söhne/OU=Clocks/CN=Signer 2048"
               "/serialNumber=17-4/emailAddress=clock@example.org/title=clock keeper",
    "dc": "/DC=org/DC=example/CN=Signer",
}

# One certificate with as many kinds of extensions and names as fit.
MANY_EXTENSIONS = """\
basicConstraints = critical, CA:TRUE, pathlen:3
keyUsage = critical, keyCertSign, cRLSign, digitalSignature
extendedKeyUsage = serverAuth, clientAuth, 1.2.3.4
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid, issuer:always
subjectAltName = email:a@example.org, DNS:*.example.org, URI:https://example.org/, IP:10.0.0.1, RID:1.2.3.4, \
otherName:1.2.3.4;UTF8:other, dirName:directory
issuerAltName = DNS:issuer.example.org
certificatePolicies = 1.2.3.4, 1.5.6.7.8, @policy
nameConstraints = critical, permitted;DNS:example.org, excluded;email:example.com
crlDistributionPoints = URI:http://example.org/crl
authorityInfoAccess = OCSP;URI:http://example.org/ocsp
policyConstraints = requireExplicitPolicy:3
tlsfeature = status_request
1.2.3.4.5 = ASN1:UTF8String:an extension of no known type
"""

CONFIGURATION = f"""\
[req]
distinguished_name = name
[name]
[directory]
C = XX
CN = Directory
[policy]
policyIdentifier = 1.3.5.8
CPS.1 = http://example.org/cps
userNotice.1 = @notice
[notice]
explicitText = UTF8:a notice
organization = Interop
noticeNumbers = 1, 2, 3
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
[many]
{MANY_EXTENSIONS}
[ca]
default_ca = list
[list]
database = index.txt
default_md = sha256
default_crl_days = 30
crl_extensions = crl
[crl]
authorityKeyIdentifier = keyid
"""


def write(path, data):
    with open(path, "wb") as file:
        file.write(data if isinstance(data, bytes) else data.encode())


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write_list(path, lines):
    write(path, "".join(" ".join([name] + [f"{k}={v}" for k, v in facts.items()]) + "\n"
                        for name, facts in sorted(lines)))


def elements(data):
    """The successive elements in `data`: (whole, content) of each."""
    found = []
    at = 0
    while at < len(data):
        length, head = data[at + 1], 2
        if length >= 0x80:
            head += length & 0x7F
            length = int.from_bytes(data[at + 2:at + head], "big")
        found.append((data[at:at + head + length], data[at + head:at + head + length]))
        at += head + length
    return found


def make_key(name):
    if name.startswith("dsa"):
        bits = int(name[3:])
        openssl("genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", f"dsa_paramgen_bits:{bits}",
                "-pkeyopt", f"dsa_paramgen_q_bits:{160 if bits == 1024 else 256}", "-out", f"{name}.param")
        openssl("genpkey", "-paramfile", f"{name}.param", "-out", f"{name}.key")
    elif name == "ec":
        openssl("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", f"{name}.key")
    else:
        bits, exponent = RSA_KEYS.get(name, (2048, 65537))
        openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}",
                "-pkeyopt", f"rsa_keygen_pubexp:{exponent}", "-out", f"{name}.key")


def make_certificate(name, section="signer", days="3650"):
    issuer = [] if name == "ca" else ["-CA", "ca.pem", "-CAkey", "ca.key"]
    subject = "/C=XX/O=Interop/CN=Root" if name == "ca" else NAMES.get(name, NAMES[None])
    openssl("req", "-x509", "-new", "-utf8", "-config", "openssl.cnf", "-key", f"{name}.key", *issuer,
            "-subj", subject, "-days", days, "-sha256", "-extensions", section, "-out", f"{name}.pem")
    openssl("x509", "-in", f"{name}.pem", "-outform", "DER", "-out", f"{name}.der")
    return name, {}


def make_signers():
    names = ["ca", *reversed(RSA_KEYS), *OTHER_KEYS]
    in_parallel(make_key, [(name,) for name in names])
    made = [make_certificate("ca", "root")]
    # The last one ends after 2050: its time is a GeneralizedTime.
    made += in_parallel(make_certificate, [(name, "many", "15000") if name == "many" else (name,)
                                           for name in names[1:]])
    write_list("certificates.txt", [one for one in made if one[0] not in ("ec", "dc")])
    write("index.txt", "")
    write("crlnumber", "01\n")
    openssl("ca", "-gencrl", "-config", "openssl.cnf", "-keyfile", "ca.key", "-cert", "ca.pem", "-out", "crl.pem")
    openssl("crl2pkcs7", "-in", "crl.pem", "-certfile", "many.pem", "-outform", "DER", "-out", "crl.p7")


def make_request(name, imprint, nonce, cert, policy):
    openssl("ts", "-query", "-data", "document", f"-{imprint}", *([] if nonce else ["-no_nonce"]),
            *(["-cert"] if cert else []), *(["-tspolicy", OTHER_POLICY] if policy else []), "-out", f"{name}.tsq")
    openssl("ts", "-query", "-in", f"{name}.tsq", "-text", "-out", f"{name}.tsq.txt")
    return name, {"imprint": imprint}


def make_requests():
    """Four a hash: with everything, bare, and two between."""
    requests = []
    for imprint in IMPRINTS:
        requests += [(f"{imprint}-full", imprint, True, True, True),
                     (f"{imprint}-cert", imprint, True, True, False),
                     (f"{imprint}-nonce", imprint, True, False, False),
                     (f"{imprint}-bare", imprint, False, False, False)]
    write_list("requests.txt", in_parallel(make_request, requests))


def answer(name, request, key, digest, ess="sha1", chain=False, **options):
    """Lets openssl answer; the reply is in NAME.tsr."""
    lines = {
        "serial": f"{name}.serial",
        "signer_cert": f"{key}.pem",
        "signer_key": f"{key}.key",
        "signer_digest": digest,
        "default_policy": POLICY,
        "other_policies": OTHER_POLICY,
        "digests": ", ".join(IMPRINTS),
        "ess_cert_id_alg": ess,
        "tsa_name": "yes",
        **options,
    }
    serial = lines.pop("first_serial", "01")
    if chain:
        lines.update(certs="ca.pem", ess_cert_id_chain="yes")
    write(f"{name}.serial", serial + "\n")
    write(f"{name}.cnf", "[authority]\n" + "".join(f"{k} = {v}\n" for k, v in lines.items()))
    openssl("ts", "-reply", "-config", f"{name}.cnf", "-section", "authority",
            "-queryfile", f"{request}.tsq", "-out", f"{name}.tsr")
    openssl("ts", "-reply", "-in", f"{name}.tsr", "-text", "-out", f"{name}.tsr.txt")


def make_reply(name, request, key, digest, ess="sha1", chain=False, **options):
    answer(name, request, key, digest, ess, chain, **options)
    openssl("ts", "-reply", "-in", f"{name}.tsr", "-token_out", "-out", f"{name}.token")
    verdict = "verified"
    try:
        openssl("ts", "-verify", "-queryfile", f"{request}.tsq", "-in", f"{name}.tsr",
                "-CAfile", "ca.pem", "-untrusted", f"{key}.pem")
    except OpensslError:
        verdict = "refused"
    return name, {"request": request, "key": key, "digest": digest, "ess": "v1" if ess == "sha1" else "v2",
                  "cert": "no" if request.endswith(("bare", "nonce")) else "yes", "openssl": verdict}


def make_replies():
    replies = []
    for i, key in enumerate(RSA_KEYS):
        for j, digest in enumerate(DIGESTS):
            imprint = IMPRINTS[(i + j) % len(IMPRINTS)]
            replies.append((f"{key}-{digest}", f"{imprint}-cert", key, digest))
            ess = LATER_ESS[(i + j) % len(LATER_ESS)]
            replies.append((f"{key}-{digest}-v2-{ess}", f"{imprint}-full", key, digest, ess))
    for key, digests in {"dsa1024": ["sha1", "sha256"], "dsa2048": ["sha256"]}.items():
        for digest in digests:
            replies.append((f"{key}-{digest}", "sha256-cert", key, digest))
            replies.append((f"{key}-{digest}-v2", "sha256-cert", key, digest, "sha256"))
    for version, ess in {"v1": "sha1", "v2": "sha384"}.items():
        def more(name, request="sha256-cert", digest="sha256", chain=False, **options):
            replies.append((f"{name}-{version}", request, "rsa2048", digest, ess, chain, options))
        more("md5", digest="md5")
        more("no-certificates", "sha512-bare")
        more("nonce-only", "sha1-nonce")
        more("chain", chain=True)
        more("chain-no-certificates", "sha384-nonce", chain=True)
        more("no-tsa", tsa_name="no")
        more("ordering", ordering="yes")
        more("seconds", accuracy="secs:1")
        more("millis", accuracy="millisecs:999")
        more("micros", accuracy="microsecs:1")
        more("accuracy", accuracy="secs:70000, millisecs:500, microsecs:100", ordering="yes")
        more("tenths", clock_precision_digits=1)
        more("microseconds", clock_precision_digits=6)
        more("serial-64-bits", first_serial="FFFFFFFFFFFFFFFE")
        more("serial-65-bits", first_serial="FFFFFFFFFFFFFFFF")
        more("serial-20-octets", first_serial="7F" + "A5" * 19)
        more("negative-looking-serial", first_serial="7F")
    # Without its certificate, whose key is of an unknown type.
    replies.append(("ec-no-certificates", "sha256-bare", "ec", "sha256"))
    # Small tokens that carry a further certificate, for changes bit by bit.
    replies.append(("small-v1", "sha1-cert", "rsa1024", "sha256", "sha1", True))
    replies.append(("small-v2", "sha1-cert", "rsa1024", "sha256", "sha256", True))
    write_list("replies.txt", in_parallel(make_reply, replies))


def make_rejection(name, request, key="rsa2048", digest="sha256", **options):
    answer(name, request, key, digest, **options)
    return name, {}


def make_rejections():
    """Queries that openssl reads and refuses; those that it cannot make are built here."""
    imprint = der(0x30, der(0x30, der(0x06, bytes.fromhex("608648016503040201"))), der(0x04, bytes(32)))
    extension = der(0x30, der(0x06, b"\x2a\x03\x04"), der(0x04, b"\x05\x00"))
    write("version.tsq", der(0x30, der(0x02, b"\x02"), imprint))
    write("extension.tsq", der(0x30, der(0x02, b"\x01"), imprint, der(0xA0, extension)))
    short = der(0x30, der(0x30, der(0x06, bytes.fromhex("608648016503040201"))), der(0x04, bytes(31)))
    write("short.tsq", der(0x30, der(0x02, b"\x01"), short))
    rejections = [("algorithm", "md5-cert", {"digests": "sha256"}),
                  ("policy", "sha256-full", {"other_policies": "1.2.3"}),
                  ("signing", "sha256-cert", "dsa1024", "sha512"),  # no failInfo
                  ("version", "version"), ("extension", "extension"), ("short", "short")]
    write_list("rejections.txt", in_parallel(make_rejection, rejections))


def make_token(name, key, digest, ess, *options):
    whole = elements(read("rsa2048-sha256.token"))[0][1]  # ContentInfo
    signed_data = elements(elements(elements(whole)[1][1])[0][1])
    encapsulated = elements(signed_data[2][1])
    content = elements(elements(encapsulated[1][1])[0][1])[0][0]  # the TSTInfo
    write(f"{name}.tst", content)
    openssl("cms", "-sign", "-binary", "-nodetach", "-nosmimecap", "-econtent_type", TST_INFO_TYPE, "-cades",
            "-md", digest, "-signer", f"{key}.pem", "-inkey", f"{key}.key", *options,
            "-in", f"{name}.tst", "-outform", "DER", "-out", f"{name}.token")
    return name, {"key": key, "digest": digest, "ess": ess, "cert": "no" if "-nocerts" in options else "yes",
                  "form": "ber" if "-stream" in options else "der"}


def make_tokens():
    tokens = []
    for key in ["rsa1024", "rsa2048"]:
        for digest in ["sha1", "sha256", "sha512"]:
            tokens.append((f"cms-{key}-{digest}", key, digest, "v1" if digest == "sha1" else "v2"))
    tokens += [
        ("cms-keyid", "rsa2048", "sha1", "v1", "-keyid"),
        ("cms-keyid-v2", "rsa2048", "sha384", "v2", "-keyid"),
        ("cms-stream", "rsa2048", "sha1", "v1", "-stream"),
        ("cms-stream-v2", "rsa2048", "sha256", "v2", "-stream"),
        ("cms-chain", "rsa2048", "sha1", "v1", "-certfile", "ca.pem"),
        ("cms-no-certificates", "rsa2048", "sha1", "v1", "-nocerts"),
        ("cms-dsa", "dsa1024", "sha1", "v1"),
        ("cms-dsa-v2", "dsa1024", "sha256", "v2"),
    ]
    write_list("tokens.txt", in_parallel(make_token, tokens))


def make_unknown():
    """A key, a signature algorithm and an attribute of a name whose values are of no registered type."""
    unknown = [make_reply("ec", "sha256-cert", "ec", "sha256"), make_reply("dc", "sha256-cert", "dc", "sha256"),
               make_token("pss", "rsa2048", "sha1", "v1", "-keyopt", "rsa_padding_mode:pss")]
    write_list("unknown.txt", [(name, {}) for name, _ in unknown])


def in_parallel(work, jobs):
    """Runs work(*job) for every job, a dict at the end of one as named arguments."""
    def run(job):
        if isinstance(job[-1], dict):
            return work(*job[:-1], **job[-1])
        return work(*job)
    with concurrent.futures.ThreadPoolExecutor(max_workers=min(4, os.cpu_count() or 1)) as pool:
        return list(pool.map(run, jobs))


def main(folder):
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    os.chdir(folder)
    write("openssl.cnf", CONFIGURATION)
    write("document", "the document that all samples are about\n")
    make_signers()
    make_requests()
    make_replies()
    make_rejections()
    make_tokens()
    make_unknown()


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    try:
        main(sys.argv[1])
    except OpensslError as error:
        sys.exit(f"make_samples: {error}")
