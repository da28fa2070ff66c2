"""The package as it is delivered: its types, its wheel, the example with the test authority."""

import os
import re
import shutil
import subprocess
import sys
import zipfile

import pytest
from authority_test import Running
from conftest import ROOT, SAMPLES, STAMPED, field, openssl

import qex

PACKAGE = ROOT / "bindings" / "python"
EXAMPLE = ROOT / "examples" / "stamp.py"


@pytest.mark.skipif(shutil.which("mypy") is None, reason="mypy not found")
def test_types_are_right(tmp_path):
    done = subprocess.run(["mypy", "--strict", "--cache-dir", str(tmp_path), str(PACKAGE / "qex"), str(EXAMPLE)], cwd=PACKAGE,
                          capture_output=True, text=True, timeout=300, check=False)
    assert done.returncode == 0, done.stdout + done.stderr


def test_every_public_name_is_documented():
    for module in (qex, qex.lib):
        for name in module.__all__:
            thing = getattr(module, name)
            assert isinstance(thing, str) or thing.__doc__, name
    for kind in (qex.Checker, qex.Answer):
        for name, thing in vars(kind).items():
            assert name.startswith("_") or not callable(thing) or thing.__doc__, name


def test_programs_of_the_readme_run(tmp_path, monkeypatch, capsys, root_pem):
    blocks = re.findall(r"```python\n(.*?)```", (PACKAGE / "README.md").read_text(), re.DOTALL)
    monkeypatch.chdir(tmp_path)
    shutil.copy(root_pem, "roots.pem")
    shutil.copy(SAMPLES / "reply_sha256_v2_cert.der", "report.pdf.tsr")
    (tmp_path / "report.pdf").write_bytes(STAMPED)
    reply = (SAMPLES / "reply_sha256_v2_cert.der").read_bytes()
    names = {"data": STAMPED, "reply": reply, "paths": ["report.pdf.tsr", "report.pdf", "report.pdf.tsr"]}
    for block in blocks:
        exec(block, names)  # the later ones go on from the earlier ones
    text = openssl("ts", "-reply", "-in", "report.pdf.tsr", "-text").decode()
    lines = capsys.readouterr().out.splitlines()
    assert len(blocks) == 3 and lines[0].startswith("stamped at 20") and lines[0].endswith("+00:00")
    assert names["refused"] == [str(tmp_path / "report.pdf")]
    assert int(lines[1].split()[1]) == int(field(text, "Serial number"), 16)
    asked = openssl("ts", "-query", "-in", "/dev/stdin", "-text", octets=names["request"]).decode()
    assert int(field(asked, "Nonce"), 16) == int.from_bytes(names["nonce"], "big")


# --- The wheel -------------------------------------------------------------------


@pytest.fixture(scope="module")
def wheel(tmp_path_factory):
    done = subprocess.run([ROOT / "scripts" / "wheel.sh", os.environ["QEX_LIBRARY"], tmp_path_factory.mktemp("wheel")],
                          capture_output=True, text=True, timeout=300, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout.strip()


def test_wheel_holds_the_library_for_this_platform(wheel):
    name = os.path.basename(wheel)
    assert name.startswith(f"qex-{qex.__version__}-py3-none-linux_") and name.endswith(f"_{os.uname().machine}.whl")
    with zipfile.ZipFile(wheel) as archive:
        with open(os.environ["QEX_LIBRARY"], "rb") as library:
            assert archive.read("qex/_native/libqex.so.1") == library.read()
        sources = {f"qex/{path.name}" for path in (PACKAGE / "qex").iterdir() if path.suffix in (".py", ".typed")}
        assert archive.read(f"qex-{qex.__version__}.dist-info/LICENSE") == (ROOT / "LICENSE").read_bytes()
        assert {name for name in archive.namelist() if ".dist-info/" not in name} == sources | {"qex/_native/libqex.so.1"}


def test_installed_wheel_checks_a_token(wheel, tmp_path, root_pem):
    subprocess.run([sys.executable, "-m", "venv", "--without-pip", tmp_path / "venv"], check=True, timeout=120)
    python = tmp_path / "venv" / "bin" / "python"
    subprocess.run([sys.executable, "-m", "pip", "-q", "--disable-pip-version-check", "--python", python, "install", "--no-index",
                    "--no-cache-dir", "--no-compile", wheel], check=True, timeout=120)
    program = ("import sys, qex\n"
               "reply = open(sys.argv[1], 'rb').read()\n"
               "assert qex.lib.get_tst_tstinfo_ex(qex.lib.get_tsr_encoded_token(reply)).version == 1\n"
               "assert qex.check(reply, trust=qex.Trust(ca_file=sys.argv[2]))\n"
               "print(qex.__file__, [line.split()[-1] for line in open('/proc/self/maps') if 'libqex' in line][0])")
    environment = {name: value for name, value in os.environ.items() if name not in ("QEX_LIBRARY", "PYTHONPATH")}
    done = subprocess.run([python, "-c", program, SAMPLES / "reply_sha256_v2_cert.der", root_pem], capture_output=True,
                          text=True, timeout=120, check=False, cwd=tmp_path, env=environment)
    assert (done.returncode, done.stderr) == (0, "")
    assert all(path.startswith(str(tmp_path / "venv")) for path in done.stdout.split())


def test_wheel_without_a_library_is_refused(tmp_path):
    done = subprocess.run([ROOT / "scripts" / "wheel.sh", tmp_path / "absent.so", tmp_path], capture_output=True, text=True,
                          check=False, timeout=60)
    assert done.returncode == 2 and "no such file; build it" in done.stderr


# --- The example -----------------------------------------------------------------


def run_example(*arguments):
    return subprocess.run([sys.executable, "-B", EXAMPLE, *arguments], capture_output=True, text=True, timeout=120, check=False,
                          env={**os.environ, "PYTHONPATH": str(PACKAGE)})


def test_example_does_the_whole_job(tmp_path):
    data = tmp_path / "data"
    data.write_bytes(STAMPED)
    (tmp_path / "authority").mkdir()
    with Running(str(tmp_path / "authority")) as authority:
        url, roots = authority.ready["url"], authority.ready["ca"]
        done = run_example(data, url, roots)
        assert (done.returncode, done.stderr) == (0, "")
        foreign = tmp_path / "foreign.pem"
        foreign.write_bytes(openssl("x509", "-inform", "DER", "-in", str(SAMPLES / "certificate_root.der")))
        (tmp_path / "other").write_bytes(STAMPED)
        refused = run_example(tmp_path / "other", url, foreign)
        assert refused.returncode == 1 and "chain" in refused.stderr and not (tmp_path / "other.tsr").exists()
        openssl("ts", "-verify", "-data", str(data), "-in", f"{data}.tsr", "-CAfile", roots, "-untrusted", authority.ready["tsa"])
        openssl("ts", "-verify", "-queryfile", f"{data}.tsq", "-in", f"{data}.tsr", "-CAfile", roots, "-untrusted",
                authority.ready["tsa"])
    text = openssl("ts", "-reply", "-in", f"{data}.tsr", "-text").decode()
    assert f"under policy {field(text, 'Policy OID')}, serial number {int(field(text, 'Serial number'), 16)}\n" in done.stdout
    assert run_example().stderr.startswith("usage: ")
    assert "No such file" in run_example(tmp_path / "absent", url, roots).stderr
    assert "refused" in run_example(data, url, roots).stderr  # the authority has ended


def test_example_says_what_the_authority_refused(tmp_path):
    (tmp_path / "data").write_bytes(STAMPED)
    (tmp_path / "authority").mkdir()
    with Running(str(tmp_path / "authority"), "--reject", "timeNotAvailable", "--status-text", "no clock") as authority:
        done = run_example(tmp_path / "data", authority.ready["url"], authority.ready["ca"])
    assert done.returncode == 1 and done.stderr == "stamp: the authority refused: no clock (status 2)\n"


def test_example_is_short():
    assert len(EXAMPLE.read_text().splitlines()) < 80
