#!/usr/bin/env python3
"""tests/proofs/compare_programs_test.py: compare_programs finds planted faults."""
from __future__ import annotations

import contextlib
import io
import pathlib
import re
import tempfile
import unittest
import zlib
from unittest import mock

from planted import PROGRAM, plant

from proofs import compare_programs, scenarios
from proofs.compare_programs import Difference
from proofs.harness import Outcome

# What the planted program does after a successful call of the real one, and the line in which the proof reports it.
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


def document(drawing: bytes, date: bytes = b"D:20261121", compression: int = 6) -> bytes:
    packed = zlib.compress(drawing, compression)
    return (b"%%PDF-1.5\n4 0 obj\n<< /Length 5 0 R\n   /Filter /FlateDecode\n>>\nstream\n%s\nendstream\nendobj\n"
            b"<< /CreationDate (%s+01'00)\n>>\n%%%%EOF\n" % (packed, date))


class PlantedFaultTest(unittest.TestCase):
    comparison: compare_programs.Comparison
    home: pathlib.Path
    number: int

    @classmethod
    def setUpClass(cls) -> None:
        cls.comparison = compare_programs.Comparison(PROGRAM, PROGRAM, "1")
        cls.addClassCleanup(cls.comparison.__exit__)
        cls.home = pathlib.Path(tempfile.mkdtemp(dir=cls.comparison.path))
        cls.number = next(filter(cls.is_plain_success, range(10_000)))

    @classmethod
    def plant(cls, fault: str) -> None:
        plant(cls.comparison.programs["new"], fault)

    @classmethod
    def find(cls, number: int) -> compare_programs.Found:
        return cls.comparison.find(number, cls.home)

    @classmethod
    def is_plain_success(cls, number: int) -> bool:
        given = scenarios.scenario(cls.comparison.sources, "1", number)
        is_plain = given.kind == "run" and [call.arguments for call in given.calls] == [["run.csv"]]
        is_plain = is_plain and given.files.keys() == {"run.csv", "matrix.txt"} and not given.calls[0].streams
        return is_plain and cls.find(number).statuses == ["0"]

    def test_each_planted_fault_is_reported_where_it_is(self) -> None:
        for fault, words in FAULTS:
            with self.subTest(fault):
                self.plant(fault)
                found = self.find(self.number)
                if words is None:
                    self.assertEqual(found.lines, [])
                else:
                    self.assertTrue(found.lines[0].startswith(f"FINDING in scenario {self.number} "), found.lines)
                    self.assertTrue(any(line.strip().startswith(words) for line in found.lines), found.lines)

    def test_a_rule_accepts_its_difference_and_no_other(self) -> None:
        self.comparison.rules = [lambda d: d.what == "standard error" and d.old == b""]
        self.addCleanup(setattr, self.comparison, "rules", [])
        self.plant("echo more >&2")
        found = self.find(self.number)
        self.assertEqual((found.lines, found.allowed), ([], 1))
        self.plant("echo more >&2; echo more")
        self.assertIn("standard output", self.find(self.number).lines[1])

    def test_the_same_number_is_the_same_scenario(self) -> None:
        for number in range(60):
            first, second = (scenarios.scenario(self.comparison.sources, "1", number) for _ in range(2))
            self.assertEqual(first, second)
        self.assertNotEqual(first, scenarios.scenario(self.comparison.sources, "2", number))

    def test_all_scenarios_are_reported(self) -> None:
        self.plant("echo more >> matrix.txt")
        outcome, printed = self.prove()
        self.assertGreater(outcome.findings, 0)
        self.assertIn("FINDING in scenario ", printed)
        numbers = re.findall(r"FINDING in scenario (\d+)", printed)
        only, _ = self.prove("--only", numbers[0])
        self.assertEqual(str(only.findings), "1")
        self.plant(":")
        outcome, printed = self.prove()
        self.assertEqual((outcome.findings, printed), (0, ""))
        self.assertRegex(outcome.done, r"^8 scenarios, \d+ calls .* outputs compared, 0 differences allowed$")

    def prove(self, *words: str) -> tuple[Outcome, str]:
        """Uses the same tracks for all comparisons, since making them takes most of the time."""
        sources, new = self.comparison.sources, str(self.comparison.programs["new"])
        with mock.patch.object(scenarios, "Sources", lambda program: sources):
            with contextlib.redirect_stdout(io.StringIO()) as printed:
                outcome = compare_programs.prove([str(PROGRAM), new, "--count", "8", "--jobs", "1", *words])
        return outcome, printed.getvalue()


class DrawingTest(unittest.TestCase):
    def test_documents_of_the_same_drawing_are_the_same(self) -> None:
        drawing = b"0 0 m 10 20 l S\n" * 50
        whole = document(drawing)
        self.assertTrue(compare_programs.is_same(whole, document(drawing, date=b"D:20270101")))
        self.assertTrue(compare_programs.is_same(whole, document(drawing, compression=1)))
        self.assertFalse(compare_programs.is_same(whole, document(drawing.replace(b"20", b"21", 1))))
        self.assertFalse(compare_programs.is_same(whole, whole[:-3]))
        self.assertFalse(compare_programs.is_same(whole, b""))
        self.assertFalse(compare_programs.is_same(whole[:90], whole[:91]))


class RulesTest(unittest.TestCase):
    def allowed(self, rule: str, what: str = "standard output", printed: str = "", status: str = "1",
                coord: bytes = b"", kml: bytes | None = None) -> bool:
        left = {"standard output": printed.encode(), "exit status": status.encode(), "coord.txt": coord}
        left |= {"run.kml": kml} if kml else {}
        call = scenarios.Call(["-d", "run.csv"], "UTC", "")
        return compare_programs.RULES[rule](Difference(call, what, b"a", b"b", left, left))

    def test_the_map_may_fail_later_or_be_there(self) -> None:
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
        self.assertFalse(self.allowed("map_once", printed=unreadable, kml=b"map"))

    def test_charts_may_differ_far_out(self) -> None:
        self.assertTrue(self.allowed("far_out", "run.pdf", coord=b"1" * 300))
        self.assertFalse(self.allowed("far_out", "run.txt", coord=b"1" * 300))
        self.assertFalse(self.allowed("far_out", "run.pdf", coord=b"1" * 299))
        self.assertTrue(self.allowed("far_out", "exit status", status=compare_programs.HANGS))


if __name__ == "__main__":
    unittest.main()
