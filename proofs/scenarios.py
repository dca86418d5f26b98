"""The scenarios of compare_programs: folders of files and calls of tarvel in them, made from a seed.

A scenario starts from an input of the other proofs with one of its command lines. It may then get other options, names
and contents, another course file or a chain of indices, something in the place of its files, redirections and a second
call, each independently of the others. The same seed and number give the same scenario.
"""
from __future__ import annotations

import dataclasses
import os
import pathlib
import random
import re
from collections.abc import Callable, Iterator, Mapping, Sequence

from proofs.command_lines import full_lines
from proofs.comparison import Call, Scenario
from proofs.damage import Rng, damaged, rearranged
from proofs.families import TINY
from proofs.harness import Content, Folder, HardLink, Link, Pipe, Workplace
from proofs.inputs import (
    WRONG, Input, inputs_of_examples, inputs_of_families, inputs_of_fuzzing, inputs_of_simulation, thinned)

TIME_ZONES = ("UTC", "Europe/Vienna", "Australia/Lord_Howe")
COMMAND_LINES = {"run": [["run.csv"]], "walk": [["-g", "walk.csv"], ["-p", "-g", "walk.csv"]]}


def tracks(place: Workplace) -> Iterator[Input]:
    """The examples and simulated tracks with few and with many rows, and the containers that -d makes of them."""
    for given in (*inputs_of_examples(), *inputs_of_simulation()):
        track, course, *_ = given.files.values()
        assert isinstance(track, bytes)
        kind = "walk" if "walk" in given.name else "run"
        name, beside = kind + ".csv", {} if kind == "walk" else {"matrix.txt": course}
        few, many = (thinned(track, rows) for rows in (200, 800))
        made = place.call({name: many, **beside}, ["-d", *COMMAND_LINES[kind][0]]).files.get(kind + ".tvl")
        for content in (few, many, made.content if made else None):
            if content:
                yield Input(kind, {name: content, **beside}, COMMAND_LINES[kind])


# The percentage of scenarios of each kind.
SHARES = {"run": 52, "walk": 22, "line": 8, "fuzz": 8, "hostile": 6, "wrong": 4}


class Sources:
    """The inputs that scenarios start from, by kind. The program makes the containers."""

    def __init__(self, program: pathlib.Path) -> None:
        with Workplace(program) as place:
            every = [*tracks(place), *(Input("line", line.files, [line.arguments]) for line in full_lines(place)),
                     *inputs_of_fuzzing(), Input("wrong", {}, WRONG),
                     *(given for rows in (20, 60, TINY) for given in inputs_of_families(rows))]
        self.kinds: dict[str, list[Input]] = {kind: [] for kind in SHARES}
        for given in every:
            self.kinds[given.name.partition("/")[0]].append(given)


def name_in_folder(word: str) -> str:
    return os.path.normpath(word.replace("HERE/", ""))


@dataclasses.dataclass
class Draft:
    """A scenario that is being made."""
    sources: Sources
    files: dict[str, Content]
    words: list[str]
    modes: dict[str, int] = dataclasses.field(default_factory=dict)
    streams: str = ""
    more: list[list[str]] = dataclasses.field(default_factory=list)  # further calls

    def inputs(self) -> list[str]:
        """The tracks of the command line."""
        return [name for name in map(name_in_folder, self.words) if name in self.files]

    def outputs(self) -> list[str]:
        ends = (".kml", ".txt", ".pdf", ".tvl", ".txt.orig")
        return ["matrix.txt", "coord.txt", *(name[:-4] + end for name in self.inputs() for end in ends)]


# Changes of a scenario

NAMES = (
    *("117-2.csv", "1run.csv", "7.csv", "1run.txt", "run.txt", "run.kml", "run.pdf", "run.tvl", "walk.txt", "walk.kml"),
    *("walk.tvl", "matrix.txt", "matrix.csv", "coord.txt", "run", "x", ".csv", "sub/run.csv", "./run.csv", "%s.csv"),
    *("HERE/run.csv", "run.CSV", "é.csv", "a b.csv", "n" * 200 + ".csv", "csv", "run.csv.orig", "-run.csv"),
)
OPTIONS = (
    *("-d", "-d", "-d", "-m", "-m", "-m", "-i", "-i", "-t 4.5", "-t 2", "-t 0", "-t -1", "-t 1e9", "-t 1e30", "-t nan"),
    *("-t abc", "-t 2.0005", "-t4.5x", "-t inf", "-t0x3", "-p", "-mm", "-x", "-v", "-dm"),
)
STREAMS = (
    *("> {}", ">> {}", "> {} 2>&1", "2> {}", "2>> {}", "> {0} 2> {0}", "< {}", ">&-", "2>&-", "<&-", ">&- 2>&- <&-"),
    *("> /dev/full", "> /dev/full 2>&1", "> log.txt 2>&1"),
)
ODD_LINES = (
    *(b"", b"//", b"// " + b"long " * 30, b"theta = nan", b"theta = 1e308", b"theta =", b"theta = x", b"[1, 2, 3]"),
    *(b"hello", b"[nan, inf, 0, 1e308]", b"[0, 0, 0, 1]", b"(1, 2), (3, 4), (5, 6), (7, 8), (9, 10)", b"(1, 2), (3"),
    *(b"(1e39, -1e39)", b"(nan, inf)", b"(0, 0)", b"( 1, 2 )", b"(" + b"1" * 120 + b", 2)", b" (1, 2)", b"* other.txt"),
    *(b"1 - ", b"* - ", b"\0", b"theta = 180", b"theta = -3.5", b"(1, 2)\n" * 600),
)
TARGETS = (
    *("nogate", "nogate", "no/where.txt", "", " ", "x" * 120, "sub/course.txt", "./course.txt", "sub/../course.txt"),
    *("a b.txt", '"course.txt"', "coord.txt", "run.txt", "run.kml", "run.pdf", "run.tvl", "run.txt.orig", "run.csv"),
)


def add_run(rng: Rng, draft: Draft) -> None:
    """Adds a run to a walk, perhaps with the name of one of its outputs or of the walk itself."""
    if "-g" in draft.words and len(draft.inputs()) == 1:
        name = rng.choice(("run.csv", "run.csv", "run.csv", "walk.txt", "walk.log", draft.words[-1]))
        draft.files.setdefault(name, rng.choice(draft.sources.kinds["run"]).files["run.csv"])
        draft.words.append(name)


def rename(rng: Rng, draft: Draft) -> None:
    if inputs := draft.inputs():
        old, new = rng.choice(inputs), rng.choice(NAMES)
        draft.files[name_in_folder(new)] = draft.files.pop(old)
        at = next(i for i, word in enumerate(draft.words) if name_in_folder(word) == old)
        draft.words[at:at + 1] = ["--", new] if new.startswith("-") else [new]


def move_date(rng: Rng, draft: Draft) -> None:
    date = b"%d-%02d-%02d" % (rng.choice((1900, 1970, 2000, 2024, 2199)), rng.randrange(1, 13), rng.randrange(1, 32))
    for name in draft.inputs():
        content = draft.files[name]
        if isinstance(content, bytes):
            draft.files[name] = re.sub(rb"(?<=[\n,])\d{4}-\d\d-\d\d(?=T)", date, content)


def damage(rng: Rng, draft: Draft) -> None:
    name = rng.choice(draft.inputs() or ["matrix.txt"])
    content = draft.files.get(name)
    if isinstance(content, bytes) and content:
        draft.files[name] = damaged(rng, content)


def change_course(rng: Rng, draft: Draft) -> None:
    """Other lines in the course file: valid ones and odd ones."""
    content = draft.files.get("matrix.txt", b"// an earlier course\n")
    if isinstance(content, bytes):
        lines = rearranged(rng, content.split(b"\n")) if rng.random() < 0.3 else content.split(b"\n")
        for _ in range(rng.choice((1, 1, 3))):
            lines.insert(rng.randrange(len(lines) + 1), rng.choice(ODD_LINES))
        draft.files["matrix.txt"] = b"\n".join(lines)


def add_index(rng: Rng, draft: Draft) -> None:
    """Makes matrix.txt an index: to the course, to other indices before it, to itself, to an output, or to nowhere."""
    run = draft.words[-1] if draft.words else ""
    prefix = run[:rng.randrange(1, len(run) + 1)].split(" ")[0] if run[:1].isdigit() else "*"

    def entry(target: str) -> bytes:
        before = rng.choice(("", "", "", "// an index\n", "9999 - nothing.txt\n", "\n", "0 - nogate\n"))
        return f"{before}{prefix} - {target}".encode() + rng.choice((b"\n", b"\r\n", b""))

    course = draft.files.pop("matrix.txt", b"")
    last = rng.choice(("course.txt", rng.choice(TARGETS)))
    names = ["matrix.txt", *(f"{k}.txt" for k in range(rng.choice((0, 0, 0, 0, 1, 2, 61, 62, 63, 64, 65)))), last]
    for name, target in zip(names, names[1:]):
        draft.files[name] = entry(target)
    if rng.random() < 0.8:
        ring = entry(names[len(names) // 2 * rng.randrange(2)])
        draft.files.setdefault(os.path.normpath(last.strip('" ') or "none"), rng.choice((course, course, course, ring)))
    draft.files["sub"] = Folder()


def put_in_place(rng: Rng, draft: Draft) -> None:
    """Puts links, folders, pipes and earlier files in the place of outputs and inputs; the inputs get other names."""
    names = sorted({*(draft.outputs() if rng.random() < 0.7 else ()), *draft.inputs()})
    for name in rng.sample(names, min(len(names), rng.choice((1, 1, 2, 20)))):
        given, devices = rng.choice((*draft.inputs(), "matrix.txt")), ("/dev/full", "/dev/null")
        if name in draft.files:
            given, devices = name + ".own", ("none.txt", name)
            draft.files[given] = draft.files[name]
        targets = (given, given, os.path.basename(name), "none.txt", "no/where.txt")
        link = Link("../" * name.count("/") + rng.choice(targets))
        contents: Sequence[Content] = (b"an earlier output\n", b"", Folder(), Pipe(), HardLink(given), HardLink(given),
                                       link, link, link, Link(rng.choice(devices)))
        draft.files[name] = rng.choice(contents)
        if isinstance(draft.files[name], Folder) and rng.random() < 0.5:
            draft.files[name + "/inside.txt"] = b"kept\n"


def change_modes(rng: Rng, draft: Draft) -> None:
    draft.modes |= {name: rng.choice((0o444, 0o600, 0o000, 0o640)) for name in draft.files if rng.random() < 0.3}
    if rng.random() < 0.3:
        draft.modes["."] = 0o555


def add_options(rng: Rng, draft: Draft) -> None:
    draft.words[:0] = " ".join(rng.sample(OPTIONS, rng.choice((1, 1, 2, 3)))).split()


def add_wrong_words(rng: Rng, draft: Draft) -> None:
    draft.words += rng.choice(WRONG)
    rng.shuffle(draft.words)


def redirect(rng: Rng, draft: Draft) -> None:
    # A shell that opens a pipe without a reader or writer, perhaps through a link, would not continue.
    if not any(isinstance(content, Pipe) for content in draft.files.values()):
        draft.streams = rng.choice(STREAMS).format(rng.choice(draft.outputs() + draft.inputs()))


def call_again(rng: Rng, draft: Draft) -> None:
    draft.more = [rng.choice((draft.words, [word for word in draft.words if word != "-i"], ["-d", *draft.words]))]


# The changes in their order, each with its probability.
CHANGES: Mapping[Callable[[Rng, Draft], None], float] = {
    add_run: 0.4, move_date: 0.1, damage: 0.4, change_course: 0.15, rename: 0.18, add_index: 0.12,
    put_in_place: 0.27, change_modes: 0.08, add_options: 0.55, add_wrong_words: 0.03, redirect: 0.07, call_again: 0.06}


def scenario(sources: Sources, seed: str, number: int) -> Scenario:
    rng = random.Random(f"{seed}/{number}")
    (kind,) = rng.choices(list(SHARES), list(SHARES.values()))
    given = rng.choice(sources.kinds[kind])
    draft = Draft(sources, dict(given.files), list(rng.choice(given.command_lines)))
    for change, share in CHANGES.items():
        if rng.random() < share:
            change(rng, draft)
    files = {name: content for name, content in draft.files.items()
             if not isinstance(content, HardLink) or isinstance(draft.files.get(content), bytes)}
    modes = {name: mode for name, mode in draft.modes.items() if name == "." or isinstance(files.get(name), bytes)}
    zone = rng.choice(TIME_ZONES)
    return Scenario(given.name, files, modes, [Call(draft.words, zone, draft.streams),
                                               *(Call(words, zone) for words in draft.more)])
