#!/usr/bin/env python3
"""tests/proofs/compare_programs_test.py: scripts/proofs compare_programs reports what is planted into a program."""
import contextlib
import io
import os
import pathlib
import shutil
import sys
import tempfile
import unittest
import zlib
from unittest import mock

PROJECT = pathlib.Path(os.environ.get("TARVEL_SOURCE_DIR", pathlib.Path(__file__).parents[2]))
PROGRAM = os.environ.get("TARVEL_PROGRAM", str(PROJECT / "build/release/tarvel"))

sys.dont_write_bytecode = True
sys.path[:0] = [str(PROJECT / "proofs"), str(PROJECT)]
import scenarios  # noqa: E402

compare_programs = scenarios.import_script("compare_programs")

# What the planted program does after the real one, in the folder of a run that has succeeded, and what is said of it.
FAULTS = (
    ("sed -i '9s/$/0/' run.kml", "run.kml, line 9:"),
    ("rm run.txt", "run.txt: only the old program leaves it"),
    ("touch stray.txt", "stray.txt: only the new program leaves it"),
    ("status=3", "exit status, line 1:"),
    ("echo more", "standard output, line "),
    ("echo more >&2", "standard error, line 1:"),
    ("chmod 600 run.txt", "names, modes and links, line "),
    ("mv run.txt own.txt && ln -s own.txt run.txt", "names, modes and links, line "),
    ("cp run.txt copy.txt && ln -f copy.txt run.txt", "names, modes and links, line "),
    ("truncate -s -100 run.pdf", "run.pdf, line "),
    ("sed -i 's/CreationDate (D:2/CreationDate (D:1/' run.pdf", None),
    (":", None),
)


def document(drawing, date=b"D:20261121", compression=6):
    packed = zlib.compress(drawing, compression)
    return (b"%%PDF-1.5\n4 0 obj\n<< /Length 5 0 R\n   /Filter /FlateDecode\n>>\nstream\n%s\nendstream\nendobj\n"
            b"<< /CreationDate (%s+01'00)\n>>\n%%%%EOF\n" % (packed, date))


class PlantedFaultTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="tarvel_compare_test_"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.folder.chmod(0o755)
        real = shutil.copy(PROGRAM, cls.folder / "real")
        cls.planted = cls.folder / "planted"
        cls.planted.write_text(f'#!/bin/sh\n{real} "$@"\nstatus=$?\n. {cls.folder}/fault\nexit $status\n')
        cls.planted.chmod(0o755)
        cls.plant(":")
        cls.comparison = compare_programs.Comparison(PROGRAM, cls.planted, "1")
        cls.addClassCleanup(cls.comparison.close)
        compare_programs.home = tempfile.mkdtemp(dir=cls.comparison.path)
        cls.number = next(filter(cls.is_plain_success, range(10_000)))

    @classmethod
    def plant(cls, fault):
        (cls.folder / "fault").write_text(fault + "\n")

    @classmethod
    def is_plain_success(cls, number):
        given = scenarios.scenario(cls.comparison.sources, "1", number)
        is_plain = given.kind == "run" and [call.arguments for call in given.calls] == [["run.csv"]]
        is_plain = is_plain and given.files.keys() == {"run.csv", "matrix.txt"} and not given.calls[0].streams
        return is_plain and cls.comparison.find(number).statuses == ["0"]

    def test_each_planted_fault_is_reported_where_it_is(self):
        for fault, words in FAULTS:
            with self.subTest(fault):
                self.plant(fault)
                found = self.comparison.find(self.number)
                if words is None:
                    self.assertEqual(found.lines, [])
                else:
                    self.assertTrue(found.lines[0].startswith(f"DIFFERENCE in scenario {self.number} "), found.lines)
                    self.assertTrue(any(line.strip().startswith(words) for line in found.lines), found.lines)

    def test_a_rule_accepts_its_difference_and_no_other(self):
        self.comparison.rules = [lambda d: d.what == "standard error" and d.old == b""]
        self.addCleanup(setattr, self.comparison, "rules", [])
        self.plant("echo more >&2")
        found = self.comparison.find(self.number)
        self.assertEqual((found.lines, found.allowed), ([], 1))
        self.plant("echo more >&2; echo more")
        self.assertIn("standard output", self.comparison.find(self.number).lines[1])

    def test_the_same_number_is_the_same_scenario(self):
        for number in range(60):
            first, second = (scenarios.scenario(self.comparison.sources, "1", number) for _ in range(2))
            self.assertEqual(first, second)
        self.assertNotEqual(first, scenarios.scenario(self.comparison.sources, "2", number))

    def test_the_exit_status_tells(self):
        self.plant("echo more >> matrix.txt")
        status, printed = self.run_script(self.planted)
        self.assertEqual(status, 1)
        self.assertIn("DIFFERENCE in scenario ", printed)
        status, printed = self.run_script(PROGRAM)
        self.assertEqual(status, 0)
        self.assertRegex(printed, r"^8 scenarios, \d+ calls .* 0 scenarios differ, 0 differences allowed\n$")

    def run_script(self, new):
        """Without making the tracks anew, which takes most of the time."""
        sources = self.comparison.sources
        with mock.patch.object(scenarios, "Sources", lambda program: sources):
            with contextlib.redirect_stdout(io.StringIO()) as printed:
                status = compare_programs.main([PROGRAM, str(new), "--count", "8", "--jobs", "1"])
        return status, printed.getvalue()


class DrawingTest(unittest.TestCase):
    def test_documents_of_the_same_drawing_are_the_same(self):
        drawing = b"0 0 m 10 20 l S\n" * 50
        whole = document(drawing)
        self.assertTrue(compare_programs.is_same(whole, document(drawing, date=b"D:20270101")))
        self.assertTrue(compare_programs.is_same(whole, document(drawing, compression=1)))
        self.assertFalse(compare_programs.is_same(whole, document(drawing.replace(b"20", b"21", 1))))
        self.assertFalse(compare_programs.is_same(whole, whole[:-3]))
        self.assertFalse(compare_programs.is_same(whole, b""))
        self.assertFalse(compare_programs.is_same(whole[:90], whole[:91]))



class RulesTest(unittest.TestCase):
    def allowed(self, rule, what="standard output", printed="", status="1", **files):
        outcome = {"standard output": printed.encode(), "exit status": status.encode()} | files
        call = scenarios.Call(["-d", "run.csv"], "UTC", "")
        return bool(compare_programs.rules[rule](compare_programs.Difference(call, what, b"a", b"b", outcome, outcome)))

    def test_the_map_may_fail_later_or_be_there(self):
        for printed, is_allowed in (
            ("\nReport\nERROR: failed to write file: run.kml\n", True),
            ("ERROR: failed to write file: run.txt\n", False),
            ("ERROR: failed to read file: matrix.txt\n", True),
            ("ERROR: failed to open file: 64.txt\n", True),
            ("ERROR: failed to open file: run.csv\n", False),
            ("ERROR: failed to open file: run.kml\n", False),
            ("ERROR: could not find rollout\n", False),
            ("", False),
        ):
            self.assertEqual(self.allowed("map_once", printed=printed), is_allowed, printed)
        unreadable = "ERROR: failed to read file: matrix.txt\n"
        self.assertFalse(self.allowed("map_once", printed=unreadable, **{"run.kml": b"map"}))

    def test_charts_may_differ_far_out(self):
        far = {"coord.txt": b"1" * 300}
        self.assertTrue(self.allowed("far_out", "run.pdf", **far))
        self.assertFalse(self.allowed("far_out", "run.txt", **far))
        self.assertFalse(self.allowed("far_out", "run.pdf", **{"coord.txt": b"1" * 299}))
        self.assertTrue(self.allowed("far_out", "exit status", status=compare_programs.hangs))


if __name__ == "__main__":
    unittest.main()
