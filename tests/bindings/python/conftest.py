"""What the tests of the Python package share. Expected values come from the openssl command and from what is known about
the samples; QEX_LIBRARY and QEX_TOOL name what was built."""

import os
import pathlib
import re
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]
SAMPLES = ROOT / "tests" / "data" / "samples"
PEERS = ROOT / "tests" / "data" / "bouncycastle"
STAMPED = b"the data to be stamped\n"  # of tests/data/make_samples.sh

sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "bindings" / "python"))
sys.path.insert(0, str(ROOT / "tests" / "authority"))
os.environ["QEX_VERIFY_ESSCERTIDV2"] = "1"


def sample(name):
    return (SAMPLES / name).read_bytes()


def peer(name):
    return (PEERS / name).read_bytes()


def openssl(*arguments, octets=None):
    """What the command prints, without the names that the configuration of this machine has for policies."""
    return subprocess.run(["openssl", *arguments], check=True, capture_output=True, timeout=60, input=octets,
                          env={**os.environ, "OPENSSL_CONF": os.devnull}).stdout


def text_of_reply(name):
    return openssl("ts", "-reply", "-in", str(SAMPLES / name), "-text").decode()


def text_of_request(octets):
    return openssl("ts", "-query", "-in", "/dev/stdin", "-text", octets=octets).decode()


def field(text, name):
    """The value of a line of openssl's."""
    return re.search(rf"^{name}: (.*)$", text, re.MULTILINE)[1].strip()


def hash_in(text):
    """The hash in a dump of openssl's."""
    dump = re.search(r"Message data:\n((?:    .*\n)+)", text)[1]
    return bytes.fromhex("".join(re.sub(r"[ -]", "", line[11:58]) for line in dump.splitlines()))


def run_python(program, *arguments, **environment):
    """Runs a program in a Python of its own: what is loaded once, and what ends the process."""
    path = os.pathsep.join([str(ROOT / "bindings" / "python"), str(pathlib.Path(__file__).parent)])
    return subprocess.run([sys.executable, "-B", "-c", program, *arguments], capture_output=True, text=True, timeout=120,
                          check=False, env={**os.environ, "PYTHONPATH": path, **environment})


@pytest.fixture(scope="session")
def root_pem(tmp_path_factory):
    """The root of the samples' authority."""
    path = tmp_path_factory.mktemp("trust") / "root.pem"
    path.write_bytes(openssl("x509", "-inform", "DER", octets=sample("certificate_root.der")))
    return path


@pytest.fixture(scope="session")
def trust(root_pem):
    import qex
    return qex.Trust(ca_file=root_pem)
