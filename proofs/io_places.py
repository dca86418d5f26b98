"""The passes of io_faults that do not make system calls fail: full disks and size limits, closed streams, missing
permissions, and other things in the place of a file."""
from __future__ import annotations

import functools
import os
import pathlib
import resource
import subprocess
from collections.abc import Callable, Collection, Iterator, Mapping
from typing import Any

from proofs.command_lines import INDEX_TO_THE_MAP
from proofs.disturbed import Case, attempt, judge
from proofs.harness import ORDINARY_USER, Content, Folder, HardLink, Judged, Link, Pipe, Socket, Trial, fill, remove

Trials = Iterator[Trial]

CONTAINER_WRITES = {"failed to write " + part for part in
                    ("TVL header", "section header table entry", "gate header", "gate sample", "swoop header",
                     "swoop sample")}
STANDARD_OUTPUT = {"failed to write file: standard output"}


def write_failures(case: Case) -> set[str]:
    forms = ("failed to write file: %s", "failed to open file: %s", "could not open %s for writing",
             "failure during write to %s")
    return {form % name for name in case.names for form in forms} | CONTAINER_WRITES | STANDARD_OUTPUT


def trial(heading: str, case: Case, what: str, expected: Collection[str] | None,
          spared: Collection[str] = (), **how: Any) -> Trial:
    """The arguments are those of attempt()."""
    return Trial(heading, f"{case.name}: {what}", functools.partial(attempt, case, expected, spared, **how))


# Full disks and size limits


def sizes_of_outputs(case: Case) -> list[int]:
    return [len(entry.content or b"") for name, entry in case.reference.files.items()
            if entry.kind == "-" and case.before.get(name) != entry]


def limit_sizes(cases: list[Case]) -> Trials:
    """Limits the size of files."""
    for case in cases:
        largest = max(sizes_of_outputs(case), default=0)
        for limit in sorted({0, 1, 4095, 4096, 4097, *range(0, largest + 8192, max(largest // 12, 4096))}):
            yield trial("file size limits", case, f"{limit} bytes", write_failures(case),
                        under=case.conditions(limits={resource.RLIMIT_FSIZE: limit}))


def fill_disks(cases: list[Case]) -> Trials:
    """Calls on a disk with few free pages, and on one with few free inodes."""
    def mount(case: Case, options: str) -> pathlib.Path:
        folder = case.place.new_folder()
        subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tarvel_proofs", folder], check=True)
        return folder

    def unmount(folder: pathlib.Path) -> None:
        subprocess.run(["umount", folder], check=True)
        remove(folder)

    def one(case: Case, options: str) -> Judged:
        folder = mount(case, options)
        try:
            fill(folder, case.line.files)
            result = case.place.call_in(folder, case.arguments, under=case.conditions())
        finally:
            unmount(folder)
        return result.ending(), judge(case, result, write_failures(case))

    try:
        unmount(mount(cases[0], "size=4096"))
    except subprocess.CalledProcessError:
        print("full disks: not tried, since this user may not mount")
        return
    for case in cases:
        used = sum(-(-len(entry.content or b"") // 4096) for entry in case.before.values() if entry.kind == "-")
        needed = sum(-(-size // 4096) for size in sizes_of_outputs(case))
        new_names = len(case.reference.files) - len(case.before)
        for options in (*(f"size={(used + free) * 4096}"
                          for free in sorted({0, 1, 2, *range(3, needed + 4, max(needed // 10, 1))})),
                        *(f"nr_inodes={1 + len(case.before) + free}" for free in range(new_names + 1))):
            yield Trial("full disks", f"{case.name}: {options}", functools.partial(one, case, options))


# Streams, and what a name stands for


def close_streams(cases: list[Case]) -> Trials:
    """Standard streams that are closed, full, or pipes without a reader, also while the font library prints
    messages."""
    def without_any(case: Case, environment: Mapping[str, str]) -> Judged:
        """All streams closed: the exit status is 1 if there was anything to print."""
        result = case.call(under=case.conditions(environment, closed=[0, 1, 2]))
        is_right = result.status == (1 if case.reference.out else 0) and result.files == case.reference.files
        return result.ending(), None if is_right else f"status {result.status}"

    def to_full(case: Case) -> Judged:
        with open("/dev/full", "wb") as full:
            return attempt(case, STANDARD_OUTPUT, under=case.conditions(out=full))

    def to_closed_pipe(case: Case) -> Judged:
        reader, writer = os.pipe()
        os.close(reader)
        with open(writer, "wb") as pipe:
            return attempt(case, STANDARD_OUTPUT, under=case.conditions(out=pipe))

    def streams(case: Case, what: str, closed: list[int], expected: Collection[str] = (),
                environment: Mapping[str, str] = {}) -> Trial:
        return trial("standard streams", case, what, expected, under=case.conditions(environment, closed=closed))

    heading = "standard streams"
    for case in cases:
        yield streams(case, "<&-", [0])
        yield streams(case, "2>&-", [2])
        yield streams(case, ">&-", [1], STANDARD_OUTPUT)
        for what, attempted in (("<&- >&- 2>&-", functools.partial(without_any, case, {})),
                                (">/dev/full", functools.partial(to_full, case)),
                                ("| true", functools.partial(to_closed_pipe, case))):
            yield Trial(heading, f"{case.name}: {what}", attempted)
    no_fonts = {"FONTCONFIG_FILE": "/nonexistent"}
    for case in cases[:3]:  # the reference has no text in its charts then
        mute = Case(case.place, case.line._replace(name=case.name + " (no fonts)"))
        mute.reference = case.call(under=case.conditions(no_fonts))
        yield streams(mute, "<&- 2>&-", [0, 2], environment=no_fonts)
        yield Trial(heading, f"{mute.name}: <&- >&- 2>&-", functools.partial(without_any, mute, no_fonts))


# What is put in the place of a file. %s is replaced by its name.
ODD_THINGS: dict[str, Content] = {
    "a folder": Folder(), "a pipe": Pipe(), "a socket": Socket(), "an empty file": b"",
    "/dev/null": Link("/dev/null"), "/dev/zero": Link("/dev/zero"), "/dev/full": Link("/dev/full"),
    "a disk that fails": Link("/proc/self/mem"), "a link to itself": Link("%s"), "a link to nowhere": Link("no/where"),
}

# A folder, an empty file and a device have no field names; a read error occurs only for "a disk that fails".
NO_FIELDS = ("missing field names", "failed to parse %s")
ZEROS = (*NO_FIELDS, "invalid field names", "line length exceeded size of buffer", "invalid line in %s")
READ_WORDS = {"a folder": NO_FIELDS, "an empty file": NO_FIELDS, "/dev/null": NO_FIELDS, "/dev/zero": ZEROS,
              "/dev/full": ZEROS, "a disk that fails": ("failed to read file: %s",)}


def put_odd_things(cases: list[Case]) -> Trials:
    def as_input(case: Case, name: str, kind: str, files: Mapping[str, Content]) -> Trial:
        # An input with the name of an output may also fail as that output.
        is_output = case.reference.files.get(name) != case.before[name]
        names = case.names_of(name)
        forms = READ_WORDS.get(kind, ("failed to open file: %s",))
        expected = None if is_output else {form.replace("%s", n) for n in names for form in forms}
        # Without the index the call does not know the course in run.kml.
        course = {"run.kml"} if case.line.files[name] == INDEX_TO_THE_MAP else set()
        spared = {form % n for n in names for form in ("%s", "%s.orig")} | course
        return trial("odd things as inputs", case, f"{name} is {kind}", expected, spared, files=files)

    for case in cases:
        has_hard_links = any(isinstance(content, HardLink) for content in case.line.files.values())
        for kind, thing in ODD_THINGS.items():
            for name in (*case.line.files, *case.reference.files.keys() - case.line.files.keys()):
                files = {name: Link(thing.replace("%s", name)) if isinstance(thing, Link) else thing}
                if name in case.line.files and not has_hard_links:
                    yield as_input(case, name, kind, files)
                elif name not in case.line.files and ".orig" not in name:
                    # The survey reads its course file to copy it.
                    expected = write_failures(case) | {f"could not open {name} for reading"}
                    yield trial("odd things as outputs", case, f"{name} is {kind}", expected, case.names_of(name),
                                files=files)


def forbid(cases: list[Case]) -> Trials:
    """Calls as an ordinary user, without permission to read, write or create a file."""
    def close_folder(folder: pathlib.Path) -> None:
        for path in folder.iterdir():
            if not path.is_symlink():
                path.chmod(0o666)
        folder.chmod(0o555)

    def mode(name: str, bits: int) -> Callable[[pathlib.Path], None]:
        return lambda folder: (folder / name).chmod(bits)

    for case in cases:
        expected = write_failures(case) | {f"could not open {name} for reading" for name in case.names}
        under = case.conditions(user=ORDINARY_USER if os.geteuid() == 0 else None)
        changes: dict[str, Callable[[pathlib.Path], None]] = {"a folder that is read-only": close_folder}
        changes |= {f"{name} is {what}": mode(name, bits) for name in case.line.files
                    for what, bits in (("unreadable", 0o000), ("read-only", 0o444))}
        for what, change in changes.items():
            yield trial("forbidden places", case, what, expected, under=under, prepare=change)
