"""The inputs that the proofs try: the examples, simulated tracks, the fuzz targets' inputs, and small hostile ones,
with their command lines."""
from __future__ import annotations

import functools
import pathlib
import subprocess
import tarfile
import tempfile
from collections.abc import Iterator, Mapping, Sequence
from typing import NamedTuple

from proofs.damage import first_row
from proofs.families import FAMILIES, TINY
from proofs.harness import ROOT, Content

# {} is replaced by the name of a track. The course is in the same folder.
TRACK_OPTIONS = ("{}", "-m {}", "-d {}", "-d -m -t 4.5 {}", "-i {}", "-i -d -m {}", "-i -t 1e9 {}", "-g {}",
                 "-p -d -g {}", "-p -g {} {}")
WRONG: Sequence[Sequence[str]] = (
    *((), ("-v",), ("-x",), ("-t",), ("-g",), ("-i", "-g", "run.csv"), ("a", "b"), ("none.csv",)),
    *(("-m", "-i", "nothing"), ("--",), ("-g", ".csv"), ("-t", "nan", "-i", "none.csv"), ("-dv",), ("-g", ""), ("",)),
    *(("-",), ("--help",), ("-vx",), ("-g", "none"), ("-di",), ("run.csv", "-v"), ("run.csv", "run.csv")),
    *(("-i", "-m", "-d"), ("-t", "5"), ("-p",), (".",), ("-g", "."), ("/",), ("-g", "x.csv", "-g", "y.csv")),
    *(("-h",), ("-?",), ("run.csv/",), ("n" * 5000,), ("-g", "/dev/null", "/dev/null")))


class Input(NamedTuple):
    name: str
    files: Mapping[str, Content]
    command_lines: Sequence[Sequence[str]]


@functools.cache
def example(name: str) -> bytes:
    return (ROOT / "examples" / name).read_bytes()


def thinned(track: bytes, rows: int) -> bytes:
    """The track with about this number of its rows, at a constant rate: calls over small files are short."""
    lines = track.splitlines(keepends=True)
    first = first_row(lines)
    return b"".join(lines[:first] + lines[first::max(1, round((len(lines) - first) / rows))])


@functools.cache
def simulated_tracks() -> dict[str, bytes]:
    """The simulated tracks of the tests: NAME.csv and, for a run, its course NAME.txt."""
    with tempfile.TemporaryDirectory(prefix="tarvel_proofs_") as path:
        folder = pathlib.Path(path)
        helpers = [next((ROOT / "src").rglob(name)) for name in ("memory.cpp", "wgs84.cpp", "vec3.cpp")]
        sources = [ROOT / "tests" / "support" / f"{name}.cpp"
                   for name in ("write_simulated_tracks", "simulator", "hand_made_walk")]
        subprocess.run(["g++", "-std=c++20", "-O1", "-ffp-contract=off", f"-I{ROOT}/src", f"-I{ROOT}/tests", "-o",
                        folder / "write", *sources, *helpers], check=True)
        subprocess.run([folder / "write"], cwd=folder, check=True)
        return {file.name: file.read_bytes() for file in sorted(folder.iterdir()) if file.suffix in (".csv", ".txt")}


def fuzz_inputs() -> Iterator[tuple[str, str, bytes]]:
    """Target, name and content of each seed and of each input of a corpus."""
    for path in sorted(file for kind in ("seeds", "corpus") for file in (ROOT / "tests" / "fuzz" / kind).rglob("*")):
        if path.suffixes[:1] == [".tar"]:
            target = path.name.partition(".")[0]
            with tarfile.open(path) as archive:
                for member in archive:
                    if content := archive.extractfile(member):
                        yield target, f"{path.parent.name}/{target}/{member.name}", content.read()
        elif path.is_file():
            yield path.parent.name, str(path.relative_to(ROOT / "tests" / "fuzz")), path.read_bytes()


def for_track(name: str, options: Sequence[str] = TRACK_OPTIONS) -> list[list[str]]:
    return [option.replace("{}", name).split() for option in options]


def inputs_of_examples() -> Iterator[Input]:
    for path in sorted((ROOT / "examples").glob("*.csv")):
        files = {name: example(name) for name in (path.name, "matrix.txt", "walk.csv")}
        after_walk = ("-d -g walk.csv {}", "-pm -g walk.csv {}", "-pdm -g walk.csv {}")
        yield Input(f"examples/{path.name}", files, for_track(path.name, TRACK_OPTIONS + after_walk))


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
            yield Input(f"fuzz/{name}", {"run.csv": example("carve.csv"), "matrix.txt": data}, [["run.csv"]])
        else:
            files = {"run.csv": track_behind_options(target, data), "matrix.txt": example("matrix.txt")}
            yield Input(f"fuzz/{name}", files, for_track("run.csv", ("-d {}", "-i -d -m {}", "-p -d -g {}")))


def inputs_of_families(rows: int = TINY) -> Iterator[Input]:
    for name, family in FAMILIES.items():
        made = family(rows)
        files = {name: b"".join(parts) for name, parts in made.files.items()}
        yield Input(f"hostile/{name}", files, [made.arguments, ["-m", "-d", *made.arguments]])


def all_inputs() -> Iterator[Input]:
    yield Input("wrong", {}, WRONG)
    yield from inputs_of_examples()
    yield from inputs_of_simulation()
    yield from inputs_of_fuzzing()
    yield from inputs_of_families()
