"""The passes of io_faults that do not make system calls fail: full disks and size limits, closed streams, missing
permissions, and other things in the place of a file."""
from __future__ import annotations

import os
import re
import subprocess
from collections.abc import Iterable, Iterator

from proofs.command_lines import INDEX_TO_THE_MAP
from proofs.disturbed import Case, attempt, trial
from proofs.harness import ORDINARY_USER, Content, Folder, HardLink, Link, Pipe, Socket, Trial, shell

# Regular expressions for messages
CONTAINER_WRITE = "failed to write (TVL header|section header table entry|(gate|swoop) (header|sample))"
STANDARD_OUTPUT = "failed to write file: standard output"


def any_of(names: Iterable[str]) -> str:
    return f"({'|'.join(map(re.escape, sorted(names)))})"


def write_failure(case: Case) -> str:
    names = any_of(case.names)
    return (f"failed to (write|open) file: {names}|could not open {names} for (reading|writing)|"
            f"failure during write to {names}|{CONTAINER_WRITE}|{STANDARD_OUTPUT}")


def read_failure(names: Iterable[str]) -> str:
    return (f"(failed to (open|read) file:|failed to parse|invalid line in) {any_of(names)}|"
            "(missing|invalid) field names|line length exceeded size of buffer")


# Full disks and size limits


def sizes_of_outputs(case: Case) -> list[int]:
    return [len(entry.content or b"") for name, entry in case.reference.files.items()
            if entry.kind == "-" and case.before.get(name) != entry]


def limit_sizes(cases: list[Case]) -> Iterator[Trial]:
    """Limits the size of files."""
    for case in cases:
        largest = max(sizes_of_outputs(case), default=0)
        for limit in sorted({0, 1, 4095, 4096, 4097, *range(0, largest + 8192, max(largest // 12, 4096))}):
            yield trial("file size limits", case, f"{limit} bytes", attempt, write_failure(case),
                        launcher=["prlimit", f"--fsize={limit}"])


def fill_disks(cases: list[Case]) -> Iterator[Trial]:
    """Calls on a disk with few free pages, and on one with few free inodes."""
    if subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL).returncode != 0:
        print("full disks: not tried, since this user may not mount")
        return
    for case in cases:
        used = sum(-(-len(entry.content or b"") // 4096) for entry in case.before.values() if entry.kind == "-")
        needed = sum(-(-size // 4096) for size in sizes_of_outputs(case))
        new_names = len(case.reference.files) - len(case.before)
        for disk in (*(f"size={(used + free) * 4096}"
                       for free in sorted({0, 1, 2, *range(3, needed + 4, max(needed // 10, 1))})),
                     *(f"nr_inodes={1 + len(case.before) + free}" for free in range(new_names + 1))):
            yield trial("full disks", case, disk, attempt, write_failure(case), disk=disk)


# Streams, and what a name stands for

# With a message when no stream is left to print it to.
NO_STREAMS = f'"$@" <&- >&- 2>&-; status=$?; [ $status != 1 ] || echo "ERROR: {STANDARD_OUTPUT}"; exit $status'
STREAMS = {"<&-": "", "2>&-": "", "<&- 2>&-": "", ">&-": STANDARD_OUTPUT, "> /dev/full": STANDARD_OUTPUT}


def close_streams(cases: list[Case]) -> Iterator[Trial]:
    """Standard streams that are closed, full, or pipes without a reader, also while the font library prints
    messages."""
    # The reference has no text in its charts then.
    mute = [Case(case.place, case.line._replace(name=case.name + " (no fonts)"), {"FONTCONFIG_FILE": "/nonexistent"})
            for case in cases[:3]]
    for case in (*cases, *mute):
        for streams, expected in STREAMS.items():
            yield trial("standard streams", case, streams, attempt, expected, launcher=shell(f'exec "$@" {streams}'))
        yield trial("standard streams", case, "| true", attempt, STANDARD_OUTPUT,
                    launcher=["bash", "-c", 'exec 3> >(true); wait $!; exec "$@" >&3 3>&-', "bash"])
        yield trial("standard streams", case, "<&- >&- 2>&-", attempt, STANDARD_OUTPUT, launcher=shell(NO_STREAMS))


# What is put in the place of a file. %s is replaced by its name.
ODD_THINGS: dict[str, Content] = {
    "a folder": Folder(), "a pipe": Pipe(), "a socket": Socket(), "an empty file": b"",
    "/dev/null": Link("/dev/null"), "/dev/zero": Link("/dev/zero"), "/dev/full": Link("/dev/full"),
    "a disk that fails": Link("/proc/self/mem"), "a link to itself": Link("%s"), "a link to nowhere": Link("no/where"),
}


def put_odd_things(cases: list[Case]) -> Iterator[Trial]:
    for case in cases:
        has_hard_links = any(isinstance(content, HardLink) for content in case.line.files.values())
        for kind, thing in ODD_THINGS.items():
            for name in sorted({*case.line.files, *case.reference.files}):
                what = f"{name} is {kind}"
                files = {name: Link(thing.replace("%s", name)) if isinstance(thing, Link) else thing}
                names = case.names_of(name)
                if name not in case.line.files:
                    if ".orig" not in name:
                        yield trial("odd things as outputs", case, what, attempt, write_failure(case), names,
                                    files=files)
                elif not has_hard_links:
                    # An input with the name of an output may also fail as that output.
                    is_output = case.reference.files.get(name) != case.before[name]
                    # Without the index the call does not know the course in run.kml.
                    course = {"run.kml"} if case.line.files[name] == INDEX_TO_THE_MAP else set()
                    yield trial("odd things as inputs", case, what, attempt, ".+" if is_output else read_failure(names),
                                names | {n + ".orig" for n in names} | course, files=files)


def forbid(cases: list[Case]) -> Iterator[Trial]:
    """Calls as an ordinary user, without permission to read, write or create a file."""
    user = f"setpriv --reuid={ORDINARY_USER} --regid={ORDINARY_USER} --clear-groups " if os.geteuid() == 0 else ""
    for case in cases:
        changes = ["chmod -f 666 *; chmod 555 .", *(f"chmod {mode} {name}" for name in case.line.files
                                                    for mode in ("000", "444"))]
        for change in changes:
            yield trial("forbidden places", case, change, attempt, write_failure(case),
                        launcher=shell(f'{change}; exec {user}"$@"'))
