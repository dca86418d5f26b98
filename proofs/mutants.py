"""When one token of the program is changed, a test fails.

Tries at most 24 mutants (changed copies) of each source file in src/ and a third as many of each header. Each is
written to a copy of the project in build/proofs, one copy per core, built with shared libraries, and tested: first by
the tests that are named after its file, then by the others of its folder, then by those of all other folders and the
seeds of the fuzz targets. A mutant that makes a test hang is caught, too. proofs/equivalent_mutants.txt lists mutants
that behave like the original, with the reasons. These are also tried: it is a finding if one is caught, or if an entry
matches no mutant.

    scripts/proofs mutants [PATTERN] [--most N] [--list]

PATTERN is a regular expression for the paths of the files to try. With --most, at most N mutants of each source file
are tried, which are among the 24. --list prints the mutants and tries none. Prints the mutants that no test catches.
"""
from __future__ import annotations

import argparse
import collections
import filecmp
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import time
from collections.abc import Iterable, Mapping, Sequence
from typing import NamedTuple

from proofs.harness import CORES, ROOT, WORK, Outcome, build, execute, in_parallel, shell
from proofs.mutations import Entry, Mutant, all_mutants, choose, entry_of, read_entries

# Without tests/faults, whose allocator identifies the program by its addresses: here the program is in shared
# libraries.
JUDGES = {"fuzz", *os.listdir(ROOT / "src")}
LEAST_TIMEOUT = 20  # processor seconds for one test program; other load does not make it look as if it hangs
LONGEST_WAIT = 600  # seconds, for a test program that sleeps
# An index out of bounds ends the program, as with the sanitizers. Optimised, since a mutant that survives costs the
# time of all tests.
FLAGS = "-O1 -w -D_GLIBCXX_ASSERTIONS -fsanitize=bounds -fsanitize-undefined-trap-on-error"
OPTIONS = ("-DCMAKE_BUILD_TYPE=", f"-DCMAKE_CXX_FLAGS={FLAGS}", "-DBUILD_SHARED_LIBS=ON",
           "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON")
# A mutant may allocate or write without end.
LIMITS = (f"--as={4 << 30}", f"--fsize={1 << 28}", "--core=0")
NOT_COPIED = (".git", "build", "demo")


class Test(NamedTuple):
    name: str
    folder: str
    targets: Sequence[str]  # what it runs, by itself or through its environment
    command: Sequence[str]  # ends at the first failure


def find_tests(build_folder: pathlib.Path) -> list[Test]:
    """The tests that judge mutants: of the components and of the fuzz targets. Tests with a fixture are left out, since
    they build the engine for another machine in the folders of the source."""
    # ctest does not print the command of a test that has not been built.
    written = (build_folder / "CTestTestfile.cmake").read_text()
    tests = []
    for name, command, settings in re.findall(r"add_test\(\[=\[(.*?)\]=\] (.*)\)\n(set_tests.*)", written):
        words, folder = shlex.split(command), name.split("/")[0]
        variables = re.findall(r"[^;]+", "".join(re.findall(r' ENVIRONMENT "([^"]*)"', settings)))
        paths = (pathlib.Path(word) for word in (*words, *(setting.partition("=")[2] for setting in variables)))
        targets = sorted({path.name for path in paths if path.parent == build_folder})  # where programs lie
        is_python = pathlib.Path(words[0]).parent != build_folder
        flags = [] if folder == "fuzz" else ["--failfast"] if is_python else ["--gtest_fail_fast", "--gtest_brief=1"]
        if folder in JUDGES and " FIXTURES_" not in settings:
            tests.append(Test(name, folder, targets, ["env", *variables, *words, *flags]))
    return tests


def copy_project(tree: pathlib.Path) -> None:
    """Updates an older copy; files that have not changed are left alone, and are not compiled again."""
    def copy_changed(source: str, target: str) -> None:
        if not os.path.exists(target) or not filecmp.cmp(source, target, shallow=False):
            shutil.copy(source, target)

    for old in [path for path in tree.rglob("*") if path.is_file() and not (ROOT / path.relative_to(tree)).exists()]:
        old.unlink()
    shutil.copytree(ROOT, tree, ignore=lambda folder, _: NOT_COPIED if folder == str(ROOT) else (),
                    copy_function=copy_changed, dirs_exist_ok=True)


class Copy:
    """A copy of the project, built with shared libraries: a mutant relinks one library and no test."""

    def __init__(self, number: int) -> None:
        self.tree, self.build_folder, self.temporary = (
            WORK / f"mutants-{what}-{number}" for what in ("tree", "build", "temporary"))
        copy_project(self.tree)
        build(self.build_folder, OPTIONS, "help", source=self.tree)  # builds nothing yet
        self.tests = find_tests(self.build_folder)
        self.durations: dict[str, float] = {}  # of the tests that have been built

    @staticmethod
    def targets(tests: Iterable[Test]) -> list[str]:
        return sorted({target for test in tests for target in test.targets})

    def prepare(self, tests: Sequence[Test]) -> None:
        """Builds the tests that have not been built, and measures their time without a mutant."""
        new = [test for test in tests if test.name not in self.durations]
        if new:
            build(self.build_folder, OPTIONS, *self.targets(new), source=self.tree)
        for test in new:
            start = time.monotonic()
            if not self.passes(test, LONGEST_WAIT):
                raise RuntimeError(f"{test.name} fails without any mutant")
            self.durations[test.name] = time.monotonic() - start

    def passes(self, test: Test, seconds: int) -> bool:
        """False also when it takes too long. Its child processes are then killed, too."""
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir()
        launcher = [*shell('exec "$@" >/dev/null 2>&1'), "prlimit", f"--cpu={seconds}", *LIMITS]
        environment = {**os.environ, "TMPDIR": str(self.temporary)}
        return execute([*launcher, *test.command], self.build_folder, environment, LONGEST_WAIT).status == 0

    def catches(self, test: Test) -> bool:
        return not self.passes(test, round(max(LEAST_TIMEOUT, 10 * self.durations[test.name])))

    def judge(self, mutant: Mutant) -> str:
        """Returns "caught", "survived" or "not compiled"."""
        path = self.tree / mutant.file
        folder = pathlib.Path(mutant.file).parent.name
        try:
            for is_own in (True, False):
                tests = [test for test in self.tests if (test.folder == folder) == is_own]
                path.write_text(mutant.text)
                self.prepare(tests)
                path.write_text(mutant.mutated_text)
                built = subprocess.run(["ninja", "-j1", "-C", self.build_folder, *self.targets(tests)],
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                if built.returncode != 0:
                    return "not compiled"
                if any(self.catches(test) for test in self.in_order(mutant.file, tests)):
                    return "caught"
            return "survived"
        finally:
            path.write_text(mutant.text)

    def in_order(self, file: str, tests: Iterable[Test]) -> list[Test]:
        """The tests that are named after the file first; among equals, the fastest first."""
        stem = pathlib.Path(file).stem
        return sorted(tests, key=lambda t: (not pathlib.Path(t.name).name.startswith(stem), self.durations[t.name]))


Verdicts = Mapping[Mutant, str]


def judge_all(groups: Iterable[list[Mutant]]) -> Verdicts:
    """A thread per core builds a copy and then judges the mutants, file by file."""
    waiting = collections.deque(sorted(groups, key=len, reverse=True))
    verdicts: dict[Mutant, str] = {}

    def work_through(number: int) -> None:
        copy = Copy(number)
        while waiting:
            for mutant in waiting.popleft():
                verdicts[mutant] = copy.judge(mutant)
                print(f"{verdicts[mutant]}\t{mutant.file}:{mutant.line}\t{mutant.change[1]}", flush=True)

    in_parallel(work_through, range(CORES))
    return verdicts


def show(heading: str, mutants: Iterable[Mutant]) -> None:
    """Prints mutants as entries of the list."""
    for mutant in sorted(mutants):
        entry = entry_of(mutant)
        print(f"{heading}line {mutant.line}\n{entry.file}: {entry.function}\n- {entry.original}\n+ {entry.mutated}")


def report(verdicts: Verdicts, entries: Iterable[Entry], every: Mapping[str, list[Mutant]]) -> Outcome:
    """The entries must be those of the files that were tried."""
    named = {entry: [mutant for mutant in every.get(entry.file, []) if entry.names(mutant)] for entry in entries}
    listed = {mutant for mutants in named.values() for mutant in mutants}
    unmatched = [entry for entry, mutants in named.items() if not mutants]
    ends = collections.Counter(verdicts.values())
    wrong = [mutant for mutant, verdict in verdicts.items() if mutant in listed and verdict != "survived"]
    unlisted = [mutant for mutant, verdict in verdicts.items() if mutant not in listed and verdict == "survived"]
    show("FINDING survives: ", unlisted)
    show("FINDING listed as equivalent, but caught: ", wrong)
    for entry in unmatched:
        print(f"FINDING names no mutant: {entry.file}: {entry.function}\n- {entry.original}\n+ {entry.mutated}")
    files = len({mutant.file for mutant in verdicts})
    return Outcome(f"{len(verdicts):,} faults put into {files} files, of which {ends['not compiled']} do not compile "
                   f"and {ends['survived'] - len(unlisted)} change nothing: {ends['caught']:,} are noticed",
                   len(unlisted) + len(wrong) + len(unmatched))


def prove(words: list[str]) -> Outcome:
    parser = argparse.ArgumentParser(prog="scripts/proofs mutants")
    parser.add_argument("pattern", nargs="?", default="")
    parser.add_argument("--most", type=int, default=24)
    parser.add_argument("--list", action="store_true")
    options = parser.parse_args(words)
    pattern = re.compile(options.pattern)
    every = all_mutants()
    chosen = [choose(mutants, options.most) for name, mutants in every.items() if pattern.search(name)]
    entries = [entry for entry in read_entries(ROOT / "proofs" / "equivalent_mutants.txt")
               if pattern.search(entry.file)]
    print(f"{sum(map(len, chosen)):,} mutants of {len(chosen)} files", flush=True)
    if options.list:
        show("", [mutant for group in chosen for mutant in group])
        return Outcome("none tried", 0)
    WORK.mkdir(parents=True, exist_ok=True)
    return report(judge_all(chosen), entries, every)
