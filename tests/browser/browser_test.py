"""The pages of `qex show --html` in a browser: what overflows, what is loaded, what is read aloud, what is printed.

usage: browser_test.py QEX [FOLDER]     screenshots and PDF stay in FOLDER
"""

import glob
import os
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, "..", "tool"), HERE]
sys.dont_write_bytecode = True

import support  # noqa: E402
from certificate_maker import COMMON_NAME, ORGANIZATION, ROOT_EXTENSIONS, SEQUENCE, Party, der, name  # noqa: E402
from devtools import Browser  # noqa: E402
from foreign_text_test import TEXTS  # noqa: E402
from html_test import MARKUP  # noqa: E402
from support import run  # noqa: E402
from token_case import TokenTest  # noqa: E402
from token_maker import directory_name, reply, request, status_info, token, tst_info  # noqa: E402

WIDTHS = (320, 400, 700, 1200)
PAPER = 718  # of A4 without margins, in CSS pixels
FOLDER = None

# Right edges beyond the window, of what no ancestor clips.
OVERFLOWS = """
  [...document.querySelectorAll('body *')].filter(element => {
    if (element.parentElement.closest('svg')) return false;
    return element.getBoundingClientRect().right > document.documentElement.clientWidth + 0.5;
  }).slice(0, 5).map(element => element.outerHTML.slice(0, 200))"""
# Text that its drawing cuts off, or that leaves its box.
CUT_TEXTS = """
  [...document.querySelectorAll('svg svg text, svg.times > text')].filter(text => {
    const own = text.getBoundingClientRect(), frame = text.closest('svg').getBoundingClientRect();
    return own.right > frame.right + 0.5 || own.left < frame.left - 0.5 || own.bottom > frame.bottom + 0.5;
  }).map(text => text.textContent)"""


class BrowserTest(TokenTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def report(self, *files):
        path = self.path("report.html")
        done = run("show", "--html", *files, "-o", path, "--force")
        self.assertIn(done.returncode, (0, 3, 4), done.stderr)
        return path

    def visit(self, path):
        """Loads a page, which must ask for nothing and complain about nothing."""
        self.browser.show(WIDTHS[-1])
        events = self.browser.visit(path)
        self.browser.value("1")  # whatever was to come has come
        asked = [event["params"]["request"]["url"] for event in events + self.browser.events
                 if event.get("method") == "Network.requestWillBeSent"]
        self.assertEqual(set(asked), {"file://" + path})
        said = [event["params"] for event in events + self.browser.events
                if event.get("method") in ("Log.entryAdded", "Runtime.consoleAPICalled", "Runtime.exceptionThrown",
                                           "Page.javascriptDialogOpening")]
        self.assertEqual(said, [])
        self.assertEqual(self.browser.value("document.scripts.length"), 0)
        # Its style was let in.
        self.assertEqual(self.browser.value("getComputedStyle(document.body).maxWidth"), "1120px")

    def fits(self, label, texts_fit=True, widths=WIDTHS, schemes=("light", "dark"), unfolded=True):
        for width in widths:
            for scheme in schemes:
                ground = {"light": "rgb(255, 255, 255)", "dark": "rgb(16, 21, 27)"}[scheme]
                with self.subTest(page=label, width=width, scheme=scheme):
                    self.browser.show(width, scheme)
                    if unfolded:
                        self.browser.value("document.querySelectorAll('details').forEach(fold => fold.open = true)")
                    self.assertEqual(self.browser.value("getComputedStyle(document.body).backgroundColor"), ground)
                    self.assertLessEqual(self.browser.value("document.documentElement.scrollWidth"), width)
                    self.assertEqual(self.browser.value(OVERFLOWS), [])
                    if texts_fit and width >= 400:
                        self.assertEqual(self.browser.value(CUT_TEXTS), [])
                    if unfolded:
                        self.browser.value("document.querySelectorAll('details').forEach(fold => fold.open = false)")
                    if FOLDER and width in (400, 1200):
                        self.browser.picture(os.path.join(FOLDER, f"{label}-{width}-{scheme}.png"))

    def prints(self, label):
        with self.subTest(page=label, medium="paper"):
            self.browser.show(PAPER, "dark", "print")
            self.assertEqual(self.browser.value("getComputedStyle(document.body).backgroundColor"), "rgb(255, 255, 255)")
            self.assertLessEqual(self.browser.value("document.documentElement.scrollWidth"), PAPER)
            self.assertEqual(self.browser.value(OVERFLOWS), [])
            if FOLDER:
                self.browser.picture(os.path.join(FOLDER, f"{label}-paper.png"))
            self.browser.show(PAPER, "light")
            pdf = self.browser.printed()
            self.assertEqual(pdf[:5], b"%PDF-")
            if FOLDER:
                self.write(os.path.join(FOLDER, f"{label}.pdf"), pdf)

    def stamp(self, text="Example Time-Stamp Unit 7", **parts):
        """A token with its whole chain, next to its data and request."""
        root = Party(self.parties.keys["rsa/root"], name((ORGANIZATION, "Example Trust Services"), (COMMON_NAME, "Example Root CA")),
                     extensions=ROOT_EXTENSIONS)
        middle = Party(self.parties.keys["rsa/middle"], name((ORGANIZATION, "Example Trust Services"),
                                                             (COMMON_NAME, "Example Time-Stamp CA 2024")),
                       root, ROOT_EXTENSIONS, validity=("240101000000Z", "391231235959Z"))
        signer = self.parties.signer_with(issuer=middle, subject=name((ORGANIZATION, "Example Trust Services"), (COMMON_NAME, text)),
                                          validity=("250101000000Z", "301231235959Z"))
        info = tst_info(nonce=7, tsa=directory_name(signer.subject), accuracy=der(SEQUENCE, b"\x02\x01\x01", b"\x80\x02\x01\xf4"))
        self.write(self.asked, request(nonce=7))
        self.write(self.answer, reply(token(signer, info, certificates=[p.certificate for p in (signer, middle, root)], **parts)))

    def test_AReport(self):
        self.stamp()
        self.visit(self.report(self.document))
        self.fits("report")
        self.prints("report")

    def test_AFailedCheck(self):
        self.stamp()
        self.write(self.document, b"changed")
        refusal = self.path("refusal.tsr")
        self.write(refusal, reply(b"", status_info(2, texts=["no stamps today"], failure=0)))
        self.visit(self.report(self.document, refusal, self.path("missing.tsr"), self.asked, self.document))
        self.fits("failed")
        self.prints("failed")

    def test_ForeignText(self):
        files = []
        for number, text in enumerate((*MARKUP, *TEXTS[::2])):
            root = Party(self.parties.keys["rsa/root"], name((COMMON_NAME, text)), extensions=ROOT_EXTENSIONS)
            signer = self.parties.signer_with(issuer=root, subject=name((ORGANIZATION, text), (COMMON_NAME, text)))
            message = token(signer, tst_info(tsa=directory_name(signer.subject)), certificates=[signer.certificate, root.certificate])
            files.append(self.path(f"<b>{number}\u202e&.tsr"))
            self.write(files[-1], reply(message, status_info(0, texts=[text])))
        self.visit(self.report(*files))
        self.fits("foreign", texts_fit=False, widths=(400, 1200), schemes=("light",))
        self.prints("foreign")

    def test_Samples(self):
        data = os.path.join(support.HERE, "..", "data")
        self.visit(self.report(*sorted(glob.glob(os.path.join(data, "*", "*.[db]er")))[::9]))
        self.fits("samples", widths=(400,), schemes=("light",), unfolded=False)

    def test_WhatIsReadAloud(self):
        self.stamp()
        self.visit(self.report(self.document, self.asked))
        nodes = self.browser.ask("Accessibility.getFullAXTree")["nodes"]
        seen = [(node.get("role", {}).get("value"), node.get("name", {}).get("value")) for node in nodes if not node["ignored"]]
        for role, called in (("main", None), ("heading", "Time-stamp report"), ("image", "Who signed what"),
                             ("image", "Validity periods of the certificates"), ("image", "The accuracy of the clock"),
                             ("rowheader", "imprint Is it the digest of the data?"), ("columnheader", "verdict"),
                             ("link", self.answer)):
            fitting = [one for one in seen if one[0] == role and called in (None, one[1])]
            self.assertTrue(fitting, (role, called, [one for one in seen if one[0] == role]))
        described = [node["description"]["value"] for node in nodes if node.get("name", {}).get("value") == "Who signed what"
                     and "description" in node]
        self.assertTrue(any("Root certificate: O=Example Trust Services" in text for text in described), described)


if __name__ == "__main__":
    if len(sys.argv) > 2:
        FOLDER = os.path.abspath(sys.argv.pop())
        os.makedirs(FOLDER, exist_ok=True)
    support.QEX = os.path.abspath(sys.argv.pop())
    unittest.main()
