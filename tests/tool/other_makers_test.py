"""Tokens made by Bouncy Castle: with its defaults, under newer algorithms, and damaged.

samples.txt in each folder lists the contents of each token and Bouncy Castle's own verdict.
"""

import os
import unittest

import support
from chain_support import failing, verdicts_of
from support import ToolTest, run, run_json

DATA = os.path.join(support.HERE, "..", "data")


def records(folder, kind="token"):
    """The records of that kind in a folder's samples.txt, with the paths of the files that they name."""
    found = []
    with open(os.path.join(DATA, folder, "samples.txt"), encoding="ascii") as file:
        for block in file.read().split("\n\n")[1:]:
            record = dict(line.split(" = ", 1) for line in block.splitlines())
            if record["Kind"] == kind:
                found.append({key: os.path.join(DATA, folder, value) if value.endswith((".der", ".ber")) else value
                              for key, value in record.items()})
    return found


class StrictSamplesTest(ToolTest):
    """Each with its signer's certificate as pin, with its root, and with both."""

    def verify(self, record, *options):
        return run_json("verify", "--digest", f"{record['Algorithm']}:{record['Imprint']}", "--token", record["Name"], *options)

    def trusts(self, record):
        pin, root = ("--tsa-cert", record["Certificate"]), ("--ca-file", record["Root"])
        return (pin, root, pin + root)

    def samples(self, verdict):
        return [record for record in records("bouncycastle_strict") if record["Verdict"] == verdict]

    def test_AllSamplesAreThere(self):
        self.assertEqual((len(self.samples("good")), len(self.samples("damaged"))), (23, 18))

    def test_AGoodTokenPasses(self):
        for record in self.samples("good"):
            for trust in self.trusts(record):
                with self.subTest(record["Says"], trust=trust[::2]):
                    document = self.verify(record, *trust)
                    self.assertEqual((document["exit"], failing(document)), (0, set()), document["error"])
                    self.assertEqual(document["indication"], "PASSED")
                    self.assertEqual(document["token"]["time"], "2025-06-01T12:00:00Z")
                    for name in ("imprint", "structure", "time", "signature", "signer", "key_usage", "dates"):
                        self.assertIn("pass", verdicts_of(document, name), name)
                    if "--ca-file" in trust:
                        self.assertIn("pass", verdicts_of(document, "chain"))

    def test_ANoteNamesTheIdentifierAtWhichTheLibraryStops(self):
        for record in self.samples("good"):
            with self.subTest(record["Says"]):
                document = self.verify(record, "--tsa-cert", record["Certificate"])
                made_by = [check["by"] for check in document["checks"] if check["name"] == "signature"]
                library = [check for check in document["checks"] if check["name"] == "library"]
                if record["Stops"] == "none":
                    self.assertEqual((made_by, library), (["both"], []))
                else:
                    self.assertEqual((made_by, [check["verdict"] for check in library]), (["strict"], ["note"]))
                    named = library[0]["text"]
                    self.assertTrue(any(identifier in named for identifier in record["Stops"].split()), named)

    def test_ADamagedTokenFailsTheSignature(self):
        for record in self.samples("damaged"):
            for trust in self.trusts(record):
                with self.subTest(os.path.basename(record["Name"]), trust=trust[::2]):
                    document = self.verify(record, *trust)
                    self.assertEqual(document["exit"], 1, document["error"])
                    self.assertIn("signature", failing(document))
                    self.assertEqual(document["indication"], "FAILED")
                    self.assertIn(document["sub_indication"], ("SIG_CRYPTO_FAILURE", "HASH_FAILURE"))

    def test_AnotherSignerOrRootIsNotTaken(self):
        samples = self.samples("good")
        for record, other in zip(samples, samples[1:] + samples[:1]):
            if record["Certificate"] != other["Certificate"]:
                with self.subTest(record["Says"]):
                    document = self.verify(record, "--tsa-cert", other["Certificate"])
                    self.assertEqual((document["exit"], failing(document)), (1, {"signer"}), document["error"])
            if record["Root"] != other["Root"]:
                with self.subTest(record["Says"]):
                    document = self.verify(record, "--ca-file", other["Root"])
                    self.assertEqual((document["exit"], failing(document)), (1, {"chain"}), document["error"])

    def test_TheListOfRevocationInTheTokenIsNotOneThatWasGiven(self):
        for record in self.samples("good"):
            if os.path.basename(record["Name"]) in ("token_crl.der", "token_ocsp.der"):
                document = self.verify(record, "--ca-file", record["Root"])
                self.assertEqual(verdicts_of(document, "revocation"), {"skip"})

    def test_TheyShowWithoutAnError(self):
        for record in self.samples("good"):
            with self.subTest(record["Says"]):
                self.assertIn(b"2025-06-01T12:00:00Z", run("show", record["Name"], check=0).stdout)


class OlderSamplesTest(ToolTest):
    """The tokens that the library's own tests read: RSA and DSA, SHA-1 and SHA-256, DER and BER."""

    def test_EveryTokenPassesUnderItsCertificate(self):
        for record in records("bouncycastle"):
            with self.subTest(os.path.basename(record["Name"])):
                certificate = os.path.join(DATA, "bouncycastle", f"certificate_{record['Key']}.der")
                document = run_json("verify", "--digest", "sha256:" + record["Imprint"], "--token", record["Name"],
                                    "--tsa-cert", certificate, "--allow-weak")
                self.assertEqual((document["exit"], failing(document)), (0, set()), document["error"])
                self.assertEqual(document["token"]["policy"], record["Policy"])
                stops = [check["text"] for check in document["checks"] if check["name"] == "library"]
                if record["Protection"] == "yes":
                    self.assertTrue(any("1.2.840.113549.1.9.52" in text for text in stops), document["checks"])

    def test_SHA1AndShortKeysAreWeak(self):
        for record in records("bouncycastle"):
            weak = record["Digest"] == "SHA1" or record["Key"] == "dsa1024_160"
            with self.subTest(os.path.basename(record["Name"])):
                certificate = os.path.join(DATA, "bouncycastle", f"certificate_{record['Key']}.der")
                document = run_json("verify", "--digest", "sha256:" + record["Imprint"], "--token", record["Name"],
                                    "--tsa-cert", certificate)
                self.assertEqual((document["exit"], failing(document)), (1, {"signature"}) if weak else (0, set()), document["error"])


if __name__ == "__main__":
    support.main()
