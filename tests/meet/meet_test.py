#!/usr/bin/env python3
# Runs tarvel-meet over simulated meets: meet_test.py [CLASS[.TEST]...]
#
# TARVEL_PROGRAM names the built tarvel, which has tarvel-json beside it, TARVEL_SOURCE_DIR the source tree,
# TARVEL_MEET_RUNS the size of the large meet (300, in ctest 100). Exit status 77, with the reason, where GNU parallel
# or rsync is missing.
import contextlib
import csv
import fcntl
import importlib.machinery
import importlib.util
import io
import json
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import unittest.mock

import simulate_meet

SOURCE = pathlib.Path(os.environ["TARVEL_SOURCE_DIR"])
TARVEL = pathlib.Path(os.environ["TARVEL_PROGRAM"]).resolve()
RUNS = int(os.environ.get("TARVEL_MEET_RUNS", "300"))
TARVEL_JSON = TARVEL.with_name("tarvel-json")
MEET = SOURCE / "src" / "meet" / "tarvel-meet"
EXAMPLES = SOURCE / "examples"
EXAMPLE_RUNS = ("carve", "reversed", "straight", "tagged")
FIGURE_COLUMNS = 34
PATIENCE = 240  # seconds

# The variables that a shell on another machine has, and those for the sanitizers and the coverage.
REMOTE_ENVIRONMENT = ("PATH", "LSAN_OPTIONS", "TARVEL_MEET_COVERAGE")

# The words before the program's name in a command.
RUNNER = []
if "TARVEL_MEET_COVERAGE" in os.environ:
    import measure
    RUNNER = [measure.__file__]
    (measure.FOLDER / "bin").mkdir(exist_ok=True)
    with contextlib.suppress(FileExistsError):
        (measure.FOLDER / "bin/python3").symlink_to(measure.__file__)
    os.environ["PATH"] = f"{measure.FOLDER / 'bin'}:{os.environ['PATH']}"
    measure.start()


def load_meet():
    """The program as a module, to test it with documents for which there is no track."""
    loader = importlib.machinery.SourceFileLoader("tarvel_meet", str(MEET))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("tarvel_meet", loader))
    sys.dont_write_bytecode = True
    loader.exec_module(module)
    return module


def contents(folder):
    """Every file below a folder with its bytes and its modification time."""
    return {path.relative_to(folder): (path.read_bytes(), path.stat().st_mtime_ns)
            for path in pathlib.Path(folder).rglob("*") if path.is_file()}


def text_of_cell(cell):
    """The text of a cell, decoded character by character as the manual page describes it."""
    lengths = {"x": 2, "u": 4, "U": 8}
    letters = {"n": "\n", "r": "\r", "t": "\t", "\\": "\\"}
    cell = cell[1:] if cell[:1] == "'" else cell
    text = ""
    while cell:
        length = 0
        if cell[0] != "\\":
            text += cell[0]
        elif cell[1] in letters:
            text, length = text + letters[cell[1]], 1
        else:
            length = 1 + lengths[cell[1]]
            text += chr(int(cell[2:1 + length], 16))
        cell = cell[1 + length:]
    return text


def edit_record(folder, **changes):
    """Changes fields of a run's record; removes those that are None."""
    path = folder / ".tarvel-meet"
    record = {**json.loads(path.read_text()), **changes}
    path.write_text(json.dumps({key: value for key, value in record.items() if value is not None}))


def printed_figures(report):
    """The figures of a report in their order, found without knowledge of its lines: all that follows a colon and is a
    number, hyphens or a direction."""
    figures = []
    for line in report.splitlines():
        figures += re.findall(r"(?<![\w.])(-?(?:\d[\d.]*|nan|inf)|-{4,5}|right|left)(?![\w.])", line.partition(":")[2])
    return ["" if set(figure) == {"-"} else figure for figure in figures]


def session_members(session):
    """The processes of a session, whatever their groups."""
    members = []
    for entry in pathlib.Path("/proc").iterdir():
        with contextlib.suppress(OSError, ValueError):
            fields = (entry / "stat").read_text().rpartition(")")[2].split()
            if entry.name.isdigit() and int(fields[3]) == session and fields[0] != "Z":
                members.append(int(entry.name))
    return members


def setUpModule():
    """Makes a tarvel-json whose checks draw few tracks: most of a meet's processor time would go into the draws."""
    global few_draws
    folder = pathlib.Path(tempfile.mkdtemp(prefix="tarvel_meet_"))
    unittest.addModuleCleanup(shutil.rmtree, folder)
    few_draws = folder / "tarvel-json"
    few_draws.write_text(f"""#!/bin/sh
        case $* in *--check*) set -- --draws 40 "$@" ;; esac
        exec "{TARVEL_JSON}" "$@"\n""")
    for path in (folder, few_draws):  # for other users, too
        path.chmod(0o755)


class MeetTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="tarvel_meet_"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        for name in ("home", "tracks"):
            (self.folder / name).mkdir()
        self.tracks = self.folder / "tracks"
        self.program = MEET
        shutil.copy(EXAMPLES / "matrix.txt", self.folder)

    def environment(self, **more):
        return {**os.environ, "HOME": str(self.folder / "home"), "TARVEL": str(TARVEL),
                "TARVEL_JSON": str(few_draws), **more}

    def start(self, *words, **more):
        """Starts the command in a session of its own, so that a signal reaches no other process."""
        return subprocess.Popen([*RUNNER, self.program, *words], cwd=self.folder, env=self.environment(**more), text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)

    def meet(self, *words, status=0, **more):
        process = self.start(*words, **more)
        output, _ = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, status, output)
        return output

    def table(self, results="results"):
        """The rows by name."""
        with open(self.folder / results / "meet.csv", newline="", encoding="utf-8") as file:
            rows = list(csv.DictReader(file, strict=True))
        for row in rows:
            row.update({column: text_of_cell(row[column]) for column in ("name", "file", "message")})
        self.assertEqual([row["name"] for row in rows], sorted({row["name"] for row in rows}))
        return {row["name"]: row for row in rows}

    def add_tracks(self, *names):
        for name in names:
            shutil.copy(EXAMPLES / f"{name}.csv", self.tracks)

    def script(self, name, text):
        path = self.folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_text("#!/bin/bash\n" + text)
        path.chmod(0o755)
        return str(path)

    def assert_figures_equal_report(self, row, report):
        self.assertEqual(row["status"], "ok", row["message"])
        self.assertEqual(row["message"], "")
        self.assertEqual(list(row.values())[4:4 + FIGURE_COLUMNS], printed_figures(report), row["name"])

    def assert_same_outputs(self, name, *results):
        """Compares all files of a run, except the date in a PDF, the session in the record and the nonce of a page."""
        ours, theirs = ({path: re.sub(rb"/CreationDate \(.*?\)|(?<=nonce[-=])\"?[\w+/=-]+", b"", content)
                         for path, (content, _) in contents(self.folder / folder / name).items()
                         if path.name != ".tarvel-meet"} for folder in results)
        self.assertEqual(sorted(ours), sorted(theirs))
        self.assertEqual([path for path in ours if ours[path] != theirs[path]], [], name)

    def assert_rows_equal_reports(self, results):
        """Compares the rows with the reports in the results folder."""
        count = 0
        for name, row in self.table(results).items():
            if row["status"] == "ok":
                stem = pathlib.Path(row["file"]).name[:-3]
                report = (self.folder / results / name / f"{stem}txt").read_text()
                self.assert_figures_equal_report(row, report)
                count += 1
        return count


    @contextlib.contextmanager
    def assert_within_seconds(self, seconds):
        """Limits the processor time, which depends little on the load of the machine."""
        begin = time.process_time()
        yield
        self.assertLess(time.process_time() - begin, seconds)

    def assert_rows_equal_runs_beside(self, index):
        """Compares the table with tarvel, called for each run in a copy of the folder with the index."""
        hand = self.folder / "hand"
        shutil.copytree(index, hand, symlinks=True)
        shutil.copy(index / "index.txt", hand / "matrix.txt")
        rows = self.table()
        for name, row in rows.items():
            shutil.copy(self.tracks / f"{name}.csv", hand)
            by_hand = subprocess.run([TARVEL, f"{name}.csv"], cwd=hand, stdout=subprocess.PIPE, text=True)
            if by_hand.returncode == 0:
                self.assert_figures_equal_report(row, by_hand.stdout)
            else:
                self.assertEqual(by_hand.stdout, f"ERROR: {row['message']}\n")
        return rows


class ReportTest(MeetTest):
    """The table has what tarvel prints."""

    def report_by_hand(self, *words):
        folder = self.folder / "hand"
        if not folder.exists():
            shutil.copytree(EXAMPLES, folder)
        return subprocess.run([TARVEL, *words], cwd=folder, stdout=subprocess.PIPE, text=True, check=True).stdout

    def test_a_page_lists_the_runs(self):
        self.add_tracks("carve", "straight")
        self.meet("-c", "matrix.txt", "tracks")
        page = (self.folder / "results/index.html").read_text()
        for name in ("carve", "straight"):
            self.assertIn(f'"page":"{name}/{name}.page.html"', page)
            self.assertTrue((self.folder / f"results/{name}/{name}.page.js").is_file())

    def test_has_every_figure_of_the_report_in_both_units(self):
        self.add_tracks(*EXAMPLE_RUNS)
        for options, unit_columns in (((), ("ft", "mph")), (("-m",), ("m", "kmh"))):
            self.meet("-c", "matrix.txt", *options, "tracks")
            rows = self.table()
            self.assertEqual(list(rows), sorted(EXAMPLE_RUNS))
            for name in EXAMPLE_RUNS:
                self.assert_figures_equal_report(rows[name], self.report_by_hand(*options, f"{name}.csv"))
            length, speed = unit_columns
            columns = list(rows["carve"])
            self.assertIn(f"touchdown_distance_{length}", columns)
            self.assertIn(f"entry_gate_speed_{speed}", columns)
            self.assertEqual(len(columns), len(set(columns)))
            self.assertEqual((rows["carve"]["carve_time_s"], rows["straight"]["carve_time_s"]), ("2.88", ""))

    def test_finds_the_gate_implicitly(self):
        self.add_tracks("implicit", "straight")
        self.meet("-i", "tracks")
        rows = self.table()
        for name in ("implicit", "straight"):
            self.assert_figures_equal_report(rows[name], self.report_by_hand("-i", f"{name}.csv"))
        self.assertFalse((self.folder / "results/implicit/matrix.txt").exists())

    def test_analyses_a_run_with_a_warning_like_any_other(self):
        self.add_tracks("straight")
        lines = (EXAMPLES / "straight.csv").read_text().splitlines()
        more = [",WARNING: temp,\u2028", ",(degC),()", *[",21.5,1"] * (len(lines) - 2)]
        (self.tracks / "warned.csv").write_text("".join(f"{line}{end}\n" for line, end in zip(lines, more)))
        (self.tracks / "failed.csv").write_text("".join(f"{line}{end}\n" for line, end in zip(lines[:9], more)))
        self.meet("tracks", status=1)
        rows = self.table()
        columns = list(rows["straight"])[2:]
        self.assertEqual([rows["warned"][name] for name in columns], [rows["straight"][name] for name in columns])
        self.assertRegex(rows["failed"]["message"], "^invalid gate location")
        expected = ["WARNING: unknown field (WARNING: temp)", "WARNING: unknown field (\u2028)"]
        for name, warnings in (("straight", []), ("warned", expected), ("failed", expected)):
            document = json.loads((self.folder / "results" / name / f"{name}.json").read_text())
            self.assertEqual([f"WARNING: {warning}" for warning in document["warnings"]], warnings)

    def document_by_hand(self, *words):
        self.report_by_hand(words[-1])
        done = subprocess.run([TARVEL_JSON, *words], cwd=self.folder / "hand", stdout=subprocess.PIPE, check=True)
        return json.loads(done.stdout)

    def test_reads_every_form_of_every_figure(self):
        module = load_meet()
        document = self.document_by_hand("carve.csv")
        imperial, metric = module.Table(False), module.Table(True)
        self.assertRaises(module.FormError, metric.cells, document)
        figures = document["figures"]
        for name, text, column, value in (
                ("exit_altitude", "-----", "exit_altitude_ft", ""),
                ("exit_altitude", "-nan", "exit_altitude_ft", "-nan"),
                ("turn_altitude", "-0", "turn_altitude_ft", "-0"),
                ("turn_altitude", "-inf", "turn_altitude_ft", "-inf"),
                ("turn_time", "18446744073709551.62", "turn_time_s", "18446744073709551.62"),
                ("entry_gate_speed", "----", "entry_gate_speed_mph", ""),
                ("entry_gate_speed", "1234.", "entry_gate_speed_mph", "1234."),
                ("carve_time", "18446", "carve_time_s", "18446"),
                ("stop_distance", "-12", "stop_distance_ft", "-12")):
            with self.subTest(text=text):
                changed = {**document, "figures": {**figures, name: {**figures[name], "text": text}}}
                self.assertEqual(imperial.cells(changed), {**imperial.cells(document), column: value})
        for damage in ({"figures": None}, {"figures": []}, {"check": 1}, {"check": {}}, {"phases": None},
                       {"figures": {**figures, "carve_time": {**figures["carve_time"], "text": "=1+1"}}},
                       {"figures": {**figures, "carve_time": {**figures["carve_time"], "text": 3}}},
                       {"figures": {**figures, "carve_time": {**figures["carve_time"], "text_unit": "h"}}},
                       {"track": {}}, {"program": "x"}, {"track": {**document["track"], "rate": "many"}}):
            with self.subTest(damage=damage):
                self.assertRaises(module.FormError, imperial.cells, {**document, **damage})

    def test_has_what_is_known_of_each_run_behind_the_figures(self):
        self.add_tracks("carve", "straight")
        self.meet("--no-check", "tracks")
        rows = self.table()
        columns = list(rows["carve"])
        self.assertEqual(columns[4 + FIGURE_COLUMNS:], [
            "clock", "course", "samples_a_second", "verdict", "reasons", "entry_gate_speed_half_width_mph",
            "touchdown_distance_half_width_ft", "carve_time_half_width_s", "version"])
        version = subprocess.run([TARVEL, "-v"], stdout=subprocess.PIPE, text=True, check=True).stdout
        for name in ("carve", "straight"):
            document = json.loads((self.folder / "results" / name / f"{name}.json").read_text())
            self.assertEqual(list(rows[name].values())[4 + FIGURE_COLUMNS:-1],
                             [document["phases"]["turn"]["clock"][:19].replace("T", " "), "matrix.txt", "10",
                              *[""] * 5])
            self.assertIn(f"version {rows[name]['version']} ", version)
        self.assertNotIn("bracket", (self.folder / "results/meet.txt").read_text())

    def test_has_the_check_of_each_run(self):
        self.add_tracks("carve", "straight")
        for options in ([], ["-m"]):
            self.meet(*options, "tracks", TARVEL_JSON=str(TARVEL_JSON))
            for name, row in self.table().items():
                document = json.loads((self.folder / "results" / name / f"{name}.json").read_text())
                self.assertEqual((row["verdict"], row["reasons"]), ("good", ""))
                for score in ("entry_gate_speed", "touchdown_distance", "carve_time"):
                    column, = (key for key in row if key.startswith(f"{score}_half_width_"))
                    interval = document["check"]["intervals"][score]
                    if interval["why"] == "touchdown-is-stop":
                        interval = document["check"]["intervals"]["stop_distance"]
                    if interval["low"] is None:
                        self.assertEqual(row[column], "")
                        continue
                    # The printed ends are rounded outward, by up to one unit of the last digit.
                    printed = (float(interval["high_text"]) - float(interval["low_text"])) / 2
                    step = 10.0 ** -len(interval["low_text"].partition(".")[2])
                    self.assertLess(abs(float(row[column]) - printed), 1.01 * step)

    def test_marks_runs_that_are_not_good(self):
        self.add_tracks("carve", "straight")
        lines = (EXAMPLES / "carve.csv").read_text().splitlines(keepends=True)
        turn = self.document_by_hand("carve.csv")["phases"]["turn"]["index"] + 2
        (self.tracks / "gap.csv").write_text("".join(lines[:turn + 40] + lines[turn + 60:]))
        self.meet("tracks")
        row = self.table()["gap"]
        self.assertIn(row["verdict"], ("doubtful", "unusable"))
        self.assertIn("gap", row["reasons"].split())
        text = (self.folder / "results/meet.txt").read_text()
        self.assertRegex(text, r"(?m)^. +\d.*  gap  [?X] (doubtful|unusable): .*gap")
        self.assertRegex(text, r"(?ms)^(DOUBTFUL|UNUSABLE): .*^gap\n(  .*\n)*  gap: 2\.\d0 s without samples")
        self.assertRegex(text, r"(?m)^3 runs: 3 analysed, 0 failed, \d doubtful, \d unusable$")
        self.assertNotRegex(text, r"(straight|carve)  [?X]")

    def test_counts_one_run_as_one(self):
        self.add_tracks("straight")
        output = self.meet("--no-check", "tracks")
        self.assertTrue(output.startswith("1 run (0 done before): 1 analysed, 0 failed; see "), output)
        self.assertTrue((self.folder / "results/meet.txt").read_text().startswith("1 run: 1 analysed, 0 failed\n"))

    def test_gives_bounds_of_what_was_crossed_in_a_gap_and_no_half_width(self):
        lines = (EXAMPLES / "carve.csv").read_text().splitlines(keepends=True)
        gate = self.document_by_hand("carve.csv")["phases"]["entry_gate"]["index"] + 2
        (self.tracks / "gap.csv").write_text("".join(lines[:gate - 6] + lines[gate + 8:]))
        self.meet("tracks")
        row = self.table()["gap"]
        self.assertEqual((row["verdict"], row["entry_gate_speed_half_width_mph"], row["carve_time_half_width_s"]),
                         ("unusable", "", ""))
        self.assertNotEqual(row["touchdown_distance_half_width_ft"], "")
        intervals = json.loads((self.folder / "results/gap/gap.json").read_text())["check"]["intervals"]
        speed, time = (intervals[name]["bounds"] for name in ("entry_gate_speed", "carve_time"))
        self.assertIn(f"  entry gate speed: between {speed['low_text']} and {speed['high_text']} mph\n"
                      f"  carve time: between {time['low_text']} and {time['high_text']} sec\n",
                      (self.folder / "results/meet.txt").read_text())

    def test_lists_what_is_no_track_apart(self):
        self.add_tracks("straight")
        (self.tracks / "event.csv").write_text("time,kind,text\n,,\n2026-05-16T13:05:31.25Z,1,start\n")
        (self.tracks / "sensor.csv").write_text("$FLYS,1\n$COL,IMU,time,wx\n$COL,VBAT,time\n$DATA\n$IMU,1,2\n")
        (self.tracks / "photo.jpg").write_bytes(b"\xff\xd8\xff\xe0" + bytes(1000))
        (self.tracks / "named.csv").write_bytes(b"\x89PNG\r\n\x1a\n" + bytes(100))
        track = (EXAMPLES / "straight.csv").read_bytes()
        for name, content in (("empty", b""), ("cut", track[:30]), ("zeros", bytes(1000)), ("text", b"Hello, you\n")):
            (self.tracks / f"{name}.csv").write_bytes(content)
        output = self.meet("tracks", "tracks/photo.jpg", status=1)
        self.assertEqual(set(self.table()), {"straight", "empty", "cut", "zeros", "text"})
        self.assertIn("; other files: 4; see ", output)
        text = (self.folder / "results/meet.txt").read_text()
        self.assertTrue(text.endswith(
            "NO TRACKS: files without positions\n\ntracks/event.csv: a record without positions\n"
            "tracks/named.csv: a picture\ntracks/photo.jpg: a picture\n"
            "tracks/sensor.csv: a record of IMU and VBAT\n"), text)
        self.assertIn("no runs", self.meet("tracks/event.csv", status=2))

    def test_puts_a_bracket_round_neighbours(self):
        module = load_meet()

        def rows(*intervals):
            return [{"intervals": {} if each is None else {"a": each}} for each in intervals]

        for expected, intervals in (
                ("", []), (" ", [(1, 2)]), ("  ", [(1, 2), (2.5, 4)]),
                ("/\\", [(1, 3), (2, 4)]), ("/\\", [(1, 2), (2, 4)]),
                ("/|\\ ", [(8, 10), (7, 9), (6, 7), (1, 2)]), ("/\\/\\", [(8, 10), (7, 9), (4, 5), (3, 4)]),
                # A run without an interval is separated from no other.
                ("/|\\", [(8, 10), None, (1, 2)]), ("/\\", [None, None])):
            with self.subTest(intervals=intervals):
                self.assertEqual("".join(module.brackets(rows(*intervals), "a")), expected)

    def test_reads_its_table_back(self):
        module = load_meet()
        names = ["", "101", "=1", "'", "''=1", "\\", "\\n", "\n", "'\\'", "-", "+\t", "\t=", "\r", "ñ", "日本", "\u3000",
                 os.fsdecode(b"\xff\x9b=\xc3"), *map(chr, (*range(0x250), 0xD800, 0xDCFF, 0xFEFF, 0x10FFFF))]
        cells = [module.table_cell(name) for name in names]
        self.assertEqual(len(set(cells)), len(set(names)))
        for name, cell in zip(names, cells):
            self.assertTrue(cell.isprintable(), cell)
            self.assertFalse(cell.startswith(tuple("=+-@")), cell)
            self.assertEqual(module.cell_text(cell), name)
            self.assertEqual(text_of_cell(cell), name)

    def test_ranks(self):
        module = load_meet()
        table = module.Table(False)

        def figures_of(text):
            return dict.fromkeys(table.columns[:FIGURE_COLUMNS], text)

        def row(name, status="ok", **figures):
            return {"name": name, "status": status, "message": figures.pop("message", ""),
                    **figures_of("1"), "carve_time_s": "", "exit_gate_speed_mph": "", **figures}

        text = module.summary_text([
            row("a", touchdown_distance_ft="200", entry_gate_speed_mph="70.5"),
            row("b", touchdown_distance_ft="1000", entry_gate_speed_mph="9.5"),
            row("c", touchdown_distance_ft="200", entry_gate_speed_mph="80.0"),
            row("d", touchdown_distance_ft="-5", entry_gate_speed_mph="60.0"),
            row("e", touchdown_distance_ft="nan", entry_gate_speed_mph="60.0"),
            row("f", carve_time_s="2.88", exit_gate_speed_mph="40.0", entry_gate_speed_mph="75.0"),
            row("g", carve_time_s="10.01", exit_gate_speed_mph="40.0", entry_gate_speed_mph="75.0"),
            row("h", entry_gate_speed_mph=""),
            row("i\n\x1b[2J", status="failed", message="no\nsuch"),
        ], table)
        sections = re.split(r"^(DISTANCE|SPEED|ENTRY GATE SPEED|NOT RANKED|FAILED)", text, flags=re.MULTILINE)
        ranks = {title: [(line.split()[0], line.split()[-1]) for line in body.splitlines()[3:] if line]
                 for title, body in zip(sections[1::2], sections[2::2])}
        self.assertEqual(ranks["DISTANCE"], [("1", "b"), ("2", "a"), ("2", "c"), ("4", "d"), ("----", "e")])
        self.assertEqual(ranks["SPEED"], [("1", "f"), ("2", "g")])
        self.assertEqual(ranks["ENTRY GATE SPEED"], [("1", "c"), ("2", "f"), ("2", "g"), ("4", "a"), ("5", "d"),
                                                     ("5", "e"), ("7", "b")])
        self.assertIn("missed the entry gate\n\nh\n", text)
        self.assertTrue(text.endswith("FAILED: tarvel(1) and tarvel-meet(1) say what to do about each message\n\n"
                                      "i\\n\\x1b[2J: no\\nsuch\n"))

    def test_an_unusable_run_has_no_rank_and_changes_none(self):
        module = load_meet()
        table = module.Table(False)
        figures = {**dict.fromkeys(table.columns[:FIGURE_COLUMNS], "1"), "carve_time_s": "", "exit_gate_speed_mph": ""}

        def row(name, distance, verdict=module.GOOD, low=0.0, high=0.0):
            doubts = [] if verdict == module.GOOD else [("gap", verdict, "2.00 s without samples")]
            return {"name": name, "status": "ok", "message": "", **figures, "touchdown_distance_ft": distance,
                    module.VERDICT: verdict, module.REASONS: " ".join(code for code, _, _ in doubts), "doubts": doubts,
                    "bounds": [],
                    "intervals": {"touchdown_distance_ft": (low, high)}}

        def distances(rows):
            text = module.summary_text(rows, table)
            section = text[text.index("DISTANCE"):text.index("ENTRY GATE SPEED")]
            return [re.sub(" +", " ", line) for line in section.splitlines()[3:] if line], text

        sound = [row("a", "200", low=190, high=210), row("c", "300", low=290, high=310),
                 row("d", "205", module.DOUBTFUL, 200, 210)]
        alone, _ = distances(sound)
        self.assertEqual(alone, [" 1 300 1 1 c", "/ 2 205 1 1 d ? doubtful: gap", "\\ 3 200 1 1 a"])
        # Unusable runs that would rank between the others and before them.
        unusable = [row("b", "250", module.UNUSABLE, 0, 1000), row("e", "999", module.UNUSABLE, 990, 999)]
        lines, text = distances(sorted([*sound, *unusable], key=lambda each: each["name"]))
        self.assertEqual(lines, [*alone, " ---- 250 1 1 b X unusable: gap", " ---- 999 1 1 e X unusable: gap"])
        self.assertIn("\n\nUNUSABLE: not ranked, since their tracks cannot be scored\n\nb\n  gap: 2.00 s", text)
        self.assertEqual(distances(unusable)[0], lines[3:])

    def test_ranks_thousands_of_runs(self):
        module = load_meet()
        table = module.Table(False)
        figures = {**dict.fromkeys(table.columns[:FIGURE_COLUMNS], "1"), "carve_time_s": "", module.VERDICT: module.GOOD}
        rows = [{"name": f"{number:05}", "status": "ok", "message": "", **figures} for number in range(24_000)]
        with self.assert_within_seconds(4):
            module.summary_text(rows, table)


class ResumeTest(MeetTest):
    """A large meet, interrupted again and again."""

    def done(self):
        return {path.parent.name for path in (self.folder / "resumed").glob("*/.tarvel-meet")}

    def start_and_wait(self, *words, count):
        process = self.start(*words)
        deadline = time.monotonic() + PATIENCE
        while len(self.done()) < count:
            self.assertLess(time.monotonic(), deadline)
            self.assertIsNone(process.poll(), "ended before it could be interrupted")
            time.sleep(0.05)
        return process

    def test_ends_with_the_table_of_an_uninterrupted_meet(self):
        good, broken = simulate_meet.simulate(EXAMPLES, self.tracks, RUNS)
        # Names and order do not depend on which run was finished first.
        listed = [str(path) for path in good + broken]
        random.Random(2).shuffle(listed)
        (self.folder / "list").write_text("\n".join(listed) + "\n")
        words = ("-c", "matrix.txt", "--list", "list")
        before = contents(self.tracks)

        self.meet(*words, "-o", "whole", status=1)
        rows = self.table("whole")
        self.assertEqual({name for name, row in rows.items() if row["status"] == "failed"},
                         {path.stem for path in broken})
        self.assertEqual(self.assert_rows_equal_reports("whole"), len(good))
        self.assertTrue(all(row["message"] for row in rows.values() if row["status"] == "failed"))

        words = (*words, "-o", "resumed")
        table = self.folder / "resumed/meet.csv"
        interrupted = self.start_and_wait(*words, count=RUNS // 6)
        os.killpg(interrupted.pid, signal.SIGINT)
        output, _ = interrupted.communicate(timeout=PATIENCE)
        self.assertEqual(interrupted.returncode, 130, output)
        self.assertEqual(session_members(interrupted.pid), [])
        self.assertFalse(table.exists())

        ended = self.start_and_wait(*words, count=RUNS // 4)
        ended.terminate()
        output, _ = ended.communicate(timeout=PATIENCE)
        self.assertEqual(ended.returncode, 143, output)
        self.assertEqual(session_members(ended.pid), [])
        self.assertFalse(table.exists())

        # Its workers, in process groups of their own, go on; the next command waits for them.
        killed = self.start_and_wait(*words, count=RUNS // 3)
        os.killpg(killed.pid, signal.SIGKILL)
        killed.communicate(timeout=PATIENCE)

        wiped_out = self.start_and_wait(*words, count=RUNS // 2)
        for member in session_members(wiped_out.pid):
            with contextlib.suppress(ProcessLookupError):
                os.kill(member, signal.SIGKILL)
        wiped_out.communicate(timeout=PATIENCE)
        self.assertFalse(table.exists())

        # What a power cut may leave: an empty file, an empty record, a missing file.
        finished = sorted(name for name in self.done() if rows[name]["status"] == "ok")
        records = {name: (self.folder / "resumed" / name / ".tarvel-meet").stat().st_mtime_ns for name in finished}
        damaged = finished[:3]
        stem = pathlib.Path(rows[damaged[0]]["file"]).stem
        os.truncate(self.folder / "resumed" / damaged[0] / f"{stem}.pdf", 0)
        os.truncate(self.folder / "resumed" / damaged[1] / ".tarvel-meet", 0)
        (self.folder / "resumed" / damaged[2] / "matrix.txt").unlink()

        self.meet(*words, status=1)
        for name in ("meet.csv", "meet.txt"):
            self.assertEqual((self.folder / "resumed" / name).read_bytes(), (self.folder / "whole" / name).read_bytes())
        again = {name for name in finished
                 if (self.folder / "resumed" / name / ".tarvel-meet").stat().st_mtime_ns != records[name]}
        self.assertEqual(again, set(damaged))
        for name in rows:
            self.assert_same_outputs(name, "resumed", "whole")
        self.assertEqual(os.listdir(self.folder / "resumed/.meet/work"), [])
        self.assertEqual(contents(self.tracks), before)
        print(f"{RUNS} runs, {len(broken)} of them broken; {len(finished) - len(damaged)} were kept to the end")


class AgainTest(MeetTest):
    """What the same command does when it is given again."""

    def analysed(self, *words, status=0, **more):
        """The runs that this call has analysed."""
        def records():
            return {path.parent.name: path.stat().st_ino for path in (self.folder / "results").glob("*/.tarvel-meet")}

        before = records()
        self.meet("-c", "matrix.txt", *words, status=status, **more)
        return sorted(name for name, number in records().items() if before.get(name) != number)

    def test_analyses_again_what_has_changed(self):
        self.add_tracks("straight", "carve")
        self.assertEqual(self.analysed("tracks"), ["carve", "straight"])
        self.assertEqual(self.analysed("tracks"), [])
        self.assertEqual(self.analysed(str(self.tracks)), [])
        times = (self.tracks / "carve.csv").stat()
        shutil.copy(EXAMPLES / "reversed.csv", self.tracks / "carve.csv")
        os.utime(self.tracks / "carve.csv", ns=(times.st_atime_ns, times.st_mtime_ns))
        self.assertEqual(self.analysed("tracks"), ["carve"])
        self.assertEqual(self.table()["carve"]["turn_direction"], "left")
        with open(self.folder / "matrix.txt", "a", encoding="ascii") as course:
            course.write("// the same course\n")
        self.assertEqual(self.analysed("tracks"), ["carve", "straight"])
        self.assertEqual(self.analysed("-m", "tracks"), ["carve", "straight"])
        self.assertEqual(self.analysed("-m", "--fresh", "tracks"), ["carve", "straight"])
        other = self.script("other", f'exec "{TARVEL}" "$@"\n')
        self.assertEqual(self.analysed("-m", "tracks", TARVEL=other), ["carve", "straight"])
        self.program = shutil.copy(MEET, self.folder / "other-meet")
        self.assertEqual(self.analysed("-m", "tracks", TARVEL=other), [])
        with open(self.program, "a", encoding="utf-8") as file:
            file.write("# another version\n")
        self.assertEqual(self.analysed("-m", "tracks", TARVEL=other), ["carve", "straight"])
        (self.tracks / "straight.csv").unlink()
        self.assertEqual(self.analysed("-m", "tracks", TARVEL=other), [])
        self.assertEqual(list(self.table()), ["carve"])

    def test_keeps_what_a_scorer_has_put_into_the_results(self):
        self.add_tracks("straight", "carve")
        (self.tracks / "bad.csv").touch()
        self.meet("tracks", status=1)
        results = self.folder / "results"
        run = results / "carve"
        (run / "sub").mkdir()
        for path in (run / "notes.txt", run / "sub/photo.jpg", run / "carve.pdf", results / "meet.csv",
                     results / "meet.txt", results / "bad/bad.txt"):
            with open(path, "a", encoding="utf-8") as file:
                file.write(f"of {path.name}")
        (run / "sub/link").symlink_to("photo.jpg")
        (run / "link").symlink_to("sub")
        (run / "straight.csv").symlink_to("nowhere")
        shutil.copytree(results / "straight", results / "copy of straight")
        copied = contents(results / "copy of straight")

        self.meet("-m", "tracks", status=1)
        self.assertEqual(set(self.table()), {"straight", "carve", "bad"})
        self.assertEqual(contents(results / "copy of straight"), copied)
        self.assertEqual((run / "notes.txt").read_text(), "of notes.txt")
        self.assertEqual((run / "link/link").read_text(), "of photo.jpg")
        self.assertEqual(os.readlink(run / "straight.csv"), "nowhere")
        self.assertEqual((results / "bad/bad.txt").read_text(), "of bad.txt")
        for path in (run / "carve.pdf", results / "meet.csv", results / "meet.txt"):
            self.assertFalse(path.read_bytes().endswith(f"of {path.name}".encode()))
            self.assertTrue(path.with_name(f"{path.name}.orig").read_bytes().endswith(f"of {path.name}".encode()))
        # What has been added changes no figure.
        self.assertEqual(self.analysed("-m", "tracks", status=1), ["bad"])
        self.assertEqual(len(list(results.rglob("*.orig*"))), 3)
        (results / "meet.csv").write_text("changed again")
        self.meet("tracks", status=1)
        self.assertEqual((results / "meet.csv.orig.2").read_text(), "changed again")

    def test_puts_back_what_gave_way(self):
        self.add_tracks("straight")
        self.meet("tracks")
        results = self.folder / "results"
        (results / "straight/notes.txt").write_text("a note")
        before = contents(results / "straight")
        batch, = (results / ".meet/batch").iterdir()
        os.rename(results / "straight", results / f".meet/work/{batch.name}-0.old")
        self.meet("tracks")
        self.assertEqual(contents(results / "straight"), before)

    def test_leaves_what_comes_into_its_way(self):
        self.add_tracks("straight", "carve", "reversed")
        putting = self.script("putting", f"""
            if [[ $1 != -v ]]; then mkdir ../../../carve; echo note >../../../carve/note; fi
            exec "{TARVEL}" "$@"\n""")
        output = self.meet("-j", "1", "--retries", "1", "tracks", status=1, TARVEL=putting)
        self.assertIn("tarvel-meet: carve: File exists", output)
        self.assertEqual({name: row["message"] for name, row in self.table().items()},
                         {"carve": "no result came back", "reversed": "", "straight": ""})
        self.assertEqual((self.folder / "results/carve/note").read_text(), "note\n")
        self.meet("tracks")
        self.assertEqual(set(self.table()), {"carve-2", "reversed", "straight"})

    def test_takes_no_late_result_of_another_session(self):
        self.add_tracks("straight", "carve")
        self.meet("tracks")
        results = self.folder / "results"
        (self.tracks / "carve.csv").write_bytes((EXAMPLES / "reversed.csv").read_bytes())
        shutil.copytree(results / "straight", self.folder / "late")
        late = self.script("late.sh", f"""
            [[ $1 == -v || -e ../../out/* ]] || {{
              batch=$(basename ../../batch/*); mkdir -p "../../out/$batch/late"
              cp -r "{self.folder}/late" "../../out/$batch/late/straight"; }}
            exec "{TARVEL}" "$@"\n""")
        output = self.meet("-j", "1", "tracks", TARVEL=late)
        self.assertIn("straight: what came back from late is no whole result of this run", output)
        self.assertEqual({row["status"] for row in self.table().values()}, {"ok"})

    def test_goes_on_without_its_terminal(self):
        for number in range(12):
            shutil.copy(EXAMPLES / "straight.csv", self.tracks / f"{number}.csv")
        process = subprocess.Popen([*RUNNER, MEET, "-j", "1", "tracks"], cwd=self.folder, env=self.environment(),
                                   stdout=subprocess.DEVNULL, start_new_session=True,
                                   preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        deadline = time.monotonic() + PATIENCE
        while not list(self.folder.glob("results/*/.tarvel-meet")):
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        os.killpg(process.pid, signal.SIGHUP)
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertEqual(len(self.table()), 12)

    def test_analyses_again_in_another_time_zone(self):
        self.add_tracks("straight")
        self.assertEqual(self.analysed("tracks", TZ="UTC"), ["straight"])
        self.assertEqual(self.analysed("tracks", TZ="Europe/Berlin"), ["straight"])
        self.assertEqual(self.analysed("tracks", TZ="Europe/Berlin"), [])

    def test_knows_the_time_zone_of_the_machine(self):
        module = load_meet()
        link = subprocess.run(["readlink", "-f", "/etc/localtime"], stdout=subprocess.PIPE, text=True).stdout.strip()
        with unittest.mock.patch.dict(os.environ):
            os.environ.pop("TZ", None)
            zone = module.time_zone()
        self.assertEqual(f"/usr/share/zoneinfo/{zone}" if zone else "", link if "/zoneinfo/" in link else "")

    def test_tries_failed_runs_again(self):
        self.add_tracks("straight")
        (self.tracks / "bad.csv").touch()
        self.assertEqual(self.analysed("tracks", status=1), ["bad", "straight"])
        self.assertEqual(self.analysed("tracks", status=1), ["bad"])
        shutil.copy(EXAMPLES / "carve.csv", self.tracks / "bad.csv")
        self.assertEqual(self.analysed("tracks"), ["bad"])

    def test_tries_again_when_tarvel_crashes(self):
        for number in range(10):
            shutil.copy(EXAMPLES / "straight.csv", self.tracks / f"{number}.csv")
        calls = self.folder / "calls"
        calls.mkdir()
        # The first call for every third run crashes, every call for run 4.
        crashing = self.script("crashing", f"""
            [[ $1 == -v ]] && exec "{TARVEL}" -v
            name=${{@: -1}}
            echo >>"{calls}/$name"
            if [[ $name == 4.csv || ($name == [0369].csv && $(wc -l <"{calls}/$name") == 1) ]]; then kill -SEGV $$; fi
            exec "{TARVEL}" "$@"\n""")
        self.assertEqual(len(self.analysed("--retries", "3", "tracks", status=1, TARVEL=crashing)), 10)
        rows = self.table()
        self.assertEqual([name for name, row in rows.items() if row["status"] != "ok"], ["4"])
        self.assertEqual(rows["4"]["message"], "tarvel was ended by SIGSEGV")
        counts = {path.name: len(path.read_text()) for path in calls.iterdir()}
        self.assertEqual(counts, {f"{n}.csv": {4: 3, 0: 2, 3: 2, 6: 2, 9: 2}.get(n, 1) for n in range(10)})

    def test_ends_a_run_that_takes_too_long(self):
        self.add_tracks("straight")
        slow = self.script("slow", '[[ $1 == -v ]] || exec sleep 100\n')
        self.meet("-i", "--timeout", "1", "tracks", status=1, TARVEL=slow)
        self.assertEqual(self.table()["straight"]["message"], "took longer than 1 s")


class ReturnTest(MeetTest):
    """Results that came back from another machine before the command was killed: the next command takes them, or says
    that it does not."""

    def setUp(self):
        super().setUp()
        self.add_tracks("straight")
        self.meet("tracks")
        self.results = self.folder / "results"
        self.session, = (path.name.rpartition("-")[0] for path in (self.results / ".meet/batch").iterdir())
        self.attempt = self.results / f".meet/out/{self.session}-0/elsewhere"
        self.returned = self.attempt / "straight"
        self.record = self.returned / ".tarvel-meet"
        self.attempt.mkdir(parents=True)
        (self.results / "straight").rename(self.returned)
        for page in self.returned.glob("*.page.*"):  # made here, after a result has come back
            page.unlink()
        self.module = load_meet()

    def take(self):
        """The printed words, and whether the result was taken."""
        results = self.module.Results(self.results)
        printed = io.StringIO()
        with contextlib.redirect_stderr(printed):
            results.install_returned()
        return printed.getvalue(), (self.results / "straight").exists()

    def lead_away(self, path):
        path.rename(self.folder / "away")
        path.symlink_to(self.folder / "away")

    def test_takes_a_whole_result(self):
        self.assertEqual(self.take(), ("", True))
        self.assertEqual(list(self.attempt.iterdir()), [])
        inode = (self.results / "straight").stat().st_ino
        self.meet("tracks")
        self.assertEqual((self.results / "straight").stat().st_ino, inode)

    def test_takes_a_broken_run_only_for_want_of_a_better_one(self):
        shutil.copytree(self.returned, self.folder / "good")
        edit_record(self.returned, status="broken", message="crashed")
        self.assertEqual(self.take(), ("", True))
        shutil.copytree(self.results / "straight", self.folder / "bad")
        for sent, status in (("good", "ok"), ("bad", "ok")):
            shutil.copytree(self.folder / sent, self.returned)
            self.assertEqual(self.take(), ("", True))
            self.assertEqual(json.loads((self.results / "straight/.tarvel-meet").read_text())["status"], status)
            shutil.rmtree(self.returned, ignore_errors=True)

    def test_expects_nothing_of_a_batch_without_a_plan(self):
        (self.results / f".meet/batch/{self.session}-0/plan").write_text("")
        self.assertEqual(self.take(), ("", False))
        (self.results / f".meet/batch/{self.session}-0/plan").unlink()
        self.assertEqual(self.take(), ("", False))

    def test_takes_nothing_else(self):
        def edit(**changes):
            return lambda: edit_record(self.returned, **changes)

        whole = self.folder / "whole"
        shutil.copytree(self.returned, whole)
        for case, change in (
                ("no session", edit(session=None)),
                ("no message", edit(message=None)),
                ("no document", lambda: (self.returned / "straight.json").unlink()),
                ("another session", edit(session="0123")),
                ("another name", edit(name="../straight")),
                ("another track", edit(source="/carve.csv")),
                ("a status of its own", edit(status="fine")),
                ("a status that is a list", edit(status=[])),
                ("a list of files", edit(files=[])),
                ("a file outside", edit(files={"../../x": "0123"})),
                ("a NUL byte in a file's name", edit(files={"\0": "0123"})),
                ("no record", self.record.unlink),
                ("an empty record", lambda: self.record.write_text("")),
                ("a list as its record", lambda: self.record.write_text("[]")),
                ("a record of great depth", lambda: self.record.write_text("[" * 100_000)),
                ("a FIFO as its record", lambda: (self.record.unlink(), os.mkfifo(self.record))),
                ("a changed file", lambda: (self.returned / "straight.txt").write_text("")),
                ("a file less", lambda: (self.returned / "straight.pdf").unlink()),
                ("a file more", lambda: (self.returned / "more").touch()),
                ("a FIFO more", lambda: os.mkfifo(self.returned / "more")),
                ("a link to nothing", lambda: (self.returned / "more").symlink_to("nothing")),
                ("a link to a folder", lambda: (self.returned / "more").symlink_to(self.tracks)),
                ("a file that is a link", lambda: self.lead_away(self.returned / "straight.pdf")),
                ("a record that is a link", lambda: self.lead_away(self.record)),
                ("a folder that is a link", lambda: self.lead_away(self.returned)),
                ("an attempt that is a link", lambda: self.lead_away(self.attempt)),
                ("a file in the folder's place", lambda: (shutil.rmtree(self.returned), self.returned.touch()))):
            with self.subTest(case):
                change()
                self.assertEqual(self.take(), (
                    "tarvel-meet: straight: what came back from elsewhere is no whole result of this run\n", False))
            self.assertEqual(os.listdir(self.tracks), ["straight.csv"])
            subprocess.run(["rm", "-rf", self.attempt, self.folder / "away"], check=True)
            shutil.copytree(whole, self.returned)


class FolderTest(MeetTest):
    """Every run in a folder of its own."""

    def test_never_runs_two_jobs_in_one_folder(self):
        for number in range(40):
            path = self.tracks / f"{'abcd'[number % 4]}{number}"
            path.mkdir()
            (path / "run.csv").write_text(f"track {number}")
        (self.folder / "index.txt").write_text("1 - sub/a.txt\n* - b.txt\n")
        (self.folder / "sub").mkdir()
        (self.folder / "sub/a.txt").write_text("course a")
        (self.folder / "b.txt").write_text("course b")
        # Locks its folder for a while, and writes what tarvel writes.
        watching = self.script("watching", f"""
            [[ $1 == -v ]] && exit
            mkdir busy || echo "two jobs in $PWD" >>"{self.folder}/findings"
            [[ $(ls) == $'b.txt\\nbusy\\nmatrix.txt\\nrun.csv\\nrun.json\\nsub' ]] || ls >>"{self.folder}/findings"
            cat run.csv >run.txt
            sleep 0.0$((RANDOM % 10))
            cmp run.csv run.txt || echo "another job wrote in $PWD" >>"{self.folder}/findings"
            rmdir busy
            echo "ERROR: $(<run.csv) in $PWD"; exit 1\n""")
        self.meet("-c", "index.txt", "-j", "8", "tracks", status=1, TARVEL=watching)
        self.assertFalse((self.folder / "findings").exists())
        rows = self.table()
        self.assertEqual(len(rows), 40)
        places = set()
        for row in rows.values():
            number = pathlib.Path(row["file"]).parent.name[1:]
            self.assertTrue(row["message"].startswith(f"track {number} in "), row["message"])
            places.add(row["message"].partition(" in ")[2])
        self.assertEqual(len(places), 40)

    def test_keeps_runs_of_equal_names_apart(self):
        for folder, name in (("a", "carve"), ("b", "straight"), ("c", "reversed")):
            (self.tracks / folder).mkdir()
            shutil.copy(EXAMPLES / f"{name}.csv", self.tracks / folder / "run.csv")
        self.meet("-c", "matrix.txt", "tracks/b", "tracks/c")
        files = {name: row["file"] for name, row in self.table().items()}
        self.assertEqual(files, {"b/run": "tracks/b/run.csv", "c/run": "tracks/c/run.csv"})
        # A run keeps its name when a run is added whose name sorts before it.
        (self.tracks / "run-3.csv").write_bytes((EXAMPLES / "tagged.csv").read_bytes())
        self.meet("-c", "matrix.txt", "tracks", "tracks/a/run.csv")
        rows = self.table()
        files = {name: row["file"] for name, row in rows.items()}
        self.assertEqual(files, {"b/run": "tracks/b/run.csv", "c/run": "tracks/c/run.csv", "run-3": "tracks/run-3.csv",
                                 "a/run": "tracks/a/run.csv"})
        for name, source in files.items():
            track = self.folder / "results" / name / pathlib.Path(source).name
            self.assertEqual(track.read_bytes(), (self.folder / source).read_bytes())
        self.assertEqual(self.assert_rows_equal_reports("results"), 4)

    def test_puts_folders_in_front_of_equal_names(self):
        module = load_meet()
        closed, folder, lost = module.CLOSED, module.FOLDER, module.LOST
        for case, files, kept, uses, expected in (
                ("no equal names", "1/101 2/102 102-2", {}, {}, "101 102 102-2"),
                ("rounds", "r/1/101 r/2/101 r/3/101-2", {}, {}, "1/101 2/101 3/101-2"),
                ("equal but for case", "r/1/a r/2/A", {}, {}, "1/a 2/A"),
                ("a folder and its own", "r/101 r/1/101", {}, {}, "101 1/101"),
                ("far away", "x/1/101 y/2/101", {}, {}, "x/1/101 y/2/101"),
                ("two extensions", "r/101 r/101.tvl", {}, {}, "101 101-2"),
                ("both", "r/1/101 r/1/101.tvl r/2/101", {}, {}, "1/101 1/101-2 2/101"),
                ("hidden", ".r/.1/.a .r/.2/.a", {}, {}, "_1/_a _2/_a"),
                ("folders with dots", "r/1.a/x r/1.b/x", {}, {}, "1.a/x 1.b/x"),
                ("folders equal but for case", "r/a/1 r/A/1", {}, {}, "A/1 a/1-2"),
                ("a run with a folder's name", "r/2 r/2/101 r/3/101", {}, {}, "2 2-2/101 3/101"),
                ("one of an earlier call", "r/2/101", {"101": "r/1/101"}, {"101": closed}, "2/101"),
                ("the same run", "r/1/101 r/2/102", {"101": "r/1/101"}, {"101": closed}, "101 102"),
                ("the name of a run", "r/1/2/x r/1/3/x", {"2": "r/1/2"}, {"2": closed}, "2-2/x 3/x"),
                ("a file in the way", "r/a", {}, {"a": closed, "a-2": closed}, "a-3"),
                ("a file in a folder's way", "r/1/a r/1/b r/2/a", {}, {"1": closed}, "1-2/a 1-2/b 2/a"),
                ("a folder in the way", "r/a", {}, {"a": folder}, "a-2"),
                ("a folder that is there", "r/1/a r/2/a", {}, {"1": folder, "1/a": closed}, "1/a-2 2/a"),
                ("a lost record", "r/a", {}, {"a": lost}, "a"),
                ("a lost record in a folder's way", "r/1/a r/2/a", {}, {"1": lost}, "1-2/a 2/a"),
                ("the table", "r/meet.csv r/meet.txt", {}, {}, "meet.csv meet.txt")):
            with self.subTest(case):
                paths = sorted("/" + (file if file.endswith(".tvl") else file + ".csv") for file in files.split())
                runs = [{"source": path, "file": os.path.basename(path)} for path in paths]
                records = {name: {"source": f"/{file}.csv"} for name, file in kept.items()}
                module.give_names(runs, records, uses)
                self.assertEqual(sorted(run["name"] for run in runs), sorted(expected.split()))

    def test_ranks_a_meet_of_several_rounds(self):
        rounds = self.folder / "rounds"
        for place, name in (("1/101", "straight"), ("1/102", "carve"), ("2/101", "reversed"), ("3/101-2", "tagged")):
            (rounds / place).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(EXAMPLES / f"{name}.csv", rounds / f"{place}.csv")
        # An index is compared with the file's name without its folder.
        (self.folder / "course.txt").write_text((EXAMPLES / "matrix.txt").read_text())
        (self.folder / "index.txt").write_text("101 - course.txt\n102 - nogate\n1 - gone.txt\n2 - gone.txt\n")
        self.meet("-c", "index.txt", "rounds/1")
        self.assertEqual(list(self.table()), ["101", "102"])
        for results, expected in (("results", ["101", "102", "2/101", "3/101-2"]),
                                  ("other", ["1/101", "1/102", "2/101", "3/101-2"])):
            for _ in range(2):
                self.meet("-c", "index.txt", "-o", results, "rounds")
                self.assertEqual(list(self.table(results)), expected)
            self.assertEqual(self.assert_rows_equal_reports(results), 4)
            ranking = (self.folder / results / "meet.txt").read_text()
            for name in expected:
                self.assertRegex(ranking, rf"(?m)^ .*  {name}(  \? doubtful: touchdown-moves)?$")
        # Files that a scorer has put beside the runs stay; runs below a symbolic link are no runs of these results.
        (self.folder / "other/2/notes.txt").write_text("a note")
        (self.folder / "other/3").rename(self.folder / "moved")
        (self.folder / "other/3").symlink_to("../moved")
        before = contents(self.folder / "moved")
        self.meet("-c", "index.txt", "-m", "-o", "other", "rounds")
        self.assertEqual(list(self.table("other")), ["1/101", "1/102", "2/101", "3-2/101-2"])
        self.assertEqual((self.folder / "other/2/notes.txt").read_text(), "a note")
        self.assertEqual(contents(self.folder / "moved"), before)

    def test_names_thousands_of_runs_alike(self):
        module = load_meet()
        runs = [{"source": f"/tracks/run.{number:05}", "file": f"run.{number:05}"} for number in range(24_000)]
        with self.assert_within_seconds(4):
            module.give_names(runs, {}, {})
        self.assertEqual({run["name"] for run in runs}, {"run", *(f"run-{number}" for number in range(2, 24_001))})

    def test_gives_each_run_its_course_of_an_index(self):
        index = self.folder / "courses"
        (index / "sub").mkdir(parents=True)
        matrix = (EXAMPLES / "matrix.txt").read_text()
        (index / "index.txt").write_text("// a meet\n1 - plain.txt\n2 - nogate\n3 - \"sub/a pond.txt\"\n4 - gone.txt\n"
                                         "5 - more.txt\n* - plain.txt\n")
        (index / "plain.txt").write_text(matrix.partition("\n// These")[0])
        (index / "sub/a pond.txt").write_text(matrix)
        (index / "more.txt").write_text("* - sub/a pond.txt\n")
        for number in range(1, 7):
            shutil.copy(EXAMPLES / "carve.csv", self.tracks / f"{number}.csv")
        self.meet("-c", "courses/index.txt", "tracks", status=1)
        rows = self.assert_rows_equal_runs_beside(index)
        self.assertEqual([name for name, row in rows.items() if row["status"] == "failed"], ["4"])
        self.assertNotEqual(rows["1"]["touchdown_distance_ft"], rows["2"]["touchdown_distance_ft"])

        for target in ("../matrix.txt", str(self.folder / "matrix.txt"), "sub/../../matrix.txt"):
            (index / "index.txt").write_text(f"* - {target}\n")
            self.assertIn("not in its own folder", self.meet("-c", "courses/index.txt", "tracks", status=2))
        (index / "matrix.txt").write_text(matrix)
        (index / "index.txt").write_text("* - matrix.txt\n")
        self.assertIn("two course files are matrix.txt", self.meet("-c", "courses/index.txt", "tracks", status=2))

    def test_follows_an_index_through_folders(self):
        index = self.folder / "courses"
        (index / "sub/deep").mkdir(parents=True)
        (self.folder / "other/deep").mkdir(parents=True)
        (index / "link").symlink_to("../other/deep")
        matrix = (EXAMPLES / "matrix.txt").read_text()
        (index / "plain.txt").write_text(matrix.partition("\n// These")[0])
        (self.folder / "other/north.txt").write_text(matrix)
        (index / "index.txt").write_text(
            "1 - sub/../plain.txt\n2 - plain.txt\n3 - ./sub//deep/../.././sub/../plain.txt\n4 - gone/../plain.txt\n"
            "5 - link/../north.txt\n6 - plain.txt/../plain.txt\n")
        for number in range(1, 7):
            shutil.copy(EXAMPLES / "carve.csv", self.tracks / f"{number}.csv")
        self.meet("-c", "courses/index.txt", "tracks", status=1)
        rows = self.assert_rows_equal_runs_beside(index)
        self.assertEqual([name for name, row in rows.items() if row["status"] == "failed"], ["4", "6"])
        self.assertEqual((self.folder / "results/5/north.txt").read_text(), matrix)

        (index / "index.txt").write_text("1 - plain.txt\n2 - link/../plain.txt\n")
        (self.folder / "other/plain.txt").write_text(matrix)
        self.assertIn("two course files are plain.txt", self.meet("-c", "courses/index.txt", "tracks", status=2))

    def test_works_with_odd_names(self):
        names = ["it's \"q\".csv", "new\nline.csv", "-rf.csv", "--help.csv", "ñ–é.csv",
                 "{} $(touch pwned) `id`;&%s.csv",
                 ",=1+1.csv", " .csv", "matrix.csv", "meet.csv", "a.b.c.csv", "~.csv", "*.csv", "\\.csv", "\t.csv",
                 "=1+1.csv", "+1.csv", "-1.csv", "@SUM(A1).csv", "'.csv", "'=2.csv", "\r=1.csv", "\\t.csv", "12-3.csv",
                 "\x1b[2J\x07.csv", "\x9b2J.csv", "\u202e3-21.csv", "\U000e0001.csv"]
        with contextlib.suppress(OSError):
            (self.tracks / os.fsdecode(b"\xff.csv")).touch()
            names.append(os.fsdecode(b"\xff.csv"))
        for name in names:
            shutil.copy(EXAMPLES / "straight.csv", self.tracks / name)
        results = 'r es\'"$x\n{}'
        self.meet("-c", "matrix.txt", "-o", results, "tracks")
        rows = self.table(results)
        self.assertEqual({row["file"] for row in rows.values()}, {f"tracks/{name}" for name in names})
        self.assertEqual(set(rows), {pathlib.Path(name).stem for name in names})
        self.assertEqual(self.assert_rows_equal_reports(results), len(names))
        self.assertEqual({path.name for path in self.folder.iterdir()}, {"home", "tracks", "matrix.txt", results})

        # Cells begin no formula and hold no control character, and tarvel-meet reads its own table.
        text = (self.folder / results / "meet.csv").read_bytes().decode()
        cells = [cell for row in csv.reader(text.splitlines()) for cell in row[:4]]
        self.assertEqual([cell for cell in cells if cell.startswith(tuple("=+-@\t\r"))], [])
        lines = text.split("\r\n") + (self.folder / results / "meet.txt").read_bytes().decode().split("\n")
        self.assertEqual([line for line in lines if not line.isprintable()], [])
        output = self.meet("-c", "matrix.txt", "-o", results, "-l", f"{results}/meet.csv")
        self.assertIn(f"{len(names)} runs ({len(names)} done before)", output)
        self.assertTrue(output.removesuffix("\n").isprintable(), output)
        self.assertEqual((self.folder / results / "meet.csv").read_bytes().decode(), text)

        (self.folder / "list").write_bytes(b"\0".join(os.fsencode(self.tracks / name) for name in names))
        os.rename(self.tracks / "-rf.csv", self.folder / "-rf.csv")
        self.meet("-c", "matrix.txt", "-o", "listed", "-l", "list", "--", "-rf.csv", status=1)
        rows = self.table("listed")
        self.assertEqual(len(rows), len(names) + 1)
        self.assertEqual({name: row["message"] for name, row in rows.items() if row["status"] == "failed"},
                         {"tracks/-rf": "failed to open file: -rf.csv"})

    def test_finds_all_runs_and_no_results(self):
        self.add_tracks("straight", "carve")
        self.meet("-o", "tracks/saturday", "tracks")
        (self.folder / "card/day").mkdir(parents=True)
        shutil.copy(EXAMPLES / "reversed.csv", self.folder / "card/day")
        (self.tracks / "card").symlink_to("../card")
        (self.folder / "card/day/circle").symlink_to("../../tracks")
        shutil.copy(EXAMPLES / "tagged.csv", self.tracks / "meet.csv.new.csv")
        (self.folder / "list").write_bytes(b"\xef\xbb\xbftracks/straight.csv\r\ntracks\r\n")
        self.meet("-l", "list")
        self.assertEqual({row["file"] for row in self.table().values()}, {
            "tracks/straight.csv", "tracks/carve.csv", "tracks/card/day/reversed.csv", "tracks/meet.csv.new.csv"})
        subprocess.run([*RUNNER, MEET, "-q", "-l", "-"], input=b"tracks/straight.csv", cwd=self.folder,
                       env=self.environment(), check=True)
        self.assertEqual({row["file"] for row in self.table().values()}, {"tracks/straight.csv"})

    def test_refuses_folders_that_it_cannot_read(self):
        self.add_tracks("straight")
        (self.tracks / "closed").mkdir()
        (self.tracks / "closed").chmod(0)
        for path in (self.folder, self.tracks):
            path.chmod(0o777)
        # Root can read everything, and other users may have no access to the source tree.
        nobody = ["setpriv", "--reuid=65534", "--clear-groups"] if os.getuid() == 0 else []
        shutil.copy(MEET, self.folder)
        done = subprocess.run([*nobody, "./tarvel-meet", "tracks"], cwd=self.folder, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, env=self.environment(TARVEL="true"), text=True)
        self.assertEqual((done.returncode, done.stdout),
                         (2, "tarvel-meet: cannot read the folder tracks/closed: Permission denied\n"))

    def test_works_with_odd_names_in_an_old_locale(self):
        locale = self.folder / "locale/de_DE.ISO-8859-1"
        locale.parent.mkdir()
        # Where no other locale can be made, names are UTF-8.
        subprocess.run(["localedef", "-i", "de_DE", "-f", "ISO-8859-1", locale], capture_output=True)
        shutil.copy(EXAMPLES / "straight.csv", self.tracks / "Müller.csv")
        self.meet("tracks", LOCPATH=str(locale.parent), LC_ALL=locale.name)
        self.assertEqual(list(self.table()), ["Müller"])

    def test_refuses_what_is_no_track(self):
        self.add_tracks("straight")
        os.mkfifo(self.tracks / "fifo.csv")
        (self.tracks / ".csv").touch()
        shutil.copy(EXAMPLES / "straight.csv", self.tracks / "matrix.txt")
        shutil.copy(EXAMPLES / "straight.csv", self.tracks / ".tarvel-meet")
        shutil.copy(EXAMPLES / "straight.csv", self.tracks / "straight.tvl")
        self.meet("-c", "matrix.txt", "tracks", *(f"tracks/{name}" for name in (".csv", "matrix.txt", ".tarvel-meet")),
                  status=1)
        self.assertEqual({name: row["message"] for name, row in self.table().items()}, {
            "fifo": "failed to open file: fifo.csv", "straight": "",
            "_csv": "filename does not have 3 character extension",
            "matrix": "its name is that of a course file", "_tarvel-meet": "its name is that of a course file"})


class FailureTest(MeetTest):
    """Failures on this machine."""

    def messages(self):
        return {name: row["message"] for name, row in self.table().items()}

    def test_says_how_tarvel_failed(self):
        for number in range(1, 6):
            shutil.copy(EXAMPLES / "straight.csv", self.tracks / f"{number}.csv")
        failing = self.script("failing", """case "${@: -1}" in
            1.csv) echo "first"; echo "out of luck" >&2; exit 3 ;;
            2.csv) exit 3 ;;
            3.csv) kill -35 $$ ;;
            4.csv) sleep 3 ;;
            5.csv) mkfifo fifo ;;
            esac\n""")
        self.meet("--retries", "1", "--timeout", "2", "tracks", status=1, TARVEL=failing)
        self.assertEqual(self.messages(), {
            "1": "out of luck", "2": "exit status 3", "3": "tarvel was ended by signal 35",
            "4": "took longer than 2 s", "5": "could not be analysed: not a regular file"})
        self.assertEqual(os.listdir(self.folder / "results/5"), [".tarvel-meet"])

    def test_says_how_tarvel_json_failed(self):
        for number in range(1, 6):
            shutil.copy(EXAMPLES / "straight.csv", self.tracks / f"{number}.csv")
        failing = self.script("failing", f"""case "${{@: -1}}" in
            1.csv) echo "out of luck" >&2; exit 1 ;;
            2.csv) exit 3 ;;
            3.csv) kill -35 $$ ;;
            4.csv) echo "no document" ;;
            5.csv) "{TARVEL_JSON}" "$@" | sed 's/"text":"/"text":"=/' ;;
            --version) echo 1 ;;
            esac\n""")
        self.meet("--retries", "1", "--no-check", "tracks", status=1, TARVEL_JSON=failing)
        self.assertEqual(self.messages(), {
            "1": "out of luck", "2": "exit status 3", "3": "tarvel-json was ended by signal 35",
            "4": "its document has an unknown form", "5": "its document has an unknown form"})
        closing = self.script("closing", 'chmod -x "$0"\n')
        self.meet("--retries", "1", "tracks/1.csv", status=1, TARVEL_JSON=closing)
        self.assertEqual(self.messages(), {"1": "cannot run tarvel-json: Permission denied"})

    def test_says_that_tarvel_cannot_be_run(self):
        self.add_tracks("straight")
        closing = self.script("closing", 'chmod -x "$0"\n')
        self.meet("--retries", "1", "tracks", status=1, TARVEL=closing)
        self.assertEqual(self.messages(), {"straight": "cannot run tarvel: Permission denied"})

    def test_says_that_a_track_is_gone(self):
        self.add_tracks("straight")
        self.meet("tracks")
        (self.tracks / "straight.csv").unlink()
        self.meet("tracks/straight.csv", status=1)
        self.assertEqual(self.messages(), {"straight": "failed to open file: straight.csv"})

    def test_says_that_the_table_cannot_be_written(self):
        self.add_tracks("straight")
        self.meet("tracks")
        (self.folder / "results/meet.csv").unlink()
        (self.folder / "results/meet.csv").mkdir()
        self.assertIn("Is a directory", self.meet("tracks", status=2))

    def test_says_that_the_course_cannot_be_read(self):
        self.add_tracks("straight")
        self.assertEqual(self.meet("-c", "/proc/self/mem", "tracks", status=2),
                         "tarvel-meet: cannot read the course /proc/self/mem: Input/output error\n")

    def test_works_without_the_standard_streams(self):
        self.add_tracks("straight")

        def close_streams():
            for descriptor in (0, 1, 2):
                os.close(descriptor)

        command = [*RUNNER, MEET, "-l", "-", "tracks"]
        done = subprocess.run(command, cwd=self.folder, env=self.environment(), preexec_fn=close_streams)
        self.assertEqual(done.returncode, 0)
        self.assertEqual(self.table()["straight"]["status"], "ok")
        # What is printed does not get into a file that the command has opened.
        self.assertEqual((self.folder / "results/.meet/lock").read_bytes(), b"")

    def test_says_that_parallel_could_not_begin(self):
        self.add_tracks("straight")
        self.script("bin/parallel", "exit 1\n")
        self.assertIn("GNU parallel could not begin",
                      self.meet("tracks", status=2, PATH=f"{self.folder}/bin:{os.environ['PATH']}"))

    def test_ends_a_parallel_that_does_not_end(self):
        self.add_tracks("straight")
        self.script("bin/parallel", "trap '' TERM; touch joblog; exec sleep 200\n")
        process = self.start("tracks", PATH=f"{self.folder}/bin:{os.environ['PATH']}")
        while not (self.folder / "results/.meet/joblog").exists():
            time.sleep(0.01)
        process.terminate()
        process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 143)
        self.assertEqual(session_members(process.pid), [])

    def test_starts_no_worker_without_a_session_and_a_plan(self):
        self.add_tracks("straight")
        self.meet("tracks")
        state = self.folder / "results/.meet"

        def work(batch_id, session):
            done = subprocess.run([*RUNNER, MEET, "--batch", batch_id, session], cwd=state, text=True,
                                  env=self.environment(TARVEL_MEET_STATE=str(state)),
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            return done.returncode, done.stdout

        self.assertEqual(work("lost", "0123"), (1, ""))
        (state / "session").write_text("0123")
        self.assertEqual(work("lost", "0123"), (1, "tarvel-meet: batch/lost/plan: No such file or directory\n"))

    def test_shows_on_a_terminal_how_far_it_is(self):
        self.add_tracks("straight")
        self.script("bin/parallel", f'printf "%s\\n" "$@" >"{self.folder}/words"; exit 1\n')
        environment = self.environment(PATH=f"{self.folder}/bin:{os.environ['PATH']}")
        master, slave = os.openpty()
        for options, has_bar in (([], True), (["-q"], False)):
            subprocess.run([*RUNNER, MEET, *options, "tracks"], cwd=self.folder, env=environment, stderr=slave)
            self.assertEqual("--bar" in (self.folder / "words").read_text().splitlines(), has_bar)
        for descriptor in (master, slave):
            os.close(descriptor)


class UsageTest(MeetTest):
    def test_refuses_wrong_usage(self):
        self.add_tracks("straight")
        (self.folder / "empty").mkdir()
        (self.folder / "used").mkdir()
        (self.folder / "used/letter").touch()
        (self.folder / "cut.csv").write_text('name,file,status,message,a\na,"b')
        (self.folder / "escape.csv").write_text("name,file,status,message,a\na,\\x1,ok,,1\n")
        for words, message in (
                ((), "no runs"),
                (("empty",), "no .csv or .tvl file in empty"),
                (("-i", "-c", "matrix.txt", "tracks"), "conflicting options"),
                (("-c", "missing.txt", "tracks"), "no course file missing.txt"),
                (("-c", "tracks", "tracks"), "no course file tracks"),
                (("-l", "missing", "tracks"), "cannot read the list missing"),
                (("-l", "cut.csv"), "cannot read the list cut.csv"),
                (("-l", "escape.csv"), "cannot read the list escape.csv"),
                (("-o", "used", "tracks"), "has other files in it"),
                (("-o", "matrix.txt", "tracks"), "cannot use"),
                (("-x", "*", "tracks"), "no runs"),
                (("--hosts", "missing", "tracks"), "cannot read the host list"),
                (("--tarvel", "./missing", "tracks"), "cannot run ./missing"),
                (("--tarvel", "/bin/true", "tracks"), "cannot run /nonexistent/json"),
                (("-j", "0", "tracks"), "invalid positive value"),
                (("--unknown", "tracks"), "unrecognized")):
            with self.subTest(words=words):
                self.assertIn(message, self.meet(*words, status=2, **(
                    {"TARVEL_JSON": "/nonexistent/json"} if "/bin/true" in words else {})))
        self.assertEqual((self.folder / "used/letter").read_bytes(), b"")
        self.assertIn("GNU parallel is needed", self.meet("tracks", status=2, PATH="/nonexistent"))
        self.script("bin/parallel", "exit 1\n")
        (self.folder / "hosts").write_text("host\n")
        self.assertIn("rsync is needed", self.meet("--hosts", "hosts", "tracks", status=2, PATH=f"{self.folder}/bin"))

    def test_prints_the_version_of_tarvel(self):
        version = subprocess.run([TARVEL, "-v"], stdout=subprocess.PIPE, text=True).stdout
        self.assertEqual(self.meet("--version"), f"tarvel-meet with {version}")
        empty = self.script("empty", "")
        pathlib.Path(empty).write_bytes(b"")
        self.assertEqual(self.meet("--version", TARVEL=empty), "tarvel-meet with \n")

    def test_takes_only_machines_in_a_host_list(self):
        module = load_meet()
        (self.folder / "hosts").write_bytes(
            b"\xef\xbb\xbf:\r\n\n# comment\n host \n3/:\nuser@host\n12/first.last@a-b.example.org:2222\n10.0.0.1:22")
        self.assertEqual(module.read_hosts(self.folder / "hosts"), [
            ":", "host", "3/:", "user@host", "12/first.last@a-b.example.org:2222", "10.0.0.1:22"])
        self.add_tracks("straight")
        for line in ("1/touch pwned; host", "touch pwned;host", "host;touch pwned", "2/ssh -o ProxyCommand=x host",
                     "$(touch pwned)", "`touch pwned`", "-oProxyCommand=x", "user@-oProxyCommand=x", "-", "..", "hosts/",
                     "0/host", "x/host", "1/2/host", "/host", "host/", "user@", "@host", "@group/host", "a@b@c", "::22",
                     "host:", "host:x", "host:123456", "host{1..9}", "h[1-9]", "a,b", "user:word@host", "h\u00f6st",
                     "h # x", "a b", "a\x1b[2J", "a\0"):
            with self.subTest(line):
                (self.folder / "hosts").write_text(f"# two lines\n:\n{line}\n")
                self.assertRaisesRegex(module.UsageError, "^line 3 of the host list .* is no machine: " + re.escape(line),
                                       module.read_hosts, self.folder / "hosts")
        (self.folder / "hosts").write_text("1/touch pwned; host\x1b[2J\n")
        self.assertEqual(self.meet("--hosts", "hosts", "tracks", status=2), "tarvel-meet: line 1 of the host list hosts "
                         "is no machine: 1/touch pwned; host\\x1b[2J\n")
        self.assertEqual({path.name for path in self.folder.iterdir()}, {"home", "tracks", "matrix.txt", "hosts"})

    def test_lets_nobody_else_into_its_results(self):
        self.add_tracks("straight")
        self.meet("tracks")
        shutil.copy(EXAMPLES / "carve.csv", self.folder / "results/mine.csv")
        self.assertIn("lies in the results folder", self.meet("tracks", "results/mine.csv", status=2))
        # Files that the user has put there stay.
        shutil.copy(EXAMPLES / "carve.csv", self.tracks / "mine.csv")
        (self.folder / "results/mine").mkdir()
        self.meet(".")
        self.assertEqual(set(self.table()), {"straight", "mine-2"})
        with open(self.folder / "results/.meet/lock", encoding="ascii") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assertIn("another tarvel-meet is at work", self.meet("tracks", status=2))

    def test_finds_tarvel(self):
        self.add_tracks("straight")
        beside = self.folder / "bin"
        beside.mkdir()
        shutil.copy(MEET, beside / "a-meet")
        (self.folder / "elsewhere").mkdir()
        (self.folder / "elsewhere/tarvel").symlink_to(TARVEL)
        environment = self.environment(PATH=f"{self.folder / 'elsewhere'}:{os.environ['PATH']}")
        del environment["TARVEL"]
        marked = self.script("bin/tarvel", f'echo >>"{self.folder}/beside"; exec "{TARVEL}" "$@"\n')
        command = [*RUNNER, beside / "a-meet", "-q", "tracks"]
        subprocess.run(command, cwd=self.folder, env=environment, check=True)
        self.assertTrue((self.folder / "beside").exists())
        os.remove(marked)
        subprocess.run(command, cwd=self.folder, env=environment, check=True)
        self.assertIn("usage:", subprocess.run([*RUNNER, beside / "a-meet", "--help"], env=environment, text=True,
                                               stdout=subprocess.PIPE, check=True).stdout)


@unittest.skipUnless(shutil.which("rsync"), "rsync is missing")
class HostTest(MeetTest):
    """Other machines, simulated on this one: each has a home directory of its own and none of the caller's
    environment."""

    def fake_ssh(self, before=""):
        passed = " ".join(f'{name}="${name}"' for name in REMOTE_ENVIRONMENT if name in os.environ)
        return self.script("fake_ssh", f"""
            while [[ $1 == -* ]]; do case $1 in -[olpSFi]) shift 2 ;; *) shift ;; esac; done
            host=$1; shift
            [[ ${{1-}} == -- ]] && shift
            [[ $host == down ]] && exit 255
            echo "$host" >>"{self.folder}/calls"
            mkdir -p "{self.folder}/home_$host" && cd "{self.folder}/home_$host" || exit
            {before}
            path="$PATH"; [[ -e ../bin_$host ]] && path=$(cd "../bin_$host" && pwd):$PATH
            exec env -i {passed} HOME="$PWD" PATH="$path" SHELL=/bin/sh /bin/sh -c "$*"\n""")

    def assert_table_as_at_home(self, status=0, **more):
        self.meet("-c", "matrix.txt", "-o", "here", "tracks", status=status)
        before = contents(self.tracks)
        output = self.meet("-c", "matrix.txt", "--hosts", "hosts", "tracks", status=status, **more)
        for name in ("meet.csv", "meet.txt"):
            self.assertEqual((self.folder / "results" / name).read_bytes(), (self.folder / "here" / name).read_bytes())
        for name in self.table():
            self.assert_same_outputs(name, "results", "here")
        self.assertEqual(contents(self.tracks), before)
        return output

    def left_behind(self):
        return [path for home in self.folder.glob("home_*") for path in home.rglob("*") if path.is_file()]

    def hosts_of_jobs(self):
        lines = (self.folder / "results/.meet/joblog").read_text().splitlines()[1:]
        return {line.split("\t")[1] for line in lines if line.split("\t")[6] == "0"}

    def test_brings_the_results_home(self):
        for number, name in enumerate(EXAMPLE_RUNS * 3):
            shutil.copy(EXAMPLES / f"{name}.csv", self.tracks / f"{number} it's\n{name}.csv")
        (self.tracks / "bad.csv").touch()
        for folder in ("1", "2"):
            (self.tracks / folder).mkdir()
            os.symlink(EXAMPLES / "straight.csv", self.tracks / folder / "link.csv")
        (self.folder / "hosts").write_text("2/one\n2/down\n# comment\n1/:\n")
        self.assert_table_as_at_home(status=1, PARALLEL_SSH=self.fake_ssh())
        self.assertIn("one", self.hosts_of_jobs())
        self.assertEqual(self.left_behind(), [])
        # No run is left, so no machine is called.
        (self.tracks / "bad.csv").unlink()
        (self.folder / "calls").unlink()
        self.meet("-c", "matrix.txt", "--hosts", "hosts", "--ssh", str(self.folder / "fake_ssh"), "tracks")
        self.assertFalse((self.folder / "calls").exists())

    def test_uses_the_tarvel_of_the_other_machine(self):
        self.add_tracks("straight", "carve")
        for folder in ("here_only", "bin_two"):
            (self.folder / folder).mkdir()
            (self.folder / folder / "tarvel").symlink_to(TARVEL)
        (self.folder / "hosts").write_text("1/two\n")
        ssh = self.fake_ssh(before=f'rm -f "{self.folder}/here_only/tarvel"')
        self.meet("-c", "matrix.txt", "--hosts", "hosts", "--ssh", ssh, "tracks", TARVEL="here_only/tarvel")
        self.assertEqual(self.assert_rows_equal_reports("results"), 2)

    def test_takes_nothing_but_its_own_runs_from_another_machine(self):
        self.add_tracks("straight", "carve")
        self.meet("-o", "here", "tracks")
        for sent, edits in (("dots", {"name": "../escaped"}), ("root", {"name": str(self.folder / "escaped")}),
                            ("other", {"name": "other"}), ("state", {"name": ".meet/work"}),
                            ("nobody", {"name": "nobody", "session": None})):
            shutil.copytree(self.folder / "here/straight", self.folder / "sent" / sent)
            edit_record(self.folder / "sent" / sent, **{"session": "SESSION", **edits})
        lying = self.script("lying", f"""
            if [[ $1 != -v && $HOME == *home_liar ]]; then
              for out in ../../out/*/*; do
                cp -r "{self.folder}/sent/." "$out"
                session=$(basename "$(dirname "$out")")
                sed -i "s/SESSION/${{session%-*}}/" "$out"/*/.tarvel-meet
              done
            fi
            exec "{TARVEL}" "$@"\n""")
        (self.folder / "hosts").write_text("1/liar\n")
        self.meet("--hosts", "hosts", "--ssh", self.fake_ssh(), "tracks", TARVEL=lying)
        self.assertEqual(self.assert_rows_equal_reports("results"), 2)
        self.assertEqual(sorted(os.listdir(self.folder / "results")),
                         [".meet", "carve", "meet.csv", "meet.txt", "straight"])
        self.assertFalse((self.folder / "escaped").exists())

    def test_asks_for_no_password_and_waits_for_no_silent_machine(self):
        self.add_tracks("straight")
        ssh = self.fake_ssh(before=f'echo "${{options[@]}}" >>"{self.folder}/options"')
        text = pathlib.Path(ssh).read_text().replace("while", "options=(\"$@\")\nwhile", 1)
        self.script("bin/ssh", text.partition("\n")[2])
        (self.folder / "hosts").write_bytes(b"1/one\r\n")
        environment = self.environment(PATH=f"{self.folder}/bin:{os.environ['PATH']}")
        environment.pop("PARALLEL_SSH", None)
        subprocess.run([*RUNNER, MEET, "-q", "--hosts", "hosts", "tracks"], cwd=self.folder, env=environment, check=True)
        for line in (self.folder / "options").read_text().splitlines():
            self.assertIn("-o BatchMode=yes", line)
            self.assertIn("-o ServerAliveInterval=", line)
        self.assertEqual(list(self.table()), ["straight"])

    def test_needs_tarvel_on_the_other_machine(self):
        self.add_tracks("straight")
        (self.folder / "here_only").mkdir()
        (self.folder / "here_only/tarvel").symlink_to(TARVEL)
        (self.folder / "hosts").write_text("1/empty\n")
        ssh = self.fake_ssh(before=f'rm -f "{self.folder}/here_only/tarvel"')
        output = self.meet("--hosts", "hosts", "--retries", "1", "--ssh", ssh, "tracks", status=1,
                           TARVEL="here_only/tarvel")
        self.assertIn("tarvel-meet: empty: no tarvel there", output)

    def test_does_not_mix_versions(self):
        self.add_tracks("straight", "carve")
        aged = self.script("aged", f'''
            if [[ $1 == -v && $HOME == *home_old ]]; then echo "Tarvel 0.0.1"; else exec "{TARVEL}" "$@"; fi\n''')
        (self.folder / "hosts").write_text("1/old\n")
        output = self.meet("-c", "matrix.txt", "--hosts", "hosts", "--retries", "1", "--ssh", self.fake_ssh(), "tracks",
                           status=1, TARVEL=aged)
        self.assertIn("old: Tarvel 0.0.1 there", output)
        self.assertEqual({row["message"] for row in self.table().values()}, {"no result came back"})


if __name__ == "__main__":
    if not shutil.which("parallel"):
        print("skipped: GNU parallel is missing (Debian: apt install parallel)")
        sys.exit(77)
    program = unittest.main(exit=False, verbosity=2)
    if not program.result.wasSuccessful():
        sys.exit(1)
    if program.result.skipped:
        print("skipped:", *{reason for _, reason in program.result.skipped})
        sys.exit(77)
