#!/usr/bin/env python3
"""tests/proofs/judges_test.py: the judges of the other proofs find planted faults."""
from __future__ import annotations

import contextlib
import functools
import io
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest
from collections.abc import Callable
from unittest import mock

from planted import PROGRAM, PROJECT, plant

from proofs import families, hostile_families, memcheck, memory_faults, mutants, mutations, same_bytes
from proofs.command_lines import CommandLine
from proofs.disturbed import Case
from proofs.harness import Content, Entry, Judged, Result
from proofs.hostile_families import Cost
from proofs.inputs import Input, example, track_behind_options
from proofs.memory_faults import Counted


class MemoryFaultsTest(unittest.TestCase):
    left = {"run.csv": Entry("-", b"track"), "run.txt": Entry("-", b"report"),
            "run.pdf": Entry("-", b"%PDF /FontName /AAAAAA+Arial 1")}
    short = b"\nERROR: failed to allocate memory for charts\n"

    def setUp(self) -> None:
        self.case = object.__new__(Case)  # without calls
        self.case.line = CommandLine("run", ["run.csv"], {"run.csv": b"track"})
        self.case.arguments, self.case.maps, self.case.names = ["run.csv"], {}, [*self.left]
        self.case.before = {"run.csv": self.left["run.csv"]}
        self.case.reference = Result(0, b"\nReport\nEnd\n", b"", {**self.left})

    @staticmethod
    def own(case: Case, counted: Counted) -> Judged:
        return memory_faults.judge_own(case, memory_faults.Fault("own", 1, "once"), counted)

    def judged(self, judge: Callable[[Case, Counted], Judged], refused: int = 2, gone: str = "",
               status: int | None = 0, out: bytes = b"\nReport\nEnd\n", err: bytes = b"", **changed: bytes) -> Judged:
        files = {name: entry for name, entry in self.left.items() if name != gone}
        files.update({name.replace("_", "."): Entry("-", content) for name, content in changed.items()})
        return judge(self.case, Counted(Result(status, out, err, files), refused=refused))

    def test_a_failed_allocation_is_reported_or_has_no_effect(self) -> None:
        own = self.own
        self.assertEqual(self.judged(own), ("succeeded", None))
        self.assertEqual(self.judged(own, status=1, out=b"\nReport" + self.short),
                         ("failed to allocate memory for charts", None))
        for words, judged in {
            "hang": self.judged(own, status=None),
            "ended with status 97: leak": self.judged(own, status=memory_faults.SANITIZER_REPORT, err=b"leak"),
            "ended with signal 11": self.judged(own, status=-signal.SIGSEGV),
            "lost run.csv": self.judged(own, gone="run.csv", status=1, out=self.short),
            "leaves unfinished run.tmp": self.judged(own, run_tmp=b"", status=1, out=self.short),
            "leaves unfinished run.txt": self.judged(own, run_txt=b"repor", status=1, out=self.short),
            "WRONG SUCCESS: run.txt": self.judged(own, run_txt=b"repor"),
            "WRONG SUCCESS: standard output": self.judged(own, out=b"\nReport\n"),
            "says 'could not find rollout'": self.judged(own, status=1, out=b"ERROR: could not find rollout\n"),
            "exit status 1 without": self.judged(own, status=1, out=b"\nRepo" + self.short + b"more"),
            "prints b'": self.judged(own, status=1, out=b"\nOther" + self.short),
            "standard error says b'library'": self.judged(own, status=1, out=self.short, err=b"library"),
            "ended with status 2": self.judged(own, status=2),
        }.items():
            self.assertEqual((judged[1] or "")[:len(words)], words)

    def test_an_allocation_must_have_failed(self) -> None:
        self.assertEqual(self.judged(self.own, 0), ("no fault", "no allocation failed"))

    def test_an_input_may_be_set_aside(self) -> None:
        self.case.reference.files["run.csv.orig"] = Entry("-", b"track")
        judged = self.judged(self.own, gone="run.csv", status=1, out=self.short, run_csv_orig=b"track")
        self.assertEqual(judged, ("failed to allocate memory for charts", None))

    def test_a_drawing_library_may_end_the_process_and_nothing_else(self) -> None:
        drawing = memory_faults.judge_drawing
        self.assertEqual(self.judged(drawing, status=-6, gone="run.pdf"), ("ended with signal 6", None))
        self.assertEqual(self.judged(drawing, run_pdf=b"%PDF /FontName /AAAAAA+Other"), ("other letters", None))
        self.assertEqual(self.judged(drawing, 1, run_pdf=b"%PDF /FontName /AAAAAA+Arial"),
                         ("letters missing after one refusal", None))
        self.assertEqual(self.judged(drawing, run_pdf=b"%PDF /FontName /AAAAAA+Arial")[1], "WRONG SUCCESS: run.pdf")
        self.assertEqual(self.judged(drawing, status=None)[1], "hang")
        self.assertEqual(self.judged(drawing, status=-6, run_txt=b"repor")[1], "run.txt is not whole")

    def test_a_program_may_not_begin_under_a_limit(self) -> None:
        limited = functools.partial(memory_faults.judge_own, self.case, memory_faults.Fault("as", 1 << 20, "limit"))
        self.assertEqual(limited(Counted(Result(127, b"", b"loader", self.case.before))), ("not begun", None))
        self.assertEqual(limited(Counted(Result(127, b"", b"", self.left)))[1], "ended with status 127: ")


class HostileFamiliesTest(unittest.TestCase):
    def test_a_call_that_takes_for_ever_is_found(self) -> None:
        with tempfile.TemporaryDirectory() as path:
            program = plant(pathlib.Path(path, "tarvel"), "while :; do :; done")
            cost = hostile_families.measure(program, "empty_lines", families.TINY)
        self.assertLess(cost.status, 0)
        found = hostile_families.violation("empty_lines", families.TINY, cost)
        self.assertRegex(found or "", "^400 rows: exit status -")
        cost = hostile_families.measure(PROGRAM, "empty_lines", families.TINY)
        self.assertIsNone(hostile_families.violation("empty_lines", families.TINY, cost))

    def test_limits_hold_a_row(self) -> None:
        for cost, words in ((Cost(1, 2.29, 271_000_000), None), (Cost(0, 2.31, 0), "1000000 rows: 2.31 s"),
                            (Cost(0, 0.0, 273_000_000), "1000000 rows: 273 MB"),
                            (Cost(2, 0.0, 0), "1000000 rows: exit status 2 after 0.00 s")):
            self.assertEqual(hostile_families.violation("empty_lines", 1_000_000, cost), words)
        self.assertIsNone(hostile_families.violation("drawn_pond", 1_000_000, Cost(0, 20.2, 3_000_000_000)))

    def test_a_quadratic_cost_is_too_steep(self) -> None:
        for power, is_steep in ((1.0, False), (1.09, False), (1.2, True), (2.0, True)):
            costs = {rows: Cost(0, (rows / 50_000) ** power, 0) for rows in (62_500, 250_000, 1_000_000)}
            steepness = hostile_families.slope({families.TINY: Cost(0, 0.0, 0), **costs})
            self.assertAlmostEqual(steepness, power)
            self.assertEqual(steepness >= hostile_families.STEEPEST, is_steep)


class SameBytesTest(unittest.TestCase):
    def test_each_compiler_builds_at_four_levels(self) -> None:
        self.assertEqual(list(same_bytes.BUILDS), [compiler + level for compiler in ("g++", "clang++")
                                                   for level in ("-O0", "-O2", "-O3", "-O2-lto")])

    def test_the_build_that_differs_is_named(self) -> None:
        files: dict[str, Content] = {"run.csv": example("carve.csv"), "matrix.txt": example("matrix.txt")}
        given = Input("carve", files, [["run.csv"], ["-m", "run.csv"]])
        with tempfile.TemporaryDirectory() as path:
            other = plant(pathlib.Path(path, "tarvel"), "echo 0 >> run.kml")
            builds = {"real": PROGRAM, "same": PROGRAM, "other": other}
            with (mock.patch.object(same_bytes, "all_inputs", lambda: [given]),
                  mock.patch.object(same_bytes, "program_of", builds.__getitem__),
                  mock.patch.object(same_bytes, "BUILDS", builds),
                  contextlib.redirect_stdout(io.StringIO()) as printed):
                outcome = same_bytes.prove([])
        self.assertEqual(outcome, ("3 builds, 1 inputs, 6 calls, 54 outputs compared", 2))
        self.assertIn("(carve, TZ=Europe/Vienna): tarvel run.csv\n    run.kml, line ", printed.getvalue())
        self.assertIn("      other: ", printed.getvalue())
        self.assertNotIn("      same: ", printed.getvalue())

    def test_the_course_before_a_track_is_cut_off(self) -> None:
        data = bytes([16]) + bytes(13 * 8) + bytes([2]) + bytes(32) + b"track"
        self.assertEqual(track_behind_options("swoop_analysis", data), b"track")
        self.assertEqual(track_behind_options("swoop_analysis", b"\0track"), b"track")
        self.assertEqual(track_behind_options("header_lines", b"\0track"), b"\0track")


@unittest.skipUnless(shutil.which("valgrind"), "no valgrind")
class MemcheckTest(unittest.TestCase):
    def test_a_leak_and_a_misread_are_found(self) -> None:
        with tempfile.TemporaryDirectory() as path:
            for name, body, words in (
                    ("sound", "return 0;", None), ("leaking", "malloc(8); return 0;", "definitely lost"),
                    ("misreading", "char *volatile p = (char *)malloc(8); free(p); return p[0] > 300;", "Invalid read"),
                    ("ending", "__builtin_trap();", "exit status -4")):
                program = pathlib.Path(path, name)
                source = f"#include <stdlib.h>\nint main() {{ {body} }}\n"
                subprocess.run(["g++", "-w", "-g", "-x", "c++", "-", "-o", program], input=source.encode(), check=True)
                found = memcheck.valgrind(memcheck.Check(name, [program], {}))
                self.assertEqual(found is None, words is None, name)
                self.assertIn(words or "", found or "")


SOURCE = """namespace tarvel {
constexpr int most = 7;  // kept
struct pair { double a = 0.5; double b = 0.5; };
bool is_less(const pair &p, int count) {
  if (p.a < p.b && count >= most) return true;
  return -p.a < 0.5;
}
}
"""


class MutantsTest(unittest.TestCase):
    every = list(mutations.mutants_of("src/x.cpp", SOURCE))

    def test_every_kind_of_fault_is_put_in_once(self) -> None:
        self.assertEqual([(m.function, m.change[1]) for m in self.every], [
            ("most", "constexpr int most = 8;  // kept"), ("most", "constexpr int most = 6;  // kept"),
            *(("pair", f"struct pair {{ double a = {a}; double b = {b}; }};")
              for a, b in ((0.6, 0.5), (0.4, 0.5), (0.5, 0.6), (0.5, 0.4))),
            *(("is_less", f"if (p.a {a} p.b {b} count {c} most) return {d};") for a, b, c, d in (
                ("<=", "&&", ">=", "true"), (">=", "&&", ">=", "true"), ("<", "||", ">=", "true"),
                ("<", "&&", ">", "true"), ("<", "&&", "<", "true"), ("<", "&&", ">=", "false"))),
            *(("is_less", f"return {line};") for line in (
                "p.a < 0.5", "-p.a <= 0.5", "-p.a >= 0.5", "-p.a < 0.6", "-p.a < 0.4"))])

    def test_digits_may_be_grouped(self) -> None:
        every = mutations.mutants_of("src/x.cpp", "constexpr int most = 5'000;\nconstexpr int least = 1;\n")
        self.assertEqual([m.change[1] for m in every], [f"constexpr int {words};" for words in (
            "most = 6'000", "most = 4'000", "least = 2", "least = 0")])

    def test_the_judges_are_all_tests_of_the_components_and_can_be_built(self) -> None:
        build_folder = PROGRAM.parent
        tests = mutants.find_tests(build_folder)
        known = subprocess.run(["ninja", "-C", build_folder, "-t", "targets", "all"], stdout=subprocess.PIPE,
                               check=True, text=True)
        names = {line.partition(":")[0] for line in known.stdout.splitlines()}
        for test in tests:
            self.assertTrue(test.targets, test.name)
            self.assertEqual(set(test.targets) - names, set(), test.name)
        self.assertLessEqual({"split/program_test", "json/documents_test", "swoop/swoop_test", "fuzz/document"},
                             {test.name for test in tests})
        self.assertNotIn("module/wasm_test", {test.name for test in tests})

    def test_an_entry_names_its_mutant_wherever_the_line_is(self) -> None:
        moved = SOURCE.replace("  if (p.a", "  // A comment.\n\n    if (p.a").replace(" && count", " &&\n        count")
        after = list(mutations.mutants_of("src/x.cpp", moved))
        for mutant in self.every:
            entry = mutations.entry_of(mutant)
            self.assertEqual([m for m in self.every if entry.names(m)], [mutant])
            self.assertEqual([(m.replacement, m.token) for m in after if entry.names(m)],
                             [(mutant.replacement, mutant.token)])

    def test_the_list_names_one_mutant_each(self) -> None:
        every = mutations.all_mutants()
        for entry in mutations.read_entries(PROJECT / "proofs" / "equivalent_mutants.txt"):
            self.assertEqual(sum(entry.names(mutant) for mutant in every.get(entry.file, [])), 1, entry)

    def test_a_survivor_and_a_wrong_entry_are_findings(self) -> None:
        first, second, *rest = self.every
        verdicts = {mutant: "caught" for mutant in rest}
        listed = [mutations.entry_of(first)]
        cases: list[tuple[str, list[mutations.Entry], int]] = [
            ("caught", [], 0), ("survived", [], 1), ("survived", listed, 0), ("caught", listed, 1),
            ("caught", [mutations.Entry("src/x.cpp", "gone", "a < b", "a <= b")], 1)]
        for verdict, entries, findings in cases:
            with contextlib.redirect_stdout(io.StringIO()):
                outcome = mutants.report({**verdicts, second: "caught", first: verdict}, entries,
                                         {"src/x.cpp": self.every})
            self.assertEqual(outcome.findings, findings, (verdict, entries))


if __name__ == "__main__":
    unittest.main()
