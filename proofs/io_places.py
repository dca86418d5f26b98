"""The passes of io_faults that do not make system calls fail: full disks and size limits, closed streams, missing
permissions, and other things in the place of a file."""
from __future__ import annotations

import functools
import os
import pathlib
import resource
import subprocess
from collections.abc import Callable, Collection, Iterable, Iterator
from typing import IO

from proofs.command_lines import INDEX_TO_THE_MAP
from proofs.disturbed import Case, judge
from proofs.harness import ORDINARY_USER, Conditions, HardLink, Result, Tally, ending_of, fill

Jobs = Iterator[Callable[[], None]]

CONTAINER_WRITES = {"failed to write " + part for part in
                    ("TVL header", "section header table entry", "gate header", "gate sample", "swoop header",
                     "swoop sample")}
STANDARD_OUTPUT = {"failed to write file: standard output"}


def write_failures(case: Case) -> set[str]:
    forms = ("failed to write file: %s", "failed to open file: %s", "could not open %s for writing",
             "failure during write to %s")
    return {form % name for name in case.names for form in forms} | CONTAINER_WRITES | STANDARD_OUTPUT


def note(tally: Tally, heading: str, case: Case, what: str, result: Result, finding: str | None) -> None:
    tally.add(heading, f"{case.name}: {what}", finding, ending_of(result))


# Full disks and size limits


def sizes_of_outputs(case: Case) -> list[int]:
    return [len(entry.content or b"") for name, entry in case.reference.files.items()
            if entry.kind == "-" and case.before.get(name) != entry]


def limit_sizes(cases: list[Case], tally: Tally) -> Jobs:
    """Limits the size of files."""
    def one(case: Case, limit: int) -> None:
        result = case.call(under=Conditions(case.conditions().environment, limits={resource.RLIMIT_FSIZE: limit}))
        note(tally, "file size limits", case, f"{limit} bytes", result, judge(case, result, write_failures(case)))

    for case in cases:
        largest = max(sizes_of_outputs(case), default=0)
        for limit in sorted({0, 1, 4095, 4096, 4097, *range(0, largest + 8192, max(largest // 12, 4096))}):
            yield functools.partial(one, case, limit)


def fill_disks(cases: list[Case], tally: Tally) -> Jobs:
    """Calls on a disk with few free pages, and on one with few free inodes."""
    def one(case: Case, options: str) -> None:
        folder = case.place.new_folder()
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tarvel_proofs", folder],
                                 stderr=subprocess.DEVNULL)
        if mounted.returncode != 0:
            return tally.add("full disks", "", None, "not tried: may not mount")
        try:
            fill(folder, case.line.files)
            result = case.place.call_in(folder, case.arguments, under=case.conditions())
        finally:
            subprocess.run(["umount", folder], check=True)
        note(tally, "full disks", case, options, result, judge(case, result, write_failures(case)))

    if os.geteuid() != 0:
        yield lambda: tally.add("full disks", "", None, "not tried: not root")
    for case in cases if os.geteuid() == 0 else []:
        used = sum(-(-len(entry.content or b"") // 4096) for entry in case.before.values() if entry.kind == "-")
        needed = sum(-(-size // 4096) for size in sizes_of_outputs(case))
        for free in sorted({0, 1, 2, *range(3, needed + 4, max(needed // 10, 1))}):
            yield functools.partial(one, case, f"size={(used + free) * 4096}")
        for free in range(len(case.reference.files) - len(case.before) + 1):
            yield functools.partial(one, case, f"nr_inodes={1 + len(case.before) + free}")


# Streams, and what a name stands for


def close_streams(cases: list[Case], tally: Tally) -> Jobs:
    """Standard streams that are closed, full, or pipes without a reader, also while the font library prints
    messages."""
    def one(case: Case, what: str, expected: Collection[str] | None, closed: Iterable[int] = (),
            out: int | IO[bytes] = subprocess.PIPE, **environment: str) -> None:
        result = case.call(under=Conditions(case.conditions(**environment).environment, out=out, closed=closed))
        finding = judge(case, result, expected)
        if finding is None and expected is None and result.status != case.reference.status:
            finding = f"exit status {result.status}"
        note(tally, "standard streams", case, what, result, finding)

    def without_any(case: Case, **environment: str) -> None:
        """All streams closed: the exit status is 1 if there was anything to print."""
        result = case.call(under=Conditions(case.conditions(**environment).environment, closed=[0, 1, 2]))
        is_right = result.status == (1 if case.reference.out else 0) and result.files == case.reference.files
        note(tally, "standard streams", case, "<&- >&- 2>&-", result, None if is_right else f"status {result.status}")

    def to_full(case: Case) -> None:
        with open("/dev/full", "wb") as full:
            one(case, ">/dev/full", STANDARD_OUTPUT, out=full)

    def to_closed_pipe(case: Case) -> None:
        reader, writer = os.pipe()
        os.close(reader)
        one(case, "| true", STANDARD_OUTPUT, out=writer)
        os.close(writer)

    for case in cases:
        yield functools.partial(one, case, "<&-", None, [0])
        yield functools.partial(one, case, "2>&-", None, [2])
        yield functools.partial(one, case, ">&-", STANDARD_OUTPUT, [1])
        yield functools.partial(without_any, case)
        yield functools.partial(to_full, case)
        yield functools.partial(to_closed_pipe, case)
    for case in cases[:3]:  # the reference has no text in its charts then
        mute = Case(case.place, case.line._replace(name=case.name + " (no fonts)"))
        mute.reference = case.call(under=case.conditions(FONTCONFIG_FILE="/nonexistent"))
        yield functools.partial(one, mute, "<&- 2>&-", None, [0, 2], FONTCONFIG_FILE="/nonexistent")
        yield functools.partial(without_any, mute, FONTCONFIG_FILE="/nonexistent")


def make_socket(path: pathlib.Path) -> None:
    os.mknod(path, 0o140644)


# What is put in the place of a file, with a function that makes it at a path.
ODD_THINGS: dict[str, Callable[[pathlib.Path], None]] = {
    "a folder": lambda path: path.mkdir(),
    "a pipe": lambda path: os.mkfifo(path),
    "a socket": make_socket,
    "an empty file": lambda path: path.touch(),
    "/dev/null": lambda path: path.symlink_to("/dev/null"),
    "/dev/zero": lambda path: path.symlink_to("/dev/zero"),
    "/dev/full": lambda path: path.symlink_to("/dev/full"),
    "a disk that fails": lambda path: path.symlink_to("/proc/self/mem"),
    "a link to itself": lambda path: path.symlink_to(path.name),
    "a link to nowhere": lambda path: path.symlink_to("no/where"),
}

# A folder, an empty file and a device have no field names; a read error occurs only for "a disk that fails".
NO_FIELDS = ("missing field names", "failed to parse %s")
ZEROS = (*NO_FIELDS, "invalid field names", "line length exceeded size of buffer", "invalid line in %s")
READ_WORDS = {"a folder": NO_FIELDS, "an empty file": NO_FIELDS, "/dev/null": NO_FIELDS, "/dev/zero": ZEROS,
              "/dev/full": ZEROS, "a disk that fails": ("failed to read file: %s",)}


def with_odd_thing(case: Case, name: str, kind: str) -> Result:
    def stand_in(folder: pathlib.Path) -> None:
        (folder / name).unlink(missing_ok=True)
        ODD_THINGS[kind](folder / name)

    return case.place.call(case.line.files, case.arguments, under=case.conditions(), prepare=stand_in)


def put_odd_things(cases: list[Case], tally: Tally) -> Jobs:
    def as_input(case: Case, name: str, kind: str) -> None:
        # An input with the name of an output may also fail as that output.
        result = with_odd_thing(case, name, kind)
        names = case.names_of(name)
        forms = READ_WORDS.get(kind, ("failed to open file: %s",))
        expected = {form.replace("%s", n) for n in names for form in forms}
        is_output = case.reference.files.get(name) != case.before[name]
        spared = {form % n for n in names for form in ("%s", "%s.orig")}
        # Without the index the call does not know the course in run.kml.
        if case.line.files[name] == INDEX_TO_THE_MAP:
            spared.add("run.kml")
        finding = judge(case, result, None if is_output else expected, spared)
        note(tally, "odd things as inputs", case, f"{name} is {kind}", result, finding)

    def as_output(case: Case, name: str, kind: str) -> None:
        result = with_odd_thing(case, name, kind)
        # The survey reads its course file to copy it.
        expected = write_failures(case) | {f"could not open {name} for reading"}
        finding = judge(case, result, expected, case.names_of(name))
        note(tally, "odd things as outputs", case, f"{name} is {kind}", result, finding)

    for case in cases:
        has_hard_links = any(isinstance(content, HardLink) for content in case.line.files.values())
        for kind in ODD_THINGS:
            for name in case.line.files if not has_hard_links else ():
                yield functools.partial(as_input, case, name, kind)
            for name in case.reference.files:
                if name not in case.line.files and ".orig" not in name:
                    yield functools.partial(as_output, case, name, kind)


def forbid(cases: list[Case], tally: Tally) -> Jobs:
    """Calls as an ordinary user, without permission to read, write or create a file."""
    def one(case: Case, what: str, change: Callable[[pathlib.Path], None]) -> None:
        under = Conditions(case.conditions().environment, user=ORDINARY_USER if os.geteuid() == 0 else None)
        result = case.place.call(case.line.files, case.arguments, under=under, prepare=change)
        expected = write_failures(case) | {f"could not open {name} for reading" for name in case.names}
        note(tally, "forbidden places", case, what, result, judge(case, result, expected))

    def close_folder(folder: pathlib.Path) -> None:
        for path in folder.iterdir():
            if not path.is_symlink():
                path.chmod(0o666)
        folder.chmod(0o555)

    def mode(name: str, bits: int) -> Callable[[pathlib.Path], None]:
        return lambda folder: (folder / name).chmod(bits)

    for case in cases:
        yield functools.partial(one, case, "a folder that is read-only", close_folder)
        for name in case.line.files:
            yield functools.partial(one, case, f"{name} is unreadable", mode(name, 0o000))
            yield functools.partial(one, case, f"{name} is read-only", mode(name, 0o444))
