"""Code that compare_programs and same_bytes share: calls of several programs in equal folders, and what differs."""
from __future__ import annotations

import collections
import contextlib
import itertools
import multiprocessing
import os
import pathlib
import re
import stat
import tempfile
import zlib
from collections.abc import Callable, Mapping, Sequence
from typing import NamedTuple

from proofs.harness import CORES, ORDINARY_USER, Content, Workplace, execute, fill, listing, remove, shell, snapshot

SHOWN_IN_FULL = 20
HANGS = b"hangs"

# What calls leave: "exit status", "standard output" and "standard error" of each, "names, modes and links", and the
# content of each file.
Left = dict[str, bytes]


class Call(NamedTuple):
    arguments: Sequence[str]  # HERE is replaced by the folder
    time_zone: str
    streams: str = ""  # a shell's redirections, such as "> run.txt 2>&1"


class Scenario(NamedTuple):
    kind: str
    files: Mapping[str, Content]
    modes: Mapping[str, int]
    calls: Sequence[Call]

    def __str__(self) -> str:
        calls = (" ".join(["tarvel", *call.arguments, call.streams]).strip()[:160] for call in self.calls)
        return f"({self.kind}, TZ={self.calls[0].time_zone}): {'; then '.join(calls)}"


# One scenario


def left_by(place: Workplace, folder: pathlib.Path, scenario: Scenario) -> Left:
    """The folder has the same name for all programs, since messages may contain it."""
    remove(folder)
    folder.mkdir()
    fill(folder, scenario.files)
    for name, mode in scenario.modes.items():
        (folder / name).chmod(mode)
    left: Left = {}
    for number, call in enumerate(scenario.calls, 1):
        # A shell is started only for redirections, since it takes as long as a short call.
        launcher = shell(f'exec "$@" {call.streams}') if call.streams else []
        arguments = [word.replace("HERE", str(folder)) for word in call.arguments]
        result = execute([*launcher, "tarvel", *arguments], folder, {**place.environment, "TZ": call.time_zone},
                         place.timeout)
        of_call = f" of call {number}" if number > 1 else ""
        left |= {"exit status" + of_call: HANGS if result.status is None else b"%d" % result.status,
                 "standard output" + of_call: result.out, "standard error" + of_call: result.err}
    own_mode = stat.filemode(folder.stat().st_mode)
    files = snapshot(folder)
    left |= {name: entry.content or b"" for name, entry in files.items() if entry.kind == "-"}
    left["names, modes and links"] = f"{own_mode} .\n{listing(files)}".encode(errors="surrogateescape")
    return left


def readable(content: bytes) -> bytes:
    """Decompresses the streams of a PDF."""
    def inflate(match: re.Match[bytes]) -> bytes:
        with contextlib.suppress(zlib.error):
            return zlib.decompress(match[0])
        return match[0]

    is_document = content.startswith(b"%PDF")
    return re.sub(rb"(?<=\nstream\n).*?(?=\nendstream)", inflate, content, flags=re.DOTALL) if is_document else content


def show(what: str, contents: Mapping[str, bytes | None]) -> list[str]:
    """The first line that differs between two programs; line 0 when it is only the compression of a PDF."""
    for name, content in contents.items():
        if content is None:
            return [f"    {what}: {name} does not leave it"]
    pairs = itertools.zip_longest(*(readable(content or b"").split(b"\n") for content in contents.values()))
    number, lines = next(((i, pair) for i, pair in enumerate(pairs, 1) if pair[0] != pair[1]), (0, ()))
    at = max(0, len(os.path.commonprefix([line or b"" for line in lines])) - 40)
    return [f"    {what}, line {number}, from byte {at} on:",
            *(f"      {name}: {(line or b'')[at:at + 160]!r}" for name, line in zip(contents, lines))]


# All scenarios


class Found(NamedTuple):
    """Of one scenario."""
    statuses: list[str]  # of the calls of the first program
    outputs: int  # of the first program
    lines: list[str]  # what differs


class Comparison:
    """Copies of programs, of which the first is the reference, and a folder that is writable for all users. It is in
    /dev/shm if possible, since creating and removing files takes most of the time."""
    current: Comparison  # in a process of the pool
    home: pathlib.Path

    def __init__(self, programs: Mapping[str, pathlib.Path], scenario: Callable[[int], Scenario]) -> None:
        self.places = {name: Workplace(program) for name, program in programs.items()}
        self.scenario, self.is_kept = scenario, False
        in_memory = "TMPDIR" not in os.environ and os.access("/dev/shm", os.W_OK)
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="tarvel_proofs_", dir="/dev/shm" if in_memory else None))
        self.path.chmod(0o777)

    def __enter__(self) -> Comparison:
        return self

    def __exit__(self, *_: object) -> None:
        for place in self.places.values():
            remove(place.path)
        if not self.is_kept:
            remove(self.path)

    def begin(self) -> None:
        """In a process of the pool. The programs run as an ordinary user."""
        os.umask(0o022)
        if os.geteuid() == 0:
            os.setgroups([])
            os.setgid(ORDINARY_USER)
            os.setuid(ORDINARY_USER)
        Comparison.current = self
        self.home = pathlib.Path(tempfile.mkdtemp(dir=self.path))

    def find(self, number: int) -> Found:
        """Calls all programs in a scenario. Their folders remain until the next one."""
        scenario = self.scenario(number)
        left: dict[str, Left] = {}
        for name, place in self.places.items():
            left[name] = left_by(place, self.home / "here", scenario)
            remove(self.home / name)
            (self.home / "here").rename(self.home / name)
        first, *others = left
        statuses = {name: [text for what, text in files.items() if what.startswith("exit status")]
                    for name, files in left.items()}
        lines = [f"    {name} hangs" for name, texts in statuses.items() if HANGS in texts]
        for other in others:
            a, b = left[first], left[other]
            lines += [line for what in sorted(a.keys() | b.keys()) if a.get(what) != b.get(what)
                      for line in show(what, {first: a.get(what), other: b.get(what)})]
        return Found([text.decode() for text in statuses[first]], len(left[first]),
                     [f"FINDING in scenario {number} {scenario}", *lines] if lines else [])


def find(number: int) -> Found:
    return Comparison.current.find(number)


class Total(NamedTuple):
    statuses: collections.Counter[str]
    outputs: int
    findings: int


def compare(comparison: Comparison, numbers: Sequence[int], jobs: int = CORES) -> Total:
    """Tries the scenarios with these numbers, and prints the findings."""
    total = Total(collections.Counter(), 0, 0)
    with multiprocessing.get_context("fork").Pool(jobs, comparison.begin) as pool:
        for statuses, outputs, lines in pool.imap(find, numbers, chunksize=8):
            total = Total(total.statuses + collections.Counter(statuses), total.outputs + outputs,
                          total.findings + bool(lines))
            for line in lines if total.findings <= SHOWN_IN_FULL else lines[:1]:
                print(line, flush=True)
    return total
