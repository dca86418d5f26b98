"""Whatever fails to open, read or write, the program says so or has done all of its work.

Every system call on the program's own files fails in turn, once and for ever after; files come and go a few bytes at a
time; the disk is full, files are too large, streams are closed; places are forbidden, and odd things stand where files
should be. Each call ends within a minute, without a signal, either with exit status 0 and every byte of the undisturbed
call, or with exit status 1 and the message that belongs to the fault; no input is lost. Then every system call of one
whole call fails, those of the dynamic loader and of the font libraries included: what they do to the charts is listed
apart.

    scripts/proofs io_faults [PASS...]

Needs strace, g++ and tzdata. As root it also fills a small disk. About four minutes on two cores. With names of the
passes at the end of the file it makes those alone.
"""
from __future__ import annotations

import collections
import functools
import os
import pathlib
import re
import resource
import shutil
import subprocess
import tempfile
from collections.abc import Callable, Collection, Iterable, Iterator
from typing import IO

from proofs.command_lines import INDEX_TO_THE_MAP
from proofs.disturbed import Case, judge, make_cases, need_strace, own_paths, traced
from proofs.harness import (NOBODY, ROOT, Conditions, Outcome, Result, Tally, Twin, Workplace, ending_of, fill,
                            in_parallel, remove)

Jobs = Iterator[Callable[[], None]]

# Which errors a call may meet. The first is injected everywhere, the others where a file's calls begin and end.
ERRORS = {
    "open": ("EACCES", "EMFILE", "ENOMEM", "EINTR", "EIO"),
    "openat": ("EACCES", "EMFILE", "ENOMEM", "EINTR", "EIO"),
    "read": ("EIO", "EINTR", "ENOMEM"),
    "write": ("ENOSPC", "EIO", "EINTR"),
    "close": ("EIO", "EINTR"),
    "lseek": ("EIO", "EINVAL"),
    "stat": ("EIO", "EACCES", "ENOMEM"),
    "lstat": ("EIO", "EACCES", "ENOMEM"),
    "fstat": ("EIO", "ENOMEM"),
    "newfstatat": ("EIO", "EACCES", "ENOMEM"),
    "statx": ("EIO", "EACCES", "ENOMEM"),
    "readlink": ("EIO", "EACCES"),
    "readlinkat": ("EIO", "EACCES"),
    "rename": ("EIO", "EACCES", "ENOSPC"),
    "renameat": ("EIO", "EACCES", "ENOSPC"),
    "renameat2": ("EIO", "EACCES", "EINVAL", "ENOSYS"),
    "ftruncate": ("EIO",),
    "fsync": ("EIO", "ENOSPC"),
    "fchown": ("EPERM",),
    "fchmod": ("EPERM",),
    "faccessat2": ("EIO", "EACCES"),
    "fcntl": ("EINTR", "ENOMEM"),
}
TRACED = ("--seccomp-bpf", "-y", "-e", "trace=" + ",".join("?" + call for call in ERRORS))
FOR_EVER = {"openat": "EMFILE", "read": "EIO", "write": "ENOSPC"}

CONTAINER_WRITES = {"failed to write " + part for part in
                    ("TVL header", "section header table entry", "gate header", "gate sample", "swoop header",
                     "swoop sample")}
STANDARD_OUTPUT = {"failed to write file: standard output"}


def is_own(name: str, case: Case) -> bool:
    return name.removesuffix(".new") in case.names


def path_of(arguments: str) -> str:
    """The base name of what a logged call is about, as strace -y writes it; of a rename the old name."""
    match = re.match(r'\d+<([^>]*)>', arguments) or re.search(r'"([^"]*)"', arguments)
    return os.path.basename(match[1]) if match else ""


def messages_for(call: str, name: str, case: Case) -> set[str]:
    """What the program may say when this call on this file fails."""
    if not is_own(name, case):
        return STANDARD_OUTPUT
    is_beside = name.endswith(".new")
    name = name.removesuffix(".new")
    names = {*case.names_of(name), re.sub(r"\.orig(\.\d+)?$", "", name)}
    if call == "lseek":  # a failed seek is a short read, after which the other readers try
        return {"invalid field names", "missing field names"}
    if call == "read":
        return {f"failed to read file: {n}" for n in names}
    if call in ("write", "close", "fsync") or (is_beside and call.startswith("rename")):
        words = {f"failed to write file: {n}" for n in names} | {f"failure during write to {n}" for n in names}
        return words | CONTAINER_WRITES if name.endswith(".tvl") else words
    forms = ["failed to open file: %s", "could not open %s for reading", "could not open %s for writing"]
    if call in ("newfstatat", "ftruncate") and name in case.maps:  # emptied again before it is written
        forms.append("failed to write file: %s")
    return {form % n for n in names for form in forms}


def write_failures(case: Case) -> set[str]:
    forms = ("failed to write file: %s", "failed to open file: %s", "could not open %s for writing",
             "failure during write to %s")
    return {form % name for name in case.names for form in forms} | CONTAINER_WRITES | STANDARD_OUTPUT


def note(tally: Tally, heading: str, case: Case, what: str, result: Result, finding: str | None) -> None:
    tally.add(heading, f"{case.name}: {what}", finding, ending_of(result))


# Calls that fail


def points_of(calls: Iterable[tuple[str, str]]) -> Iterator[tuple[str, int, str, bool]]:
    """(call, n, name, is at an end): the n-th call of its kind, and whether its file's calls of one kind begin or end
    there."""
    seen: collections.Counter[str] = collections.Counter()
    points = []
    for call, arguments in calls:
        seen[call] += 1
        points.append((call, seen[call], path_of(arguments)))
    for i, (call, n, name) in enumerate(points):
        near = [(c, m) for c, _, m in points[max(i - 1, 0):i] + points[i + 1:i + 2]]
        yield call, n, name, any(neighbour != (call, name) for neighbour in near) or len(near) < 2


def failing(call: str, error: str, when: str) -> list[str]:
    """strace options that make those calls of a kind fail."""
    return ["--seccomp-bpf", "-y", "-e", "trace=" + call, "-e", f"inject={call}:error={error}:when={when}"]


def fail_one(tally: Tally, heading: str, case: Case, call: str, when: str, error: str, name: str) -> None:
    is_for_ever = when.endswith("+")
    # The message must get out where every write fails.
    result, calls = traced(case, [*failing(call, error, when), *own_paths(case, () if is_for_ever else ("@OUT@",))])
    expected = messages_for(call, name, case)
    # What is wrong with a course is said once the map is there, for which every call fails, too.
    if name in (*case.line.inputs, *case.line.courses, "matrix.txt") and is_for_ever:
        expected = expected.union(*(messages_for(call, other, case) for other in case.maps))
    finding = judge(case, result, expected)
    if not any("(INJECTED)" in arguments for _, arguments in calls):
        finding = "no fault was injected"
    note(tally, heading, case, f"{call} {when} of {name}: {error}", result, finding)


def fail_own_calls(cases: list[Case], tally: Tally) -> Jobs:
    for case in cases:
        _, calls = traced(case, [*TRACED, *own_paths(case)])
        for call, n, name, is_end in points_of(calls):
            for error in ERRORS[call] if is_end else ERRORS[call][:1]:
                yield functools.partial(fail_one, tally, "one call fails", case, call, str(n), error, name)
        on_files = [(call, arguments) for call, arguments in calls if is_own(path_of(arguments), case)]
        for call, n, name, is_end in points_of(on_files):
            if call in FOR_EVER and is_end:
                yield functools.partial(fail_one, tally, "it and all after it", case, call, f"{n}+", FOR_EVER[call],
                                        name)


def transfer_little(cases: list[Case], tally: Tally) -> Jobs:
    """One to seven bytes at a time: for own files, and once for libraries and fonts as well."""
    shim = str(cases[0].place.path / "short_transfers")
    source = ROOT / "tests" / "faults" / "short_transfers.cpp"
    subprocess.run(["c++", "-std=c++20", "-O2", "-o", shim, source], check=True)

    def one(case: Case, below: str) -> None:
        result = case.call([shim, below])
        finding = judge(case, result)
        if result.status != case.reference.status:
            finding = finding or f"exit status {result.status}: {result.message()}"
        note(tally, "short transfers", case, f"below {below}", result, finding)

    for case in cases:
        yield functools.partial(one, case, "@FOLDER@")
    yield functools.partial(one, cases[0], "/")


# No room


def sizes_of_outputs(case: Case) -> list[int]:
    return [len(entry.content or b"") for name, entry in case.reference.files.items()
            if entry.kind == "-" and case.before.get(name) != entry]


def limit_sizes(cases: list[Case], tally: Tally) -> Jobs:
    """No file may be larger than so many bytes."""
    def one(case: Case, limit: int) -> None:
        result = case.call(under=Conditions(case.conditions().environment, limits={resource.RLIMIT_FSIZE: limit}))
        note(tally, "file size limits", case, f"{limit} bytes", result, judge(case, result, write_failures(case)))

    for case in cases:
        largest = max(sizes_of_outputs(case), default=0)
        for limit in sorted({0, 1, 4095, 4096, 4097, *range(0, largest + 8192, max(largest // 12, 4096))}):
            yield functools.partial(one, case, limit)


def fill_disks(cases: list[Case], tally: Tally) -> Jobs:
    """A disk with so many free pages, and one with so many free entries."""
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


# Streams and places


def close_streams(cases: list[Case], tally: Tally) -> Jobs:
    """Standard streams that are closed, full, or pipes without a reader; with fonts that have something to say."""
    def one(case: Case, what: str, expected: Collection[str] | None, closed: Iterable[int] = (),
            out: int | IO[bytes] = subprocess.PIPE, **environment: str) -> None:
        result = case.call(under=Conditions(case.conditions(**environment).environment, out=out, closed=closed))
        finding = judge(case, result, expected)
        if finding is None and expected is None and result.status != case.reference.status:
            finding = f"exit status {result.status}"
        note(tally, "standard streams", case, what, result, finding)

    def without_any(case: Case, **environment: str) -> None:
        """With standard error closed, too, the exit status alone tells whether there was something to print."""
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


# What may stand where a file should be. Each makes it at that path.
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

# A folder, an empty file and a device have no field names; only a disk that fails cannot be read.
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
        # What is in an output's way as well may fail as either.
        result = with_odd_thing(case, name, kind)
        names = case.names_of(name)
        forms = READ_WORDS.get(kind, ("failed to open file: %s",))
        expected = {form.replace("%s", n) for n in names for form in forms}
        is_output = case.reference.files.get(name) != case.before[name]
        spared = {form % n for n in names for form in ("%s", "%s.orig")}
        # Where an index was, nothing leads to its courses any more.
        if case.line.files[name] == INDEX_TO_THE_MAP:
            spared.add("run.kml")
        finding = judge(case, result, None if is_output else expected, spared)
        note(tally, "odd things as inputs", case, f"{name} is {kind}", result, finding)

    def as_output(case: Case, name: str, kind: str) -> None:
        result = with_odd_thing(case, name, kind)
        # The survey's course file is copied, too.
        expected = write_failures(case) | {f"could not open {name} for reading"}
        finding = judge(case, result, expected, case.names_of(name))
        note(tally, "odd things as outputs", case, f"{name} is {kind}", result, finding)

    for case in cases:
        has_twins = any(isinstance(content, Twin) for content in case.line.files.values())
        for kind in ODD_THINGS:
            for name in case.line.files if not has_twins else ():
                yield functools.partial(as_input, case, name, kind)
            for name in case.reference.files:
                if name not in case.line.files and ".orig" not in name:
                    yield functools.partial(as_output, case, name, kind)


def forbid(cases: list[Case], tally: Tally) -> Jobs:
    """An ordinary user may not read, write or create."""
    def one(case: Case, what: str, change: Callable[[pathlib.Path], None]) -> None:
        under = Conditions(case.conditions().environment, user=NOBODY if os.geteuid() == 0 else None)
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


# Whole calls


def fail_every_call(cases: list[Case], tally: Tally) -> Jobs:
    """The loader's, the time zone's and the fonts' own calls as well. Where such a call alone changes the charts or
    ends the program by a signal, that is counted apart, and everything else must be right."""
    def one(case: Case, call: str, n: int, error: str) -> None:
        folder = pathlib.Path(tempfile.mkdtemp(dir=case.place.path))
        cache = pathlib.Path(shutil.copytree(case.place.path / "cache", folder / "cache"))
        fonts = case.place.write_fonts(folder / "fonts.conf", cache)
        result, calls = traced(case, failing(call, error, str(n)), under=case.conditions(FONTCONFIG_FILE=fonts))
        remove(folder)
        hit = [arguments for _, arguments in calls if "(INJECTED)" in arguments]
        finding, ending = judge(case, result), ending_of(result)
        if result.status == 127 and b"error while loading shared libraries" in result.err:
            finding, ending = None, "not started by the dynamic loader"
        elif (finding and not any(is_own(path_of(arguments), case) for arguments in hit)
              and re.fullmatch(r"WRONG SUCCESS: \S+\.pdf|ended by signal \d+", finding)):
            print(f"fonts: {finding}: {call} {n} {error}: {hit[:1]}"[:200])
            finding, ending = None, "charts changed or not drawn"
        tally.add("every call", f"{case.name}: {call} {n}: {error} {hit[:1]}", finding, ending)

    # The one that reads and writes files of every kind.
    for case in [case for case in cases if case.name == "tarvel -p -d -g walk.csv run.csv"]:
        for call, count in collections.Counter(call for call, _ in traced(case, TRACED)[1]).items():
            for n in range(1, count + 1):
                yield functools.partial(one, case, call, n, ERRORS[call][0])


PASSES = (fail_own_calls, transfer_little, limit_sizes, fill_disks, close_streams, put_odd_things, forbid,
          fail_every_call)


def prove(words: list[str]) -> Outcome:
    need_strace()
    tally = Tally()
    with Workplace() as place:
        cases = make_cases(place)
        for step in PASSES:
            if not words or step.__name__ in words:
                in_parallel(step(cases, tally))
    tally.show()
    return Outcome(f"{len(cases)} command lines, {tally.total():,} calls: {tally.by_heading()}", len(tally.findings))
