"""docs/interoperability.md: its tables are what qex and other makers' programs do today.

usage: interoperability_test.py [--update] QEX ...

With --update the tables are written anew. The samples of Bouncy Castle and of openssl for DSA are files of tests/data; other
tokens of openssl are asked for on the spot; the forms of good_tokens_test.py are judged there, by all programs.
"""

import os
import re
import sys
import unittest
from collections import OrderedDict

import support
from good_tokens_test import attributes, digests, forms, keys, names
from other_makers_test import DATA, records
from support import Authority, run, run_json
from token_case import TokenTest

PAGE = os.path.join(support.HERE, "..", "..", "docs", "interoperability.md")
UPDATE = "--update" in sys.argv

KEYS = {"rsa2048": "RSA 2048", "dsa1024_160": "DSA 1024, q 160", "dsa2048_224": "DSA 2048, q 224",
        "dsa2048_256": "DSA 2048, q 256", "ec": "P-256"}


def outcome_of(document):
    """What each of the readers did with a token that passes: of the library, of the strict reader."""
    if document["exit"] != 0:
        raise AssertionError(f"{document['subject']}: {document['error']}")
    made_by = next(check["by"] for check in document["checks"] if check["name"] == "signature")
    strict = "verifies" if made_by in ("both", "strict") else "no"
    if made_by in ("both", "libqex"):
        return "verifies", strict
    text = next(check["text"] for check in document["checks"] if check["name"] == "library")
    stop = re.search(r"it holds the (.*?), of a type", text)
    if stop:
        return "stops at the " + stop[1], strict
    return "reads; " + re.sub(r"(, not this .*)?; the strict reader decides alone$", "", text).replace("the library ", ""), strict


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def listed(words):
    """Words without repetition: digests, versions of the attribute, the rest."""
    kinds = ("SHA", "attribute v")
    order = {word: next((rank for rank, kind in enumerate(kinds) if word.startswith(kind)), len(kinds))
             for word in sorted(set(words)) if word}
    return ", ".join(sorted(order, key=lambda word: (order[word], word)))


class InteroperabilityTest(TokenTest):
    def judged(self, maker, key, words, token, certificate, *options):
        document = run_json("verify", "--token", token, "--tsa-cert", certificate, "--allow-weak", *options)
        return maker, key, words, outcome_of(document)

    def of_bouncy_castle(self):
        for record in records("bouncycastle"):
            words = ["SHA-1" if record["Digest"] == "SHA1" else "SHA-256", "attribute v" + record["Version"],
                     "BER" if "_ber" in record["Name"] else "", "attribute certificate" if record["Tac"] != "none" else "",
                     "default attributes" if record["Protection"] == "yes" else ""]
            yield self.judged("Bouncy Castle", KEYS[record["Key"]], words, record["Name"],
                              os.path.join(DATA, "bouncycastle", f"certificate_{record['Key']}.der"),
                              "--digest", "sha256:" + record["Imprint"])
        for record in records("bouncycastle_strict"):
            if record["Verdict"] == "good":
                says = record["Says"].replace("nothing that is new", "RSA 2048, nothing special")
                yield self.judged("Bouncy Castle", "", [says], record["Name"], record["Certificate"],
                                  "--digest", f"{record['Algorithm']}:{record['Imprint']}")

    def of_openssl(self):
        for ess, digest in (("v1", "sha1"), ("v1", "sha256"), ("v2", "sha256"), ("v2", "sha384"), ("v2", "sha512")):
            yield self.asked_for("rsa2048", "rsa", ess, digest)
        folder = os.path.join(DATA, "openssl_dsa")
        with open(os.path.join(folder, "samples.txt"), encoding="ascii") as file:
            for block in file.read().split("\n\n")[1:]:
                record = dict(line.split(" = ", 1) for line in block.splitlines())
                words = [record["Digest"].replace("sha", "SHA-"), "attribute v" + record["Version"]]
                yield self.judged("OpenSSL", KEYS[record["Key"]], words, os.path.join(folder, record["Name"]),
                                  os.path.join(folder, f"certificate_{record['Key']}.der"),
                                  "--request", os.path.join(folder, "request.der"))
        yield self.asked_for("ec", "ec", "v2", "sha256")

    def asked_for(self, name, key, ess, digest):
        """A token that openssl ts issues now."""
        with Authority(os.path.join(self.class_folder, "keys-" + key), "--key", key, "--ess", ess, "--digest", digest) as made:
            run("stamp", self.document, "--tsa", made.url, "--force", "--allow-weak", check=0)
            words = [digest.replace("sha", "SHA-"), "attribute " + ess]
            return self.judged("OpenSSL", KEYS[name], words, self.document + ".tsr", made.tsa)

    def tokens_table(self):
        """A row for each maker, key and outcome."""
        rows = OrderedDict()
        for maker, key, words, outcome in [*self.of_openssl(), *self.of_bouncy_castle()]:
            rows.setdefault((maker, key or words[0], outcome), []).append(words if key else [])
        return table(("maker", "key, or what is special", "digests, attribute, form", "tokens", "libqex", "strict reader"),
                     [(maker, key, listed(sum(words, [])), str(len(words)), *outcome)
                      for (maker, key, outcome), words in rows.items()])

    def forms_table(self):
        """The cases of good_tokens_test.py; a token passes in any case."""
        rows = []
        for kind in (keys, digests, names, attributes, forms):
            for case in kind(self.parties):
                strict = "verifies" if case.exits == (0,) else "verifies, with a libcrypto that has the digest"
                library = "stops at " + ("one of them" if len(case.stops) > 2 else " or ".join(case.stops)) if case.stops else "verifies"
                options = " ".join(f"`{option}`" for option in case.options)
                rows.append((case.label + (f" ({options})" if options else ""), library, strict,
                             "accepts" if case.ts else "refuses", "accepts" if case.cms else "refuses"))
        return table(("token", "libqex", "strict reader", "`openssl ts`", "`openssl cms`"), rows)

    def test_ThePageIsCurrent(self):
        with open(PAGE, encoding="utf-8") as file:
            page = file.read()
        made = page
        for name, text in (("tokens", self.tokens_table()), ("forms", self.forms_table())):
            place = rf"(<!-- {name}: .*? -->\n\n).*?(<!-- end -->)"
            self.assertRegex(page, re.compile(place, re.S))
            made = re.sub(place, lambda found: found[1] + text + "\n" + found[2], made, flags=re.S)
        if UPDATE:
            with open(PAGE, "w", encoding="utf-8") as file:
                file.write(made)
        self.assertEqual(page.splitlines(), made.splitlines(), "scripts/interoperability.sh writes the tables anew")


if __name__ == "__main__":
    if UPDATE:
        sys.argv.remove("--update")
    support.main()
