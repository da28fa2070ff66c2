"""Text of the authority that tries to look like lines of the tool, or to hide from its reader.

Every piece of such text begins with zz, so that it can be found in whatever is printed.
"""

import json
import re
import unicodedata

import support
from certificate_maker import COMMON_NAME, ORGANIZATION, ROOT_EXTENSIONS, Party, name
from support import run
from token_case import TokenTest
from token_maker import directory_name, reply, status_info, token, tst_info

LONG = "zz" + "x" * 10000
TEXTS = (
    "zz\npass  zzforged     yes\nfail  zzforged     no\nqex: error: zzforged\n",
    "zz\r\npass  zzforged     yes",
    "zz\rpass  zzforged     yes",
    "zz\x0bpass  zzforged\x0cpass  zzforged",
    "zz\u2028pass  zzforged\u2029pass  zzforged\x85pass  zzforged",
    "zzleft" + " " * 30 + "zzright",  # short enough to stay in a record that is cut
    "zzleft" + " " * 300 + "zzright",
    "zzleft" + "\t" * 30 + "zzright",
    "zzleft" + "\u00a0" * 20 + "zzright",
    "zzleft" + " \u2003\u3000" * 6 + "zzright",
    "zz\x1b[2K\x1b[1A\x1b[32mpass\x1b[0m  zzforged",
    "zz\x1b]0;zztitle\x07 \x9b2K \x7f \x08\x08\x08",
    "zz\u200bin\u200cvi\u200dsi\u2060ble\ufeff",
    "zzsoft\u00adhyphen",
    "zztags \U000e0041\U000e0042\U000e007f",
    "zzinterlinear \ufff9a\ufffab\ufffbc",
    "zzdirection \u202eevig\u202c \u2066x\u2069 \u200e\u200f\u061c",
    "zzvariation \ufe0f\U000e0100",
    LONG,
    "zz\0zz",
    "",
    " " * 300,
)
# Not UTF-8, though its type says so.
OCTETS = (b"zz\xff\xfe", b"zz\xc0\x8apass  zzforged", b"zz\xed\xa0\x80", b"zz\xf4\x90\x80\x80", b"zz\xe2\x80")


def hidden(text):
    """Characters that a reader would not see, or that would move the text after them."""
    return sorted({f"U+{ord(one):04X}" for one in text if one != "\n" and (
        unicodedata.category(one) in ("Cc", "Cf", "Co", "Cs", "Cn", "Zl", "Zp") or "\ufe00" <= one <= "\ufe0f"
        or "\U000e0100" <= one <= "\U000e01ef")})


class ForeignTextTest(TokenTest):
    """A status text or a name stays one piece inside a line of the tool, whatever it contains."""

    def shown(self, *arguments, exits=(0,)):
        """The output of qex for a person, after checking it."""
        done = run(*arguments)
        self.assertIn(done.returncode, exits, done.stderr)
        text = (done.stdout + b"\n" + done.stderr).decode()  # no other encoding gets out
        self.assertEqual(hidden(text), [])
        for line in text.split("\n"):
            self.assertIsNone(re.match(r"\s*(zz|(pass|fail|skip|note|time|qex: \w+:)\s+zz)", line), line)
        for blanks in re.findall(r"zzleft(\s*)zzright", text):
            self.assertLess(len(blanks), 4, "a run of blanks")
        self.assertNotIn("x" * 1000, text)
        return text

    def documented(self, *arguments, exits=(0,)):
        """The JSON document, of which nothing hides either."""
        done = run(*arguments, "--json")
        self.assertIn(done.returncode, exits, done.stderr)
        self.assertEqual(hidden(done.stdout.decode()), [])
        return json.loads(done.stdout)

    def test_AStatusTextOfAGrantedReply(self):
        pinned = ("--tsa-cert", self.pem_of(self.parties.signer))
        for text in (*TEXTS, *OCTETS):
            with self.subTest(text=text[:40]):
                self.write(self.answer, reply(token(self.parties.signer), status_info(0, texts=[text])))
                # The library may refuse a text that is not UTF-8; the shapes of the lines hold all the same.
                exits = (0,) if isinstance(text, str) else (0, 4)
                self.shown("verify", self.document, *pinned, exits=exits)
                self.documented("verify", self.document, *pinned, exits=exits)
                for command in ("reply", "show"):
                    self.shown(command, self.answer, exits=exits)
                    self.documented(command, self.answer, exits=exits)

    def test_TheStatusTextIsShown(self):
        self.write(self.answer, reply(token(self.parties.signer), status_info(0, texts=["zzhello\nzzworld"])))
        text = self.shown("verify", self.document, "--tsa-cert", self.pem_of(self.parties.signer))
        line = next(line for line in text.split("\n") if "zzhello" in line)
        self.assertRegex(line, r"^pass  status +granted.*zzhello.*zzworld")

    def test_AStatusTextOfARefusal(self):
        pinned = ("--tsa-cert", self.pem_of(self.parties.signer))
        for text in (*TEXTS, *OCTETS):
            with self.subTest(text=text[:40]):
                self.write(self.answer, reply(b"", status_info(2, texts=[text], failure=0)))
                exits = (5,) if isinstance(text, str) else (4, 5)
                self.shown("verify", self.document, *pinned, exits=exits)
                self.documented("verify", self.document, *pinned, exits=exits)
                self.shown("reply", self.answer, exits=(0, *exits))

    def test_SeveralStatusTexts(self):
        self.write(self.answer, reply(b"", status_info(2, texts=["zzone", "pass  zzforged     yes", "zzthree"], failure=0)))
        text = self.shown("verify", self.document, "--tsa-cert", self.pem_of(self.parties.signer), exits=(5,))
        self.assertIn("zzone", text)

    def named(self, text):
        """A root and a signer of that name."""
        p = self.parties
        called = name((ORGANIZATION, text), (COMMON_NAME, text))
        root = Party(p.keys["rsa/root"], called, extensions=ROOT_EXTENSIONS)
        return root, p.signer_with(issuer=root, subject=name((COMMON_NAME, text), (ORGANIZATION, text)))

    def test_NamesInCertificates(self):
        for text in (*TEXTS, *OCTETS):
            with self.subTest(text=text[:40]):
                root, signer = self.named(text)
                self.write(self.answer, reply(token(signer, tst_info(tsa=directory_name(signer.subject)))))
                # A reader may refuse an empty name, or one that is not UTF-8; it still hides nothing.
                exits = (0,) if isinstance(text, str) and text.strip("\0 ") else (0, 1, 4)
                for trust in (("--tsa-cert", self.pem_of(signer)), ("--ca-file", self.pem_of(root, "root.pem"))):
                    self.shown("verify", self.document, *trust, exits=exits)
                    self.documented("verify", self.document, *trust, exits=exits)
                self.shown("show", self.answer, exits=exits)
                self.shown("show", self.pem_of(signer), exits=exits)
                self.documented("show", self.pem_of(signer), exits=exits)

    def test_ANameOfTheAuthorityInTheToken(self):
        for text in TEXTS:
            with self.subTest(text=text[:40]):
                uri = b"\x86" + bytes([0x82]) + len(text.encode()).to_bytes(2, "big") + text.encode()
                self.write(self.answer, reply(token(self.parties.signer, tst_info(tsa=uri))))
                # It is not the signer's name, and so the token fails.
                self.shown("verify", self.document, "--tsa-cert", self.pem_of(self.parties.signer), exits=(1, 4))
                self.shown("show", self.answer, exits=(0, 4))


if __name__ == "__main__":
    support.main()
