"""Both compilers, at every level of optimisation, make programs with the same outputs.

Builds tarvel with g++ and clang++ at -O0, -O2, -O3 and at -O2 with link-time optimisation in build/proofs. Calls each
over all examples, all fuzz seeds and corpora, the simulated tracks of the tests and small hostile inputs, in both modes
and with many options, and compares exit status, standard output, standard error and all files, PDFs without their
creation date.

    scripts/proofs same_bytes [PATTERN]

PATTERN is a regular expression for the names of the inputs to try.
"""
from __future__ import annotations

import pathlib
import re
from collections.abc import Iterator, Mapping, Sequence
from typing import NamedTuple

from proofs.command_lines import REFUSED, TRACK_OPTIONS, example, fuzz_inputs, simulated_tracks
from proofs.comparison import Call, Comparison, Scenario, compare
from proofs.families import FAMILIES, TINY, content_of
from proofs.harness import ROOT, WORK, Content, Outcome, build

BUILDS = {f"{compiler}{flags}{'-lto' if lto == 'ON' else ''}": (compiler, flags, lto) for compiler in ("g++", "clang++")
          for flags, lto in (("-O0", "OFF"), ("-O2", "OFF"), ("-O3", "OFF"), ("-O2", "ON"))}


class Input(NamedTuple):
    name: str
    files: Mapping[str, Content]
    command_lines: Sequence[str]


def program_of(name: str) -> pathlib.Path:
    compiler, flags, lto = BUILDS[name]
    options = [f"-DCMAKE_CXX_COMPILER={compiler}", "-DCMAKE_BUILD_TYPE=", f"-DCMAKE_CXX_FLAGS={flags}",
               "-DTARVEL_TESTS=OFF", f"-DCMAKE_INTERPROCEDURAL_OPTIMIZATION={lto}"]
    return build(WORK / name, options, "tarvel") / "tarvel"


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


def prove(words: list[str]) -> Outcome:
    inputs = [given for given in all_inputs() if re.search(words[0] if words else "", given.name)]
    tried = [Scenario(given.name, given.files, {}, [Call(command_line.split(), "Europe/Vienna")])
             for given in inputs for command_line in given.command_lines]
    with Comparison({name: program_of(name) for name in BUILDS}, tried.__getitem__) as comparison:
        total = compare(comparison, range(len(tried)))
    calls, outputs = (len(BUILDS) * count for count in (len(tried), total.outputs))
    return Outcome(f"{len(BUILDS)} builds, {len(inputs):,} inputs, {calls:,} calls, {outputs:,} outputs compared",
                   total.findings)
