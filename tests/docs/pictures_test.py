#!/usr/bin/env python3
"""tests/docs/pictures_test.py: the drawn pictures show what the program says of the examples today."""
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
PROGRAM = os.environ.get("TARVEL_PROGRAM", str(PROJECT / "build/release/tarvel"))


class PicturesTest(unittest.TestCase):
    def test_drawn_again_they_are_the_same(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([sys.executable, PROJECT / "scripts/draw_pictures.py", PROGRAM, folder], check=True)
            for name in ("course.svg", "run-phases.svg"):
                is_same = Path(folder, name).read_text() == (PROJECT / "docs" / name).read_text()
                self.assertTrue(is_same, f"{name} is out of date: run scripts/pictures")


if __name__ == "__main__":
    unittest.main()
