"""Each docs/NAME.svg is the drawing of docs/NAME.dot, as `dot` makes it.

usage: drawings_test.py SOURCE_FOLDER DOT

Texts, structure and style are compared. Coordinates are not: they vary with the version of Graphviz and with the
fonts that are installed.
"""

import glob
import os
import subprocess
import sys
import unittest
import xml.etree.ElementTree as ElementTree

DRAWN_BY_SCRIPTS = ("performance",)  # scripts/bench_report.py
COORDINATES = ("cx", "cy", "d", "height", "points", "rx", "ry", "transform", "viewBox", "width", "x", "y")


def content(svg):
    """Every element of a drawing: its tag, its attributes except coordinates, its text."""
    return [(element.tag.split("}")[-1], sorted(item for item in element.items() if item[0] not in COORDINATES),
             (element.text or "").strip()) for element in ElementTree.fromstring(svg).iter()]


class DrawingsTest(unittest.TestCase):
    root = ""
    dot = ""

    def test_EachDrawingBelongsToItsSource(self):
        for source in sorted(glob.glob(f"{self.root}/docs/*.dot")):
            drawn = subprocess.run([self.dot, "-Tsvg", source], capture_output=True, check=True).stdout
            with self.subTest(source=os.path.basename(source)), open(source[:-len("dot")] + "svg", "rb") as file:
                self.assertEqual(content(file.read()), content(drawn), "run scripts/drawings.sh")

    def test_EveryDrawingHasASource(self):
        drawings = sorted(path[:-len(".svg")] for path in glob.glob(f"{self.root}/docs/*.svg")
                          if os.path.basename(path)[:-len(".svg")] not in DRAWN_BY_SCRIPTS)
        sources = sorted(path[:-len(".dot")] for path in glob.glob(f"{self.root}/docs/*.dot"))
        self.assertNotEqual(sources, [])
        self.assertEqual(drawings, sources)


if __name__ == "__main__":
    DrawingsTest.dot = sys.argv.pop(2)
    DrawingsTest.root = sys.argv.pop(1)
    unittest.main()
