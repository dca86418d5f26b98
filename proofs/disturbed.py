"""Code that io_faults and kill_anywhere share: calls of a command line without and with faults, and their judgement.

A call with a fault may succeed if every byte of its outputs equals that of the call without faults. Otherwise it must
end with exit status 1 and a message, with all inputs kept, and without an incomplete output that looks complete.
"""
from __future__ import annotations

import os
import pathlib
import re
import shutil
import sys
import tempfile
from collections.abc import Callable, Collection, Mapping, Sequence
from typing import Any

from proofs.command_lines import INDEX_TO_THE_MAP, CommandLine, small_lines
from proofs.harness import (Conditions, Content, Entry, Judged, Result, Snapshot, Workplace, changed_names, fill,
                            remove, snapshot)

# The files that a survey first writes as NAME.new and then renames.
COURSES = ("matrix.txt", "walk.txt")


class Case:
    """A command line with its files before and after a call without faults, and the names of both."""

    def __init__(self, place: Workplace, line: CommandLine) -> None:
        self.place, self.line, self.name, self.arguments = place, line, line.name, line.arguments
        folder = place.new_folder()
        fill(folder, line.files)
        self.before = snapshot(folder)
        remove(folder)
        self.reference = self.call()
        self.maps = self.map_of_track()
        self.names = sorted(set(self.before) | set(self.reference.files))

    def conditions(self, environment: Mapping[str, str] = {}, **more: Any) -> Conditions:
        return Conditions({"TZ": self.line.zone, **environment}, **more)

    def call(self, launcher: Sequence[str] = (), under: Conditions | None = None,
             prepare: Callable[[pathlib.Path], None] = lambda folder: None,
             files: Mapping[str, Content] = {}) -> Result:
        """With these files in addition to or in place of those of the command line."""
        given = {**self.line.files, **files}
        return self.place.call(given, self.arguments, launcher, under or self.conditions(), prepare)

    def map_of_track(self) -> dict[str, bytes]:
        """The map of the whole track, which a call writes that fails after reading it: here without a course."""
        if not self.arguments or "-g" in self.arguments[-2:] or not os.path.splitext(self.arguments[-1])[1]:
            return {}
        track = self.arguments[-1]
        name = track[:-3] + "kml"
        files = {other: content for other, content in self.line.files.items() if other != "matrix.txt"}
        content = content_of(self.place.call(files, [track], under=self.conditions()).files.get(name))
        return {name: content} if content is not None and content.endswith(b"</kml>\n") else {}

    def names_of(self, name: str) -> set[str]:
        """All names of the same file."""
        if name not in self.before:
            return {name}
        return {other for other in self.before if content_of(self.before[other]) == content_of(self.before[name])}


def make_cases(place: Workplace) -> list[Case]:
    cases = [Case(place, line) for line in small_lines(place)]
    for case in cases:
        if case.reference.status not in (0, 1):
            sys.exit(f"{case.name}: exit status {case.reference.status} without a fault")
    return cases


def content_of(entry: Entry | None) -> bytes | None:
    """A symbolic link has the content of its target."""
    return entry.content if entry else None


# The files after a call with a fault


def cut_courses(case: Case, files: Snapshot) -> list[str]:
    """Course files that are incomplete or empty."""
    def is_cut(name: str) -> bool:
        whole, part = case.reference.files.get(name), files.get(name)
        return (whole is not None and part is not None and whole.kind == part.kind == "-" and part != whole
                and part != case.before.get(name) and (whole.content or b"").startswith(part.content or b""))

    return [name for name in COURSES if is_cut(name)]


def is_kept(name: str, content: bytes | None, files: Snapshot) -> bool:
    """True when the content exists under this name or under one to which a call may have renamed it."""
    return any(content_of(files[other]) == content for other in files
               if other == name or other.startswith(name + ".orig"))


def lost_inputs(case: Case, files: Snapshot, message: str = "") -> list[str]:
    wanted = {name: case.before[name] for name in case.line.inputs()}
    # A call that could not read the index does not know the course, which here has the name of the map.
    if case.line.files.get("matrix.txt") == INDEX_TO_THE_MAP and re.fullmatch("failed to (open|read) file: matrix.txt",
                                                                             message):
        del wanted["run.kml"]
    return [name for name, entry in wanted.items() if not is_kept(name, content_of(entry), files)]


def is_map_of_track(case: Case, name: str, content: bytes | None, message: str) -> bool:
    """True for the map of the whole track, or for a beginning of it when another output could not be written."""
    whole = case.maps.get(name)
    if whole is None or content is None:
        return False
    is_disk_full = message.startswith(("failed to open ", "failed to write "))
    return content == whole or (is_disk_full and whole.startswith(content))


def is_excused(case: Case, name: str, entry: Entry, message: str) -> bool:
    """True for an incomplete output when the message names it or implies that it is incomplete."""
    written = entry.target or name
    # The survey copies its course file to matrix.txt; reading it may fail.
    is_copied = name == "matrix.txt" and "-g" in case.arguments and message.startswith("failed to read file: ")
    return (written in message.split() or is_copied
            or (entry.kind == "-" and is_map_of_track(case, name, entry.content, message))
            or (name.endswith(".tvl") and message.startswith("failed to write "))
            or (name.endswith(".pdf") and message.endswith(" for charts")))


def false_outputs(case: Case, result: Result, spared: Collection[str]) -> list[str]:
    """Files after a failed call that are neither as before it nor as after a call without faults."""
    found = []
    for name, entry in result.files.items():
        is_known = name in case.names or re.sub(r"\.orig(\.\d+)?$", "", name) in case.names
        is_right = entry in (case.before.get(name), case.reference.files.get(name)) or (
            ".orig" in name and entry in case.before.values())
        is_right = is_right or name in spared or is_excused(case, name, entry, result.message())
        if not is_known or not is_right:
            found.append(name)
    return found


def judge(case: Case, result: Result, expected: Collection[str] | None = None,
          spared: Collection[str] = ()) -> str | None:
    """What is wrong with a call with a fault, or None. `expected` are the messages for the fault, None for any message.
    `spared` are the names of files that the test has changed itself."""
    if result.status is None:
        return "hang"
    if result.status < 0:
        return f"ended by signal {-result.status}"
    reference = case.reference
    if (result.status, result.out) == (reference.status, reference.out):
        changed = [name for name in changed_names(reference.files, result.files) if name not in spared]
        if not changed:
            return None
        if result.status == 0:
            return "WRONG SUCCESS: " + " ".join(changed)
    if result.status == 0:
        return "WRONG SUCCESS: standard output"
    if result.status != 1:
        return f"exit status {result.status}"
    if not result.message():
        return "exit status 1 without a message"
    if expected is not None and result.message() not in expected:
        return f"says '{result.message()}' instead of {sorted(expected)}"
    for words, names in (("cut", cut_courses(case, result.files)),
                         ("lost", lost_inputs(case, result.files, result.message())),
                         ("leaves unfinished", false_outputs(case, result, spared))):
        if wrong := [name for name in names if name not in spared]:
            return f"{words} {' '.join(wrong)}"
    return None


def attempt(case: Case, expected: Collection[str] | None, spared: Collection[str] = (), **how: Any) -> Judged:
    """A call and its judgement; see Case.call() and judge()."""
    result = case.call(**how)
    return result.ending(), judge(case, result, expected, spared)


# System calls

STRACE = ("strace", "-f", "--quiet=all")
CALL = re.compile(r"^(?:\d+ +)?(\w+)\((.*)$")


def need_strace() -> None:
    if shutil.which("strace") is None:
        sys.exit("proofs: strace is missing (scripts/setup proofs)")


def own_paths(case: Case, streams: Sequence[str] = ("@OUT@",)) -> list[str]:
    """strace options that restrict it to the command line's own files and standard output."""
    beside = (course + ".new" for course in COURSES if course in case.names)
    paths = [path for name in (*case.names, *beside) for path in (name, "@FOLDER@/" + name)]
    return [word for path in (*paths, *streams) for word in ("-P", path)]


def traced(case: Case, options: Sequence[str], folder: pathlib.Path | None = None,
           environment: Mapping[str, str] = {}) -> tuple[Result, list[tuple[str, str]]]:
    """A call under strace, in this folder or a new one, and the logged system calls, each with its arguments. In the
    options @OUT@ is replaced by a file that receives standard output."""
    with (tempfile.NamedTemporaryFile("r", dir=case.place.path, errors="replace") as log,
          tempfile.NamedTemporaryFile(dir=case.place.path) as out):
        words = [*STRACE, "-o", log.name, *(word.replace("@OUT@", out.name) for word in options)]
        under = case.conditions(environment, out=out.file)
        result = case.place.call_in(folder, case.arguments, words, under) if folder else case.call(words, under)
        result.out = pathlib.Path(out.name).read_bytes()
        return result, [(match[1], match[2]) for match in map(CALL.match, log) if match]
