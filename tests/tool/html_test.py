"""The page of `qex show --html`: its form, its facts, and what foreign text can do to it."""

import base64
import glob
import hashlib
import json
import os
import re
import threading
import time

import support
from certificate_maker import COMMON_NAME, GENERALIZED_TIME, ORGANIZATION, ROOT_EXTENSIONS, SEQUENCE, Party, der, name
from foreign_text_test import OCTETS, TEXTS, hidden
from page_reader import Page, cells, facts, folded
from support import openssl, run, run_json
from token_case import TokenTest
from token_maker import directory_name, imprint_of, reply, request, status_info, token, tst_info

DATA = os.path.join(support.HERE, "..", "data")
MARKUP = ("zz<script>alert(1)</script>", "zz\"'><img src=x onerror=alert(1)>", "zz]]>&amp;&lt;b&gt;&#60;", "zz--><!-- zz",
          "zz</title></svg></style><style>*{display:none}</style>", "zz<svg/onload=alert(1)>", "zz`${1}`\\u003cb\\u003e",
          "zza" + "\u0301" * 200, "zz" + "\u0e4a" * 50, "zz\u05d0\u05d1\u05d2", "zz" + "\u6f22" * 300,
          "zz javascript:alert(1) http://x.example/?y=1&z=2")


class HtmlTest(TokenTest):
    def page_of(self, *files, check=0, options=()):
        done = run("show", "--html", *files, *options, check=check)
        return Page(done.stdout)

    def assert_holds(self, words, text):
        """assertIn whose message leaves the page out."""
        self.assertTrue(words in text, f"{words!r} is not in the {len(text)} characters")

    def write_stamp(self, **parts):
        """A granted reply and its request next to the document."""
        self.write(self.asked, request(nonce=7))
        self.write(self.answer, reply(token(self.parties.signer, tst_info(nonce=7), **parts)))

    # --- Form ----------------------------------------------------------------------------------------------------

    def test_ThePolicyForbidsEverythingButItsOwnStyle(self):
        self.write_stamp()
        page = self.page_of(self.answer)
        digest = base64.b64encode(hashlib.sha256(page.style.encode()).digest()).decode()
        self.assertEqual(page.policy, "default-src 'none'; base-uri 'none'; form-action 'none'; "
                                      f"style-src 'sha256-{digest}'")

    def test_EveryTextHasContrast(self):
        # WCAG 2.1, 1.4.3 and the relative luminance that it defines.
        def luminance(colour):
            parts = [int(colour[at:at + 2], 16) / 255 for at in (1, 3, 5)]
            linear = [c / 12.92 if c <= 0.03928 else ((c + 0.055) / 1.055) ** 2.4 for c in parts]
            return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]

        self.write_stamp()
        blocks = re.findall(r":root \{([^}]*)\}", self.page_of(self.answer).style)
        self.assertEqual(len(blocks), 3)  # light, dark, print
        for block in blocks:
            colours = dict(re.findall(r"--([a-z-]+): (#[0-9a-f]{6})", block))
            pairs = [(text, ground) for text in ("text", "quiet") for ground in ("ground", "panel")]
            pairs += [(text, "ground") for text in ("link", "pass", "fail", "skip", "note")]
            pairs += [(text, text + "-panel") for text in ("pass", "fail", "skip", "note")]
            pairs += [("text", text + "-panel") for text in ("pass", "fail", "skip", "note")]
            for text, ground in pairs:
                lighter, darker = sorted((luminance(colours[text]), luminance(colours[ground])), reverse=True)
                self.assertGreaterEqual((lighter + 0.05) / (darker + 0.05), 4.5, (text, ground))

    def test_AllSamplesAreOnOnePageAsInJson(self):
        files = sorted(path for folder in ("samples", "bouncycastle", "bouncycastle_strict")
                       for path in glob.glob(os.path.join(DATA, folder, "*.[db]er")))
        self.assertGreater(len(files), 100)
        done = run("show", "--html", *files)
        page = Page(done.stdout)
        documents = [json.loads(line) for line in run("show", "--json", *files).stdout.splitlines()]
        self.assertEqual(len(documents), len(files))
        self.assertEqual(done.returncode, 4)  # of some that are no messages
        for number, document in enumerate(documents, 1):
            with self.subTest(file=document["subject"]):
                self.assertEqual(cells(page, number), facts(document, number))
                self.assertEqual(page.ids[f"f{number}-name"].split(" ")[0], document["subject"])
                if document["exit"]:
                    self.assertIn("cannot be shown", page.section(number))

    # --- Facts ---------------------------------------------------------------------------------------------------

    def test_TheFactsAreThoseOfOpenssl(self):
        self.write_stamp()
        page = self.page_of(self.answer)
        text = openssl("ts", "-reply", "-in", self.answer, "-text").decode()
        for label, cell in (("Policy OID", "policy"), ("Serial number", "serial"), ("Nonce", "nonce")):
            self.assertIn(f"{label}: {page.ids['f1-token-' + cell]}\n", text)
        self.assertEqual(page.ids["f1-token-imprint"], openssl("dgst", "-sha256", "-binary", self.document).hex())
        self.write(self.path("signer.der"), self.parties.signer.certificate)
        print_ = openssl("x509", "-in", self.path("signer.der"), "-noout", "-fingerprint", "-sha256").decode()
        self.assertEqual(page.ids["f1-certificates-0-sha256"], print_.strip().split("=")[1].replace(":", "").lower())

    def test_TheChecksAreThoseOfVerify(self):
        self.write_stamp()
        for change, status in ((lambda: None, 2), (lambda: self.write(self.document, b"changed"), 1),
                               (lambda: self.write(self.asked, request(nonce=8)), 1), (lambda: os.remove(self.asked), 1),
                               (lambda: os.remove(self.document), 2)):
            change()
            with self.subTest(status=status, files=self.files()):
                subject = (self.document, ) if os.path.exists(self.document) else ("--token", self.answer)
                document = run_json("verify", *subject, check=status)
                page = self.page_of(self.answer)  # the verdict does not count for the exit status
                by = {"both": " by both readers", "strict": " by the strict reader", "libqex": " by libqex", None: ""}
                self.assertEqual(page.checks[1:], [
                    [check["verdict"], check["name"].replace("_", " "), folded(check["text"]) + by[check.get("by")]]
                    for check in document["checks"]])
                for member in ("indication", "sub_indication", "authority_checked", "exit", "error", "hint", "subject"):
                    value = document[member]
                    shown = {None: "none", True: "yes", False: "no"}.get(value, str(value)) if value != 1 else "1"
                    self.assertEqual(page.ids[f"f1-verification-{member}"], shown)
                words = "Nobody to trust was named" if status == 2 else "a check says no"
                self.assert_holds(words, page.section(1))

    def test_TheStampedFileStandsForItsReply(self):
        self.write_stamp()
        self.assertEqual(self.page_of(self.document).ids["f1-subject"], self.answer)
        os.remove(self.answer)
        done = run("show", "--html", self.document, check=4)
        self.assert_holds("This file cannot be shown", Page(done.stdout).text)
        self.assert_error(done, 4, "report.txt")

    def test_WhoSignedWhat(self):
        middle = Party(self.parties.keys["rsa/middle"], name((COMMON_NAME, "Middle")), self.parties.root, ROOT_EXTENSIONS)
        signer = self.parties.signer_with(issuer=middle)
        stranger = self.parties.stranger.certificate
        certificates = [stranger, self.parties.root.certificate, middle.certificate, signer.certificate]
        self.write(self.answer, reply(token(signer, certificates=certificates)))
        page = self.page_of(self.answer)
        boxes = ["Stamped data", "Time-stamp token", "Signing certificate", "Issuer", "Root certificate"]
        self.assertEqual([text for text in page.drawn if text in boxes], boxes)
        order = [page.drawn.index(text) for text in ("CN=Middle", "Root certificate")]
        self.assertEqual(order, sorted(order))
        for text in ("digested; the token holds the imprint", "pass imprint: sha256 of " + os.path.basename(self.document),
                     "signed with the key of", "pass signature: rsa 2048, sha256", "skip not checked: nobody to trust was named"):
            self.assertTrue(any(drawn.startswith(text[:24]) for drawn in page.drawn), text)
        self.assert_holds("1 certificate of this message is not drawn", page.text)
        self.assertIn("Root certificate:", page.ids["f1-drawing-desc"])
        # Without its issuers, the last box names the one that is missing.
        self.write(self.answer, reply(token(signer)))
        drawn = self.page_of(self.answer).drawn
        self.assertEqual(drawn[drawn.index("Issuer, not in this message") + 1], "CN=Middle")
        self.write(self.answer, reply(token(signer, certificates=[])))
        self.assert_holds("not in this message", self.page_of(self.answer).drawn)

    def test_IssuersInACircleEnd(self):
        one, two = name((COMMON_NAME, "One")), name((COMMON_NAME, "Two"))
        first = Party(self.parties.keys["rsa/one"], one)
        second = Party(self.parties.keys["rsa/two"], two, first, ROOT_EXTENSIONS)
        first = Party(self.parties.keys["rsa/one"], one, second, ROOT_EXTENSIONS)
        signer = self.parties.signer_with(issuer=first)
        self.write(self.answer, reply(token(signer, certificates=[signer.certificate, first.certificate, second.certificate])))
        drawn = self.page_of(self.answer).drawn
        drawing = drawn[:drawn.index("Issuer, drawn above: a circle") + 2]
        self.assertEqual([text for text in drawing if text.startswith("CN=")], ["CN=One", "CN=Two", "CN=One"])

    def test_Times(self):
        accuracy = der(SEQUENCE, b"\x02\x01\x01", b"\x80\x02\x01\xf4")  # 1 s and 500 ms
        self.write(self.answer, reply(token(self.parties.signer, tst_info(time="20250301000000.25Z", accuracy=accuracy))))
        page = self.page_of(self.answer)
        for text in ("genTime 2025-03-01T00:00:00.25Z", "2024-01-01 to 2049-12-31, covers genTime", "± 1.5 s",
                     "2025-02-28T23:59:58.75Z", "00:00:01.75Z"):
            self.assertIn(text, page.drawn)
        self.write(self.answer, reply(token(self.parties.signer, tst_info(time="20231231235959Z"))))
        page = self.page_of(self.answer)
        self.assertIn("2024-01-01 to 2049-12-31, begins after genTime", page.drawn)
        self.assert_holds("states no accuracy", page.text)
        for validity in (("500101000000Z", "491231235959Z"), ("240101000000Z", "240101000000Z"), ("x", "\0<")):
            self.write(self.answer, reply(token(self.parties.signer_with(validity=validity))))
            self.page_of(self.answer)

    def test_ARefusal(self):
        self.write(self.answer, reply(b"", status_info(2, texts=["no <b>stamps</b> today"], failure=0)))
        page = self.page_of(self.answer)
        self.assert_holds("The authority refused: there is no time-stamp.", page.text)
        self.assertIn("no <b>stamps</b> today", page.ids["f1-status-text"])

    def test_TheTreeIsFolded(self):
        self.write_stamp()
        self.assert_holds("contentType {1 2 840 113549 1 7 2}", self.page_of(self.answer).text)
        # The library has no type for the curve.
        self.write(self.answer, reply(token(self.parties.signer_with("p256"))))
        text = self.page_of(self.answer).text
        self.assert_holds("its elements by their tags", text)
        self.assert_holds("OBJECT IDENTIFIER signedData (1.2.840.113549.1.7.2)", text)

    # --- Foreign text --------------------------------------------------------------------------------------------

    def test_TextThatWantsToBeMarkup(self):
        for text in (*TEXTS, *MARKUP, *OCTETS):
            with self.subTest(text=text[:40]):
                called = name((ORGANIZATION, text), (COMMON_NAME, text))
                root = Party(self.parties.keys["rsa/root"], called, extensions=ROOT_EXTENSIONS)
                signer = self.parties.signer_with(issuer=root, subject=called)
                info = tst_info(tsa=directory_name(called), nonce=7)
                message = token(signer, info, certificates=[signer.certificate, root.certificate])
                self.write(self.answer, reply(message, status_info(0, texts=[text])))
                self.write(self.path("signer.der"), signer.certificate)
                done = run("show", "--html", self.answer, self.path("signer.der"))
                self.assertIn(done.returncode, (0, 4))
                page = Page(done.stdout)
                self.assertEqual(hidden(done.stdout.decode()), [])
                self.assertIsNone(re.search("[\u0300-\u036f\u0e31-\u0e4e]{5}", page.text))
                if text in MARKUP:
                    self.assertIn("zz", page.ids["f1-token-authority"])
                if text in MARKUP[:7]:  # readable as it is
                    self.assertEqual(page.ids["f1-token-authority"], f"O={folded(text)}, CN={folded(text)}")
                    self.assertIn(folded(text), page.ids["f1-status-text"])

    def test_NamesOfFiles(self):
        for text in ("a<b>&\"c'.tsr", "]]>.tsr", "\u202egnp.tsr", "new\nline.tsr", "--.tsr", "x" * 250, b"latin\xe9.tsr", "a\u0301b"):
            with self.subTest(name=text):
                path = os.path.join(os.fsencode(self.folder), text if isinstance(text, bytes) else text.encode())
                self.write(path, reply(token(self.parties.signer)))
                done = run("show", "--html", path, self.document, check=4)
                self.assertEqual(hidden(done.stdout.decode()), [])
                subject = run_json("show", path, check=0)["subject"]
                self.assertEqual(Page(done.stdout).ids["f1-subject"], folded(subject))

    # --- Bounds --------------------------------------------------------------------------------------------------

    def bounded(self, *files, most=4 << 20, exits=(0,)):
        started = time.monotonic()
        done = run("show", "--html", *files)
        self.assertIn(done.returncode, exits, done.stderr)
        self.assertLess(len(done.stdout), most)
        self.assertLess(time.monotonic() - started, 60)
        return Page(done.stdout)

    def test_AThousandCertificates(self):
        signer = self.parties.signer
        root = self.parties.root.certificate
        many = [root[:-9] + number.to_bytes(9, "big") for number in range(1000)]
        self.write(self.answer, reply(token(signer, certificates=[signer.certificate, *many])))
        page = self.bounded(self.answer)
        self.assert_holds("951 more left out; qex show --json has all.", page.text)
        self.assert_holds("999 certificates of this message are not drawn", page.text)
        self.assert_holds("989 periods left out", page.text)
        self.assertNotIn("f1-certificates-50-subject", page.ids)

    def test_NamesOfAMegabyte(self):
        for text in ("zz" + "x" * (1 << 20), "zz " * 350000, "<" * (1 << 20), "\u0301" * (1 << 19)):
            with self.subTest(text=text[:5]):
                signer = self.parties.signer_with(subject=name((COMMON_NAME, text)))
                self.write(self.answer, reply(token(signer, tst_info(tsa=directory_name(signer.subject)))))
                page = self.bounded(self.answer, most=1 << 20)
                self.assertTrue(page.ids["f1-certificates-0-subject"].endswith("..."))

    def test_AMillionLevels(self):
        deep = b"\x30\x80" * 1000000
        ended = deep + b"\0\0" * 1000000
        for message in (deep, ended, b"\x31\x80" * 1000000, self.in_a_certificate(b"\x30\x80" * 100000 + b"\0\0" * 100000),
                        self.in_a_certificate(deep)):
            self.write(self.path("deep"), message)
            self.bounded(self.path("deep"), exits=(0, 4, 70))

    def in_a_certificate(self, value):
        """A certificate with that value as a part of its subject."""
        subject = der(SEQUENCE, der(0x31, der(SEQUENCE, b"\x06\x03\x55\x04\x03", value)))
        return self.parties.signer_with(subject=subject).certificate

    def test_LongTreesAndLists(self):
        attributes = [der(SEQUENCE, b"\x06\x03\x2a\x03\x04", der(0x31, b"\x05\0")) for _ in range(3000)]
        self.write(self.answer, reply(token(self.parties.signer, unsigned=attributes)))
        page = self.bounded(self.answer)
        self.assert_holds("2950 more left out", page.text)
        self.assert_holds("The rest is left out", page.text)
        self.write(self.answer, reply(token(self.parties.signer), status_info(0, texts=["zz"] * 20000)))
        self.bounded(self.answer)

    def test_LargeFilesStillShow(self):
        extra = b"\x30\x84\x00\xa0\x00\x00" + bytes(0xa00000)
        self.write(self.answer, reply(token(self.parties.signer, certificates=[self.parties.signer.certificate, extra])))
        self.bounded(self.answer, exits=(0, 4))

    def test_AFullPage(self):
        # Longer than what is printed, so the tree has the elements: each text takes its line as six times its length.
        self.write(self.answer, reply(token(self.parties.signer), status_info(0, texts=['"' * 400] * 4000)))
        done = run("show", "--html", *[self.answer] * 10, check=0)
        sections, rows = done.stdout.count(b'<section class="file"'), done.stdout.count(b'<tr><th scope="row"><a href="#f')
        self.assertEqual(rows, sections)
        self.assertLess(sections, 9)
        self.assertGreater(len(done.stdout), 64 << 20)
        self.assertLess(len(done.stdout), 80 << 20)  # the section that fills it is whole
        left = f"{10 - sections} files left out below, as the page is full; show fewer files on one page.".encode()
        self.assertTrue(left in done.stdout, done.stdout[-2000:])

    # --- Files ---------------------------------------------------------------------------------------------------

    def test_SeveralFilesHaveContents(self):
        self.write_stamp()
        page = self.page_of(self.answer, self.asked, self.answer)
        self.assertEqual(page.links, ["f1", "f2", "f3"])
        self.assertEqual(page.ids["f2-kind"], "request")
        self.assertEqual(self.page_of(self.answer).links, [])

    def test_TheReportIsAFile(self):
        self.write_stamp()
        report = self.path("report.html")
        self.assertEqual(run("show", "--html", self.answer, "-o", report, check=0).stdout, b"")
        first = self.read(report)
        Page(first)
        self.assert_error(run("show", "--html", self.answer, "-o", report), 3, "exists already")
        self.assertEqual(self.read(report), first)
        run("show", "--html", self.asked, "-o", report, "--force", check=0)
        self.assertNotEqual(self.read(report), first)
        for place, words in ((self.path("none/report.html"), "none"), (self.folder, ""), ("/proc/report.html", "report.html")):
            with self.subTest(place=place):
                done = run("show", "--html", self.answer, "-o", place)
                self.assertIn(done.returncode, (2, 3))
                self.assert_error(done, done.returncode, words)
        # Neither what is shown nor what lies next to it is overwritten.
        for place in (self.answer, self.document, self.asked):
            self.assert_error(run("show", "--html", self.answer, "-o", place, "--force"), 2)
        self.assertEqual(self.files(), ["report.html", "report.txt", "report.txt.tsq", "report.txt.tsr"])

    def test_AFailureIsOnThePageAndCounts(self):
        self.write_stamp()
        report = self.path("report.html")
        done = run("show", "--html", self.path("missing"), self.answer, "-o", report)
        self.assert_error(done, 3, "missing")
        page = Page(self.read(report))
        self.assert_holds("This file cannot be shown", page.section(1))
        self.assertEqual(page.ids["f1-exit"], "3")
        self.assertEqual(page.ids["f2-exit"], "0")

    def test_FromStandardInput(self):
        self.write_stamp()
        page = Page(run("show", "--html", "-", stdin=self.read(self.answer), check=0).stdout)
        self.assertEqual(page.ids["f1-subject"], "-")
        self.assert_holds("Nobody to trust was named", page.text)

    def test_FromAPipeWithAName(self):
        # A pipe was read a second time to verify it: the page said that the token is empty, or qex waited for ever.
        self.write_stamp()
        pipe = self.path("pipe.tsr")
        os.mkfifo(pipe)
        message = self.read(self.answer)
        writer = threading.Thread(target=lambda: self.write(pipe, message), daemon=True)
        writer.start()
        self.assert_holds("Nobody to trust was named", self.page_of(pipe).text)
        writer.join(timeout=10)

    def test_JobsHaveNoPage(self):
        # The page was left out without a word.
        for options in (("--html", ), ("-o", self.path("report.html")), ("--html", "-o", self.path("report.html"))):
            self.assert_error(run("show", "--jobs", "-", *options, stdin=b""), 2, "--jobs writes JSON")


if __name__ == "__main__":
    support.main()
