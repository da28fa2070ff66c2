"""Includes point downwards: api -> asn1 -> ber and api -> crypto, all of them on ground, and nothing points back.

usage: include_arrows_test.py SOURCE_FOLDER

Every #include of a file of the tree is checked. Library files name the files that they
include by its path from the root. Programs around the library see api/qex.h and nothing
else of it, except tool/worker/inspect, which looks inside messages. Examples see nothing else of the whole tree.
"""

import os
import re
import sys
import unittest

LAYERS = ("api", "asn1", "ber", "crypto", "ground")
PUBLIC_HEADER = "api/qex.h"
PUBLIC_HEADERS = (PUBLIC_HEADER, "include/qex.hpp")

# What each folder may include of the library: folders end in a slash, the rest are patterns of files. The
# first row that a file's path begins with counts; other folders (unit tests, benchmarks, fuzz targets) see
# everything.
ALLOWED = (
    ("api/", (r"api/", r"asn1/", r"ber/", r"crypto/", r"ground/")),
    ("asn1/", (r"asn1/", r"ber/", r"ground/")),
    ("ber/", (r"ber/", r"ground/")),
    ("crypto/", (r"crypto/", r"ground/")),
    ("ground/", (r"ground/",)),
    # Besides the public header, the table of result texts is the only part of api/.
    ("tool/worker/inspect/", (r"api/qex\.h$", r"api/result_texts\.h$", r"asn1/", r"ber/")),
    ("tool/", (r"api/qex\.h$",)),
    ("include/", (r"api/qex\.h$",)),
    ("examples/", (r"api/qex\.h$",)),
    ("tests/abi/", (r"api/qex\.h$",)),
    ("tests/hpp/", (r"api/qex\.h$",)),
)
# All rooms of crypto/ may include these.
CRYPTO_GROUND = ("crypto/assertion.h", "crypto/cpu.h", "crypto/forms.h", "crypto/octets.h")
# The rooms of crypto/ and of tool/, and the parts of its folder that each may include. The first row that a
# file's path begins with counts; files in tool/ itself, and commands/, see all of them.
ROOMS = (
    ("crypto/digest/", CRYPTO_GROUND + ("crypto/digest/",)),
    ("crypto/bignum/", CRYPTO_GROUND + ("crypto/bignum/",)),
    ("crypto/prime/", CRYPTO_GROUND + ("crypto/bignum/", "crypto/prime/")),
    ("crypto/pk/", CRYPTO_GROUND + ("crypto/digest/", "crypto/bignum/", "crypto/prime/", "crypto/pk/")),
    ("crypto/", CRYPTO_GROUND),
    ("tool/base/", ("tool/base/",)),
    ("tool/message/", ("tool/base/", "tool/message/")),
    ("tool/exchange/", ("tool/base/", "tool/message/", "tool/exchange/")),
    ("tool/worker/inspect/", ("tool/base/", "tool/message/", "tool/worker/inspect/")),
    ("tool/worker/strict/", ("tool/base/", "tool/message/", "tool/worker/inspect/", "tool/worker/strict/")),
    ("tool/worker/", ("tool/base/", "tool/message/", "tool/worker/")),
    ("tool/judge/", ("tool/base/", "tool/message/", "tool/judge/")),
    ("tool/report/", ("tool/base/", "tool/message/", "tool/report/")),
)
# The C++ header, and folders of small programs on the public headers: of the tree they include these, and what lies
# beside them, and nothing else. The library, its tool and their tests are written without the C++ header.
ALONE = ("include/", "examples/", "tests/abi/", "tests/hpp/")
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
SOURCE = re.compile(r"\.(c|cc|cpp|h|hpp|inc)$")


def read_tree(root):
    """The sources of the tree by their path from the root; build folders are left out."""
    sources = {}
    for folder, folders, files in os.walk(root):
        here = os.path.relpath(folder, root).replace(os.sep, "/")
        if here == ".":
            folders[:] = [f for f in folders if not f.startswith((".", "build", "out"))]
        for name in files:
            if SOURCE.search(name):
                with open(os.path.join(folder, name), encoding="utf-8", errors="replace") as file:
                    sources[name if here == "." else f"{here}/{name}"] = file.read()
    return sources


def find_target(sources, includer, name):
    """The file of the tree that an include of `name` means, or None for one from outside."""
    beside = os.path.normpath(os.path.join(os.path.dirname(includer), name)).replace(os.sep, "/")
    for candidate in (name, beside, os.path.normpath(name).replace(os.sep, "/")):
        if candidate in sources:
            return candidate
    return next((header for header in PUBLIC_HEADERS if name == header.split("/")[1]), None)


def broken_arrows(sources):
    """One line for every include that breaks a rule."""
    found = []
    for path, text in sorted(sources.items()):
        allowed = next((rules for start, rules in ALLOWED if path.startswith(start)), None)
        rooms = next((others for start, others in ROOMS if path.startswith(start)), None)
        folder = path.split("/")[0] + "/"
        in_library = path.startswith(tuple(layer + "/" for layer in LAYERS))
        for match in INCLUDE.finditer(text):
            quoted, angled = match.groups()
            name = quoted or angled
            target = find_target(sources, path, name)
            if target is None:
                if quoted and in_library:
                    found.append(f'{path}: "{name}" is no file of the tree')
                continue
            if target.startswith("examples/") and not path.startswith("examples/"):
                found.append(f"{path}: examples are for nobody else")
            alone = next((start for start in ALONE if path.startswith(start)), None)
            if alone is not None and target not in PUBLIC_HEADERS and not target.startswith(alone):
                found.append(f"{path}: may not include {target}")
            if alone is None and target == PUBLIC_HEADERS[1]:
                found.append(f"{path}: may not include {target}")
            if rooms is not None and target.startswith(folder) and not target.startswith(rooms):
                found.append(f"{path}: may not include {target}")
            if in_library and name != target:
                found.append(f'{path}: "{name}" is not the path from the root, {target}')
            if in_library and not target.startswith(tuple(layer + "/" for layer in LAYERS)):
                found.append(f"{path}: the library includes {target}")
            elif target.startswith(tuple(layer + "/" for layer in LAYERS)) and allowed is not None:
                if not any(re.match(rule, target) for rule in allowed):
                    found.append(f"{path}: may not include {target}")
    return found


def circles(sources):
    """Those sources of the library that lead back to themselves. A source and its header are one; headers without a
    source, which declare what a room shares, lead nowhere."""
    library = {path for path in sources if path.startswith(tuple(layer + "/" for layer in LAYERS))}
    modules = {os.path.splitext(path)[0] for path in library if path.endswith(".cpp")}
    leads = {module: set() for module in modules}
    for path in library:
        module = os.path.splitext(path)[0]
        for match in INCLUDE.finditer(sources[path]):
            target = os.path.splitext(find_target(sources, path, match[1] or match[2]) or "")[0]
            if module in modules and target in modules and target != module:
                leads[module].add(target)
    while ends := {module for module, targets in leads.items()
                   if not targets or not any(module in others for others in leads.values())}:
        leads = {module: targets - ends for module, targets in leads.items() if module not in ends}
    return sorted(leads)


class RulesTest(unittest.TestCase):
    """The rules on small made-up trees, so that the check itself is known to bite."""

    TREE = {
        "ground/expect.h": "", "api/qex.h": "", "api/frame.h": "", "api/result_texts.h": "", "asn1/codec.h": "",
        "ber/buffer.h": "", "crypto/octets.h": "", "crypto/digest/sha1.h": "",
        "crypto/bignum/bignum.h": "", "crypto/prime/lucas.h": "", "crypto/pk/rsa.h": "", "tool/base/options.h": "", "tests/support/hex.h": "",
        "examples/support.h": "", "include/qex.hpp": "",
        "tool/message/facts.h": "", "tool/worker/worker.h": "", "tool/worker/inspect/describe.h": "",
        "tool/judge/judge.h": "", "tool/report/page.h": "", "tool/exchange/http.h": "", "tool/commands/command.h": "",
    }

    def broken_by(self, path, include):
        return broken_arrows({**self.TREE, path: f"// text\n  # include {include}\n"})

    def test_DownwardIncludesAreAllowed(self):
        for path, include in (("api/a.cpp", '"asn1/codec.h"'), ("api/a.cpp", '"crypto/pk/rsa.h"'),
                              ("api/a.cpp", '"ber/buffer.h"'), ("asn1/a.cpp", '"ber/buffer.h"'),
                              ("ber/a.cpp", "<cstdint>"), ("tool/a.cpp", '"api/qex.h"'),
                              ("tool/base/a.cpp", '"tool/base/options.h"'), ("tool/base/a.cpp", '"options.h"'),
                              ("tool/main.cpp", '"tool/worker/worker.h"'), ("tool/commands/a.cpp", '"tool/judge/judge.h"'),
                              ("tool/judge/a.cpp", '"tool/message/facts.h"'), ("tool/worker/a.cpp", '"tool/worker/inspect/describe.h"'),
                              ("tool/worker/strict/a.cpp", '"tool/message/facts.h"'),
                              ("tool/worker/inspect/a.cpp", '"asn1/codec.h"'),
                              ("tool/worker/inspect/a.cpp", '"api/result_texts.h"'),
                              ("examples/a.c", "<qex.h>"), ("examples/a.c", '"api/qex.h"'), ("examples/a.c", '"support.h"'),
                              ("examples/a.c", "<stdio.h>"), ("tests/abi/a.c", '"qex.h"'),
                              ("include/qex.hpp", '"qex.h"'), ("examples/a.cpp", "<qex.hpp>"),
                              ("tests/hpp/a.cpp", '"qex.hpp"'), ("tests/hpp/a.cpp", '"support.h"'),
                              ("crypto/digest/a.cpp", '"crypto/octets.h"'), ("crypto/prime/a.cpp", '"crypto/bignum/bignum.h"'),
                              ("crypto/pk/a.cpp", '"crypto/digest/sha1.h"'), ("crypto/pk/a.cpp", '"crypto/prime/lucas.h"'),
                              ("tests/api/a.cpp", '"crypto/pk/rsa.h"'), ("fuzz/a.cpp", '"ber/buffer.h"'),
                              ("api/a.cpp", '"ground/expect.h"'), ("asn1/a.cpp", '"ground/expect.h"'),
                              ("ber/a.cpp", '"ground/expect.h"'), ("crypto/a.cpp", '"ground/expect.h"'),
                              ("crypto/bignum/a.cpp", '"ground/expect.h"'), ("ground/a.h", "<cstdlib>")):
            with self.subTest(path=path, include=include):
                self.assertEqual(self.broken_by(path, include), [])

    def test_EveryOtherArrowIsBroken(self):
        for path, include in (("asn1/a.cpp", '"api/frame.h"'), ("asn1/a.cpp", '"crypto/pk/rsa.h"'),
                              ("asn1/a.h", "<api/qex.h>"), ("ber/a.cpp", '"asn1/codec.h"'),
                              ("ber/a.cpp", '"crypto/pk/rsa.h"'), ("ber/a.cpp", '"../crypto/pk/rsa.h"'),
                              ("crypto/a.cpp", '"ber/buffer.h"'), ("crypto/a.cpp", '"api/qex.h"'),
                              ("crypto/digest/a.cpp", '"crypto/bignum/bignum.h"'), ("crypto/bignum/a.cpp", '"crypto/prime/lucas.h"'),
                              ("crypto/bignum/a.cpp", '"crypto/digest/sha1.h"'), ("crypto/prime/a.cpp", '"crypto/pk/rsa.h"'),
                              ("crypto/prime/a.cpp", '"crypto/digest/sha1.h"'), ("crypto/a.h", '"crypto/pk/rsa.h"'),
                              ("crypto/a.cpp", "<qex.h>"), ("api/a.cpp", '"tool/base/options.h"'),
                              ("tool/base/a.cpp", '"tool/message/facts.h"'), ("tool/message/a.cpp", '"tool/judge/judge.h"'),
                              ("tool/judge/a.cpp", '"tool/worker/worker.h"'), ("tool/judge/a.cpp", '"tool/exchange/http.h"'),
                              ("tool/report/a.cpp", '"tool/judge/judge.h"'), ("tool/judge/a.cpp", '"tool/report/page.h"'),
                              ("tool/worker/a.cpp", '"tool/judge/judge.h"'), ("tool/exchange/a.cpp", '"tool/worker/worker.h"'),
                              ("tool/worker/inspect/a.cpp", '"tool/worker/worker.h"'), ("tool/worker/a.cpp", '"tool/commands/command.h"'),
                              ("tool/judge/a.cpp", '"tool/worker/inspect/describe.h"'), ("tool/worker/strict/a.cpp", '"tool/worker/worker.h"'),
                              ("ber/a.cpp", '"tests/support/hex.h"'), ("tool/a.cpp", '"asn1/codec.h"'),
                              ("tool/a.cpp", '"api/frame.h"'), ("tool/worker/inspect/a.cpp", '"crypto/pk/rsa.h"'),
                              ("tool/worker/inspect/a.cpp", '"api/frame.h"'), ("examples/a.c", '"ber/buffer.h"'),
                              ("examples/a.c", '"api/result_texts.h"'), ("examples/a.c", '"../tests/support/hex.h"'),
                              ("examples/a.c", '"tool/base/options.h"'), ("tests/abi/a.c", '"tests/support/hex.h"'),
                              ("tests/api/a.cpp", '"../../examples/support.h"'), ("tool/a.cpp", '"examples/support.h"'),
                              ("examples/b/a.c", '"../../ber/buffer.h"'), ("tests/abi/a.c", '"api/frame.h"'),
                              ("ground/a.h", '"ber/buffer.h"'), ("ground/a.h", '"crypto/octets.h"'),
                              ("include/qex.hpp", '"ber/buffer.h"'), ("include/qex.hpp", '"api/frame.h"'),
                              ("tests/hpp/a.cpp", '"api/frame.h"'), ("tests/hpp/a.cpp", '"tests/support/hex.h"'),
                              ("api/a.cpp", '"include/qex.hpp"'), ("tool/a.cpp", "<qex.hpp>"),
                              ("tests/api/a.cpp", '"qex.hpp"'),
                              ("ground/a.h", '"expect.h"'), ("tool/a.cpp", '"ground/expect.h"')):
            with self.subTest(path=path, include=include):
                self.assertNotEqual(self.broken_by(path, include), [])

    def test_CirclesAreFound(self):
        line = {"ber/a.h": "", "ber/a.cpp": '#include "ber/b.h"', "ber/b.h": '#include "ber/shared.h"', "ber/b.cpp": "",
                "ber/shared.h": '#include "ber/a.h"'}
        self.assertEqual(circles(line), [])
        self.assertEqual(circles({**line, "ber/b.cpp": '#include "ber/a.h"'}), ["ber/a", "ber/b"])

    def test_LibraryFilesIncludeByThePathFromTheRoot(self):
        self.assertNotEqual(self.broken_by("api/a.cpp", '"frame.h"'), [])
        self.assertNotEqual(self.broken_by("api/a.cpp", '"api/missing.h"'), [])


# Headers that are their room's own, and who else may include them: the room's tests, and the benchmark of the kernels.
PRIVATE_HEADERS = (
    ("crypto/bignum/internal.h", ("crypto/bignum/", "tests/crypto/bignum/")),
    ("crypto/bignum/words.h", ("crypto/bignum/", "tests/crypto/bignum/", "bench/bignum_bench.cpp")),
    ("crypto/bignum/digits.h", ("crypto/bignum/", "tests/crypto/bignum/")),
    ("crypto/bignum/power.h", ("crypto/bignum/", "tests/crypto/bignum/")),
    ("crypto/bignum/power_forms.h", ("crypto/bignum/", "tests/crypto/bignum/")),
    ("crypto/bignum/power_steps.h", ("crypto/bignum/", "tests/crypto/bignum/")),
    ("crypto/bignum/scale.h", ("crypto/bignum/", "tests/crypto/bignum/")),
    ("crypto/bignum/ifma.h", ("crypto/bignum/", "tests/crypto/bignum/")),
    ("crypto/bignum/adx.h", ("crypto/bignum/", "tests/crypto/bignum/")),
    ("crypto/digest/block_buffer.h", ("crypto/digest/", "tests/crypto/digest/")),
)


def opened_doors(sources):
    """One line for every include of a private header from outside, and for every such header that is not there."""
    doors = dict(PRIVATE_HEADERS)
    found = [f"{header}: is no file of the tree" for header in doors if header not in sources]
    for path, text in sorted(sources.items()):
        for quoted, angled in INCLUDE.findall(text):
            target = find_target(sources, path, quoted or angled)
            if target in doors and not path.startswith(doors[target]):
                found.append(f"{path}: may not include {target}, which belongs to {doors[target][0]}")
    return found


class DoorsTest(unittest.TestCase):
    TREE = {header: "" for header, _ in PRIVATE_HEADERS}

    def test_RoomsAndTheirTestsHaveTheKey(self):
        for path, header in (("crypto/bignum/a.cpp", "crypto/bignum/internal.h"), ("crypto/bignum/a.h", "crypto/bignum/words.h"),
                             ("tests/crypto/bignum/a_test.cpp", "crypto/bignum/digits.h"), ("bench/bignum_bench.cpp", "crypto/bignum/words.h"),
                             ("crypto/digest/a.cpp", "crypto/digest/block_buffer.h"),
                             ("tests/crypto/digest/a_test.cpp", "crypto/digest/block_buffer.h")):
            with self.subTest(path=path, header=header):
                self.assertEqual(opened_doors({**self.TREE, path: f'#include "{header}"\n'}), [])

    def test_NobodyElseHas(self):
        for path, name in (("crypto/prime/a.cpp", "crypto/bignum/internal.h"), ("crypto/pk/a.h", "crypto/bignum/words.h"),
                           ("api/a.cpp", "crypto/bignum/internal.h"), ("tests/support/a.h", "crypto/bignum/internal.h"),
                           ("tests/crypto/pk/a_test.cpp", "crypto/bignum/digits.h"), ("fuzz/a.cpp", "crypto/bignum/internal.h"),
                           ("bench/bignum_bench.cpp", "crypto/bignum/internal.h"), ("bench/a.cpp", "crypto/bignum/words.h"),
                           ("crypto/bignum/a.cpp", "crypto/digest/block_buffer.h"), ("crypto/pk/a.cpp", "../bignum/words.h"),
                           ("tests/crypto/bignum/a_test.cpp", "crypto/digest/block_buffer.h")):
            with self.subTest(path=path, name=name):
                self.assertNotEqual(opened_doors({**self.TREE, path: f'#include "{name}"\n'}), [])

    def test_EveryRowNamesAFile(self):
        self.assertNotEqual(opened_doors({}), [])


# Third-party headers, and the files of the tool that may include them.
PACKAGES = (
    ("nlohmann/json.hpp", r"tool/base/json\.h$"),
    ("nlohmann/", r"tool/base/json(_fwd)?\.h$"),
    ("openssl/", r"tool/worker/strict/|tool/base/hash_libcrypto\.cpp$"),
    ("curl/", r"tool/exchange/curl"),
    ("CLI/", r"tool/commands/\w+\.(cpp|h)$|tool/main\.cpp$"),
)


def misplaced_packages(sources):
    """One line for every include of a third-party header outside of its places."""
    return [f"{path}: may not include {name}"
            for path, text in sorted(sources.items()) if path.startswith("tool/")
            for name in (quoted or angled for quoted, angled in INCLUDE.findall(text))
            for start, places in PACKAGES if name.startswith(start) and not re.match(places, path)]


class PackagesTest(unittest.TestCase):
    def test_EachPackageHasItsPlaces(self):
        for path, name, fits in (("tool/base/json.h", "nlohmann/json.hpp", True), ("tool/judge/a.h", "nlohmann/json.hpp", False),
                                 ("tool/base/json_fwd.h", "nlohmann/json.hpp", False), ("tool/worker/strict/a.cpp", "openssl/cms.h", True),
                                 ("tool/judge/a.cpp", "openssl/cms.h", False), ("tool/judge/a.cpp", "curl/curl.h", False),
                                 ("tool/judge/a.cpp", "CLI/CLI.hpp", False), ("tool/commands/a.cpp", "CLI/CLI.hpp", True)):
            with self.subTest(path=path, name=name):
                self.assertEqual(misplaced_packages({path: f"#include <{name}>\n"}) == [], fits)


class TreeTest(unittest.TestCase):
    root = "."

    def test_ThirdPartyPackagesKeepTheirPlaces(self):
        self.assertEqual("\n".join(misplaced_packages(read_tree(self.root))), "")

    def test_PrivateHeadersStayInTheirRooms(self):
        self.assertEqual("\n".join(opened_doors(read_tree(self.root))), "")

    def test_SourcesOfTheLibraryGoRoundInNoCircle(self):
        self.assertEqual(circles(read_tree(self.root)), [])

    def test_IncludesPointDownwards(self):
        sources = read_tree(self.root)
        self.assertIn(PUBLIC_HEADER, sources, "this is not the root of the tree")
        self.assertEqual("\n".join(broken_arrows(sources)), "")


if __name__ == "__main__":
    TreeTest.root = sys.argv.pop(1)
    unittest.main()
