#!/usr/bin/env python3
"""tests/checker/program_test.py: tarvel-check prints the figures of tarvel's report within their intervals, gives
reasons to doubt damaged tracks, and returns the verdict as its exit status."""
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
TARVEL = os.environ.get("TARVEL_PROGRAM", str(PROJECT / "build/release/tarvel"))
CHECK = os.environ.get("TARVEL_CHECK_PROGRAM", str(PROJECT / "build/release/tarvel-check"))
EXAMPLES = PROJECT / "examples"
HEADER_LINES = 2
GOOD, ERROR, DOUBTFUL, UNUSABLE = 0, 1, 2, 3
FEW = ("--draws", "40")  # where intervals are not tested


def example(name):
    return (EXAMPLES / name).read_text()


def seconds(row):
    hours, minutes, rest = row.split(",")[0].split("T")[1].removesuffix("Z").split(":")
    return 3600 * int(hours) + 60 * int(minutes) + float(rest)


def without_samples(track, first, last):
    """Leaves out the samples from one time of the day to another, in seconds."""
    lines = track.splitlines(keepends=True)
    kept = [row for row in lines[HEADER_LINES:] if not first <= seconds(row) <= last]
    return "".join(lines[:HEADER_LINES] + kept)


def with_column(track, name, value):
    """Every sample has this value in one column."""
    lines = track.splitlines(keepends=True)
    column = lines[0].strip().split(",").index(name)
    rows = [row.split(",") for row in lines[HEADER_LINES:]]
    for row in rows:
        row[column] = value
    return "".join(lines[:HEADER_LINES] + [",".join(row) for row in rows])


class CheckTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.place = Path(folder.name)
        (self.place / "matrix.txt").write_text(example("matrix.txt"))
        for name in ("straight", "carve", "reversed", "implicit", "tagged"):
            (self.place / f"{name}.csv").write_text(example(f"{name}.csv"))

    def run_program(self, program, *arguments, **settings):
        return subprocess.run([program, *arguments], cwd=self.place, capture_output=True, text=True, check=False, **settings)

    def check(self, *arguments, **settings):
        return self.run_program(CHECK, *arguments, **settings)

    def check_track(self, track, *options):
        (self.place / "run.csv").write_text(track)
        return self.check(*options, "run.csv")

    def test_the_examples_are_good(self):
        for options, name in (((), "straight"), ((), "carve"), ((), "reversed"), (("-i",), "implicit"), (("-t", "5"), "tagged")):
            with self.subTest(name):
                done = self.check(*options, f"{name}.csv")
                self.assertEqual((done.returncode, done.stderr), (GOOD, ""))
                self.assertTrue(done.stdout.endswith("\nverdict: good\n"), done.stdout)

    def test_a_touchdown_at_which_the_pilot_walks_is_doubtful(self):
        done = self.check("tagged.csv")
        self.assertEqual((done.returncode, done.stderr), (DOUBTFUL, ""))
        self.assertIn("\ndoubtful: touchdown-moves: 3 mph at the end of the track", done.stdout)

    def test_figures_are_those_of_the_report_and_lie_in_their_intervals(self):
        for options in ((), ("-m",)):
            report = self.run_program(TARVEL, *options, "carve.csv").stdout
            check = self.check(*options, "carve.csv").stdout
            figures = re.findall(r"^([a-z ]+): +(-?[\d.]+) (?:deg|sec|mph|km/h|ft|m) +(-?[\d.]+) \.\. +(-?[\d.]+)", check,
                                 re.MULTILINE)
            self.assertGreater(len(figures), 20)
            for label, value, low, high in figures:
                with self.subTest(label, options=options):
                    self.assertLessEqual(float(low), float(value))
                    self.assertLessEqual(float(value), float(high))
                    if not label.startswith(" "):
                        self.assertRegex(report, rf"{label}: +{value}\b")

    def test_the_first_line_tells_which_run_it_is(self):
        self.assertEqual(self.check(*FEW, "carve.csv").stdout.splitlines()[0],
                         "carve.csv: 2026-05-16 13:08:35, 10 samples a second, 13 to 17 satellites")

    def test_the_first_line_has_the_time_of_the_run_that_is_analysed(self):
        # The dive of the later jump is faster, so that it is analysed.
        later = example("carve.csv")
        earlier = example("straight.csv").replace("2026-05-16T", "2026-05-15T")
        day = self.check_track(earlier + "".join(later.splitlines(keepends=True)[HEADER_LINES:]), *FEW)
        alone = self.check_track(later, *FEW)
        self.assertEqual(day.stdout.splitlines()[0], alone.stdout.splitlines()[0])

    def test_the_sense_of_the_turn(self):
        self.assertRegex(self.check("carve.csv").stdout, r"degrees of rotation: +270 deg .* right-hand in all draws\n")
        self.assertRegex(self.check("straight.csv").stdout, r"degrees of rotation: +450 deg .* left-hand in all draws\n")

    def test_a_touchdown_that_somebody_marked(self):
        self.assertRegex(self.check("carve.csv").stdout, r"touchdown estimate: +210 ft +is the stop")
        self.assertRegex(self.check("-t", "5", "carve.csv").stdout, r"touchdown estimate: +\d+ ft +\d+ \.\. +\d+\n")

    def test_a_gap_is_doubtful_and_at_the_gate_unusable(self):
        track = example("straight.csv")
        turn = self.check_track(without_samples(track, 42303.0, 42304.6))
        self.assertEqual(turn.returncode, DOUBTFUL, turn.stdout)
        self.assertIn("\ndoubtful: gap: ", turn.stdout)
        self.assertRegex(turn.stdout, r"\ninitiated turn: +\d+ ft\n")
        self.assertRegex(turn.stdout, r"\nentry gate speed: +74.9 mph +7[\d.]+ \.\. +7")
        self.assertTrue(turn.stdout.endswith("\nverdict: doubtful\n"))
        gate = self.check_track(without_samples(track, 42312.0, 42313.6))
        self.assertEqual(gate.returncode, UNUSABLE, gate.stdout)
        self.assertRegex(gate.stdout, r"\nentry gate speed: +---- mph +[\d.]+ \.\. +[\d.]+   bounds: crossed ")
        self.assertIn("\nunusable: gap-at-gate: 1.80 s without samples while ", gate.stdout)

    def test_accuracies_too_bad_for_scoring(self):
        track = example("straight.csv")
        for name, value, status in (("sAcc", "1.5", DOUBTFUL), ("sAcc", "10.0", UNUSABLE), ("hAcc", "80.0", UNUSABLE),
                                    ("numSV", "5", DOUBTFUL), ("numSV", "3", UNUSABLE)):
            with self.subTest(name, value=value):
                ending = "\n" if name == "numSV" else ""
                self.assertEqual(self.check_track(with_column(track, name, value + ending)).returncode, status)

    def test_several_tracks_have_the_worst_status(self):
        poor = with_column(example("straight.csv"), "sAcc", "1.5")
        (self.place / "poor.csv").write_text(poor)
        done = self.check(*FEW, "straight.csv", "poor.csv", "carve.csv")
        self.assertEqual((done.returncode, done.stderr), (DOUBTFUL, ""))
        alone = [self.check(*FEW, name).stdout for name in ("straight.csv", "poor.csv", "carve.csv")]
        self.assertEqual(done.stdout, "\n".join(alone))

    def test_a_track_that_fails_does_not_keep_the_others_from_their_check(self):
        done = self.check(*FEW, "gone.csv", "carve.csv", "implicit.csv")
        self.assertEqual(done.returncode, ERROR)
        self.assertRegex(done.stderr, r"\Atarvel-check: gone.csv: failed to open file: gone.csv\n"
                                      r"tarvel-check: implicit.csv: invalid gate location .*\n\Z")
        self.assertIn("verdict: good\n", done.stdout)

    def test_the_seed_and_the_number_of_draws_change_the_ends_alone(self):
        def ends(text):
            return re.findall(r"-?[\d.]+ \.\. +-?[\d.]+", text)
        usual, again, other = (self.check(*options, "carve.csv").stdout
                               for options in ((), ("--draws", "400", "--seed", "1"), ("--seed", "7", "--draws", "60")))
        self.assertEqual(usual, again)
        self.assertNotEqual(ends(usual), ends(other))
        self.assertEqual(re.sub(r" +-?[\d.]+ \.\. .*", "", usual), re.sub(r" +-?[\d.]+ \.\. .*", "", other))

    def test_the_course_is_looked_for_as_by_tarvel(self):
        (self.place / "matrix.txt").write_text("2- - nogate\n1- - north.txt\n")
        (self.place / "north.txt").write_text(example("matrix.txt"))
        (self.place / "1-1.csv").write_text(example("straight.csv"))
        self.assertEqual(self.check(*FEW, "1-1.csv").stdout.splitlines()[1:], self.check_over_course("straight.csv"))
        (self.place / "matrix.txt").unlink()
        done = self.check("1-1.csv")
        self.assertEqual((done.returncode, done.stderr), (ERROR, "tarvel-check: 1-1.csv: failed to open file: matrix.txt\n"))

    def check_over_course(self, name):
        (self.place / "matrix.txt").write_text(example("matrix.txt"))
        return self.check(*FEW, name).stdout.splitlines()[1:]

    def test_nothing_is_written(self):
        before = {path: path.read_bytes() for path in self.place.iterdir()}
        self.check(*FEW, "carve.csv")
        self.assertEqual({path: path.read_bytes() for path in self.place.iterdir()}, before)
        with open(self.place / "carve.csv", "a", encoding="ascii") as track:
            done = subprocess.run([CHECK, "carve.csv"], cwd=self.place, stdout=track, stderr=subprocess.PIPE, check=False)
        self.assertEqual((done.returncode, done.stderr),
                         (ERROR, b"tarvel-check: carve.csv: failed to open file: carve.csv\n"))
        self.assertEqual({path: path.read_bytes() for path in self.place.iterdir()}, before)

    def test_what_is_printed_must_get_out(self):
        for argument in ("carve.csv", "--help", "--version"):
            with open("/dev/full", "w", encoding="ascii") as full:
                done = subprocess.run([CHECK, argument], cwd=self.place, stdout=full, stderr=subprocess.PIPE, check=False)
            self.assertEqual((done.returncode, done.stderr),
                             (ERROR, b"tarvel-check: failed to write file: standard output\n"))

    def test_warnings_are_told_on_standard_error_with_their_run(self):
        track = example("straight.csv").replace("heading", "colour", 1)
        (self.place / "first.csv").write_text(track)
        (self.place / "second.csv").write_text(track.replace("cAcc", "shade", 1))
        done = self.check(*FEW, "first.csv", "second.csv")
        self.assertEqual((done.returncode, done.stderr),
                         (GOOD, "tarvel-check: first.csv: WARNING: unknown field (colour)\n"
                                "tarvel-check: second.csv: WARNING: unknown field (colour)\n"
                                "tarvel-check: second.csv: WARNING: unknown field (shade)\n"))

    def test_command_lines_that_cannot_be_carried_out(self):
        hint = "Try 'tarvel-check --help'.\n"
        for arguments, words in (([], "no track"), (["-m"], "no track"), (["-t", "two", "a"], "not a number of seconds: two"),
                                 (["-t", "-1", "a"], "not a number of seconds: -1"),
                                 (["-t", "5x", "a"], "not a number of seconds: 5x"),
                                 (["-t", "nan", "a"], "not a number of seconds: nan"),
                                 (["-t", "4294968", "a"], "not a number of seconds: 4294968"),
                                 (["-t", "5", "a", "b"], "-t is the time of one run"),
                                 (["--draws", "39", "a"], "not a number of draws from 40 to 10000: 39"),
                                 (["--draws", "1e3", "a"], "not a number of draws from 40 to 10000: 1e3"),
                                 (["--draws=10001", "a"], "not a number of draws from 40 to 10000: 10001"),
                                 (["--seed", "0x1", "a"], "not a whole number: 0x1"),
                                 (["--seed", "-1", "a"], "not a whole number: -1")):
            with self.subTest(arguments):
                done = self.check(*arguments)
                self.assertEqual((done.returncode, done.stdout, done.stderr), (ERROR, "", f"tarvel-check: {words}\n{hint}"))
        done = self.check("--wrong")
        self.assertEqual((done.returncode, done.stdout), (ERROR, ""))
        self.assertTrue(done.stderr.endswith(hint))

    def test_help_and_version(self):
        for option in ("-h", "--help"):
            done = self.check(option)
            self.assertEqual((done.returncode, done.stderr), (GOOD, ""))
            self.assertTrue(done.stdout.startswith("usage: tarvel-check [options] run...\n"))
        version = self.run_program(TARVEL, "-v").stdout
        self.assertEqual(self.check("--version").stdout, version.replace("Tarvel", "tarvel-check"))


if __name__ == "__main__":
    unittest.main()
