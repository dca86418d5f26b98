"""When a file cannot be opened, read or written, the program reports it or has complete outputs.

Makes every system call on the program's own files fail in turn, once, and together with all later ones of its kind;
transfers a few bytes at a time; fills disks, limits file sizes, closes streams; removes permissions, and puts a folder,
a pipe, a device and the like in the place of a file. Each call must end within a minute without a signal: with exit
status 0 and every byte as without the fault, or with exit status 1 and the message for the fault, with all inputs kept.
Then makes every system call of one command line fail, including those of the dynamic loader and the font libraries;
charts that differ after these are counted separately.

    scripts/proofs io_faults [PASS...]

Needs strace, g++ and tzdata; full disks need root. About four minutes on two cores. PASS is the name of a function in
PASSES below; by default all are called.
"""
from __future__ import annotations

import collections
import functools
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
from collections.abc import Iterable, Iterator

from proofs.disturbed import Case, judge, make_cases, need_strace, own_paths, traced
from proofs.harness import ROOT, Judged, Outcome, Tally, Trial, Workplace, remove
from proofs.io_places import (CONTAINER_WRITES, STANDARD_OUTPUT, Trials, close_streams, fill_disks, forbid,
                              limit_sizes, put_odd_things, trial)

# The errors with which a system call fails. The first is injected into every call, the others into the first and the
# last of a series of equal calls on a file.
ERRORS = {call: errors.split() for calls, errors in {
    "open openat": "EACCES EMFILE ENOMEM EINTR EIO",
    "read": "EIO EINTR ENOMEM",
    "write": "ENOSPC EIO EINTR",
    "close": "EIO EINTR",
    "lseek": "EIO EINVAL",
    "stat lstat newfstatat statx": "EIO EACCES ENOMEM",
    "fstat": "EIO ENOMEM",
    "readlink readlinkat faccessat2": "EIO EACCES",
    "rename renameat": "EIO EACCES ENOSPC",
    "renameat2": "EIO EACCES EINVAL ENOSYS",
    "ftruncate": "EIO",
    "fsync": "EIO ENOSPC",
    "fchown fchmod": "EPERM",
    "fcntl": "EINTR ENOMEM",
}.items() for call in calls.split()}
TRACED = ("--seccomp-bpf", "-y", "-e", "trace=" + ",".join("?" + call for call in ERRORS))
ALL_LATER = {"openat": "EMFILE", "read": "EIO", "write": "ENOSPC"}

def is_own(name: str, case: Case) -> bool:
    return name.removesuffix(".new") in case.names


def path_of(arguments: str) -> str:
    """The base name of the file of a logged call, as strace -y prints it; of a rename the old name."""
    match = re.match(r'\d+<([^>]*)>', arguments) or re.search(r'"([^"]*)"', arguments)
    return os.path.basename(match[1]) if match else ""


def messages_for(call: str, name: str, case: Case) -> set[str]:
    """The messages with which the program may report that this call on this file fails."""
    if not is_own(name, case):
        return STANDARD_OUTPUT
    is_beside = name.endswith(".new")
    name = name.removesuffix(".new")
    names = {*case.names_of(name), re.sub(r"\.orig(\.\d+)?$", "", name)}
    if call == "lseek":  # a failed seek looks like a short read, and the other readers are tried
        return {"invalid field names", "missing field names"}
    if call == "read":
        return {f"failed to read file: {n}" for n in names}
    if call in ("write", "close", "fsync") or (is_beside and call.startswith("rename")):
        words = {f"failed to write file: {n}" for n in names} | {f"failure during write to {n}" for n in names}
        return words | CONTAINER_WRITES if name.endswith(".tvl") else words
    forms = ["failed to open file: %s", "could not open %s for reading", "could not open %s for writing"]
    if call in ("newfstatat", "ftruncate") and name in case.maps:  # the map is truncated before it is written
        forms.append("failed to write file: %s")
    return {form % n for n in names for form in forms}


# Calls that fail


def points_of(calls: Iterable[tuple[str, str]]) -> Iterator[tuple[str, int, str, bool]]:
    """(call, n, name, is at an end): the n-th call of its kind, and whether it is the first or the last of a series of
    equal calls on the file."""
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


def fail_one(case: Case, call: str, when: str, error: str, name: str) -> Judged:
    fails_on = when.endswith("+")
    # Writes to standard output do not fail when all later writes do, so that the message can be compared.
    result, calls = traced(case, [*failing(call, error, when), *own_paths(case, () if fails_on else ("@OUT@",))])
    expected = messages_for(call, name, case)
    # The program opens the map before it reports an error in the course; that call fails, too.
    if name in (*case.line.inputs(), "matrix.txt") and fails_on:
        expected = expected.union(*(messages_for(call, other, case) for other in case.maps))
    is_injected = any("(INJECTED)" in arguments for _, arguments in calls)
    return result.ending(), judge(case, result, expected) if is_injected else "no fault was injected"


def fail_own_calls(cases: list[Case]) -> Trials:
    def one(heading: str, case: Case, *fault: str) -> Trial:
        call, when, error, name = fault
        return Trial(heading, f"{case.name}: {call} {when} of {name}: {error}",
                     functools.partial(fail_one, case, *fault))

    for case in cases:
        _, calls = traced(case, [*TRACED, *own_paths(case)])
        for call, n, name, is_end in points_of(calls):
            for error in ERRORS[call] if is_end else ERRORS[call][:1]:
                yield one("one call fails", case, call, str(n), error, name)
        on_files = [(call, arguments) for call, arguments in calls if is_own(path_of(arguments), case)]
        for call, n, name, is_end in points_of(on_files):
            if call in ALL_LATER and is_end:
                yield one("it and all after it", case, call, f"{n}+", ALL_LATER[call], name)


def transfer_little(cases: list[Case]) -> Trials:
    """One to seven bytes at a time: for all command lines the program's own files, for one of them all files."""
    shim = str(cases[0].place.path / "short_transfers")
    source = ROOT / "tests" / "support" / "short_transfers.cpp"
    subprocess.run(["c++", "-std=c++20", "-O2", "-o", shim, source], check=True)

    for case, below in (*((case, "@FOLDER@") for case in cases), (cases[0], "/")):
        yield trial("short transfers", case, f"below {below}", (), launcher=[shim, below])


# Whole calls


def fail_every_call(cases: list[Case]) -> Trials:
    """Including the calls of the loader, for the time zone and for fonts. When one of these changes only the charts, or
    ends the program by a signal, it is counted separately; everything else must be right."""
    def one(case: Case, call: str, n: int, error: str) -> Judged:
        folder = pathlib.Path(tempfile.mkdtemp(dir=case.place.path))
        cache = pathlib.Path(shutil.copytree(case.place.path / "cache", folder / "cache"))
        fonts = case.place.write_fonts(folder / "fonts.conf", cache)
        result, calls = traced(case, failing(call, error, str(n)), environment={"FONTCONFIG_FILE": fonts})
        remove(folder)
        hit = [arguments for _, arguments in calls if "(INJECTED)" in arguments]
        if result.status == 127 and b"error while loading shared libraries" in result.err:
            return "not started by the dynamic loader", None
        finding = judge(case, result)
        is_own_call = any(is_own(path_of(arguments), case) for arguments in hit)
        if finding and not is_own_call and re.fullmatch(r"WRONG SUCCESS: \S+\.pdf|ended by signal \d+", finding):
            print(f"fonts: {finding}: {call} {n} {error}: {hit[:1]}"[:200])
            return "charts changed or not drawn", None
        return result.ending(), f"{finding} {hit[:1]}" if finding else None

    # This command line reads and writes files of every kind.
    for case in [case for case in cases if case.name == "tarvel -p -d -g walk.csv run.csv"]:
        for call, count in collections.Counter(call for call, _ in traced(case, TRACED)[1]).items():
            for n in range(1, count + 1):
                error = ERRORS[call][0]
                yield Trial("every call", f"{case.name}: {call} {n}: {error}",
                            functools.partial(one, case, call, n, error))


PASSES = (fail_own_calls, transfer_little, limit_sizes, fill_disks, close_streams, put_odd_things, forbid,
          fail_every_call)


def prove(words: list[str]) -> Outcome:
    need_strace()
    tally = Tally()
    with Workplace() as place:
        cases = make_cases(place)
        for step in PASSES:
            if not words or step.__name__ in words:
                tally.try_all(step(cases))
    tally.show()
    passes = ", ".join(f"{heading} ({row.total():,})" for heading, row in tally.counts.items())
    calls = sum(row.total() for row in tally.counts.values())
    return Outcome(f"{len(cases)} command lines, {calls:,} calls: {passes}", len(tally.findings))
