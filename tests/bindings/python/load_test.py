"""A library that is missing or does not fit is refused with the next step. Each case has a Python of its own, which loads
a library that is made for it."""

import os
import shutil
import subprocess

import pytest
from conftest import ROOT, run_python

from qex import _load
from qex._interface import FUNCTIONS

REQUEST = "from qex import lib; lib.encode_tsq_ex(lib.TsqDataEx(hash_algorithm='1.2'))"


def make(folder, soname="libqex.so.1", node="QEX_1.0", without=(), size=440):
    """A library with functions of the right names; its encoder knows requests of `size` octets."""
    names = [name for name in FUNCTIONS if name not in (*without, "QEX_EncodeTSQ_Ex")]
    source = "".join(f"int {name}(void) {{ return 0; }}\n" for name in names)
    source += f"int QEX_EncodeTSQ_Ex(const unsigned* r, char* o, unsigned* n) {{ *n = 0; return *r == {size} && o ? 0 : -1; }}\n"
    (folder / "made.c").write_text(source)
    (folder / "made.map").write_text(f"{node} {{ global: QEX_*; local: *; }};\n")
    path = folder / "made.so"
    compiler = shutil.which(os.environ.get("CC", "cc")) or "gcc"
    subprocess.run([compiler, "-shared", "-fPIC", "-w", f"-Wl,-soname,{soname}", f"-Wl,--version-script={folder}/made.map",
                    "-o", path, folder / "made.c"], check=True, timeout=60)
    return path


def complaint(library):
    done = run_python(REQUEST, QEX_LIBRARY=str(library))
    assert done.returncode == 1
    last = done.stderr.splitlines()[-1]
    assert last.startswith("qex._load.LibraryError: "), done.stderr
    return last


def test_library_that_fits_is_taken(tmp_path):
    done = run_python(REQUEST, QEX_LIBRARY=str(make(tmp_path)))
    assert (done.returncode, done.stderr) == (0, "")


def test_missing_library(tmp_path):
    said = complaint(tmp_path / "absent.so")
    assert "absent.so" in said and "No such file" in said and "install the package libqex1" in said


def test_file_that_is_no_library(tmp_path):
    (tmp_path / "text").write_text("no library")
    assert "QEX_LIBRARY" in complaint(tmp_path / "text")


def test_other_soname(tmp_path):
    said = complaint(make(tmp_path, soname="libqex.so.2"))
    assert "is not libqex.so.1 by its own name" in said and "QEX_LIBRARY" in said


def test_older_library(tmp_path):
    said = complaint(make(tmp_path, without=["QEX_GetTAC_TimingPolicy"]))
    assert "lacks QEX_GetTAC_TimingPolicy: it is older" in said and "install" in said


def test_other_version_of_the_symbols(tmp_path):
    assert "in another version than QEX_1.0" in complaint(make(tmp_path, node="QEX_2.0"))


def test_other_size_of_a_record(tmp_path):
    said = complaint(make(tmp_path, size=444))
    assert "expects another size of QEX_TSQ_DATA_EX than the 440 octets" in said and "of one version" in said


def test_another_library_of_that_name_is_loaded_already(tmp_path):
    program = ("import ctypes, os, qex; ctypes.CDLL(os.environ['FIRST']); qex.lib.get_last_asn_error()")
    done = run_python(program, FIRST=str(make(tmp_path)))
    assert "this process has another libqex.so.1 loaded" in done.stderr


def test_order_of_the_places(tmp_path, monkeypatch):
    own = tmp_path / "libqex.so.1"
    monkeypatch.setattr(_load, "_PRIVATE", str(own))
    assert _load.place() == os.path.abspath(os.environ["QEX_LIBRARY"])
    monkeypatch.delenv("QEX_LIBRARY")
    assert _load.place() == "libqex.so.1"
    own.write_text("")
    assert _load.place() == str(own)


def test_importing_loads_nothing():
    done = run_python("import qex; qex.Trust(insecure_any_signer=True)", QEX_LIBRARY="/absent")
    assert (done.returncode, done.stderr) == (0, "")


@pytest.mark.skipif(not (ROOT / "CMakeLists.txt").exists(), reason="outside of the source tree")
def test_version_is_that_of_the_library():
    import qex
    assert f"project(qex VERSION {qex.__version__} " in (ROOT / "CMakeLists.txt").read_text()
