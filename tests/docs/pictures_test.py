#!/usr/bin/env python3
"""tests/docs/pictures_test.py: the drawn pictures agree with the program's output for the examples, and the pictures of
the charts have the size that the program draws."""
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
PROGRAM = os.environ.get("TARVEL_PROGRAM", str(PROJECT / "build/release/tarvel"))
FIRST_PAGE_PICTURE = os.environ.get("TARVEL_FIRST_PAGE_PICTURE", str(PROJECT / "build/release/first_page_picture"))


def size_of(picture):
    """Width and height in the header of a PNG."""
    return struct.unpack(">8x4x4sII", picture.read_bytes()[:24])


class PicturesTest(unittest.TestCase):
    def test_drawn_again_they_are_the_same(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([sys.executable, PROJECT / "scripts/draw_pictures.py", PROGRAM, folder], check=True)
            for name in ("course.svg", "run-phases.svg"):
                is_same = Path(folder, name).read_text() == (PROJECT / "docs" / name).read_text()
                self.assertTrue(is_same, f"{name} is out of date: run scripts/pictures")

    def test_the_pages_are_of_the_size_that_is_drawn(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("carve.csv", "matrix.txt"):
                shutil.copy(PROJECT / "examples" / name, folder)
            subprocess.run([FIRST_PAGE_PICTURE, "carve.csv"], cwd=folder, check=True)
            drawn = size_of(Path(folder, "out.png"))
        self.assertEqual(drawn, (b"IHDR", 1200, 928))
        for page in ("carve-page-1.png", "carve-page-2.png"):
            self.assertEqual(size_of(PROJECT / "docs" / page), drawn, f"{page}: run scripts/pictures")


if __name__ == "__main__":
    unittest.main()
