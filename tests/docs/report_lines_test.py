#!/usr/bin/env python3
"""tests/docs/report_lines_test.py: quoted lines of reports and surveys in the manual and the README are in golden
files."""
import os
import re
import unittest
from pathlib import Path

from manual_text import code_lines
from report_labels import report_labels

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
GOLDEN = PROJECT / "tests/golden"


def printed_lines():
    """All lines of the golden reports and surveys, with which tests compare the program's output."""
    files = [*(GOLDEN / "driver").glob("*.txt"), *(GOLDEN / "gate").glob("*.progress")]
    return {line for path in files for line in path.read_text().splitlines()}


def quotes(text):
    """The lines of the code blocks that look like a line of a report or of a survey."""
    beginnings = (*(label + ":" for label in report_labels(PROJECT)), "waypoint detected:", "average height:",
                  "exit gate location", "theta = ")
    # Not the line of theta in a course file.
    return [line for line in code_lines(text) if line.startswith(beginnings) and not re.match(r"theta = +-?[\d.]+$", line)]


class ReportLinesTest(unittest.TestCase):
    def test_quoted_lines_have_been_printed(self):
        # trust_a_figure_test.py tests the chapter on tarvel-check.
        chapters = set((PROJECT / "docs/manual").glob("*.md")) - {PROJECT / "docs/manual/trust-a-figure.md"}
        pages = [PROJECT / "README.md", *sorted(chapters)]
        quoted = [(page.name, line) for page in pages for line in quotes(page.read_text())]
        print(f"{len(quoted)} quoted lines")
        self.assertGreater(len(quoted), 40)
        printed = printed_lines()
        self.assertEqual([quote for quote in quoted if quote[1] not in printed], [])

    def test_a_line_that_was_never_printed_is_found(self):
        page = "    entry gate speed:      76.8 mph\n    entry gate speed:      99.9 mph\n\n    theta =  -4.99707438\n"
        self.assertEqual([line for line in quotes(page) if line not in printed_lines()],
                         ["entry gate speed:      99.9 mph"])


if __name__ == "__main__":
    unittest.main()
