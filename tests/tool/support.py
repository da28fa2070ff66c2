"""Shared by the tests of the tool: running qex, and an authority to talk to."""

import functools
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
import urllib.request

try:
    import jsonschema
    jsonschema.Draft202012Validator
except (ImportError, AttributeError):  # documents then go unexamined, and schema_test.py is skipped
    jsonschema = None

sys.dont_write_bytecode = True
HERE = os.path.dirname(os.path.abspath(__file__))
AUTHORITY = os.path.join(HERE, "..", "authority", "authority.py")
SCHEMA = os.path.join(HERE, "..", "..", "docs", "qex.schema.json")

QEX = None
FAILING_CHECK = None
SLOW_SYSTEM = None
FAILING_MEMORY = None


def environment(**more):
    """The environment without variables that could steer the tool; requests stay on this machine."""
    kept = {k: v for k, v in os.environ.items()
            if not k.lower().endswith("_proxy") and not k.startswith("QEX_") and k != "NO_COLOR"}
    return {**kept, "no_proxy": "*", **more}


def preloaded(library):
    """An environment in which a library is loaded before those that the tool is linked with."""
    more = {"LD_PRELOAD": library}
    if "ASAN_OPTIONS" in os.environ:
        more["ASAN_OPTIONS"] = os.environ["ASAN_OPTIONS"] + ":verify_asan_link_order=0"
    return environment(**more)


@functools.lru_cache(maxsize=None)
def validator():
    with open(SCHEMA, encoding="utf-8") as file:
        return jsonschema.Draft202012Validator(json.load(file))


def assert_described(document):
    """Holds a document against docs/qex.schema.json."""
    fault = jsonschema.exceptions.best_match(validator().iter_errors(document)) if jsonschema else None
    if fault is not None:
        place = "/".join(str(part) for part in fault.absolute_path)
        raise AssertionError(f"not as docs/qex.schema.json has it, at '{place}': {fault.message[:500]}\n"
                             f"{json.dumps(document)[:2000]}")


def run(*arguments, stdin=b"", env=None, check=None):
    """Runs qex; `check` is the exit status that is demanded."""
    done = subprocess.run([QEX, *arguments], input=stdin, capture_output=True,
                          env=env or environment(), timeout=120, check=False)
    if check is not None and done.returncode != check:
        raise AssertionError(f"qex {' '.join(arguments)}: exit {done.returncode}, not {check}\n"
                             f"{done.stdout!r}\n{done.stderr.decode(errors='replace')}")
    if "--json" in arguments or "--jobs" in arguments:
        for line in done.stdout.splitlines():
            assert_described(json.loads(line))
    return done


def run_json(*arguments, check=None, **more):
    """Runs qex with --json and returns the one document."""
    done = run(*arguments, "--json", check=check, **more)
    lines = done.stdout.decode().splitlines()
    if len(lines) != 1:
        raise AssertionError(f"{len(lines)} documents: {done.stdout!r} {done.stderr!r}")
    return json.loads(lines[0])


def openssl(*arguments, data=None):
    """The output of the openssl command; without the system's settings, which name policies."""
    return subprocess.run(["openssl", *arguments], input=data, capture_output=True, check=True, timeout=120,
                          env={**os.environ, "OPENSSL_CONF": "/dev/null"}).stdout


def post(url, query):
    """The answer of an authority to a request, without the tool."""
    opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
    request = urllib.request.Request(url, query, {"Content-Type": "application/timestamp-query"})
    return opener.open(request, timeout=60).read()


class Authority:
    """An authority in a process of its own."""

    def __init__(self, folder, *options):
        self.process = subprocess.Popen(
            [sys.executable, "-B", AUTHORITY, "--end-with-parent", "--dir", folder, *options],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError(f"the authority ended with {self.process.wait()}")
        ready = json.loads(line)
        self.url, self.tsa, self.ca = ready["url"], ready["tsa"], ready["ca"]
        self.socket = f"127.0.0.1:{ready['socket_port']}"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=30)
        self.process.stdout.close()


class ToolTest(unittest.TestCase):
    """A folder for the whole class, with authority keys, and one for each test."""

    KEY_OPTIONS = ()

    @classmethod
    def setUpClass(cls):
        cls.class_folder = tempfile.mkdtemp(prefix="qex-tool-")
        cls.addClassCleanup(shutil.rmtree, cls.class_folder, ignore_errors=True)

    def setUp(self):
        self.folder = tempfile.mkdtemp(dir=self.class_folder)
        self.document = self.path("report.txt")
        self.write(self.document, b"what is to be stamped\n")

    def path(self, name):
        return os.path.join(self.folder, name)

    @staticmethod
    def write(path, data):
        with open(path, "wb") as file:
            file.write(data)

    @staticmethod
    def read(path):
        with open(path, "rb") as file:
            return file.read()

    def files(self):
        return sorted(os.listdir(self.folder))

    def authority(self, *options, keys="keys"):
        """An authority whose keys last as long as the class; `keys` names another set."""
        return Authority(os.path.join(self.class_folder, keys), *self.KEY_OPTIONS, *options)

    def stamped(self, authority, *options):
        """The document with a stamp next to it."""
        run("stamp", self.document, "--tsa", authority.url, "--retry", "0", "--force", *options, check=0)

    def assert_error(self, done, exit_status, *words):
        """The exit status, an error line and a hint line, and no more than words demand of them."""
        text = done.stderr.decode()
        self.assertEqual(done.returncode, exit_status, text)
        lines = text.splitlines()
        errors = [line for line in lines if line.startswith("qex: error: ")]
        self.assertEqual(len(errors), 1, text)
        self.assertTrue(any(line.startswith("qex: hint: ") for line in lines), text)
        for word in words:
            self.assertIn(word, text)


def verdicts(document):
    """The checks of a document as {name: verdict}."""
    return {check["name"]: check["verdict"] for check in document["checks"]}


def main():
    global QEX, FAILING_CHECK, SLOW_SYSTEM, FAILING_MEMORY
    FAILING_MEMORY = sys.argv.pop()
    SLOW_SYSTEM = sys.argv.pop()
    FAILING_CHECK = sys.argv.pop()
    QEX = sys.argv.pop()
    unittest.main()
