"""The scenarios of compare_programs: folders of files and calls of tarvel in them, made from a seed.

A scenario starts from a valid run or walk (an example, a simulated track of the tests) or from an input of same_bytes.
It changes values, text or bytes, adds a course file or a chain of indices, may put something in the place of an output,
and has one call or two. The same seed and number give the same scenario.
"""
from __future__ import annotations

import itertools
import math
import os
import pathlib
import random
from collections.abc import Mapping, Sequence

from proofs.comparison import Call, Scenario
from proofs.harness import ROOT, Content, Folder, HardLink, Link, Pipe, Workplace
from proofs.inputs import WRONG, all_inputs, example, inputs_of_families, simulated_tracks
from proofs.tracks import (FAULTS, Course, Rng, Track, damaged, damaged_container, move, read_course, read_track,
                           text_of, text_of_course, thin)

Files = dict[str, Content]


TIME_ZONES = ("UTC", "Europe/Vienna", "Australia/Lord_Howe")


# The inputs that scenarios start from


class Sources:
    """All inputs that scenarios start from. The program makes the containers."""

    def __init__(self, program: pathlib.Path) -> None:
        simulated = simulated_tracks()
        given = {f"example {path.stem}": (path.read_bytes(), None if path.stem == "walk" else example("matrix.txt"))
                 for path in sorted((ROOT / "examples").glob("*.csv"))}
        given |= {f"simulated {name[:-4]}": (text, simulated.get(name[:-4] + ".txt"))
                  for name, text in simulated.items() if name.endswith(".csv")}
        self.runs = {name: (read_track(text), read_course(course)) for name, (text, course) in given.items() if course}
        self.walks = [read_track(text) for text, course in given.values() if not course]
        with Workplace(program) as place:
            made = [(container_of(place, ["-d"], track, course), course) for track, course in self.runs.values()]
            self.run_containers = [(content, course) for content, course in made if content]
            walked = (container_of(place, ["-d", "-g"], track, None) for track in self.walks)
            self.walk_containers = [content for content in walked if content]
        kinds = itertools.groupby(all_inputs(), lambda given: given.name.partition("/")[0])
        self.known = [list(inputs) for _, inputs in kinds]
        self.known[-1] += [*inputs_of_families(20), *inputs_of_families(60)]


def container_of(place: Workplace, options: list[str], track: Track, course: Course | None) -> bytes | None:
    """The container that -d writes for a track; None when the analysis fails."""
    files: Files = {"run.csv": text_of(track), **({"matrix.txt": text_of_course(course)} if course else {})}
    made = place.call(files, [*options, "run.csv"]).files.get("run.tvl")
    return made.content if made else None


# Course files


def some_course(rng: Rng, course: Course) -> bytes:
    """The course, perhaps with another theta or pond."""
    if rng.random() < 0.3:
        course = course._replace(theta=rng.choice((0.0, -4.99707438, 3.5, 180.0, rng.uniform(-9, 9))))
    if rng.random() < 0.3:
        size = rng.choice((0, 1, 2, 4, 30, 600))
        pond = [(40 + 30 * math.cos(k), 20 * math.sin(k)) for k in range(size)]
        origin: Sequence[list[tuple[float, float]]] = ([], [(0.0, 0.0)])
        course = course._replace(pond=pond[:rng.randrange(size + 1)] + rng.choice(origin) + pond)
    return text_of_course(course)


ODD_LINES = (
    *(b"", b"//", b"// " + b"long " * 30, b"theta = nan", b"theta = 1e308", b"theta =", b"theta = x", b"[1, 2, 3]"),
    *(b"hello", b"[nan, inf, 0, 1e308]", b"[0, 0, 0, 1]", b"(1, 2), (3, 4), (5, 6), (7, 8), (9, 10)", b"(1, 2), (3"),
    *(b"(1e39, -1e39)", b"(nan, inf)", b"(0, 0)", b"( 1, 2 )", b"(" + b"1" * 120 + b", 2)", b" (1, 2)", b"* other.txt"),
    *(b"1 - ", b"* - ", b"\0"),
)


def odd_course(rng: Rng, text: bytes) -> bytes:
    if rng.random() < 0.4:
        return damaged(rng, text)
    lines = text.split(b"\n")
    for _ in range(rng.choice((1, 1, 3))):
        lines.insert(rng.randrange(len(lines) + 1), rng.choice(ODD_LINES))
    return b"\n".join(lines)


def index_line(rng: Rng, run_name: str, target: str) -> bytes:
    name = os.path.basename(run_name) if rng.random() < 0.2 else run_name
    prefix = name[: rng.randrange(1, len(name) + 1)].split(" ")[0] if name[:1].isdigit() and rng.random() < 0.7 else "*"
    target = f'"{target}"' if rng.random() < 0.15 else target
    before = rng.choice(("", "", "", "// an index\n", "9999 - nothing.txt\n", "\n", "0 - nogate\n"))
    return (f"{before}{prefix} - {target}" + rng.choice(("\n", "\n", "\r\n", ""))).encode()


def add_index(rng: Rng, files: Files, run_name: str, course_text: bytes) -> None:
    """Makes matrix.txt an index: to the course, to a chain or ring of indices, to a missing file, or to an output."""
    kind = rng.choice(("chain", "chain", "ring", "missing", "missing", "output", "output", "place", "odd"))
    if kind == "missing":
        target = rng.choice(("nogate", "nogate", "nogate", "none.txt", "no/where.txt", "", " ", "x" * 120))
        files["matrix.txt"] = index_line(rng, run_name, target)
        return
    targets = ["course.txt"]
    if kind == "output":
        ends = (".kml", ".txt", ".pdf", ".tvl", ".txt.orig")
        targets = [rng.choice((*(run_name[:-4] + end for end in ends), "coord.txt", run_name))]
    elif kind == "place":
        targets = [rng.choice(("sub/course.txt", "./course.txt", "sub/../course.txt", "HERE/course.txt", "a b.txt"))]
        files["sub"] = Folder()
    elif kind != "odd":
        targets = [f"{k}.txt" for k in range(rng.choice((1, 1, 1, 2, 3, 7, 20, 62, 63, 64, 65, 66, 80)))]
    names = ["matrix.txt", *targets]
    for name, target in zip(names, targets):
        files.setdefault(name, index_line(rng, run_name, target))
    end = os.path.normpath(names[-1].replace("HERE/", ""))
    if kind == "ring":
        files[end] = index_line(rng, run_name, rng.choice((names[0], names[len(names) // 2], end)))
    elif rng.random() < 0.9:
        files.setdefault(end, odd_course(rng, course_text) if kind == "odd" else course_text)


def add_course(rng: Rng, files: Files, run_name: str, course: Course) -> None:
    kind = rng.random()
    if kind < 0.55:
        files["matrix.txt"] = some_course(rng, course)
    elif kind < 0.78:
        add_index(rng, files, run_name, some_course(rng, course))
    elif kind < 0.9:
        files["matrix.txt"] = odd_course(rng, some_course(rng, course))
    elif kind < 0.95:
        files["sound.txt"] = some_course(rng, course)
        contents: Sequence[Content] = (Link("sound.txt"), HardLink("sound.txt"), Link("none.txt"), Link("matrix.txt"),
                                       Link(run_name), Folder(), Pipe())
        files["matrix.txt"] = rng.choice(contents)


# Names, and files with the names of outputs

PLAIN_NAMES = ("run.csv",) * 8 + ("117-2.csv", "1run.csv")
ODD_NAMES = (
    *("run.txt", "run.kml", "run.pdf", "run.tvl", "matrix.txt", "matrix.csv", "coord.txt", "coord.csv", "a b.csv"),
    *("run", "x", ".csv", "sub/run.csv", "./run.csv", "HERE/run.csv", "run.CSV", "é.csv", "1run.txt"),
    *("n" * 200 + ".csv", "csv", "run.csv.orig", "run.tar.gz", "sub/run.txt", "%s.csv", "7.csv", "-run.csv"),
)
WALKS = ("walk.csv",) * 9 + ("walk.txt", "walk.kml", "walk.tvl", "matrix.txt", "matrix.csv", "sub/walk.csv", "run.csv",
                              "w")


def some_name(rng: Rng, taken: Mapping[str, Content] | Sequence[str] = ()) -> str:
    name = rng.choice(PLAIN_NAMES if rng.random() < 0.8 else ODD_NAMES)
    return name if name.replace("HERE/", "") not in taken else "other.csv"


def block_outputs(rng: Rng, files: Files, modes: dict[str, int], names: list[str], inputs: list[str]) -> None:
    """Puts something in the place of outputs."""
    for name in rng.sample(names, rng.choice((1, 1, 2, len(names)))):
        if name not in files:
            given, up = rng.choice(inputs), "../" * name.count("/")
            hard_link: Content = HardLink(given) if isinstance(files.get(given), bytes) else b"an earlier output\n"
            contents: Sequence[Content] = (
                *(b"an earlier output\n", b"", Folder(), Pipe(), hard_link, hard_link, Link(up + given)),
                *(Link(up + target) for target in (given, os.path.basename(name), "none.txt", "no/where.txt")),
                *(Link("/dev/full"), Link("/dev/null")))
            files[name] = rng.choice(contents)
            if isinstance(files[name], Folder) and rng.random() < 0.5:
                files[name + "/inside.txt"] = b"kept\n"
            if rng.random() < 0.2:
                files.setdefault(name + ".orig", b"taken\n")
        if isinstance(files[name], bytes) and rng.random() < 0.5:
            modes[name] = rng.choice((0o444, 0o600, 0o000, 0o640))


ALL_STREAMS = (
    *("> {}", ">> {}", "> {} 2>&1", "2> {}", "2>> {}", "> {0} 2> {0}", "< {}", ">&-", "2>&-", "<&-", ">&- 2>&- <&-"),
    *("> /dev/full", "> /dev/full 2>&1", "> log.txt 2>&1"),
)


def some_streams(rng: Rng, names: list[str]) -> str:
    """A shell's redirections; none for most calls."""
    return rng.choice(ALL_STREAMS).format(rng.choice(names)) if rng.random() < 0.07 else ""


def stem_of(name: str) -> str:
    return name.replace("HERE/", "")[:-4]


def outputs_of(name: str, is_walk: bool) -> list[str]:
    stem = stem_of(name)
    others = ["matrix.txt"] if is_walk else [stem + ".pdf", "coord.txt"]
    return [stem + ".kml", stem + ".txt", stem + ".tvl", *others]


# Command lines

TIMES_ALOFT = ("4.5", "2", "0", "-1", "1e9", "1e30", "nan", "abc", "", "2.0005", "4.5x", "inf", "0x3")
def some_options(rng: Rng, is_run: bool) -> list[str]:
    shares = {"-d": 0.3, "-m": 0.25, "-i": 0.2 if is_run else 0.02}
    options = [flag for flag, share in shares.items() if rng.random() < share]
    if rng.random() < 0.15:
        options += rng.choice((["-t", rng.choice(TIMES_ALOFT)], ["-t" + rng.choice(TIMES_ALOFT[:-1])]))
    if rng.random() < 0.05:
        options.append(rng.choice(("-p", "-mm", "-x", "-v")))
    rng.shuffle(options)
    return options


def operands(name: str) -> list[str]:
    return ["--", name] if name.startswith("-") else [name]


# Scenarios


def thinned(rng: Rng, track: Track) -> Track:
    return thin(track, rng.choice((150, 400, 600, 1200)))


def written(rng: Rng, track: Track, is_sound: bool) -> bytes:
    """The track in one of the two text forms, with faults unless it is to be valid."""
    if rng.random() < 0.2:
        track = track._replace(is_tagged=not track.is_tagged)
    for _ in range(0 if is_sound else rng.choice((1, 1, 2, 3))):
        if track.rows:
            track = rng.choice(FAULTS)(rng, track) or track
    content = text_of(track)
    return damaged(rng, content) if not is_sound and rng.random() < 0.25 else content


def some_run(rng: Rng, sources: Sources) -> tuple[bytes, Course]:
    """The bytes of a run and its course."""
    is_sound = rng.random() < 0.35
    if rng.random() < 0.12:
        content, course = rng.choice(sources.run_containers)
        return (content if is_sound else damaged_container(rng, content)), course
    track, course = rng.choice(list(sources.runs.values()))
    track = thinned(rng, track)
    if rng.random() < 0.5:
        track, course = move(rng, track, course)
    return written(rng, track, is_sound), course


def some_walk(rng: Rng, sources: Sources) -> bytes:
    is_sound = rng.random() < 0.5
    if rng.random() < 0.15:
        content = rng.choice(sources.walk_containers)
        return content if is_sound else damaged_container(rng, content)
    return written(rng, thinned(rng, rng.choice(sources.walks)), is_sound)


def finish(rng: Rng, kind: str, files: Files, arguments: list[str], names: list[str], inputs: list[str]) -> Scenario:
    """Adds obstacles and redirections, and sometimes a second call in the same folder."""
    modes: dict[str, int] = {}
    if rng.random() < 0.22:
        block_outputs(rng, files, modes, names, inputs)
    if rng.random() < 0.03:
        modes["."] = 0o555
    time_zone = rng.choice(TIME_ZONES)
    # A shell that opens a pipe without a reader or writer would not continue.
    redirected = [name for name in (*names, *inputs) if not isinstance(files.get(name), Pipe)]
    calls = [Call(arguments, time_zone, some_streams(rng, redirected))]
    if rng.random() < 0.06:
        other = [*(word for word in arguments if word != "-i"), *some_options(rng, True)]
        calls.append(Call(rng.choice((arguments, other)), time_zone, ""))
    return Scenario(kind, files, modes, calls)


def run_scenario(rng: Rng, sources: Sources) -> Scenario:
    name = some_name(rng)
    content, course = some_run(rng, sources)
    own = name.replace("HERE/", "")
    files: Files = {own: content}
    add_course(rng, files, name, course)
    return finish(rng, "run", files, [*some_options(rng, True), *operands(name)], outputs_of(name, False), [own])


def walk_scenario(rng: Rng, sources: Sources) -> Scenario:
    walk = rng.choice(WALKS)
    files: Files = {walk: some_walk(rng, sources)}
    inputs, names = [walk], outputs_of(walk, True)
    arguments = ["-g", walk, *some_options(rng, False)]
    if rng.random() < 0.4:
        arguments.insert(0, "-p")
    if rng.random() < 0.4:
        run = rng.choice((some_name(rng, files), stem_of(walk) + ".txt", stem_of(walk) + ".log", walk))
        own = run.replace("HERE/", "")
        files.setdefault(own, some_run(rng, sources)[0])
        arguments += operands(run)
        inputs, names = [walk, own], names + outputs_of(run, False)
    if rng.random() < 0.3:
        files.setdefault("matrix.txt", b"// an earlier course\n")
    return finish(rng, "walk", files, arguments, names, inputs)


def known_scenario(rng: Rng, sources: Sources) -> Scenario:
    """An input of the other proofs with one of its command lines, perhaps with damage or with words of a wrong one."""
    given = rng.choice(rng.choice(sources.known))
    files, words = dict(given.files), [*some_options(rng, False), *rng.choice(given.command_lines)]
    if rng.random() < 0.2:
        words += rng.choice(WRONG)
        rng.shuffle(words)
    contents = [(name, content) for name, content in files.items() if isinstance(content, bytes)]
    if contents and rng.random() < 0.4:
        name, content = rng.choice(contents)
        files[name] = damaged(rng, content)
    track = next((name for name in files if name in words), "run.csv")
    return finish(rng, given.name, files, words, outputs_of(track, "-g" in words), [track])


# The kinds of scenarios, with the percentage of each.
KINDS = {run_scenario: 55, walk_scenario: 22, known_scenario: 23}


def scenario(sources: Sources, seed: str, number: int) -> Scenario:
    rng = random.Random(f"{seed}/{number}")
    (kind,) = rng.choices(list(KINDS), list(KINDS.values()))
    return kind(rng, sources)
