#!/usr/bin/env python3
"""tests/proofs/harness_test.py: snapshots have everything that a call leaves, containers have the program's bytes, and
results are written to the notes."""
from __future__ import annotations

import datetime
import pathlib
import tempfile
import unittest
from unittest import mock

from planted import PROGRAM, PROJECT

from proofs import __main__ as entry
from proofs import tvl
from proofs.command_lines import containers
from proofs.harness import Folder, HardLink, Link, Outcome, Pipe, Result, Workplace, fill, listing, masked, snapshot
from proofs.inputs import example


class SnapshotTest(unittest.TestCase):
    def test_sees_kinds_contents_links_and_second_names(self) -> None:
        with tempfile.TemporaryDirectory() as path:
            folder = pathlib.Path(path)
            fill(folder, {"a": b"1", "b": HardLink("a"), "c": Link("a"), "d": Link("no/where"), "e": Folder(),
                          "f": Pipe(), "g/h": b"2", "i": Link("i")})
            (folder / "a").chmod(0o000)
            files = snapshot(folder)
        self.assertEqual({name: (one.kind, one.content) for name, one in files.items()}, {
            "a": ("-", b"1"), "b": ("-", b"1"), "c": ("l", b"1"), "d": ("l", None), "e": ("d", None), "f": ("p", None),
            "g": ("d", None), "g/h": ("-", b"2"), "i": ("l", None)})
        self.assertEqual(listing(files).split("\n")[:3], ["---------- 2 a", "-rw------- 2 b", "lrwxrwxrwx 1 c -> a"])

    def test_only_the_date_of_a_document_is_masked(self) -> None:
        document = b"%%PDF-1.5 /CreationDate (D:%d) %d"
        self.assertEqual(masked(document % (1, 3)), masked(document % (2, 3)))
        self.assertNotEqual(masked(document % (1, 3)), masked(document % (1, 4)))
        self.assertEqual(masked(b"/CreationDate (D:1)"), b"/CreationDate (D:1)")

    def test_the_message_is_the_last_line(self) -> None:
        self.assertEqual(Result(1, b"Report\nERROR: no\n", b"").message(), "no")
        self.assertEqual(Result(1, b"ERROR: no\nReport\n", b"").message(), "")


class ContainerTest(unittest.TestCase):
    def test_is_written_as_the_program_writes_it(self) -> None:
        with Workplace(PROGRAM) as place:
            _, made = containers(place, example("walk.csv"), example("straight.csv"))
        samples = list(tvl.SAMPLE.iter_unpack(made[tvl.FIRST_SAMPLE:]))
        self.assertEqual(tvl.run_header(len(samples)) + b"".join(tvl.SAMPLE.pack(*sample) for sample in samples), made)

    def test_a_sample_has_its_fields_in_place(self) -> None:
        header, sample = tvl.run(1, [(7, 1.5, 2.5, 3.5, 4.5, 5.5)])
        self.assertEqual(header, tvl.run_header(1))
        self.assertEqual(tvl.SAMPLE.unpack(sample), (7, 1.5, 0.0, 2.5, 3.5, 5.5, 4.5, 1, 1, 1, 3, 9))


class EntryTest(unittest.TestCase):
    def test_a_row_takes_the_place_of_the_earlier_one(self) -> None:
        with tempfile.TemporaryDirectory() as path:
            notes = pathlib.Path(path, "next.md")
            notes.write_text("# Next\n\n| proof |\n|---|\n| `mutants` | old |\n| `x` | y |\n\nEnd.\n")
            with mock.patch.object(entry, "NOTES", notes):
                entry.write("mutants", Outcome("3 faults", 0), datetime.date(2026, 11, 22))
                entry.write("memcheck", Outcome("1 call", 2), datetime.date(2026, 11, 23))
            self.assertEqual(notes.read_text().split("\n")[2:7], [
                "| proof |", "|---|", "| `mutants` | 3 faults | none | 2026-11-22 |", "| `x` | y |",
                "| `memcheck` | 1 call | 2 | 2026-11-23 |"])

    def test_each_proof_is_explained_and_has_its_row(self) -> None:
        trust = (PROJECT / "docs" / "trust.md").read_text()
        for name in entry.NAMES:
            self.assertIn(f"`scripts/proofs {name}", trust)


if __name__ == "__main__":
    unittest.main()
