#!/usr/bin/env python3
"""tests/docs/trust_a_figure_test.py: the manual's chapter on tarvel-check has each reason with its weight and limit,
and its example is the program's output."""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from manual_text import code_lines

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
CHECK = os.environ.get("TARVEL_CHECK_PROGRAM", str(PROJECT / "build/release/tarvel-check"))
CHAPTER = PROJECT / "docs/manual/trust-a-figure.md"


class TrustAFigureTest(unittest.TestCase):
    def test_each_reason_with_its_weight_and_limit(self):
        table = (PROJECT / "src/check/reasons.cpp").read_text()
        rules = re.findall(r'\{reason_code::\w+, "([a-z-]+)", severity::(\w+), ([\d.]+)\}', table)
        self.assertGreater(len(rules), 30)
        rows = re.findall(r"^\| `([a-z-]+)` \| (\w+) \| ([\d.]+) \|", CHAPTER.read_text(), re.MULTILINE)
        self.assertEqual([(code, weight, float(limit)) for code, weight, limit in rows],
                         [(code, weight, float(limit)) for code, weight, limit in rules])

    def test_the_quoted_check(self):
        lines = code_lines(CHAPTER.read_text())
        start = lines.index("$ tarvel-check carve.csv") + 1
        quoted = lines[start:lines.index("verdict: good") + 1]
        with tempfile.TemporaryDirectory() as folder:
            for name in ("carve.csv", "matrix.txt"):
                (Path(folder) / name).write_bytes((PROJECT / "examples" / name).read_bytes())
            printed = subprocess.run([CHECK, "carve.csv"], cwd=folder, capture_output=True, text=True,
                                     check=True).stdout.splitlines()
        dots = quoted.index("...")
        # code_lines() leaves out empty lines.
        printed = [line for line in printed if line]
        quoted = [line for line in quoted[:dots] if line]
        self.assertEqual(printed[:len(quoted)], quoted)
        self.assertEqual(printed[-1], "verdict: good")


if __name__ == "__main__":
    unittest.main()
