#!/usr/bin/env python3
"""tests/json/documents_test.py: the documents of tarvel-json are valid against the schema, which names every member of
them; their figures are those of tarvel's report; names, inputs and tracks of any kind give a complete document.

Needs jsonschema (Debian: python3-jsonschema).
"""
import copy
import hashlib
import json
import os
import re
import resource
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import jsonschema

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
TARVEL = os.environ.get("TARVEL_PROGRAM", str(PROJECT / "build/release/tarvel"))
TARVEL_JSON = os.environ.get("TARVEL_JSON_PROGRAM", str(PROJECT / "build/release/tarvel-json"))
TARVEL_CHECK = os.environ.get("TARVEL_CHECK_PROGRAM", str(PROJECT / "build/release/tarvel-check"))
REPLAY = os.environ.get("TARVEL_DOCUMENT_REPLAY", str(PROJECT / "build/dev/document_replay"))
EXAMPLES = PROJECT / "examples"
SCHEMA = json.loads((PROJECT / "docs/schema/run-1.json").read_text())
HEADER_LINES = 2


def without_room(schema):
    """The schema, changed so that members that it does not name are errors."""
    if isinstance(schema, list):
        return [without_room(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    closed = {key: without_room(part) for key, part in schema.items()}
    if isinstance(closed.get("properties"), dict) and "allOf" not in closed:
        closed["unevaluatedProperties" if "$ref" in closed else "additionalProperties"] = False
    return closed


CLOSED = without_room(copy.deepcopy(SCHEMA))
# The rotation is a figure with one more member.
CLOSED["$defs"]["figure"].pop("additionalProperties", None)


def check_items(validator, items, instance, schema):
    """The rule for the items of a list. Nearly all lists hold numbers or null, whose types are compared here: the
    library would take most of this test's time for them."""
    names = {int: "integer", float: "number", type(None): "null"}
    if isinstance(instance, list) and isinstance(items, dict) and items.keys() == {"type"}:
        accepted = items["type"] if isinstance(items["type"], list) else [items["type"]]
        if {names.get(each) for each in set(map(type, instance))} <= set(accepted):
            return ()
    return jsonschema.Draft202012Validator.VALIDATORS["items"](validator, items, instance, schema)


VALIDATOR = jsonschema.validators.extend(jsonschema.Draft202012Validator, {"items": check_items})(CLOSED)


def printed_figures(report):
    """All that follows a colon and is a number, hyphens or a direction, in the order of the report."""
    return [text for line in report.splitlines()
            for text in re.findall(r"(?<![\w.])(-?(?:\d[\d.]*|nan|inf)|-{4,5}|right|left)(?![\w.])", line.partition(":")[2])]


def no_constant(word):
    raise ValueError(f"{word} is not JSON")


class DocumentTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.place = Path(folder.name)
        for example in EXAMPLES.glob("*.*"):
            shutil.copy(example, self.place)

    def call(self, *arguments, **settings):
        return subprocess.run([TARVEL_JSON, *arguments], cwd=self.place, capture_output=True, check=False, **settings)

    def document_of(self, *arguments, status=0, **settings):
        done = self.call(*arguments, **settings)
        self.assertEqual(done.returncode, status, done.stderr)
        document = json.loads(done.stdout.decode("utf-8"), parse_constant=no_constant)
        VALIDATOR.validate(document)
        self.assertEqual(document["failure"] is None, status == 0)
        if status == 0:
            self.assertEqual(done.stderr, b"")
        else:
            message = document["failure"]["message"]
            self.assertTrue(done.stderr.decode("utf-8", "replace").endswith(f"{message}\n"), done.stderr)
        return document

    # -----------------------------------------------------------------------------------------------------------------

    def test_the_schema(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)
        document = self.document_of("carve.csv")
        for damage in ({"format": {"name": "tarvel-run", "version": 2}}, {"figures": {}}, {"surprise": 1},
                       {"phases": {**document["phases"], "stop": {"index": -1}}}):
            with self.subTest(damage=damage), self.assertRaises(jsonschema.ValidationError):
                VALIDATOR.validate({**document, **damage})

    def test_the_figures_are_those_of_the_report(self):
        for name, options in (("straight", []), ("carve", ["-m"]), ("reversed", []), ("implicit", ["-i"]),
                              ("tagged", ["-t", "5", "-m"]), ("tagged", ["-i"])):
            with self.subTest(name=name, options=options):
                subprocess.run([TARVEL, *options, f"{name}.csv"], cwd=self.place, capture_output=True, check=True)
                report = (self.place / f"{name}.txt").read_text()
                figures = self.document_of(*options, f"{name}.csv")["figures"]
                shown = []
                for key, figure in figures.items():
                    shown.append(figure["text"])
                    if key == "rotation":
                        shown.append(figure["direction"].removesuffix("-hand"))
                self.assertEqual(shown, printed_figures(report))
                self.check_values(figures)

    def check_values(self, figures):
        """Each value, converted and rounded, equals its text."""
        factors = {"ft": 3.2808399, "mph": 2.23693629, "km/h": 3.6, "m": 1.0, "sec": 1.0, "deg": 1.0}
        for name, figure in figures.items():
            if figure["value"] is not None:
                decimals = len(figure["text"].partition(".")[2])
                shown = figure["value"] * factors[figure["text_unit"]]
                self.assertEqual(float(f"{shown:.{decimals}f}"), float(figure["text"]), name)

    def test_the_check_is_that_of_tarvel_check(self):
        for name, options in (("straight", []), ("carve", ["-m", "--seed", "3"]), ("reversed", ["-t", "5"]),
                              ("implicit", ["-i", "-m"])):
            options = [*options, "--draws", "60"]
            with self.subTest(name=name, options=options):
                document = self.document_of("--check", *options, f"{name}.csv")
                check, figures = document["check"], document["figures"]
                report = subprocess.run([TARVEL_CHECK, *options, f"{name}.csv"], cwd=self.place, capture_output=True,
                                        text=True, check=False).stdout
                self.assertIn(f"verdict: {check['verdict']}\n", report)
                for reason in check["reasons"]:
                    self.assertIn(f"{reason['severity']}: {reason['code']}: {reason['text']}\n", report)
                self.assertEqual(len(re.findall(r"^(?:note|doubtful|unusable): ", report, re.MULTILINE)),
                                 len(check["reasons"]))
                self.assertEqual(list(check["intervals"]), list(figures))
                self.assertEqual(check["draws"], 60)
                for figure, interval in check["intervals"].items():
                    self.check_interval(figures[figure], interval, report)

    def check_interval(self, figure, interval, report):
        """The interval contains its value, is rounded outward, and is printed in the report."""
        self.assertIsNone(interval["bounds"])
        if interval["why"]:
            self.assertEqual((interval["low"], interval["high_text"]), (None, None))
            self.assertEqual(interval["why"] == "not-found", figure["value"] is None)
            return
        factor = {"ft": 3.2808399, "mph": 2.23693629, "km/h": 3.6}.get(figure["text_unit"], 1.0)
        self.assertLessEqual(interval["low"], figure["value"])
        self.assertGreaterEqual(interval["high"], figure["value"])
        step = 10.0 ** -len(figure["text"].partition(".")[2])
        for end, sign in (("low", -1), ("high", 1)):
            outward = sign * (float(interval[f"{end}_text"]) - interval[end] * factor)
            self.assertGreater(outward, -1e-9)
            self.assertLess(outward, step + 1e-9)
        self.assertRegex(report, rf" {figure['text_unit']} +{interval['low_text']} \.\. +{interval['high_text']}\b")

    def test_figures_that_cannot_be_trusted_say_why(self):
        rows = (self.place / "carve.csv").read_text().splitlines(keepends=True)
        turn, stop = (self.document_of("carve.csv")["phases"][name]["index"] + HEADER_LINES for name in ("turn", "stop"))
        middle = (turn + stop) // 2
        (self.place / "gap.csv").write_text("".join(rows[:middle - 10] + rows[middle + 10:]))
        check = self.document_of("--check", "gap.csv")["check"]
        self.assertNotEqual(check["verdict"], "good")
        self.assertEqual(check["intervals"]["turn_altitude"]["why"], "gap")
        self.assertIn("gap", [reason["code"] for reason in check["reasons"]])
        self.assertIsNone(self.document_of("--check", "walk.csv", status=1)["check"])
        self.assertIsNone(self.document_of("carve.csv")["check"])

    def test_a_gate_crossed_in_a_gap_has_bounds(self):
        rows = (self.place / "carve.csv").read_text().splitlines(keepends=True)
        gate = self.document_of("carve.csv")["phases"]["entry_gate"]["index"] + HEADER_LINES
        (self.place / "gap.csv").write_text("".join(rows[:gate - 6] + rows[gate + 8:]))
        check = self.document_of("--check", "--draws", "60", "gap.csv")["check"]
        self.assertEqual(check["verdict"], "unusable")
        report = subprocess.run([TARVEL_CHECK, "--draws", "60", "gap.csv"], cwd=self.place, capture_output=True, text=True,
                                check=False).stdout
        intervals = check["intervals"]
        for name, label in (("entry_gate_speed", "entry gate speed"), ("carve_time", "speed carve time")):
            interval = intervals[name]
            self.assertEqual((interval["low"], interval["why"]), (None, "gap"), name)
            bounds = interval["bounds"]
            self.assertLess(bounds["low"], bounds["high"])
            self.assertRegex(report, rf"{label}: +---- \S+ +{bounds['low_text']} \.\. +{bounds['high_text']} +bounds: ")
        self.assertEqual([name for name, each in intervals.items() if each["bounds"]],
                         ["entry_gate_speed", "carve_time"])

    def test_an_exit_gate_crossed_in_a_gap_has_bounds(self):
        rows = (self.place / "carve.csv").read_text().splitlines(keepends=True)
        whole = self.document_of("carve.csv")
        gate = whole["phases"]["exit_gate"]["index"] + HEADER_LINES
        (self.place / "gap.csv").write_text("".join(rows[:gate - 4] + rows[gate + 6:]))
        check = self.document_of("--check", "--draws", "60", "gap.csv")["check"]
        self.assertEqual(check["verdict"], "unusable")
        bounds = {name: each["bounds"] for name, each in check["intervals"].items() if each["bounds"]}
        self.assertEqual(list(bounds), ["carve_time", "exit_gate_speed"])
        for name, each in bounds.items():
            self.assertLess(each["low"], whole["figures"][name]["value"])
            self.assertGreater(each["high"], whole["figures"][name]["value"])
        # The entry gate is known: all 1.1 s are those of the exit gate, where one g may change the speed.
        self.assertAlmostEqual(bounds["carve_time"]["high"] - bounds["carve_time"]["low"], 1.1, places=6)
        self.assertAlmostEqual(bounds["exit_gate_speed"]["high"] - bounds["exit_gate_speed"]["low"], 9.80665 * 1.1,
                               places=6)

    def test_the_phases_lie_on_the_track(self):
        document = self.document_of("carve.csv")
        samples, phases = document["samples"], document["phases"]
        for name in ("turn", "max_vertical_speed", "rollout_start", "max_total_speed", "max_horizontal_speed", "stop"):
            phase = phases[name]
            at = phase["index"] - samples["first"]
            self.assertEqual(phase["time"], samples["time"][at], name)
            for axis in "xyz":
                self.assertAlmostEqual(phase[axis], samples[axis][at] / 1000, delta=0.0005001)
        self.assertEqual(document["figures"]["entry_gate_speed"]["value"], phases["entry_gate"]["horizontal_speed"])
        self.assertEqual(document["figures"]["stop_distance"]["value"], phases["stop"]["x"])
        self.assertEqual(document["figures"]["touchdown_distance"]["value"], phases["touchdown"]["x"])

    def test_the_digests(self):
        document = self.document_of("carve.csv")
        for part, name in (("track", "carve.csv"), ("course", "matrix.txt")):
            digest = hashlib.sha256((self.place / name).read_bytes()).hexdigest()
            self.assertEqual(document[part]["sha256"], digest)
        subprocess.run([TARVEL, "-d", "carve.csv"], cwd=self.place, capture_output=True, check=True)
        container = self.place / "carve.tvl"
        container.write_bytes(container.read_bytes() + bytes(100_000))
        for name, status in (("tagged.csv", 0), ("carve.tvl", 0), ("README.md", 1), ("walk.csv", 1)):
            digest = hashlib.sha256((self.place / name).read_bytes()).hexdigest()
            self.assertEqual(self.document_of(name, status=status)["track"]["sha256"], digest, name)

    def test_the_course_that_an_index_leads_to(self):
        (self.place / "matrix.txt").rename(self.place / "south.txt")
        (self.place / "matrix.txt").write_text("11 - north.txt\n* - south.txt\n")
        course = self.document_of("carve.csv")["course"]
        self.assertEqual(course["file"], "south.txt")
        self.assertEqual(course["sha256"], hashlib.sha256((self.place / "south.txt").read_bytes()).hexdigest())
        (self.place / "matrix.txt").write_text("* - nogate\n")
        course = self.document_of("implicit.csv")["course"]
        self.assertEqual((course["file"], course["gate"], course["theta"]), ("matrix.txt", "implicit", None))

    def test_the_forms(self):
        subprocess.run([TARVEL, "-d", "carve.csv"], cwd=self.place, capture_output=True, check=True)
        for name, form in (("carve.csv", "header-lines"), ("tagged.csv", "tagged-lines"), ("carve.tvl", "container")):
            self.assertEqual(self.document_of(name)["track"]["form"], form)

    def test_what_the_manual_quotes(self):
        chapter = (PROJECT / "docs/manual/json.md").read_text()
        speed = self.document_of("carve.csv")["figures"]["entry_gate_speed"]
        self.assertIn(f"    {speed['value']} {speed['text']} {speed['text_unit']}\n", chapter)
        failure = next(line for line in self.call("walk.csv").stdout.decode().splitlines() if '"failure"' in line)
        self.assertIn(f"    {failure}\n", chapter)
        for member in SCHEMA["properties"]:
            self.assertIn(f"| `{member}` |", chapter)

    # -----------------------------------------------------------------------------------------------------------------

    def test_standard_input(self):
        expected = self.document_of("carve.csv")
        read = self.document_of("-", input=(self.place / "carve.csv").read_bytes())
        self.assertEqual(read["track"].pop("name"), "-")
        expected["track"].pop("name")
        self.assertEqual(read, expected)
        self.assertEqual(self.document_of("-", input=b"", status=1)["failure"]["code"], "not-a-track")

    def test_a_pipe_in_a_files_place(self):
        command = f'"{TARVEL_JSON}" <(gzip -c carve.csv | gunzip)'
        done = subprocess.run(["bash", "-c", command], cwd=self.place, capture_output=True, check=True)
        self.assertEqual(json.loads(done.stdout)["track"]["count"], self.document_of("carve.csv")["track"]["count"])

    def test_the_same_bytes_each_time(self):
        first = self.call("carve.csv").stdout
        for zone in ("UTC", "EST5EDT,M3.2.0,M11.1.0", "Asia/Kathmandu"):
            self.assertEqual(self.call("carve.csv", env={**os.environ, "TZ": zone, "LC_ALL": "de_DE.UTF-8"}).stdout,
                             first)

    def test_names_of_any_bytes(self):
        track = (self.place / "carve.csv").read_bytes()
        for name in (b"\xff\xfe.csv", b"</script><img src=x onerror=alert(1).csv", b'a"b\\c\n\x01\x7f.csv',
                     "Übung 🪂.csv".encode(), b"cut \xe2\x82.csv"):
            (self.place / os.fsdecode(name.replace(b"/", b"_"))).write_bytes(track)
            with self.subTest(name=name):
                given = name.replace(b"/", b"_")
                self.assertEqual(self.document_of(given)["track"]["name"], given.decode("utf-8", "replace"))
                self.document_of(b"no such " + given, status=1)

    def test_failures(self):
        (self.place / "folder").mkdir()
        (self.place / "bad.txt").write_text("[1, 2]\n")
        rows = (self.place / "carve.csv").read_text().splitlines(keepends=True)
        (self.place / "cut.csv").write_text("".join(rows[:1990]))
        (self.place / "unknown.csv").write_text("time,colour\n\n")
        cases = (("none.csv", "track", "cannot-open-file"), ("folder", "track", "cannot-read-file"),
                 ("README.md", "track", "not-a-track"), ("walk.csv", "analysis", "no-pattern-entry"),
                 ("cut.csv", "analysis", "no-swoop"))
        for name, stage, code in cases:
            with self.subTest(name=name):
                failure = self.document_of(name, status=1)["failure"]
                self.assertEqual((failure["stage"], failure["code"]), (stage, code))
        self.assertEqual(self.document_of("unknown.csv", status=1)["warnings"], ["unknown field (colour)"])

        for course, code in (("[1, 2]\n", "bad-course-file"), ("* - nowhere.txt\n", "cannot-open-file")):
            (self.place / "matrix.txt").write_text(course)
            failure = self.document_of("carve.csv", status=1)["failure"]
            self.assertEqual((failure["stage"], failure["code"]), ("course", code))

    def test_every_cut_of_a_track(self):
        track = (self.place / "carve.csv").read_bytes()
        for size in range(0, len(track), len(track) // 30):
            done = self.call("-", input=track[:size])
            self.assertIn(done.returncode, (0, 1))
            VALIDATOR.validate(json.loads(done.stdout))

    def test_numbers_of_any_kind(self):
        rows = (self.place / "carve.csv").read_text().splitlines(keepends=True)
        for word in ("nan", "inf", "-1e308", ""):
            for column in range(1, 11, 2):
                damaged = [",".join([*fields[:column], word, *fields[column + 1:]]) if number % 7 == 3 else row
                           for number, row in enumerate(rows[HEADER_LINES:]) for fields in [row.split(",")]]
                done = self.call("-", input="".join(rows[:HEADER_LINES] + damaged).encode())
                self.assertIn(done.returncode, (0, 1))
                VALIDATOR.validate(json.loads(done.stdout, parse_constant=no_constant))
                done = self.call("--check", "--draws=40", "-", input="".join(rows[:HEADER_LINES] + damaged).encode())
                VALIDATOR.validate(json.loads(done.stdout, parse_constant=no_constant))

    def test_what_the_fuzz_target_makes(self):
        kept = self.place / "documents"
        kept.mkdir()
        inputs = PROJECT / "tests/fuzz/seeds/document"
        subprocess.run([REPLAY, inputs], env={**os.environ, "TARVEL_DOCUMENTS": str(kept)}, capture_output=True,
                       check=True)
        documents = list(kept.iterdir())
        self.assertEqual(len(documents), len(list(inputs.iterdir())))
        for document in documents:
            VALIDATOR.validate(json.loads(document.read_bytes(), parse_constant=no_constant))

    # -----------------------------------------------------------------------------------------------------------------

    def test_a_track_of_a_day_makes_a_document_as_of_a_jump(self):
        rows = (self.place / "carve.csv").read_text().splitlines(keepends=True)
        ground = [f"2026-05-16T{h:02}:{m:02}:{s:02}.00Z," + rows[-1].partition(",")[2]
                  for h in range(14, 24) for m in range(60) for s in range(60)]
        (self.place / "day.csv").write_text("".join(rows + ground))
        done = self.call("day.csv")
        document = json.loads(done.stdout)
        VALIDATOR.validate(document)
        self.assertEqual(document["track"]["count"], len(rows) - HEADER_LINES + len(ground))
        self.assertLessEqual(len(document["overview"]["time"]), 4000)
        self.assertLess(len(done.stdout), 250_000)

    def test_a_track_for_which_there_is_no_memory(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (room, room))

        if os.environ.get("TARVEL_IS_SANITIZED"):
            self.skipTest("a sanitizer needs all addresses")
        statuses = set()
        for room in range(7 << 20, 40 << 20, 1 << 20):
            done = self.call("carve.csv", preexec_fn=limit)
            statuses.add(done.returncode)
            self.assertGreaterEqual(done.returncode, 0, (room, done.stderr))
            if done.stdout:
                VALIDATOR.validate(json.loads(done.stdout))
        self.assertIn(0, statuses)

    def test_a_command_line_that_is_wrong(self):
        for arguments in ([], ["a.csv", "b.csv"], ["-x", "carve.csv"], ["-t", "two", "carve.csv"], ["-t"],
                          ["--draws", "100", "carve.csv"], ["--seed=2", "carve.csv"],
                          ["--check", "--draws", "39", "carve.csv"],
                          ["--check", "--draws", "10001", "carve.csv"], ["--check", "--seed", "-1", "carve.csv"],
                          ["-t", "-1", "carve.csv"], ["-t", "nan", "carve.csv"], ["--aloft=1e99", "carve.csv"],
                          ["-t", "4294968", "carve.csv"], ["-t", " 5", "carve.csv"]):
            with self.subTest(arguments=arguments):
                done = self.call(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, b""))
                self.assertTrue(done.stderr.endswith(b"Try 'tarvel-json --help'.\n"))

    def test_the_options(self):
        document = self.document_of("--metric", "--aloft", "6.5", "straight.csv")
        self.assertEqual(document["program"]["options"],
                         {"implicit_gate": False, "metric": True, "time_aloft": 6500, "check": False, "draws": None,
                          "seed": None})
        document = self.document_of("--check", "--draws=40", "--seed=18446744073709551615", "-i", "implicit.csv")
        self.assertEqual(document["program"]["options"],
                         {"implicit_gate": True, "metric": False, "time_aloft": None, "check": True, "draws": 40,
                          "seed": None})
        printed = subprocess.run([TARVEL, "-v"], capture_output=True, text=True, check=True).stdout
        self.assertIn(f"version {document['program']['version']} ", printed)
        self.assertIn(f"version {document['program']['version']} ", self.call("--version").stdout.decode())

    def test_an_output_that_is_full(self):
        for argument in ("carve.csv", "--help", "--version"):
            with open("/dev/full", "wb") as full:
                done = subprocess.run([TARVEL_JSON, argument], cwd=self.place, stdout=full, stderr=subprocess.PIPE,
                                      check=False)
            self.assertEqual((done.returncode, done.stderr), (1, b"tarvel-json: failed to write file: standard output\n"))


if __name__ == "__main__":
    unittest.main()
