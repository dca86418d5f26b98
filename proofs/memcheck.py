"""Valgrind's memcheck reports no misuse of memory and no leak.

Builds the program and the replays of the fuzz targets without sanitizers in build/proofs and runs them under memcheck:
the program over all examples in both modes with every option, and with wrong command lines; each fuzz target over its
seeds and its corpus. tests/support/valgrind.supp suppresses reports from third-party libraries, each with its reason.

    scripts/proofs memcheck [PATTERN]

PATTERN is a regular expression for the names of the calls to make.
"""
from __future__ import annotations

import os
import pathlib
import re
import tempfile
from collections.abc import Iterator, Mapping, Sequence
from typing import NamedTuple

from proofs.command_lines import containers
from proofs.harness import ROOT, WORK, Content, Outcome, Workplace, build, execute, fill, in_parallel
from proofs.inputs import WRONG, example, fuzz_inputs, inputs_of_examples

FINDING = 99  # an exit status that none of the programs uses
CHECKS = ("valgrind", "--leak-check=full", "--num-callers=40", "--track-fds=no", f"--error-exitcode={FINDING}",
          "--quiet", "--gen-suppressions=all", f"--suppressions={ROOT}/tests/support/valgrind.supp")
# The examples' other files as tracks, and containers: trimmed tracks and a finished course.
OTHER = (
    *("-i matrix.txt", "README.md", "-g README.md", "walk", "."),
    *("carve.tvl", "-d carve.tvl", "-g walk.tvl", "-p -g walk.tvl carve.tvl", "-g carve.tvl", "-i walk.tvl"))


class Check(NamedTuple):
    name: str
    words: Sequence[str | pathlib.Path]
    files: Mapping[str, Content]


def valgrind(check: Check) -> str | None:
    """The report of memcheck, or None."""
    with tempfile.TemporaryDirectory(prefix="tarvel_proofs_") as name:
        fill(pathlib.Path(name), check.files)
        environment = dict(os.environ, TZ="UTC", LC_ALL="C")
        done = execute([*CHECKS, *check.words], pathlib.Path(name), environment, 1800)
    is_sound = done.status is not None and 0 <= done.status < FINDING
    return None if is_sound else f"exit status {done.status}\n{done.err.decode(errors='replace')[-20000:]}"


def all_checks() -> Iterator[Check]:
    targets = re.findall(r"^tarvel_fuzzer\((\w+)", (ROOT / "tests" / "fuzz" / "fuzz.cmake").read_text(), re.MULTILINE)
    folder = build(WORK / "memcheck", ["-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O1 -g"], "tarvel",
                   *(f"{target}_replay" for target in targets))
    inputs = [(target, name.replace("/", "_"), content) for target, name, content in fuzz_inputs()]
    for target in targets:
        files = {name: content for whose, name, content in inputs if whose == target}
        yield Check(f"fuzz target {target}, {len(files)} inputs", [folder / f"{target}_replay", "."], files)
    given: dict[str, Content] = {path.name: path.read_bytes() for path in (ROOT / "examples").iterdir()}
    with Workplace(folder / "tarvel") as place:
        given["walk.tvl"], given["carve.tvl"] = containers(place, example("walk.csv"), example("carve.csv"))
    known = (words for example in inputs_of_examples() for words in example.command_lines)
    for words in (*known, *WRONG, *map(str.split, OTHER)):
        yield Check(" ".join(["tarvel", *words]), [folder / "tarvel", *words], given)


def prove(words: list[str]) -> Outcome:
    checks = [check for check in all_checks() if re.search(words[0] if words else "", check.name)]
    reports = {check.name: report for check, report in zip(checks, in_parallel(valgrind, checks)) if report is not None}
    for name, report in reports.items():
        print(f"FINDING {name}: {report}", flush=True)
    fuzzed = [check for check in checks if check.name.startswith("fuzz target")]
    inputs = sum(len(check.files) for check in fuzzed)
    return Outcome(f"{len(checks)} calls, {len(fuzzed)} of them fuzz targets with {inputs:,} inputs", len(reports))
