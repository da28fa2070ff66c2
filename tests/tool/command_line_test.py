"""Usage, help, version and explain."""

import unittest

import support
from support import ToolTest, environment, run, run_json


class CommandLineTest(ToolTest):
    def test_EveryCommandIsListedAndExplained(self):
        listing = run("help", check=0).stdout.decode()
        for command in ("stamp", "request", "reply", "verify", "show", "cert", "tac", "rewrite", "digest", "explain", "version"):
            with self.subTest(command=command):
                self.assertIn(command, listing)
                text = run("help", command, check=0).stdout
                self.assertIn(command.encode(), text)
                self.assertEqual(run(command, "--help", check=0).stdout, text)

    def test_WrongUsageIsStatus2WithAHint(self):
        for arguments in ((), ("no-such-command",), ("request",), ("stamp",), ("digest", "--no-such-option"),
                          ("verify",), ("explain",), ("explain", "QEX_E_NONE"), ("help", "nothing"),
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

    def test_OptionsOfLaterVersionsAreNamedNotHeeded(self):
        for option in ("--ca-file", "--ca-path", "--system-ca", "--untrusted", "--crl", "--at"):
            with self.subTest(option=option):
                self.assert_error(run("verify", self.document, option, "x"), 2, option + " is not supported yet")

    def test_NamesOfArgumentsKeepTheirCapitals(self):
        self.assert_error(run("show"), 2, "error: X is required")
        self.assert_error(run("tac"), 2, "error: ACTION is required")
        self.assert_error(run("digest", "--no-such-option"), 2, "error: the following argument")

    def test_AFailureIsADocumentToo(self):
        document = run_json("request", self.path("missing"), check=3)
        self.assertEqual((document["schema"], document["exit"], document["command"]), (1, 3, "request"))
        self.assertIn("missing", document["error"])
        self.assertTrue(document["hint"])
        self.assertEqual(document["code"], 0)
        self.assertEqual(document["asn1_error"], 0)
        usage = run_json("no-such-command", check=2)
        self.assertEqual(usage["exit"], 2)

    def test_VersionIsTextAndJson(self):
        text = run("version", check=0).stdout.decode().split()
        self.assertEqual(text[0], "qex")
        self.assertEqual(run_json("version", check=0)["version"], text[1])

    def test_ExplainShowsEveryMeaningOfANumber(self):
        code = run("explain", "-8", check=0).stdout.decode()
        self.assertIn("QEX_E_SIGNATURE", code)
        self.assertIn("INTEGER", code)  # the ASN.1 error of the same number
        self.assertEqual(run("explain", "QEX_E_SIGNATURE", check=0).stdout.decode().count("\n"), 5)
        self.assertEqual(run("explain", "--", "-8", check=0).stdout.decode(), code)
        self.assertIn("TBSCertificate", run("explain", "-147", check=0).stdout.decode())
        for status in (0, 1, 2, 3, 4, 5, 6, 7, 8, 70):
            with self.subTest(status=status):
                meanings = run_json("explain", str(status), check=0)["meanings"]
                self.assertIn("exit status", [meaning["as"] for meaning in meanings])
        for code in (-1, -2, -3, -5, -6, -7, -8, -9, -10, -11, -12, -13, -14, -15, -16, -17):
            with self.subTest(code=code):
                meanings = run_json("explain", str(code), check=0)["meanings"]
                self.assertIn("result code", [meaning["as"] for meaning in meanings])
        self.assertNotIn("result code", run("explain", "-4", check=0).stdout.decode())

    def test_ResultCodesLeadToTheDocumentedExitStatus(self):
        for code, status in ((-1, 2), (-2, 70), (-5, 4), (-6, 4), (-7, 4), (-8, 1), (-9, 5), (-10, 4), (-11, 6),
                             (-12, 4), (-13, 7), (-14, 8), (-15, 8), (-16, 1), (-17, 8)):
            with self.subTest(code=code):
                meaning = run_json("explain", str(code), check=0)["meanings"][0]
                self.assertEqual(meaning["exit_status"], status)

    def test_OutputThatCannotBeWrittenIsStatus3(self):
        with open("/dev/full", "wb") as full:
            done = support.subprocess.run([support.QEX, "version"], stdout=full, stderr=support.subprocess.PIPE,
                                          env=environment(), check=False)
        self.assertEqual(done.returncode, 3)
        self.assertIn(b"qex: error: ", done.stderr)


if __name__ == "__main__":
    support.main()
