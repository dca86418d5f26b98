#!/usr/bin/env python3
"""tests/split/program_test.py: tarvel-split copies the rows of each jump unchanged, so that the report of a part is
that of a track with this jump alone; and it overwrites nothing."""
import functools
import itertools
import os
import re
import signal
import struct
import subprocess
import tempfile
import unittest
from datetime import datetime, timedelta
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
TARVEL = os.environ.get("TARVEL_PROGRAM", str(PROJECT / "build/release/tarvel"))
SPLIT = os.environ.get("TARVEL_SPLIT_PROGRAM", str(PROJECT / "build/release/tarvel-split"))
EXAMPLES = PROJECT / "examples"
JUMPS = ("straight", "carve", "reversed")
HEADER_LINES = 2


def example(name):
    return (EXAMPLES / name).read_bytes()


def clock(row):
    return datetime.strptime(row.split(b",")[0].decode(), "%Y-%m-%dT%H:%M:%S.%fZ")


def with_clock(row, time):
    text = time.strftime("%Y-%m-%dT%H:%M:%S.") + f"{time.microsecond // 10000:02d}Z"
    return text.encode() + b"," + row.split(b",", 1)[1]


def rows_of(name, start=None):
    rows = example(f"{name}.csv").splitlines(keepends=True)[HEADER_LINES:]
    shift = start - clock(rows[0]) if start else timedelta(0)
    return [with_clock(row, clock(row) + shift) for row in rows]


def standing(row, seconds):
    """Rows after the given one, a second apart, of a pilot who stands there."""
    fields = row.rstrip(b"\n").split(b",")
    fields[4:7] = [b"0.00"] * 3
    return [with_clock(b",".join(fields) + b"\n", clock(row) + timedelta(seconds=i)) for i in range(1, seconds + 1)]


def climb(row, target, seconds):
    """Rows a second apart from the position of one row to that of the other, in an aircraft that climbs evenly."""
    start, end = ([float(field) for field in place.split(b",")[1:4]] for place in (row, target))
    steps = [(b - a) / seconds for a, b in zip(start, end)]
    fields = row.rstrip(b"\n").split(b",")
    fields[4:7] = [f"{speed:.2f}".encode() for speed in (steps[0] * 111195.0, steps[1] * 73700.0, -steps[2])]
    rows = []
    for i in range(1, seconds + 1):
        fields[1:4] = [f"{a + i * step:.7f}".encode() for a, step in zip(start, steps)]
        rows.append(with_clock(b",".join(fields) + b"\n", clock(row) + timedelta(seconds=i)))
    return rows


def container(samples):
    """A .tvl file of these samples of 70 bytes each."""
    return (struct.pack(">4sHQHHQ", b"uTVL", 26, 26, 16, 1, 0) + struct.pack(">IQI", 1, 42, 8 + len(samples)) +
            struct.pack(">HHI", 8, 70, len(samples) // 70) + samples)


class SplitTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.place = Path(folder.name)
        self.header = b"".join(example("straight.csv").splitlines(keepends=True)[:HEADER_LINES])

    def split(self, *arguments, **settings):
        return subprocess.run([SPLIT, *arguments], cwd=self.place, capture_output=True, text=True, check=False, **settings)

    def parts_of(self, track, extension=".csv"):
        """The bytes of all parts of the track, in order."""
        (self.place / f"day{extension}").write_bytes(track)
        done = self.split("-w", f"day{extension}")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        parts = []
        while (path := self.place / f"day-{len(parts) + 1}{extension}").exists():
            parts.append(path.read_bytes())
            path.unlink()
        return parts

    @staticmethod
    @functools.cache
    def reports_of(track, extension=".csv"):
        """The reports over the examples' course, and without a course. Several tests have equal parts."""
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / f"run{extension}").write_bytes(track)
            (Path(folder) / "matrix.txt").write_bytes(example("matrix.txt"))
            return [subprocess.run([TARVEL, *options, f"run{extension}"], cwd=folder, capture_output=True, text=True,
                                   check=False).stdout for options in ((), ("-i",))]

    def test_a_track_of_one_jump_is_its_own_part(self):
        for name in (*JUMPS, "implicit", "tagged"):
            with self.subTest(name):
                self.assertEqual(self.parts_of(example(f"{name}.csv")), [example(f"{name}.csv")])

    def test_an_interrupted_call_leaves_no_incomplete_part(self):
        lines = example("tagged.csv").splitlines(keepends=True)
        day = b"".join(lines[:1000]) + b"$IMU,100.113,0.32936,0.31285,1.18257\n" * 1_000_000 + b"".join(lines[1000:])
        (self.place / "day.csv").write_bytes(day)
        part = self.place / "day-1.csv"
        for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM):
            with self.subTest(number), subprocess.Popen([SPLIT, "-w", "day.csv"], cwd=self.place, stdout=subprocess.DEVNULL) as call:
                while not part.exists() or part.stat().st_size == 0:
                    self.assertIsNone(call.poll())
                call.send_signal(number)
                call.wait()
                self.assertEqual(part.stat().st_size, len(day))
                part.unlink()

    def test_jumps_in_every_order_switched_off_between_them(self):
        for order in itertools.permutations(JUMPS):
            rows = [row for name in order for row in rows_of(name)]
            expected = [self.header + b"".join(rows_of(name)) for name in order]
            with self.subTest(order):
                self.assertEqual(self.parts_of(self.header + b"".join(rows)), expected)

    def joined(self, order, with_climb):
        """A track of these jumps with the logger on between them: the pilot stands at the stop, and perhaps flies up
        again."""
        rows = rows_of(order[0])
        for name in order[1:]:
            rows += standing(rows[-1], 1200)
            if with_climb:
                rows += climb(rows[-1], rows_of(name)[0], 900)
            rows += rows_of(name, clock(rows[-1]) + timedelta(seconds=1))
        return self.header + b"".join(rows)

    def test_jumps_in_every_order_with_the_logger_on_between_them(self):
        alone = {name: self.reports_of(example(f"{name}.csv")) for name in JUMPS}
        for reports in alone.values():
            self.assertIn("touchdown estimate", reports[0])
        for order, with_climb in itertools.product(itertools.permutations(JUMPS), (False, True)):
            with self.subTest(order=order, with_climb=with_climb):
                parts = self.parts_of(self.joined(order, with_climb))
                self.assertEqual([self.reports_of(part) for part in parts], [alone[name] for name in order])

    def test_nothing_is_lost_between_the_parts_and_the_ground(self):
        first = rows_of("straight")
        ground = standing(first[-1], 1200)
        second = rows_of("carve", clock(ground[-1]) + timedelta(seconds=1))
        parts = self.parts_of(self.header + b"".join(first + ground + second))
        self.assertTrue(parts[0].startswith(self.header + b"".join(first)[:-1]))
        self.assertEqual(parts[1], self.header + b"".join(second))

    def test_tagged_lines_keep_their_names_and_what_is_between_the_samples(self):
        track = example("tagged.csv")
        later = b"".join(line for line in track.splitlines(keepends=True) if not line.startswith(b"$COL"))
        later = later.replace(b"2026-05-17T09", b"2026-05-17T14")
        first, second = self.parts_of(track + later)
        self.assertTrue(first.startswith(track))
        self.assertIn(b"$COL,GNSS,", second)
        self.assertEqual([self.reports_of(part) for part in (first, second)],
                         [self.reports_of(track), self.reports_of(track.replace(b"2026-05-17T09", b"2026-05-17T14"))])
        # This pilot walks back to the touchdown. The analysis finds it there only when the track ends there.
        figures = re.findall(r"distance to stop: +(\d+) ft\ntouchdown estimate: +(\d+) ft", self.reports_of(first)[0])
        self.assertNotEqual(*figures[0])

    def test_a_container_gives_containers(self):
        header = len(container(b""))
        samples = {}
        for name in JUMPS:
            (self.place / "run.csv").write_bytes(example(f"{name}.csv"))
            subprocess.run([TARVEL, "-d", "-i", "run.csv"], cwd=self.place, capture_output=True, check=True)
            samples[name] = (self.place / "run.tvl").read_bytes()[header:]
        for order in itertools.permutations(JUMPS):
            with self.subTest(order):
                parts = self.parts_of(container(b"".join(samples[name] for name in order)), ".tvl")
                self.assertEqual(parts, [container(samples[name]) for name in order])

    def test_line_ends_and_bytes_stay(self):
        for ending in (b"\r\n", b"\r"):
            one, two = (example(f"{name}.csv").replace(b"\n", ending) for name in ("straight", "reversed"))
            rows = ending.join(two.split(ending)[HEADER_LINES:])
            with self.subTest(ending):
                # The last row of a track may lack its end.
                self.assertEqual(self.parts_of(one + rows[:-len(ending)]), [one, two[:-len(ending)]])

    def test_a_walk_has_no_part(self):
        self.assertEqual(self.parts_of(example("walk.csv")), [])
        self.assertRegex(self.split("day.csv").stdout, r"\A.*\n  -  2026-05-16 08:12:20 +- +0:05:47  walk\n\Z")

    def test_the_list(self):
        rows = [row for name in JUMPS for row in rows_of(name)]
        (self.place / "day.csv").write_bytes(self.header + b"".join(rows))
        done = self.split("day.csv")
        self.assertEqual(done.stdout,
                         "no.  time                     exit   duration  kind\n"
                         "  1  2026-05-16 11:42:08   4854 ft    0:03:50  run\n"
                         "  2  2026-05-16 13:05:31   4953 ft    0:04:04  run\n"
                         "  3  2026-05-16 15:21:50   4907 ft    0:03:35  run\n")
        self.assertEqual(list(self.place.iterdir()), [self.place / "day.csv"])
        self.assertIn("  1  2026-05-16 11:42:08    1480 m    0:03:50  run\n", self.split("--metric", "day.csv").stdout)

    def test_nothing_is_overwritten_and_nothing_left_behind(self):
        rows = standing(rows_of("straight")[-1], 1200)  # before the jumps, so that a part is not the first stretch
        for name in JUMPS:
            rows += rows_of(name, clock(rows[-1]) + timedelta(hours=1))
        (self.place / "day.csv").write_bytes(self.header + b"".join(rows))
        for taken in ("day-2.csv", "day-3.csv"):
            for make in (lambda path: path.write_text("mine"), lambda path: path.symlink_to("gone"), Path.mkdir):
                make(self.place / taken)
                done = self.split("-w", "day.csv")
                self.assertEqual((done.returncode, done.stdout, done.stderr),
                                 (1, "", f"tarvel-split: file exists: {taken}\n"))
                self.assertEqual({path.name for path in self.place.iterdir()}, {"day.csv", taken})
                (self.place / taken).rmdir() if make is Path.mkdir else (self.place / taken).unlink()

    def test_names_of_parts(self):
        (self.place / "a.b").mkdir()
        for track, part in (("day.csv", "day-1.csv"), ("a.b/day", "a.b/day-1"), (".csv", ".csv-1"),
                            ("./x.y.TVL", "x.y-1.TVL")):
            (self.place / track).write_bytes(example("carve.csv"))
            self.assertEqual(self.split("--write", "--", track).returncode, 0)
            self.assertEqual((self.place / part).read_bytes(), example("carve.csv"))

    def test_a_disk_that_is_full_is_told(self):
        (self.place / "day.csv").write_bytes(example("carve.csv"))
        # Blocks of 1 KiB.
        done = subprocess.run(["bash", "-c", f'ulimit -f 100; "{SPLIT}" -w day.csv'], cwd=self.place, capture_output=True,
                              text=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (1, "tarvel-split: failed to write file: day-1.csv\n"))
        self.assertFalse((self.place / "day-1.csv").exists())
        with open("/dev/full", "w", encoding="ascii") as full:
            done = subprocess.run([SPLIT, "day.csv"], cwd=self.place, stdout=full, stderr=subprocess.PIPE, check=False)
        self.assertEqual((done.returncode, done.stderr), (1, b"tarvel-split: failed to write file: standard output\n"))

    def test_failures_are_told_on_standard_error(self):
        (self.place / "no.csv").write_text("no track\n")
        os.mkfifo(self.place / "pipe")
        hint = "Try 'tarvel-split --help' for more information.\n"
        for arguments, words in (([], "tarvel-split: no track given\n" + hint),
                                 (["a", "b"], "tarvel-split: more than one track given\n" + hint),
                                 (["gone.csv"], "tarvel-split: failed to open file: gone.csv\n"),
                                 (["."], "tarvel-split: missing field names\n"),
                                 (["pipe"], "tarvel-split: failed to open file: pipe\n"),
                                 (["no.csv"], "WARNING: unknown field (no track)\ntarvel-split: invalid field names\n")):
            with self.subTest(arguments):
                done = self.split(*arguments)
                self.assertEqual((done.returncode, done.stdout, done.stderr), (1, "", words))
        (self.place / "day.csv").write_bytes(example("carve.csv"))
        with open(self.place / "day.csv", "ab") as itself:
            done = subprocess.run([SPLIT, "day.csv"], cwd=self.place, stdout=itself, stderr=subprocess.PIPE, check=False)
        self.assertEqual((done.returncode, done.stderr), (1, b"tarvel-split: failed to open file: day.csv\n"))
        self.assertEqual((self.place / "day.csv").read_bytes(), example("carve.csv"))
        done = self.split("--wrong")
        self.assertEqual(done.returncode, 1)
        self.assertTrue(done.stderr.endswith(hint))

    def test_help_and_version(self):
        for option in ("-h", "--help"):
            done = self.split(option)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertTrue(done.stdout.startswith("Usage: tarvel-split [-mw] track\n"))
        version = subprocess.run([TARVEL, "-v"], capture_output=True, text=True, check=True).stdout
        for option in ("-V", "--version"):
            self.assertEqual(self.split(option).stdout, version.replace("Tarvel", "tarvel-split"))


if __name__ == "__main__":
    unittest.main()
