"""The self-description of qex: help, suggestions, version and explain."""

import re
import subprocess
import unittest

import support
from support import ToolTest, environment, run, run_json

COMMANDS = ("stamp", "request", "reply", "verify", "show", "cert", "tac", "rewrite", "digest", "explain", "help",
            "version", "completion")
COMMON_OPTIONS = ("--help", "--version", "--json", "-q", "-v", "--color", "--allow-weak", "--allow-low-exponent", "--force")


def sections(text):
    """The sections of a help text, by their titles."""
    parts = re.split(r"^(\w[\w ]*):$", text, flags=re.M)
    return dict(zip(parts[1::2], parts[2::2]))


class HelpTest(ToolTest):
    def test_QexAloneAndHelpListTheCommands(self):
        listing = run("help", check=0).stdout.decode()
        self.assertEqual(tuple(re.findall(r"^  (\w+)", sections(listing)["commands"], flags=re.M)), COMMANDS)
        for arguments in ((), ("--help",), ("-h",)):
            with self.subTest(arguments=arguments):
                self.assertEqual(run(*arguments, check=0).stdout.decode(), listing)

    def test_EachCommandIsExplainedWithAllThatItTakes(self):
        for command in COMMANDS:
            with self.subTest(command=command):
                text = run("help", command, check=0).stdout.decode()
                parts = sections(text)
                self.assertTrue(text.startswith(f"qex {command}: "))
                self.assertIn(f"usage: qex {command}", text)
                for option in COMMON_OPTIONS:
                    self.assertRegex(parts["options of every command"], rf"(?m)^ .*{option}\b")
                self.assertEqual(len(re.findall(r"^  \S", parts["examples"], flags=re.M)), 2)
                self.assertEqual(parts["examples"].count(f"qex {command}"), 2)
                statuses = re.findall(r"^  (\d+) ", parts["exit status"], flags=re.M)
                self.assertIn("0", statuses)
                self.assertEqual(run(command, "--help", check=0).stdout.decode(), text)
                self.assertEqual(run("--help", command, check=0).stdout.decode(), text)
                self.assertEqual(run_json("help", command, check=0)["text"], text)

    def test_ThePartsInJsonAreThoseOfTheText(self):
        whole = run_json("help", check=0)
        self.assertEqual(tuple(command["name"] for command in whole["commands"]), COMMANDS)
        for command in COMMANDS:
            with self.subTest(command=command):
                document = run_json("help", command, check=0)
                text = document["text"]
                parts = sections(text)
                self.assertEqual(document["common_options"], whole["common_options"])
                self.assertEqual(text.splitlines()[0], f"qex {command}: {document['summary']}")

                def in_help(row):
                    name = ", ".join(row["names"]) + (" " if row["names"] and row["value"] else "") + (row["value"] or "")
                    return name + ("..." if row["repeated"] and not row["names"] else "")

                def shown(*titles):
                    return [name for title in titles
                            for name in re.findall(r"(?m)^  (\S.*?)(?:  .*)?$", parts.get(title, ""))]

                self.assertEqual([in_help(row) for row in document["arguments"]], shown("arguments"))
                self.assertEqual(sorted(map(in_help, document["options"])), sorted(shown("options", "whom to trust")))
                self.assertEqual([in_help(row) for row in document["common_options"]], shown("options of every command"))
                for row in document["arguments"] + document["options"] + document["common_options"]:
                    self.assertIn(row["text"], " ".join(text.split()))
                self.assertEqual([example["line"] for example in document["examples"]],
                                 re.findall(r"(?m)^  (\S.*)$", parts["examples"]))
                self.assertEqual([str(row["number"]) for row in document["exit_statuses"]],
                                 re.findall(r"(?m)^  (\d+) ", parts["exit status"]))

    def test_ExamplesUseOptionsThatThereAre(self):
        for command in COMMANDS:
            text = run("help", command, check=0).stdout.decode()
            examples = re.findall(rf"^  .*?(qex {command}\b[^|)>\n]*)", sections(text)["examples"], flags=re.M)
            self.assertEqual(len(examples), 2)
            options = text.split("examples:")[0]
            for example in examples:
                for option in re.findall(r" (--?[a-z][\w-]*)", example):
                    with self.subTest(example=example, option=option):
                        self.assertRegex(options, rf"(?m)^  (-\w, )?{option}\b")

    def test_ExitStatusesThatOccurAreListed(self):
        # One case for each of the less obvious ones.
        for command, status in (("request", 1), ("reply", 6), ("verify", 8), ("tac", 1), ("digest", 7), ("stamp", 5)):
            with self.subTest(command=command):
                text = run("help", command, check=0).stdout.decode()
                self.assertRegex(sections(text)["exit status"], rf"(?m)^  {status} ")

    def test_HelpNeedsNothingElseOfACommand(self):
        self.assertIn(b"usage: qex stamp", run("stamp", "--no-nonce", "--help", check=0).stdout)


class SuggestionTest(ToolTest):
    def test_AMisspeltCommandGetsASuggestion(self):
        for word, meant in (("vreify", "verify"), ("verfiy", "verify"), ("stmap", "stamp"), ("digset", "digest"),
                            ("shw", "show"), ("helpp", "help"), ("comp", "completion"), ("certs", "cert"), ("reply ", "reply")):
            with self.subTest(word=word):
                self.assert_error(run(word, "x", "--json-"), 2, f'no command "', f"did you mean '{meant}'?")
                self.assert_error(run("help", word), 2, f"did you mean '{meant}'?")

    def test_AStrangeWordGetsNone(self):
        for word in ("frobnicate", "x", "/etc/passwd", "v" * 10000):
            with self.subTest(word=word[:20]):
                done = run(word)
                self.assert_error(done, 2, "there is no command")
                self.assertNotIn(b"did you mean", done.stderr)
                self.assertLess(len(done.stderr), 1000)

    def test_AMisspeltOptionGetsASuggestion(self):
        for arguments, meant in ((("digest", "--hahs", "sha256", self.document), "--hash"),
                                 (("verify", self.document, "--tsa-fingerpint=x"), "--tsa-fingerprint"),
                                 (("show", "--jsno", self.document), "--json"), (("show", "--asnl"), "--asn1"),
                                 (("--verison",), "--version"), (("stamp", "-tsa", "http://x/", "y"), "--tsa")):
            with self.subTest(arguments=arguments):
                self.assert_error(run(*arguments), 2, "there is no option", f"did you mean '{meant}'?")

    def test_AnOptionOfAnotherCommandIsSaidToBeIts(self):
        self.assert_error(run("show", self.document, "--nonce", "1"), 2, 'no option "--nonce" of show',
                          "option of: request, verify")
        self.assert_error(run("--hash", "sha256", "digest"), 2, "option --hash stands before its command",
                          "after 'digest'")

    def test_OneArgumentTooManyIsNamed(self):
        self.assert_error(run("cert", self.document, "second"), 2, 'argument "second" is one too many')

    def test_WithoutACommandNoneIsNamed(self):
        self.assert_error(run("--json"), 2, "no command is named")

    def test_AFileMayHaveTheNameOfACommand(self):
        self.write(self.path("version"), b"abc")
        done = subprocess.run([support.QEX, "digest", "version"], cwd=self.folder, capture_output=True,
                              env=environment(), check=True)
        self.assertTrue(done.stdout.endswith(b"  version\n"))


class VersionTest(ToolTest):
    def test_VersionIsTextAndJson(self):
        text = run("version", check=0).stdout
        self.assertRegex(text, rb"^qex \d+\.\d+\.\d+\n$")
        self.assertEqual(run("--version", check=0).stdout, text)
        self.assertEqual(run("verify", "--version", check=0).stdout, text)
        self.assertIn(b"OpenSSL", run("version", "-v", check=0).stdout)
        self.assertIn("OpenSSL", run_json("version", check=0)["libcrypto"])
        for arguments in (("version",), ("--version",)):
            document = run_json(*arguments, check=0)
            self.assertEqual((document["command"], document["version"]), ("version", text.decode().split()[1]))


class ExplainTest(ToolTest):
    def test_EveryMeaningOfANumberIsShown(self):
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

    def test_WithoutACodeAllAreListed(self):
        document = run_json("explain", check=0)
        self.assertEqual([row["number"] for row in document["exit_statuses"]], [0, 1, 2, 3, 4, 5, 6, 7, 8, 70])
        self.assertEqual([row["number"] for row in document["result_codes"]],
                         [0, -1, -2, -3, -5, -6, -7, -8, -9, -10, -11, -12, -13, -14, -15, -16, -17])
        errors = {row["number"]: row for row in document["asn1_errors"]}
        self.assertIn("INTEGER", errors[-8]["meaning"])
        self.assertEqual(errors[-147]["to"], -156)
        text = run("explain", check=0).stdout.decode()
        for words in ("QEX_E_SIGNATURE", "exit statuses\n", "TBSCertificate", "-8 "):
            self.assertIn(words, text)

    def test_EveryListedErrorIsExplainedByItsNumber(self):
        for row in run_json("explain", check=0)["asn1_errors"]:
            for number in {row["number"], row.get("to", row["number"])}:
                meanings = run_json("explain", str(number), check=0)["meanings"]
                self.assertIn("ASN.1 error", [meaning["as"] for meaning in meanings], number)

    def test_AnUnknownCodeIsStatus2(self):
        for word in ("", "QEX_E_NONE", "9", "-4000", "8x", "99999999999999999999"):
            with self.subTest(word=word):
                self.assert_error(run("explain", word), 2)
        self.assert_error(run("explain", "-8", "-7"), 2, "-7")


if __name__ == "__main__":
    support.main()
