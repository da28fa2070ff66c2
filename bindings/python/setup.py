"""What pyproject.toml cannot say: with QEX_WHEEL_LIBRARY the wheel holds that file as its own copy of libqex, and is for
this platform alone. Without it the package is pure Python, for a system that has libqex."""

import os
import pathlib
import shutil

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

LIBRARY = os.environ.get("QEX_WHEEL_LIBRARY", "")


class BuildWithLibrary(build_py):
    """Puts the library where qex/_load.py looks for it."""

    def run(self):
        super().run()
        folder = pathlib.Path(self.build_lib, "qex", "_native")
        folder.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(LIBRARY, folder / "libqex.so.1")


class OfPlatform(Distribution):
    """The library makes it a package of one platform."""

    def has_ext_modules(self):
        return True


if LIBRARY:
    from wheel.bdist_wheel import bdist_wheel

    class AnyPython(bdist_wheel):
        """Any Python 3, but one platform."""

        def get_tag(self):
            return ("py3", "none", super().get_tag()[2])

    setup(distclass=OfPlatform, cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": AnyPython})
else:
    setup()
