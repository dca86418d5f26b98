"""Both compilers, at every level of optimisation, make programs with the same outputs.

Builds tarvel with g++ and clang++ at -O0, -O2, -O3 and at -O2 with link-time optimisation in build/proofs. Calls each
over all examples, all fuzz seeds and corpora, the simulated tracks of the tests and small hostile inputs, in both modes
and with many options, and compares exit status, standard output, standard error and all files, PDFs without their
creation date.

    scripts/proofs same_bytes [PATTERN]

PATTERN is a regular expression for the names of the inputs to try.
"""
from __future__ import annotations

import functools
import pathlib
import re
import subprocess
import sys
import tempfile
from collections.abc import Iterator, Mapping, Sequence
from typing import NamedTuple

from proofs.command_lines import REFUSED, TRACK_OPTIONS, example, fuzz_inputs, simulated_tracks
from proofs.families import FAMILIES, TINY, content_of
from proofs.harness import (ROOT, WORK, Conditions, Content, Outcome, Result, changed_names, environment_in, execute,
                            fill, in_parallel, snapshot)

BUILDS = {f"{compiler}{flags}{'-lto' if lto == 'ON' else ''}": (compiler, flags, lto) for compiler in ("g++", "clang++")
          for flags, lto in (("-O0", "OFF"), ("-O2", "OFF"), ("-O3", "OFF"), ("-O2", "ON"))}


class Input(NamedTuple):
    name: str
    files: Mapping[str, Content]
    command_lines: Sequence[str]


def build(name: str) -> pathlib.Path:
    compiler, flags, lto = BUILDS[name]
    folder = WORK / name
    configure = ["cmake", "-S", str(ROOT), "-B", str(folder), "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={compiler}",
                 "-DCMAKE_BUILD_TYPE=", f"-DCMAKE_CXX_FLAGS={flags}", "-DTARVEL_TESTS=OFF",
                 f"-DCMAKE_INTERPROCEDURAL_OPTIMIZATION={lto}"]
    for command in (configure, ["cmake", "--build", str(folder), "--target", "tarvel"]):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0:
            sys.exit(f"same_bytes: {name} does not build\n{done.stdout}")
    return folder / "tarvel"


def for_track(name: str, options: Sequence[str] = TRACK_OPTIONS) -> list[str]:
    return [option.replace("{}", name) for option in options]


def inputs_of_examples() -> Iterator[Input]:
    for path in sorted((ROOT / "examples").glob("*.csv")):
        files = {name: example(name) for name in (path.name, "matrix.txt", "walk.csv")}
        after_walk = [f"-{flags} -g walk.csv {path.name}" for flags in ("d", "pm", "pdm")]
        yield Input(f"examples/{path.name}", files, for_track(path.name) + after_walk)


def inputs_of_simulation() -> Iterator[Input]:
    tracks = simulated_tracks()
    for name, track in tracks.items():
        if name.endswith(".csv"):
            course = tracks.get(name[:-4] + ".txt", example("matrix.txt"))
            yield Input(f"simulated/{name}", {"run.csv": track, "matrix.txt": course}, for_track("run.csv"))


def track_behind_options(target: str, data: bytes) -> bytes:
    """Removes what precedes the track in inputs of the target of whole runs: an option byte and perhaps a course."""
    if target != "swoop_analysis" or not data:
        return data
    pond_count = 1 + 13 * 8
    if not data[0] & 16:
        return data[1:]
    return data[pond_count + 1 + 16 * data[pond_count]:] if len(data) > pond_count else b""


def inputs_of_fuzzing() -> Iterator[Input]:
    """The inputs of the fuzz targets as tracks, or as course files for an example run."""
    for target, name, data in fuzz_inputs():
        if target == "course_file":
            yield Input(f"fuzz/{name}", {"run.csv": example("carve.csv"), "matrix.txt": data}, ["run.csv"])
        else:
            files = {"run.csv": track_behind_options(target, data), "matrix.txt": example("matrix.txt")}
            yield Input(f"fuzz/{name}", files, for_track("run.csv", ("-d {}", "-i -d -m {}", "-p -d -g {}")))


def inputs_of_families() -> Iterator[Input]:
    for name, family in FAMILIES.items():
        made = family(TINY)
        command_line = " ".join(made.arguments)
        files = {name: content_of(parts) for name, parts in made.files.items()}
        yield Input(f"hostile/{name}", files, [command_line, f"-m -d {command_line}"])


def all_inputs() -> Iterator[Input]:
    yield Input("no track", {}, REFUSED)
    yield from inputs_of_examples()
    yield from inputs_of_simulation()
    yield from inputs_of_fuzzing()
    yield from inputs_of_families()


def call(program: pathlib.Path, given: Input, command_line: str) -> Result:
    with tempfile.TemporaryDirectory(prefix="tarvel_proofs_") as name:
        folder = pathlib.Path(name)
        fill(folder, given.files)
        under = Conditions(environment_in(folder, "Europe/Vienna"), timeout=120)
        result = execute(["tarvel", *command_line.split()], folder, under, program)
        result.files = snapshot(folder)
        return result


def differences(one: Result, other: Result) -> list[str]:
    texts = (("exit status", one.status, other.status), ("standard output", one.out, other.out),
             ("standard error", one.err, other.err))
    return [what for what, a, b in texts if a != b] + changed_names(one.files, other.files)


def compare(programs: Mapping[str, pathlib.Path], given: Input) -> tuple[int, int, list[str]]:
    """The numbers of calls and of outputs, and the differences from the first build, which are also printed."""
    found, outputs = [], 0
    for command_line in given.command_lines:
        results = {name: call(program, given, command_line) for name, program in programs.items()}
        outputs += sum(3 + len(result.files) for result in results.values())
        first = next(iter(results))
        for name, result in results.items():
            if what := differences(results[first], result):
                found.append(f"{given.name}: tarvel {command_line}: {name} differs from {first} in {', '.join(what)}")
                print("FINDING", found[-1], flush=True)
    return len(given.command_lines) * len(programs), outputs, found


def prove(words: list[str]) -> Outcome:
    programs = {name: build(name) for name in BUILDS}
    inputs = [given for given in all_inputs() if re.search(words[0] if words else "", given.name)]
    calls, outputs, found = zip(*in_parallel(functools.partial(compare, programs), inputs))
    return Outcome(f"{len(programs)} builds, {len(inputs):,} inputs, {sum(calls):,} calls, {sum(outputs):,} outputs "
                   "compared", sum(map(len, found)))
