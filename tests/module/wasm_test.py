"""wasm_test.py NODE RUNNER MODULE: for every example, golden run and seed of the fuzzers the module in WebAssembly has
the same outputs as the programs on this machine.
"""

import base64
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import unittest

from same_outputs import SameOutputs

source = pathlib.Path(os.environ["TARVEL_SOURCE_DIR"])
programs = pathlib.Path(os.environ["TARVEL_PROGRAMS"])
course_file = source / "examples/matrix.txt"
runner = []


def decoded(text):
    return None if text is None else base64.b64decode(text)


def shown(printed):
    """The text as a page shows it, with U+FFFD for bytes that are not UTF-8."""
    return printed.decode(errors="replace")


def tracks():
    folders = ["examples", "tests/golden/driver", "tests/golden/gate", *("tests/fuzz/seeds/" + name for name in (
        "container", "document", "header_lines", "split", "survey", "swoop_analysis", "tagged_lines", "time_field"))]
    files = [file for folder in folders for file in sorted((source / folder).iterdir())]
    return [file for file in files if file.suffix not in (".txt", ".kml", ".progress", ".md")]


def disturbed(lines, chance):
    """A header-line track whose positions are off by metres and speeds by parts of m/s, and which lacks some rows."""
    columns = lines[0].split(",")
    noise = {"lat": (1e-5, 7), "lon": (1e-5, 7), "hMSL": (1.0, 3), "velN": (0.3, 2), "velE": (0.3, 2), "velD": (0.3, 2)}
    size = chance.random()
    made = lines[:2]
    for line in lines[2:]:
        if chance.random() < 0.002 * size:
            continue
        row = dict(zip(columns, line.split(",")))
        for name, (deviation, decimals) in noise.items():
            row[name] = f"{float(row[name]) + chance.gauss(0, deviation * size):.{decimals}f}"
        made.append(",".join(row.values()))
    return "\n".join(made) + "\n"


class ModuleTest(SameOutputs, unittest.TestCase):
    maxDiff = 2000

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def answers(self, jobs):
        (self.folder / "jobs.json").write_text(json.dumps(jobs))
        done = subprocess.run([*runner, self.folder / "jobs.json"], capture_output=True, text=True, check=True)
        return [json.loads(line) for line in done.stdout.splitlines()]

    def workplace(self, track, name, course):
        folder = self.folder / "native"
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        shutil.copy(track, folder / name)
        if course is not None:
            shutil.copy(course, folder / "matrix.txt")
        return folder

    def native(self, folder, program, *arguments):
        return subprocess.run([programs / program, *arguments], cwd=folder, capture_output=True, stdin=subprocess.DEVNULL)

    def made(self, file):
        return file.read_bytes() if file.exists() else None

    def expect_analysis(self, job, answer):
        name, course = job["name"], job["course"] and course_file
        folder = self.workplace(job["file"], name, course)
        options = ["-m"] * job["metric"] + ["-i"] * (course is None)
        options += ["-t", str(job["aloft"] / 1000)] if job["aloft"] else []

        done = self.native(folder, "tarvel", *options, name)
        report = self.made(folder / "run.txt")
        printed = "" if report is None else "\n" + report.decode()
        if answer["message"] is not None:
            printed = f"ERROR: {answer['message']}\n"
        self.assertEqual(shown(done.stdout), answer["warnings"] + printed)
        self.assertEqual(decoded(answer["report"]), report)
        self.assertEqual(decoded(answer["map"]), self.made(folder / "run.kml"))

        done = self.native(folder, "tarvel-json", *["--check"] * (answer["check"] is not None), *options, name)
        self.expect_same_documents(done.stdout, decoded(answer["document"]))

        if not job.get("check", True):
            return
        done = self.native(folder, "tarvel-check", *options, name)
        if answer["message"] is None:
            self.assertEqual(done.stdout, decoded(answer["check"]))
            self.assertEqual({0: "good", 2: "doubtful", 3: "unusable"}[done.returncode], answer["verdict"])
        else:
            self.assertIsNone(answer["check"])

    def test_runs(self):
        jobs = []
        for track in tracks():
            for course, metric, aloft in (("matrix.txt", False, 0), (None, True, 5000)):
                jobs.append({"work": "analyse", "name": "run" + (track.suffix or ".csv"), "file": str(track),
                             "course": course, "courses": {"matrix.txt": str(course_file)}, "metric": metric,
                             "aloft": aloft})
        answers = self.answers(jobs)
        self.assertEqual(len(answers), len(jobs))
        self.assertGreater(sum(answer["message"] is None for answer in answers), 10)
        for job, answer in zip(jobs, answers):
            with self.subTest(track=job["file"], course=job["course"]):
                self.expect_analysis(job, answer)

    def test_a_million_rows(self):
        head, units, *rows = (source / "examples/straight.csv").read_bytes().splitlines(keepends=True)
        track = self.folder / "long.csv"
        track.write_bytes(head + units + rows[0] * (1_000_000 - len(rows)) + b"".join(rows))
        job = {"work": "analyse", "name": "run.csv", "file": str(track), "course": "matrix.txt",
               "courses": {"matrix.txt": str(course_file)}, "metric": False, "aloft": 0}
        self.expect_analysis(job, self.answers([job])[0])

    def test_disturbed_runs(self):
        """Examples with random noise: TARVEL_DISTURBED_RUNS of them."""
        runs = [(source / "examples" / name).read_text().splitlines() for name in (
            "carve.csv", "reversed.csv", "straight.csv", "implicit.csv")]
        jobs = []
        for number in range(int(os.environ.get("TARVEL_DISTURBED_RUNS", "20"))):
            track = self.folder / f"{number}.csv"
            track.write_text(disturbed(runs[number % len(runs)], random.Random(number)))
            jobs.append({"work": "analyse", "name": "run.csv", "file": str(track), "metric": number % 2 == 0, "aloft": 0,
                         "course": None if number % 4 == 3 else "matrix.txt", "check": False,
                         "courses": {"matrix.txt": str(course_file)}})
        answers = self.answers(jobs)
        self.assertGreater(sum(answer["message"] is None for answer in answers), len(jobs) / 2)
        for job, answer in zip(jobs, answers, strict=True):
            with self.subTest(track=job["file"]):
                self.expect_analysis(job, answer)

    def test_surveys(self):
        jobs = [{"work": "survey", "name": "walk" + (track.suffix or ".csv"), "file": str(track), "pond": True}
                for track in tracks()]
        for job, answer in zip(jobs, self.answers(jobs), strict=True):
            with self.subTest(track=job["file"]):
                folder = self.workplace(job["file"], job["name"], None)
                done = self.native(folder, "tarvel", "-p", "-g", job["name"])
                printed = (decoded(answer["log"]) or b"").decode()
                if answer["message"] is not None:  # without the lines of a survey that failed
                    printed = f"ERROR: {answer['message']}\n"
                self.assertEqual(shown(done.stdout), answer["warnings"] + printed)
                course = self.made(folder / "matrix.txt")
                self.assertEqual(course is None, answer["course"] is None)
                if course is not None:
                    self.expect_same(course, decoded(answer["course"]))
                self.assertEqual(self.made(folder / "walk.kml"), decoded(answer["map"]))

    def test_splits(self):
        jobs = [{"work": "split", "name": "day" + (track.suffix or ".csv"), "file": str(track), "metric": metric}
                for track in tracks() for metric in (False, True)]
        for job, answer in zip(jobs, self.answers(jobs), strict=True):
            with self.subTest(track=job["file"]):
                folder = self.workplace(job["file"], job["name"], None)
                done = self.native(folder, "tarvel-split", "-w", *["-m"] * job["metric"], job["name"])
                if answer["message"] is not None:
                    self.assertEqual(shown(done.stderr), answer["warnings"] + f"tarvel-split: {answer['message']}\n")
                    continue
                self.assertEqual(done.stdout, decoded(answer["listing"]))
                parts = {file.name: file.read_bytes() for file in folder.iterdir() if file.name != job["name"]}
                self.assertEqual(parts, {name: decoded(content) for name, content in answer["parts"]})


if __name__ == "__main__":
    runner = sys.argv[1:4]
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]], verbosity=2)
