#!/usr/bin/env python3
"""tests/man/figures_test.py: the man pages and the manual explain exactly the lines of the report and the columns of
meet.csv.
"""
import importlib.machinery
import importlib.util
import json
import os
import re
import sys
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
sys.path.insert(0, str(PROJECT / "tests/docs"))
from manual_text import code_spans, first_cells, headings  # noqa: E402
from report_labels import report_labels  # noqa: E402

TARVEL_PAGE = (PROJECT / "docs/man/tarvel.1.in").read_text()
MEET_PAGE = (PROJECT / "docs/man/tarvel-meet.1.in").read_text()
REPORT_CHAPTER = (PROJECT / "docs/manual/report.md").read_text()
MEET_CHAPTER = (PROJECT / "docs/manual/meet.md").read_text()


def load_meet():
    loader = importlib.machinery.SourceFileLoader("tarvel_meet", str(PROJECT / "src/meet/tarvel-meet"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("tarvel_meet", loader))
    sys.dont_write_bytecode = True
    loader.exec_module(module)
    return module


MEET = load_meet()


def columns(metric):
    header = MEET.csv_text([], MEET.Table(metric).columns)
    return header.strip().split(",")


def explained_items(page, heading):
    """The items in the list of a subsection of a man page that have an explanation."""
    section = re.search(rf"^\.Ss {heading}\n(.*?)^\.S[sh] ", page, re.MULTILINE | re.DOTALL)[1]
    return re.findall(r"^\.It (.*)\n(?!\.It|\.El)", section, re.MULTILINE)


def report_items(page):
    return explained_items(page, "The report")


def table_items(page):
    return [name for item in explained_items(page, "The table") for name in item.removeprefix("Li ").split(" , ")]


def chapter_columns(chapter):
    section = re.search(r"^## The columns of the table\n(.*?)^## ", chapter, re.MULTILINE | re.DOTALL)[1]
    return [name for cell in first_cells(section) for name in code_spans(cell)]


class FiguresTest(unittest.TestCase):
    def test_the_lines_of_the_report(self):
        labels = report_labels(PROJECT)
        self.assertGreaterEqual(len(labels), 15)
        self.assertEqual(report_items(TARVEL_PAGE), labels)
        self.assertEqual([label for label in labels if label not in headings(REPORT_CHAPTER)], [])
        print(f"{len(labels)} lines of the report")

    def test_tarvel_meet_reads_each_figure_of_a_document(self):
        schema = json.loads((PROJECT / "docs/schema/run-1.json").read_text())
        self.assertEqual([name for name, _ in MEET.FIGURES], schema["properties"]["figures"]["required"])

    def test_the_columns_of_the_table(self):
        names = columns(metric=False)
        self.assertGreater(len(names), 30)
        self.assertEqual(table_items(MEET_PAGE), names)
        self.assertEqual(chapter_columns(MEET_CHAPTER), names)
        print(f"{len(names)} columns of meet.csv")

    def test_metric_columns_have_the_ending_that_is_explained(self):
        renamed = [name.replace("_ft", "_m").replace("_mph", "_kmh") for name in columns(metric=False)]
        self.assertEqual(columns(metric=True), renamed)

    def test_an_item_that_is_missing_or_is_not_explained_is_missed(self):
        for damaged in (re.sub(r"^\.It time during rollout\n.*\n.*\n", "", TARVEL_PAGE, flags=re.MULTILINE),
                        re.sub(r"^(\.It time during rollout\n)[^.].*\n", r"\1", TARVEL_PAGE, flags=re.MULTILINE)):
            self.assertNotEqual(damaged, TARVEL_PAGE)
            self.assertNotIn("time during rollout", report_items(damaged))
        for column in ("turn_back_ft", "exit_gate_speed_mph"):
            self.assertNotIn(column, table_items(MEET_PAGE.replace(column, "height")))
            self.assertNotIn(column, chapter_columns(MEET_CHAPTER.replace(f"`{column}`", column)))


if __name__ == "__main__":
    unittest.main()
