"""Code that memory_faults, io_faults and kill_anywhere share: calls of a command line without and with faults, and
their judgement.

A call with a fault may succeed if every byte of its outputs equals that of the call without faults. Otherwise it must
end with exit status 1 and a message, with all inputs kept, and without an incomplete output that looks complete.
"""
from __future__ import annotations

import collections
import functools
import os
import pathlib
import re
import shutil
import sys
import tempfile
from collections.abc import Callable, Collection, Iterable, Iterator, Mapping, Sequence
from typing import Any, NamedTuple

from proofs.command_lines import INDEX_TO_THE_MAP, CommandLine, small_lines
from proofs.harness import Content, Entry, Judged, Result, Snapshot, Trial, Workplace, changed_names, shell, snapshot

# The files that a survey first writes as NAME.new and then renames.
COURSES = ("matrix.txt", "walk.txt")


class Case:
    """A command line with its files before and after a call without faults, and the names of both."""

    def __init__(self, place: Workplace, line: CommandLine, environment: Mapping[str, str] = {}) -> None:
        self.place, self.line, self.name, self.arguments = place, line, line.name, line.arguments
        self.environment = {"TZ": line.zone, **environment}
        with place.folder(line.files) as folder:
            self.before = snapshot(folder)
        self.reference = self.call()
        if self.reference.status not in (0, 1):
            sys.exit(f"{self.name}: {self.reference.ending()} without a fault")
        self.maps = self.map_of_track()
        self.names = sorted({*self.before, *self.reference.files})

    def call(self, launcher: Sequence[str] = (), environment: Mapping[str, str] = {},
             files: Mapping[str, Content] = {}, disk: str = "") -> Result:
        """With these files in addition to or in place of those of the command line."""
        return self.place.call({**self.line.files, **files}, self.arguments, launcher,
                               {**self.environment, **environment}, disk)

    def map_of_track(self) -> dict[str, bytes]:
        """The map of the whole track, which a call writes that fails after reading it: here without a course."""
        if not self.arguments or "-g" in self.arguments[-2:] or not os.path.splitext(self.arguments[-1])[1]:
            return {}
        track = self.arguments[-1]
        name = track[:-3] + "kml"
        files = {other: content for other, content in self.line.files.items() if other != "matrix.txt"}
        content = content_of(self.place.call(files, [track], environment=self.environment).files.get(name))
        return {name: content} if content is not None and content.endswith(b"</kml>\n") else {}

    def names_of(self, name: str) -> set[str]:
        """All names of the same file."""
        if name not in self.before:
            return {name}
        return {other for other in self.before if content_of(self.before[other]) == content_of(self.before[name])}


def small_cases(place: Workplace) -> list[Case]:
    return [Case(place, line) for line in small_lines(place)]


def content_of(entry: Entry | None) -> bytes | None:
    """A symbolic link has the content of its target."""
    return entry.content if entry else None


# The files after a call with a fault


def is_kept(name: str, content: bytes | None, files: Snapshot) -> bool:
    """True when the content exists under this name or under one to which a call may have renamed it."""
    return any(content_of(files[other]) == content for other in files
               if other == name or other.startswith(name + ".orig"))


def lost_inputs(case: Case, files: Snapshot, message: str = "") -> list[str]:
    """Inputs that a call without faults keeps."""
    # A call that could not read the index does not know the course, which here has the name of the map.
    is_unknown = (case.line.files.get("matrix.txt") == INDEX_TO_THE_MAP
                  and re.fullmatch("failed to (open|read) file: matrix.txt", message))
    wanted = {name: content_of(case.before[name]) for name in case.line.inputs()
              if not (is_unknown and name == "run.kml")}
    return [name for name, content in wanted.items()
            if is_kept(name, content, case.reference.files) and not is_kept(name, content, files)]


def is_map_of_track(case: Case, name: str, content: bytes | None, message: str) -> bool:
    """True for the map of the whole track, or for a beginning of it when another output could not be written."""
    whole = case.maps.get(name)
    is_disk_full = message.startswith(("failed to open ", "failed to write "))
    return (whole is not None and content is not None
            and (content == whole or (is_disk_full and whole.startswith(content))))


def is_excused(case: Case, name: str, entry: Entry, result: Result) -> bool:
    """True for an incomplete output when the message names it or implies that it is incomplete. A course may only be
    empty, where there was none or an input that is set aside."""
    message = result.message()
    named = set(message.split())
    named |= {link.target for other, link in result.files.items() if link.kind == "l" and other in named}
    was_there = name in case.before and not is_kept(name, case.before[name].content, case.reference.files)
    is_cut_course = name in COURSES and "-g" in case.arguments and (was_there or entry.content)
    return not is_cut_course and (
        name in named or entry.target in named
        or (entry.kind == "-" and is_map_of_track(case, name, entry.content, message))
        or (name.endswith(".tvl") and message.startswith("failed to write "))
        or (name.endswith(".pdf") and message.endswith(" for charts"))
        or (name == "coord.txt" and name in case.arguments))  # the dump, before the report replaces it


def false_outputs(case: Case, result: Result) -> list[str]:
    """Files after a failed call that are neither as before it nor as after a call without faults."""
    def is_right(name: str, entry: Entry) -> bool:
        own_name = re.sub(r"\.orig(\.\d+)?$", "", name)
        is_known = name in case.names or own_name in case.names
        return is_known and (entry in (case.before.get(name), case.reference.files.get(name))
                             or (own_name != name and entry in case.before.values())
                             or is_excused(case, name, entry, result))

    return [name for name, entry in result.files.items() if not is_right(name, entry)]


def judge(case: Case, result: Result, expected: str = ".+", spared: Collection[str] = ()) -> str | None:
    """What is wrong with a call with a fault, or None. `expected` is a regular expression for the messages for the
    fault. `spared` are the names of files that the test has changed itself."""
    if result.status is None or result.status < 0:
        return result.ending()
    reference, message = case.reference, result.message()
    changed = [name for name in changed_names(reference.files, result.files) if name not in spared]
    changed += ["standard output"] if result.out != reference.out else []
    if result.status == reference.status and not changed:
        return None
    if result.status == 0:
        return "WRONG SUCCESS: " + " ".join(changed)
    if result.status != 1:
        return f"{result.ending()}: {result.err.decode(errors='replace')[:3000]}"
    if not message:
        return "exit status 1 without a message"
    if not re.fullmatch(expected, message):
        return f"says '{message}' instead of {expected}"
    for words, names in (("lost", lost_inputs(case, result.files, message)),
                         ("leaves unfinished", false_outputs(case, result))):
        if wrong := [name for name in names if name not in spared]:
            return f"{words} {' '.join(wrong)}"
    return None


def attempt(case: Case, expected: str, spared: Collection[str] = (), **how: Any) -> Judged:
    """A call and its judgement; see Case.call() and judge()."""
    result = case.call(**how)
    return result.ending(), judge(case, result, expected, spared)


def trial(heading: str, case: Case, what: str, function: Callable[..., Judged], *arguments: Any, **more: Any) -> Trial:
    """Calls the function with the case and these arguments."""
    return Trial(heading, f"{case.name}: {what}", functools.partial(function, case, *arguments, **more))


# System calls

STRACE = ("strace", "-f", "-y", "--quiet=all")
CALL = re.compile(r"(?:\d+ +)?(\w+)\((.*)")


class SystemCall(NamedTuple):
    name: str
    n: int  # the n-th call of this name
    file: str  # base name; of a rename the old one
    text: str  # arguments and result


def read_calls(log: Iterable[str]) -> Iterator[SystemCall]:
    seen: collections.Counter[str] = collections.Counter()
    for name, text in (match.groups() for match in map(CALL.match, log) if match):
        seen[name] += 1
        path = re.match(r"\d+<([^>]*)>", text) or re.search(r'"([^"]*)"', text)
        yield SystemCall(name, seen[name], os.path.basename(path[1]) if path else "", text)


def need_strace() -> None:
    if shutil.which("strace") is None:
        sys.exit("proofs: strace is missing (scripts/setup proofs)")


def own_paths(case: Case, streams: Sequence[str] = ("@OUT@",)) -> list[str]:
    """strace options that restrict it to the command line's own files and standard output."""
    beside = (course + ".new" for course in COURSES if course in case.names)
    paths = [path for name in (*case.names, *beside) for path in (name, "@FOLDER@/" + name)]
    return [word for path in (*paths, *streams) for word in ("-P", path)]


def traced(case: Case, options: Sequence[str], folder: pathlib.Path | None = None,
           environment: Mapping[str, str] = {}) -> tuple[Result, list[SystemCall]]:
    """A call under strace, in this folder or a new one, and the logged system calls. In the options @OUT@ is replaced
    by a file that receives standard output."""
    with (tempfile.NamedTemporaryFile("r", dir=case.place.path, errors="replace") as log,
          tempfile.NamedTemporaryFile(dir=case.place.path) as out, case.place.folder(case.line.files) as new):
        launcher = [*shell(f'exec "$@" >{out.name}'), *STRACE, "-o", log.name,
                    *(word.replace("@OUT@", out.name) for word in options)]
        result = case.place.call_in(folder or new, case.arguments, launcher, {**case.environment, **environment})
        result.out = out.read()
        return result, list(read_calls(log))
