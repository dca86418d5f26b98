#!/usr/bin/env python3
"""tests/docs/one_jump_test.py: the manual's statements about a track of two jumps are true, and its commands split
one."""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from manual_text import code_lines

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
PROGRAM = os.environ.get("TARVEL_PROGRAM", str(PROJECT / "build/release/tarvel"))
SPLIT = os.environ.get("TARVEL_SPLIT_PROGRAM", str(PROJECT / "build/release/tarvel-split"))
EXAMPLES = PROJECT / "examples"
CHAPTER = PROJECT / "docs/manual/one-jump.md"
HEADER_LINES = 2


def example(name):
    return (EXAMPLES / name).read_text()


def joined(first, second):
    """The rows of both tracks after the header of the first."""
    return first + "".join(second.splitlines(keepends=True)[HEADER_LINES:])


class OneJumpTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.place = Path(self.folder.name)
        # The carve has the faster dive: 84.4 mph, the straight run 80.9 mph.
        self.straight, self.carve, self.tagged = example("straight.csv"), example("carve.csv"), example("tagged.csv")
        (self.place / "matrix.txt").write_text(example("matrix.txt"))

    def printed_of(self, track, *options):
        (self.place / "run.csv").write_text(track)
        return subprocess.run([PROGRAM, *options, "run.csv"], cwd=self.place, capture_output=True, text=True,
                              check=False).stdout

    def report_of(self, track, *options):
        """The lines of the report: {label: the rest of the line}."""
        lines = self.printed_of(track, *options).splitlines()
        return {label: figures for label, colon, figures in (line.partition(":") for line in lines) if colon}

    def test_the_commands_cut_a_track(self):
        tagged_later = self.tagged.replace("2026-05-17T09", "2026-05-17T14")
        (self.place / "both.csv").write_text(joined(self.straight, self.carve))
        (self.place / "tagged-both.csv").write_text(self.tagged + tagged_later)
        lines = [line for line in code_lines(CHAPTER.read_text()) if line]
        commands = [line.removeprefix("$ ") for line in lines if line.startswith("$ ")]
        quoted = [line for line in lines if not line.startswith("$ ")]
        printed = []
        parts = []
        programs = {**os.environ, "PATH": f"{Path(SPLIT).parent}:{os.environ['PATH']}"}
        for command in commands:
            done = subprocess.run(["bash", "-c", command], cwd=self.place, env=programs, capture_output=True, text=True,
                                  check=True)
            printed += done.stdout.splitlines()
            written = re.search(r" > (\S+)$", command)
            if written:
                parts.append((self.place / written[1]).read_text())
        self.assertEqual(printed, quoted)
        # Both parts of a tagged track have the lines with other tags, so reports are compared instead of files.
        parts, tagged_parts = parts[:4], parts[4:]
        self.assertTrue(parts == 2 * [self.straight, self.carve])
        expected = [self.report_of(track) for track in (self.tagged, tagged_later)]
        self.assertEqual(len(expected[0]), 15)
        self.assertEqual([self.report_of(track) for track in tagged_parts], expected)

    def test_over_a_course_the_exit_is_that_of_the_first_jump_and_the_rest_that_of_the_fastest_dive(self):
        straight, carve = self.report_of(self.straight), self.report_of(self.carve)
        self.assertNotEqual(straight, carve)
        for track, first in ((joined(self.straight, self.carve), straight), (joined(self.carve, self.straight), carve)):
            self.assertEqual(self.report_of(track), {**carve, "exited airplane": first["exited airplane"]})

    def test_the_touchdown_of_a_jump_that_is_not_the_last_is_its_stop(self):
        # The pilot of the tagged run walks back after the stop; its dive is faster than that of the straight run.
        alone = self.report_of(self.tagged)
        self.assertNotEqual(alone["touchdown estimate"].split()[0], alone["distance to stop"].split()[0])
        # The straight run follows as tagged lines, with the columns of the tagged track.
        names = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc".split(",")
        rows = [line.split(",") for line in self.straight.splitlines()[HEADER_LINES:]]
        later = "".join(f"$GNSS,{','.join(row[:len(names)])},{row[-1]}\n" for row in rows)
        both = self.report_of(self.tagged + later)
        self.assertEqual(both["max vertical speed"], alone["max vertical speed"])
        self.assertEqual(both["touchdown estimate"].split()[0], both["distance to stop"].split()[0])

    def test_without_a_course_the_gate_is_that_of_the_first_jump(self):
        for first, second in ((self.straight, self.carve), (self.carve, self.straight)):
            both, alone = self.report_of(joined(first, second), "-i"), self.report_of(self.carve, "-i")
            self.assertEqual(both["degrees of rotation"], alone["degrees of rotation"])
            self.assertEqual(both == alone, first == self.carve)

    def test_the_clock_may_go_back_between_the_jumps(self):
        earlier = self.carve.replace("2026-05-16T", "2026-05-15T")
        for options in ((), ("-i",)):
            self.assertEqual(self.report_of(joined(self.straight, earlier), *options),
                             self.report_of(joined(self.straight, self.carve), *options))

    def test_a_second_header_is_refused(self):
        self.assertEqual(self.printed_of(self.straight + self.carve), "ERROR: invalid time field\n")


if __name__ == "__main__":
    unittest.main()
