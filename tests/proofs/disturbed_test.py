#!/usr/bin/env python3
"""tests/proofs/disturbed_test.py: io_faults and kill_anywhere find what is planted into a program."""
from __future__ import annotations

import contextlib
import io
import shutil
import unittest

from planted import PROGRAM, plant

from proofs import io_faults, kill_anywhere
from proofs.command_lines import small_lines
from proofs.disturbed import Case, SystemCall, judge, own_paths, read_calls, traced
from proofs.harness import Tally, Workplace

FAILS = "echo 'ERROR: failed to write file: run.kml'; status=1; "
# What the planted program does after the real one, and the beginning of the finding.
FAULTS = (
    (":", None),
    ("echo 0 >> run.kml", "WRONG SUCCESS: run.kml"),
    ("rm run.pdf", "WRONG SUCCESS: run.pdf"),
    ("touch stray.txt", "WRONG SUCCESS: stray.txt"),
    ("echo more", "WRONG SUCCESS: standard output"),
    ("status=3", "ended with status 3"),
    ("status=1", "exit status 1 without a message"),
    ("kill -SEGV $$", "ended with signal 11"),
    ("sleep 20", "hang"),
    (FAILS, None),
    (FAILS.replace("run.kml", "run.txt"), "says 'failed to write file: run.txt' instead of"),
    (FAILS + "rm run.csv", "lost run.csv"),
    (FAILS + "mv run.csv run.csv.orig", None),
    (FAILS + ": > matrix.txt", "lost matrix.txt"),
    (FAILS + "truncate -s 9 run.txt", "leaves unfinished run.txt"),
    (FAILS + "truncate -s 9 run.kml", None),
)


# The leak sanitizer does not work in a traced program.
IS_TRACEABLE = shutil.which("strace") is not None and b"__asan_init" not in PROGRAM.read_bytes()


class DisturbedTest(unittest.TestCase):
    def setUp(self) -> None:
        self.place = Workplace(PROGRAM)
        self.addCleanup(self.place.__exit__)
        self.case = Case(self.place, small_lines(self.place)[0])

    def plant(self, fault: str) -> None:
        plant(self.place.program, fault)

    def test_each_planted_fault_is_found(self) -> None:
        self.place.timeout = 5.0
        for fault, words in FAULTS:
            with self.subTest(fault):
                self.plant(fault)
                found = judge(self.case, self.case.call(), "failed to write file: run.kml")
                self.assertEqual((found or "")[:len(words or "")], words or "")
                self.assertEqual(found is None, words is None)

    def test_no_message_excuses_an_incomplete_course(self) -> None:
        case = next(Case(self.place, line) for line in small_lines(self.place) if line.name == "tarvel -g walk.csv")
        self.plant(FAILS.replace("run.kml", "matrix.txt") + "truncate -s 9 matrix.txt")
        self.assertEqual(judge(case, case.call()), "leaves unfinished matrix.txt")

    def test_a_kill_must_leave_the_inputs_and_files_that_were_not_being_written(self) -> None:
        for fault, writing, words in ((":", "", None), ("rm run.csv", "", "lost run.csv"),
                                      ("truncate -s 9 run.txt", "", "broke run.txt"),
                                      ("truncate -s 9 run.txt", "run.txt", None),
                                      ("truncate -s 9 run.kml", "", "broke run.kml"),
                                      (": > matrix.txt", "matrix.txt", "lost matrix.txt broke matrix.txt")):
            with self.subTest(fault):
                self.plant(fault)
                with self.place.folder(self.case.line.files) as folder:
                    files = self.place.call_in(folder, self.case.arguments, environment=self.case.environment).files
                    self.plant(":")
                    killer = kill_anywhere.Killer()
                    self.assertEqual(killer.judge(self.case, folder, files, {writing}), words)

    def test_the_call_after_a_kill_must_be_right(self) -> None:
        self.plant("echo more")
        with self.place.folder(self.case.line.files) as folder:
            found = kill_anywhere.Killer().judge(self.case, folder, self.case.before, set())
        self.assertRegex(found or "", "^the next call differs: exit status 0")

    def test_a_file_is_being_written_until_it_is_closed(self) -> None:
        calls = list(read_calls(['openat(AT_FDCWD</here>, "run.txt", O_WRONLY|O_CREAT, 0666) = 4</here/run.txt>',
                                 "71 close(3</here/run.kml>) = 0", "71 close(4</here/run.txt>) = 0"]))
        self.assertEqual([(call.name, call.n, call.file) for call in calls],
                         [("openat", 1, "run.txt"), ("close", 1, "run.kml"), ("close", 2, "run.txt")])
        self.assertEqual(kill_anywhere.being_written(calls[:2]), {"run.txt"})
        self.assertEqual(kill_anywhere.being_written(calls), set())

    @unittest.skipUnless(IS_TRACEABLE, "no strace")
    def test_a_failed_call_must_be_told(self) -> None:
        _, calls = traced(self.case, [*io_faults.TRACED, *own_paths(self.case)])
        call = next(call for call in calls if (call.name, call.file) == ("write", "run.txt"))
        for fault, n, finding in ((":", call.n, None), ("status=0", call.n, "WRONG SUCCESS: run.kml "),
                                  (":", 9999, "no fault was injected")):
            self.plant(fault)
            found = io_faults.fail_one(self.case, call._replace(n=n), "ENOSPC")[1]
            self.assertEqual(found and found[:len(finding or "")], finding)

    def test_little_is_transferred(self) -> None:
        for fault, count in ((":", 0), ("status=1", 2), ("echo 0 >> run.kml", 2)):
            self.plant(fault)
            tally = Tally()
            with contextlib.redirect_stdout(io.StringIO()):
                tally.try_all(io_faults.transfer_little([self.case]))
            self.assertEqual((tally.counts["short transfers"].total(), len(tally.findings)), (2, count))

    @unittest.skipUnless(IS_TRACEABLE, "no strace")
    def test_a_kill_is_carried_out(self) -> None:
        paths = own_paths(self.case)
        killer = kill_anywhere.Killer()
        call = SystemCall("close", 1, "", "")
        self.assertEqual(killer.kill(self.case, call, paths), ("ended with signal 9", None))
        self.assertEqual(killer.kill(self.case, call._replace(n=999), paths), ("succeeded", "was not killed: 0"))


if __name__ == "__main__":
    unittest.main()
