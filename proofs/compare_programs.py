"""Two builds of tarvel have the same outputs, except for intended differences.

Calls both in each of N scenarios (10,000 by default), which are made from the seed, in equal copies of a folder. Exit
status, standard output, standard error, and all files with their names, modes and links must be the same byte for byte.
PDFs are compared without their creation dates, and if they still differ, by their drawing operators and character maps.

    scripts/proofs compare_programs OLD NEW [--seed S] [--count N] [--only K] [--jobs N] [--allow NAME]...
                                    [--keep FOLDER]

Prints each difference with the number of its scenario. --only K tries this scenario only; --keep FOLDER then copies the
files before the call and after it to FOLDER. --allow NAME accepts the differences of a rule in RULES below. When it is
started by root, the programs run as an ordinary user, for whom the modes of files and folders matter.
"""
from __future__ import annotations

import argparse
import collections
import contextlib
import itertools
import multiprocessing
import os
import pathlib
import re
import shutil
import stat
import subprocess
import tempfile
import zlib
from collections.abc import Callable, Collection, Iterable, Iterator
from typing import NamedTuple

from proofs import scenarios
from proofs.harness import (CORES, ORDINARY_USER, Conditions, Outcome, environment_in, execute, fill, listing, masked,
                            remove, snapshot)
from proofs.scenarios import Call, Scenario

TIMEOUT = 30  # s; the longest call takes less than one
HANGS = f"none, after {TIMEOUT} s"
SHOWN_IN_FULL = 20
LISTING = "names, modes and links"

# The outputs of a call: "exit status", "standard output", "standard error", LISTING, and the content of each file.
Left = dict[str, bytes]


class Difference(NamedTuple):
    """`what` is a key of Left; `old` and `new` are its bytes, None where it is missing."""
    call: Call
    what: str
    old: bytes | None
    new: bytes | None
    old_left: Left
    new_left: Left


def is_map_written_once(difference: Difference) -> bool:
    """The map is written once, after the report; it was written before the analysis and again after it. A write error
    in the map is therefore reported later. A run whose course cannot be read now has a map, which may fail or set an
    input aside."""
    said = difference.old_left["standard output"].rstrip(b"\n").rpartition(b"\n")[2].decode(errors="replace")
    if re.fullmatch(r"ERROR: failed to write file: .*\.kml", said):
        return True
    course = re.match(r"ERROR: failed to (?:open|read) file: (.*)", said)
    if not course or "-g" in difference.call.arguments:
        return False
    track = difference.call.arguments[-1]
    run_map = track[:-3] + "kml"
    return course[1] not in (track, run_map) and run_map not in difference.old_left


def is_drawn_far_out(difference: Difference) -> bool:
    """Charts with samples so far out or so fast that no page can show them. The old program did not end for some."""
    if difference.old_left["exit status"] == HANGS.encode():
        return True
    texts = [content for what, content in difference.new_left.items() if not what.endswith((".pdf", ".tvl"))]
    return difference.what.endswith(".pdf") and any(re.search(rb"[0-9]{300}|\binf\b", text) for text in texts)


# Whether a difference is intended. Example:
#   "version": lambda d: "-v" in d.call.arguments and d.what == "standard output"
RULES: dict[str, Callable[[Difference], bool]] = {"map_once": is_map_written_once, "far_out": is_drawn_far_out}


# Portable Document Format

STREAM = re.compile(rb"<<((?:(?!stream).)*?)>>\s*stream\r?\n(.*?)\r?\nendstream", re.DOTALL)
NO_DRAWING = re.compile(rb"/Length[123]\b|/FontFile|/Type /(?:XRef|ObjStm)|/Subtype /(?:Type1C|CIDFontType0C|OpenType)")


def drawing_of(pdf: bytes) -> bytes:
    """The decompressed streams of pages, forms and character maps; empty for anything but a complete PDF."""
    parts = []
    for header, body in STREAM.findall(pdf) if pdf.startswith(b"%PDF") and pdf.rstrip().endswith(b"%%EOF") else ():
        if NO_DRAWING.search(header):
            continue
        with contextlib.suppress(zlib.error):
            body = zlib.decompressobj().decompress(body) if b"/FlateDecode" in header else body
        parts.append(body)
    return b"\n".join(parts)


def is_same(old: bytes | None, new: bytes | None) -> bool:
    if old is None or new is None:
        return old == new
    return old == new or masked(old) == masked(new) or drawing_of(old) == drawing_of(new) != b""


# One scenario


def call_in(folder: pathlib.Path, home: pathlib.Path, program: pathlib.Path, call: Call) -> Left:
    words = [word.replace("HERE", str(folder)) for word in call.arguments]
    # A shell is started only for redirections, since it takes as long as a short call.
    words = ["sh", "-c", f'exec tarvel "$@" {call.streams}', "sh", *words] if call.streams else ["tarvel", *words]
    environment = {**environment_in(home, call.time_zone), "PATH": f"{program.parent}:/usr/bin:/bin"}
    done = execute(words, folder, Conditions(environment, timeout=TIMEOUT), "/bin/sh" if call.streams else program)
    status = HANGS if done.status is None else str(done.status)
    return {"exit status": status.encode(), "standard output": done.out, "standard error": done.err}


def place(folder: pathlib.Path, scenario: Scenario) -> None:
    fill(folder, scenario.files)
    for name, mode in scenario.modes.items():
        (folder / name).chmod(mode)


def outcomes_of(program: pathlib.Path, home: pathlib.Path, scenario: Scenario,
                keep_as: pathlib.Path | None) -> list[Left]:
    """The outputs of each call. Both programs work in a folder of the same name, since messages may contain it."""
    folder = home / "here"
    remove(folder)
    folder.mkdir()
    place(folder, scenario)
    outcomes = [call_in(folder, home, program, call) for call in scenario.calls]
    if keep_as:
        subprocess.run(["cp", "-a", folder, keep_as], check=True)
    mode = stat.filemode(folder.stat().st_mode)
    files = snapshot(folder)
    outcomes[-1] |= {name: entry.content or b"" for name, entry in files.items() if entry.kind == "-"}
    outcomes[-1][LISTING] = f"{mode} .\n{listing(files)}".encode(errors="surrogateescape")
    return outcomes


def differences(scenario: Scenario, old_outcomes: list[Left], new_outcomes: list[Left]) -> Iterator[Difference]:
    for call, old, new in zip(scenario.calls, old_outcomes, new_outcomes):
        for what in sorted(old.keys() | new.keys()):
            if not is_same(old.get(what), new.get(what)):
                yield Difference(call, what, old.get(what), new.get(what), old, new)


def printable(line: bytes | None, at: int) -> str:
    if line is None:
        return "(its end)"
    text = line[at:].decode(errors="backslashreplace")
    return "".join(c if c.isprintable() else f"\\x{ord(c):02x}" for c in text[:160])


def show(difference: Difference) -> list[str]:
    """The first line that differs, old and new; of a PDF, the first drawing operator."""
    old, new = difference.old, difference.new
    if old is None or new is None:
        return [f"    {difference.what}: only the {'new' if old is None else 'old'} program leaves it"]
    if drawing_of(old) and drawing_of(new):
        old, new = drawing_of(old), drawing_of(new)
    pairs = itertools.zip_longest(old.split(b"\n"), new.split(b"\n"))
    number, (before, after) = next((i, pair) for i, pair in enumerate(pairs, 1) if pair[0] != pair[1])
    at = max(0, next((i for i, (a, b) in enumerate(zip(before or b"", after or b"")) if a != b), 0) - 40)
    return [f"    {difference.what}, line {number}:" + (f" from byte {at} on" if at else ""),
            "      old: " + printable(before, at), "      new: " + printable(after, at)]


def title_of(number: int, scenario: Scenario) -> str:
    calls = "; then ".join(" ".join(["tarvel", *call.arguments, call.streams]).strip()[:160] for call in scenario.calls)
    return f"in scenario {number} ({scenario.kind}, TZ={scenario.calls[0].time_zone}): {calls}"


# All scenarios


class Found(NamedTuple):
    calls: int
    outputs: int
    statuses: list[str]
    allowed: int
    differs: bool
    lines: list[str]


class Comparison:
    """Copies of two programs, and a temporary folder that is writable for all users. It is in /dev/shm if possible,
    since creating and removing files takes most of the time."""

    def __init__(self, old: pathlib.Path, new: pathlib.Path, seed: str, allowed: Iterable[str] = ()) -> None:
        in_memory = "TMPDIR" not in os.environ and os.access("/dev/shm", os.W_OK)
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="tarvel_proofs_", dir="/dev/shm" if in_memory else None))
        self.program_folder = pathlib.Path(tempfile.mkdtemp(prefix="tarvel_proofs_"))
        self.programs = {name: self.program_folder / name / "tarvel" for name in ("old", "new")}
        for program, given in zip(self.programs.values(), (old, new)):
            program.parent.mkdir()
            shutil.copy(given, program)
        self.program_folder.chmod(0o755)
        self.path.chmod(0o777)
        self.seed, self.rules = seed, [RULES[name] for name in allowed]
        self.sources = scenarios.Sources(self.programs["old"])

    def __enter__(self) -> Comparison:
        return self

    def __exit__(self, *_: object) -> None:
        remove(self.path)
        remove(self.program_folder)

    def find(self, number: int, home: pathlib.Path, keep: pathlib.Path | None = None) -> Found:
        """Calls both programs in a scenario."""
        scenario = scenarios.scenario(self.sources, self.seed, number)
        if keep:
            (keep / "given").mkdir(parents=True)
            place(keep / "given", scenario)
        old, new = (outcomes_of(program, home, scenario, keep and keep / name)
                    for name, program in self.programs.items())
        found = list(differences(scenario, old, new))
        other = [difference for difference in found if not any(rule(difference) for rule in self.rules)]
        lines = [line for difference in other for line in show(difference)]
        if other:
            lines = ["FINDING " + title_of(number, scenario), *lines]
        statuses = [left["exit status"].decode() for left in old]
        if HANGS in statuses:
            lines = [f"HANGS {title_of(number, scenario)}", *lines]
        return Found(len(old), sum(map(len, old)), statuses, len(found) - len(other), bool(other), lines)


class Worker:
    """A process that tries scenarios as an ordinary user, with a home directory."""
    comparison: Comparison
    keep: pathlib.Path | None
    home: pathlib.Path

    @classmethod
    def begin(cls, comparison: Comparison, keep: pathlib.Path | None) -> None:
        os.umask(0o022)
        if os.geteuid() == 0:
            os.setgroups([])
            os.setgid(ORDINARY_USER)
            os.setuid(ORDINARY_USER)
        tempfile.tempdir = tempfile.mkdtemp(dir=comparison.path)
        cls.comparison, cls.keep, cls.home = comparison, keep, pathlib.Path(tempfile.tempdir)

    @classmethod
    def find(cls, number: int) -> Found:
        return cls.comparison.find(number, cls.home, cls.keep)


def find_all(comparison: Comparison, numbers: Collection[int], jobs: int,
             keep: pathlib.Path | None = None) -> Iterator[Found]:
    """The result of each scenario, in the order of the numbers."""
    with multiprocessing.get_context("fork").Pool(jobs, Worker.begin, (comparison, keep)) as pool:
        yield from pool.imap(Worker.find, numbers, chunksize=8)


def report(found: Iterable[Found]) -> Outcome:
    total: collections.Counter[str] = collections.Counter()
    statuses: collections.Counter[str] = collections.Counter()
    for one in found:
        total.update(scenarios=1, calls=one.calls, outputs=one.outputs, allowed=one.allowed, differ=int(one.differs))
        statuses.update(one.statuses)
        if one.lines:
            print("\n".join(one.lines if total["differ"] <= SHOWN_IN_FULL else one.lines[:1]), flush=True)
    ends = ", ".join(f"{count:,} with {status}" for status, count in sorted(statuses.items()))
    return Outcome(f"{total['scenarios']:,} scenarios, {total['calls']:,} calls (exit statuses: {ends}), "
                   f"{total['outputs']:,} outputs compared, {total['allowed']:,} differences allowed", total["differ"])


def prove(words: list[str]) -> Outcome:
    parser = argparse.ArgumentParser(prog="scripts/proofs compare_programs")
    parser.add_argument("old", type=pathlib.Path)
    parser.add_argument("new", type=pathlib.Path)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--count", type=int, default=10_000)
    parser.add_argument("--only", type=int)
    parser.add_argument("--jobs", type=int, default=CORES)
    parser.add_argument("--allow", action="append", default=[], choices=sorted(RULES))
    parser.add_argument("--keep", type=pathlib.Path)
    given = parser.parse_args(words)
    if given.keep and given.only is None:
        parser.error("--keep needs --only")
    with Comparison(given.old, given.new, given.seed, given.allow) as comparison:
        if given.only is None:
            return report(find_all(comparison, range(given.count), given.jobs))
        outcome = report(find_all(comparison, [given.only], 1, comparison.path / "kept"))
        if given.keep:
            subprocess.run(["cp", "-a", comparison.path / "kept", given.keep], check=True)
        return outcome
