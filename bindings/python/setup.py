"""What pyproject.toml cannot say: with QEX_WHEEL_LIBRARY the wheel holds that file as its own copy of libqex, and is for
this platform alone. Without it the package is pure Python, for a system that has libqex."""

import os
import pathlib
import shutil

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

LIBRARY = os.environ.get("QEX_WHEEL_LIBRARY", "")


class BuildWithLibrary(build_py):
    """Puts the library where qex/_load.py looks for it."""

    def run(self):
        super().run()
        if LIBRARY:
            folder = pathlib.Path(self.build_lib, "qex", "_native")
            folder.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(LIBRARY, folder / "libqex.so.1")


class WheelOfPlatform(bdist_wheel):
    """Any Python 3, but one platform."""

    def get_tag(self):
        python, abi, platform = super().get_tag()
        return ("py3", "none", platform) if LIBRARY else (python, abi, platform)


class Qex(Distribution):
    """The library makes it a package of one platform."""

    def has_ext_modules(self):
        return bool(LIBRARY)


setup(distclass=Qex, cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": WheelOfPlatform})
