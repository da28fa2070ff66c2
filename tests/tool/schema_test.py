"""docs/qex.schema.json: it describes the documents of every command, and refuses anything else."""

import copy
import json
import os
import re
import unittest

import support
from support import ToolTest, run, run_json

COMMANDS = ("stamp", "request", "reply", "verify", "show", "cert", "tac", "rewrite", "digest", "explain", "help",
            "version", "completion")


def refuses(document):
    try:
        support.assert_described(document)
    except AssertionError:
        return True
    return False


@unittest.skipUnless(support.jsonschema, "python3-jsonschema is not installed")
class SchemaTest(ToolTest):
    def described(self, *arguments, check=0):
        """The documents of a command, each checked against the schema by run()."""
        lines = run(*arguments, "--json", check=check).stdout.decode().splitlines()
        self.assertTrue(lines)
        return [json.loads(line) for line in lines]

    def files_of_every_kind(self):
        """The document stamped, its request, reply, token and the authority's certificate."""
        with self.authority() as authority:
            self.described("stamp", self.document, "--tsa", authority.url)
            run("stamp", self.document, "--tsa", authority.url, "-o", "-", "--json", check=0)
            run("reply", self.document + ".tsr", "--token", "-o", self.path("token"), check=0)
            run("cert", self.document + ".tsr", "-o", self.path("cert.pem"), "--pem", check=0)
            return [self.document + ".tsq", self.document + ".tsr", self.path("token"), self.path("cert.pem")]

    def test_TheSchemaIsOne(self):
        with open(support.SCHEMA, encoding="utf-8") as file:
            schema = json.load(file)
        support.jsonschema.Draft202012Validator.check_schema(schema)
        described = {part["if"]["properties"]["command"]["const"] for part in schema["allOf"]}
        self.assertEqual(described, set(COMMANDS))
        listed = re.findall(r"^  (\w+)", run("help", check=0).stdout.decode().split("options of")[0], flags=re.M)
        self.assertEqual(described, set(listed))

    def test_EveryCommandFollowsTheSchema(self):
        files = self.files_of_every_kind()
        token = files[1]
        succeeded = set()
        for arguments in (("verify", self.document, "--tsa-cert", files[3]), ("verify", self.document, "--insecure-any-signer"),
                          ("show", *files), ("show", *files[:3], "--asn1"), ("reply", token), ("cert", token),
                          ("rewrite", token, "--drop-attr-certs"), ("request", self.document),
                          ("request", self.document, "--policy", "1.2.3", "--no-cert"), ("digest", self.document),
                          ("digest", "--tag", self.document), ("explain",), ("explain", "-8"), ("help",),
                          ("help", "verify"), ("version",), ("completion", "zsh")):
            with self.subTest(arguments=arguments):
                for document in self.described(*arguments):
                    self.assertEqual(document["command"], arguments[0])
                    succeeded.add(document["command"])
        # stamp was described before; a token with a time attribute certificate is for tac_test.py.
        self.assertEqual(succeeded | {"stamp", "tac"}, set(COMMANDS))

    def test_FailuresAreDescribedToo(self):
        files = self.files_of_every_kind()
        self.write(self.path("other"), b"other")
        self.write(self.path("list"), b"0" * 64 + b"  " + self.document.encode() + b"\ntext\n")
        for arguments, status in ((("verify", self.document), 2),
                                  (("verify", self.path("other"), "--token", files[1], "--tsa-cert", files[3]), 1),
                                  (("verify", self.document, "--token", self.document, "--insecure-any-signer"), 4),
                                  (("verify", self.document, "--tsa-fingerprint", "0" * 64), 1),
                                  (("verify", self.path("none")), 3), (("show", self.document), 4),
                                  (("show", self.path("none")), 3), (("cert", self.document), 4),
                                  (("tac", "check", files[1]), 8), (("tac", "get", files[1]), 8),
                                  (("tac", "show", files[1]), 8), (("rewrite", files[1]), 2),
                                  (("digest", self.path("none"), self.document), 3),
                                  (("digest", "--check", self.path("list")), 1), (("digest", "--hash", "sha0"), 7),
                                  (("explain", "x"), 2), (("help", "x"), 2), (("completion", "x"), 2), (("x",), 2), ((), 2),
                                  (("request", self.document, "--hash", "md5"), 1),
                                  (("stamp", self.document, "--tsa", "http://127.0.0.1:1/", "--retry", "0", "--force"), 6),
                                  (("reply", self.document), 4)):
            with self.subTest(arguments=arguments):
                documents = self.described(*arguments, check=status)
                self.assertTrue(any(document["exit"] == status for document in documents))
                for document in documents:
                    if document["exit"]:
                        self.assertTrue(document["error"])

    def test_ManyFilesAndJobsAreDescribed(self):
        files = self.files_of_every_kind()
        self.write(self.path("second"), b"two")
        *documents, last = self.described("verify", self.document, self.path("second"), "--tsa-cert", files[3], check=3)
        self.assertEqual([document["exit"] for document in documents], [0, 3])
        self.assertEqual((last["exit"], last["summary"]["passed"], last["summary"]["failed"]), (3, 1, 1))
        jobs = [json.dumps(job) for job in ({"id": 1, "file": self.document}, {"id": [None, "x"], "token": files[0]},
                                            {"file": self.path("none")}, {"id": "y", "nothing": "x"}, [])] + ["{"]
        for command, statuses in (("verify", [0, 4, 3, 2, 2, 2]), ("show", [2, 0, 2, 2, 2, 2])):
            with self.subTest(command=command):
                trust = ("--tsa-cert", files[3]) if command == "verify" else ()
                done = run(command, "--jobs", "-", *trust, stdin="\n".join(jobs).encode())
                documents = [json.loads(line) for line in done.stdout.splitlines()]
                self.assertEqual([document["exit"] for document in documents], statuses)
                self.assertEqual([document["id"] for document in documents], [1, [None, "x"], None, "y", None, None])

    def test_ASubjectThatIsNotUtf8HasItsOctets(self):
        name = os.fsencode(self.folder) + b"/latin\xe9"
        self.write(name, b"x")
        document = run_json("digest", name, check=0)
        self.assertEqual(bytes.fromhex(document["subject_hex"]), name)
        self.assertTrue(document["subject"].endswith("latin\\xe9"))

    def test_InvalidDocumentsAreRefused(self):
        self.files_of_every_kind()
        good = run_json("verify", self.document, "--insecure-any-signer", check=0)

        def changed(**members):
            document = copy.deepcopy(good)
            document.update(members)
            return document

        def without(member):
            document = copy.deepcopy(good)
            del document[member]
            return document

        check = {"name": "imprint", "verdict": "pass", "text": "x"}
        for name, document in (
                [("without " + member, without(member)) for member in
                 ("schema", "command", "subject", "exit", "code", "asn1_error", "error", "hint", "checks", "token", "indication")]
                + [("schema 2", changed(schema=2)), ("unknown command", changed(command="check")),
                   ("unknown member", changed(colour="red")), ("member of another command", changed(script="x")),
                   ("status 9", changed(exit=9)), ("an error with exit 0", changed(error="x")),
                   ("octets as text", changed(subject_hex="xyz")), ("code as text", changed(code="0")),
                   ("made-up indication", changed(indication="GOOD")), ("passed with a reason", changed(sub_indication="GENERIC")),
                   ("failed with exit 0", changed(indication="FAILED", sub_indication="HASH_FAILURE")),
                   ("made-up reason", changed(indication="FAILED", sub_indication="BAD", exit=1, error="x")),
                   ("checks as an object", changed(checks={})), ("made-up check", changed(checks=[{**check, "name": "smell"}])),
                   ("made-up verdict", changed(checks=[{**check, "verdict": "ok"}])),
                   ("made-up reader", changed(checks=[{**check, "by": "me"}])),
                   ("a check with more", changed(checks=[{**check, "exit": 1}])),
                   ("serial as a figure", changed(token={**good["token"], "serial": 1})),
                   ("imprint in capitals", changed(token={**good["token"], "imprint": "AB"})),
                   ("no object", [good])]):
            with self.subTest(document=name):
                self.assertTrue(refuses(document))
        self.assertFalse(refuses(good))
        self.assertFalse(refuses(changed(checks=[check], id="7")))


if __name__ == "__main__":
    support.main()
