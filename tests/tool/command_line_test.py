"""Rules for every command: usage faults, failures as documents, standard output."""

import os
import signal
import subprocess
import unittest

import support
from support import ToolTest, environment, run, run_json


class CommandLineTest(ToolTest):
    def test_WrongUsageIsStatus2WithAHint(self):
        for arguments in (("no-such-command",), ("request",), ("stamp",), ("digest", "--no-such-option"),
                          ("verify",), ("explain", "QEX_E_NONE"), ("help", "nothing"),
                          ("digest", "--color", "sometimes", self.document),
                          ("stamp", self.document), ("stamp", self.document, "--tsa", "ftp://example/"),
                          ("stamp", self.document, "--tsa", "http://127.0.0.1:1/", "--timeout", "soon"),
                          ("stamp", self.document, "--tsa", "http://127.0.0.1:1/", "--client-key", "k.pem"),
                          ("stamp", self.document, "--socket", "nowhere", "--retry", "0"),
                          ("stamp", self.document, "--socket", "127.0.0.1:x", "--retry", "0"),
                          ("stamp", self.document, "--socket", ":318", "--retry", "0"),
                          ("stamp", self.document, "--tsa", "http://"),
                          ("stamp", self.document, "--tsa", "http://:80/"),
                          ("stamp", self.document, "--tsa", "http://127.0.0.1:99999/"),
                          ("stamp", self.document, "--tsa", "http://[::1/"),
                          ("stamp", self.document, "--tsa", "http://a b/"),
                          ("stamp", self.document, "--tsa", "127.0.0.1"),
                          ("stamp", self.document, "--tsa", "file:///etc/passwd"),
                          ("reply", self.document, "-o", "token")):
            with self.subTest(arguments=arguments):
                self.assert_error(run(*arguments), 2)

    def test_NamesOfArgumentsKeepTheirCapitals(self):
        self.assert_error(run("show"), 2, "error: X is required")
        self.assert_error(run("tac"), 2, "error: ACTION is required")

    def test_AFailureIsADocumentToo(self):
        document = run_json("request", self.path("missing"), check=3)
        self.assertEqual((document["schema"], document["exit"], document["command"]), (1, 3, "request"))
        self.assertIn("missing", document["error"])
        self.assertTrue(document["hint"])
        self.assertEqual(document["code"], 0)
        self.assertEqual(document["asn1_error"], 0)
        usage = run_json("no-such-command", check=2)
        self.assertEqual(usage["exit"], 2)

    def test_AReaderThatIsGoneEndsTheCommandQuietly(self):
        query = self.path("query.tsq")
        run("request", self.document, "-o", query, check=0)
        for arguments in (("version",), ("help",), ("explain",), ("explain", "--json"), ("digest", self.document),
                          ("digest", self.path("missing"), self.document, "--json"), ("completion", "bash"),
                          ("show", query), ("show", query, "--json"), ("request", self.document)):
            with self.subTest(arguments=arguments):
                reading, writing = os.pipe()
                os.close(reading)
                with os.fdopen(writing, "wb") as gone:
                    done = subprocess.run([support.QEX, *arguments], stdout=gone, stderr=subprocess.PIPE,
                                          env=environment(), check=False)
                self.assertEqual(done.returncode, -signal.SIGPIPE, done.stderr)
                self.assertEqual([line for line in done.stderr.splitlines() if b"missing" not in line and b"hint" not in line], [])

    def test_OutputThatCannotBeWrittenIsStatus3(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([support.QEX, "version"], stdout=full, stderr=subprocess.PIPE,
                                          env=environment(), check=False)
        self.assertEqual(done.returncode, 3)
        self.assertIn(b"qex: error: ", done.stderr)


if __name__ == "__main__":
    support.main()
