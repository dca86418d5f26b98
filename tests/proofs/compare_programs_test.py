#!/usr/bin/env python3
"""tests/proofs/compare_programs_test.py: compare_programs finds planted faults."""
from __future__ import annotations

import contextlib
import functools
import io
import pathlib
import re
import unittest
import zlib
from unittest import mock

from planted import PROGRAM, plant

from proofs import compare_programs, scenarios
from proofs.comparison import Call, Comparison, Scenario, show
from proofs.harness import Outcome, remove

# What the planted program does after a successful call of the real one, and the line in which the proof reports it.
FAULTS = (
    ("sed -i '9s/$/0/' run.kml", "run.kml, line 9,"),
    ("rm run.txt", "run.txt: new does not leave it"),
    ("touch stray.txt", "stray.txt: old does not leave it"),
    ("status=3", "exit status, line 1,"),
    ("echo more", "standard output, line "),
    ("echo more >&2", "standard error, line 1,"),
    ("chmod 600 run.txt", "names, modes and links, line "),
    ("mv run.txt own.txt && ln -s own.txt run.txt", "names, modes and links, line "),
    ("cp run.txt copy.txt && ln -f copy.txt run.txt", "names, modes and links, line "),
    ("truncate -s -100 run.pdf", "run.pdf, line "),
    ("sed -i 's/CreationDate (D:2/CreationDate (D:1/' run.pdf", None),
    (":", None),
)


def document(drawing: bytes, compression: int = 6) -> bytes:
    return (b"%%PDF-1.5\n4 0 obj\n<< /Length 5 0 R\n   /Filter /FlateDecode\n>>\nstream\n%s\nendstream\nendobj\n"
            b"%%%%EOF\n" % zlib.compress(drawing, compression))


class PlantedFaultTest(unittest.TestCase):
    comparison: Comparison
    sources: scenarios.Sources
    number: int

    @classmethod
    def setUpClass(cls) -> None:
        cls.sources = scenarios.Sources(PROGRAM)
        cls.comparison = Comparison({"old": PROGRAM, "new": PROGRAM},
                                    functools.partial(scenarios.scenario, cls.sources, "1"))
        cls.addClassCleanup(cls.comparison.__exit__)
        cls.comparison.home = cls.comparison.path
        cls.number = next(filter(cls.is_plain_success, range(10_000)))

    @classmethod
    def is_plain_success(cls, number: int) -> bool:
        given = cls.comparison.scenario(number)
        is_plain = given.kind == "run" and [call.arguments for call in given.calls] == [["run.csv"]]
        is_plain = is_plain and given.files.keys() == {"run.csv", "matrix.txt"} and not given.calls[0].streams
        return is_plain and cls.comparison.find(number).statuses == ["0"]

    def plant(self, fault: str) -> None:
        plant(self.comparison.places["new"].program, fault)

    def test_each_planted_fault_is_reported_where_it_is(self) -> None:
        for fault, words in FAULTS:
            with self.subTest(fault):
                self.plant(fault)
                found = self.comparison.find(self.number)
                if words is None:
                    self.assertEqual(found.lines, [])
                else:
                    self.assertTrue(found.lines[0].startswith(f"FINDING in scenario {self.number} "), found.lines)
                    self.assertTrue(any(line.strip().startswith(words) for line in found.lines), found.lines)

    def test_the_same_number_is_the_same_scenario(self) -> None:
        for number in range(60):
            first, second = (scenarios.scenario(self.sources, "1", number) for _ in range(2))
            self.assertEqual(first, second)
        self.assertNotEqual(first, scenarios.scenario(self.sources, "2", number))

    def test_all_scenarios_are_reported(self) -> None:
        self.plant("echo more > stray.txt")
        outcome, printed = self.prove()
        self.assertGreater(outcome.findings, 0)
        numbers = re.findall(r"FINDING in scenario (\d+)", printed)
        only, printed = self.prove("--only", numbers[0])
        self.assertEqual(only.findings, 1)
        (kept,) = re.findall("folders: (.*)", printed)
        self.addCleanup(remove, pathlib.Path(kept))
        self.assertEqual(len(list(pathlib.Path(kept).glob("*/new/stray.txt"))), 1)
        self.plant(":")
        outcome, printed = self.prove()
        self.assertEqual((outcome.findings, printed), (0, ""))
        self.assertRegex(outcome.done, r"^8 scenarios, \d+ calls .* outputs compared$")

    def prove(self, *words: str) -> tuple[Outcome, str]:
        """Uses the same tracks for all comparisons, since making them takes most of the time."""
        new = str(self.comparison.places["new"].program)
        with mock.patch.object(scenarios, "Sources", lambda program: self.sources):
            with contextlib.redirect_stdout(io.StringIO()) as printed:
                outcome = compare_programs.prove([str(PROGRAM), new, "--count", "8", "--jobs", "1", *words])
        return outcome, printed.getvalue()


class ShownTest(unittest.TestCase):
    def test_a_document_is_shown_as_it_is_drawn(self) -> None:
        drawing = b"0 0 m 10 20 l S\n" * 50
        shown = show("run.pdf", {"old": document(drawing), "new": document(drawing.replace(b"20", b"21", 1))})
        self.assertEqual(shown, ["    run.pdf, line 7, from byte 0 on:", "      old: b'0 0 m 10 20 l S'",
                                 "      new: b'0 0 m 10 21 l S'"])
        self.assertIn("line 0", show("run.pdf", {"old": document(drawing), "new": document(drawing, 1)})[0])

    def test_a_hang_is_a_finding(self) -> None:
        sleeping = Scenario("sleeping", {}, {}, [Call([], "UTC")])
        with Comparison({"old": PROGRAM, "new": PROGRAM}, [sleeping].__getitem__) as comparison:
            comparison.home = comparison.path
            for place in comparison.places.values():
                place.timeout = 1.0
                plant(place.program, "sleep 20")
            self.assertEqual(comparison.find(0).lines[1:], ["    old hangs", "    new hangs"])


if __name__ == "__main__":
    unittest.main()
