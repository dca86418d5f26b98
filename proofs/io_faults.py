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

import itertools
import re
import shutil
import subprocess
from collections.abc import Iterable, Iterator

from proofs.disturbed import Case, SystemCall, attempt, judge, need_strace, own_paths, small_cases, traced, trial
from proofs.harness import ROOT, Judged, Outcome, Tally, Trial, Workplace
from proofs.io_places import (CONTAINER_WRITE, STANDARD_OUTPUT, any_of, close_streams, fill_disks, forbid, limit_sizes,
                              put_odd_things)

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
TRACED = ("--seccomp-bpf", "-e", "trace=" + ",".join("?" + call for call in ERRORS))
ALL_LATER = {"openat": "EMFILE", "read": "EIO", "write": "ENOSPC"}


def is_own(name: str, case: Case) -> bool:
    return name.removesuffix(".new") in case.names


def messages_for(call: str, name: str, case: Case) -> str:
    """The messages with which the program may report that this call on this file fails."""
    if not is_own(name, case):
        return STANDARD_OUTPUT
    if call == "lseek":  # a failed seek looks like a short read, and the other readers are tried
        return "(invalid|missing) field names"
    file = name.removesuffix(".new")
    names = any_of({*case.names_of(file), re.sub(r"\.orig(\.\d+)?$", "", file)})
    if call == "read":
        return "failed to read file: " + names
    written = f"(failed to write file:|failure during write to) {names}"
    if call in ("write", "close", "fsync") or (call.startswith("rename") and name != file):
        return f"{written}|{CONTAINER_WRITE}" if file.endswith(".tvl") else written
    opened = f"failed to open file: {names}|could not open {names} for (reading|writing)"
    # The map is truncated before it is written.
    return f"{opened}|{written}" if call in ("newfstatat", "ftruncate") and file in case.maps else opened


# Calls that fail


def failing(call: SystemCall, error: str, later: str = "") -> list[str]:
    """strace options that make the call fail, and with "+" all later ones of its kind."""
    return ["--seccomp-bpf", "-e", "trace=" + call.name, "-e", f"inject={call.name}:error={error}:when={call.n}{later}"]


def fail_one(case: Case, call: SystemCall, error: str, later: str = "") -> Judged:
    # Writes to standard output do not fail when all later writes do, so that the message can be compared.
    result, calls = traced(case, [*failing(call, error, later), *own_paths(case, () if later else ("@OUT@",))])
    # The program opens the map before it reports an error in the course; that call fails, too.
    others = case.maps if later and call.file in (*case.line.inputs(), "matrix.txt") else ()
    expected = "|".join(messages_for(call.name, file, case) for file in (call.file, *others))
    is_injected = any("(INJECTED)" in done.text for done in calls)
    return result.ending(), judge(case, result, expected) if is_injected else "no fault was injected"


def ends_of_series(calls: Iterable[SystemCall]) -> Iterator[SystemCall]:
    """The first and the last of each series of equal calls on a file."""
    for _, series in itertools.groupby(calls, lambda call: (call.name, call.file)):
        first, *others = series
        yield from (first, *others[-1:])


def fail_own_calls(cases: list[Case]) -> Iterator[Trial]:
    def one(heading: str, case: Case, call: SystemCall, error: str, later: str = "") -> Trial:
        what = f"{call.name} {call.n}{later} of {call.file}: {error}"
        return trial(heading, case, what, fail_one, call, error, later)

    for case in cases:
        calls, without_streams = (traced(case, [*TRACED, *own_paths(case, streams)])[1] for streams in (("@OUT@",), ()))
        yield from (one("one call fails", case, call, ERRORS[call.name][0]) for call in calls)
        yield from (one("one call fails", case, call, error) for call in ends_of_series(calls)
                    for error in ERRORS[call.name][1:])
        yield from (one("it and all after it", case, call, ALL_LATER[call.name], "+")
                    for call in ends_of_series(without_streams)
                    if call.name in ALL_LATER and is_own(call.file, case))


def transfer_little(cases: list[Case]) -> Iterator[Trial]:
    """One to seven bytes at a time: for all command lines the program's own files, for one of them all files."""
    shim = str(cases[0].place.path / "short_transfers")
    source = ROOT / "tests" / "support" / "short_transfers.cpp"
    subprocess.run(["c++", "-std=c++20", "-O2", "-o", shim, source], check=True)
    for case, below in (*((case, "@FOLDER@") for case in cases), (cases[0], "/")):
        yield trial("short transfers", case, f"below {below}", attempt, "", launcher=[shim, below])


# Whole calls


def fail_any_call(case: Case, call: SystemCall) -> Judged:
    with case.place.folder({}) as folder:
        cache = shutil.copytree(case.place.path / "cache", folder / "cache")
        fonts = case.place.write_fonts(folder / "fonts.conf", cache)
        result, calls = traced(case, failing(call, ERRORS[call.name][0]), environment={"FONTCONFIG_FILE": fonts})
    if result.status == 127 and b"error while loading shared libraries" in result.err:
        return "not started by the dynamic loader", None
    finding = judge(case, result)
    hit = [done for done in calls if "(INJECTED)" in done.text]
    is_own_call = any(is_own(done.file, case) for done in hit)
    if finding and not is_own_call and re.fullmatch(r"WRONG SUCCESS: \S+\.pdf|ended with signal \d+", finding):
        return "charts changed or not drawn", None
    return result.ending(), f"{finding} {hit[:1]}" if finding else None


def fail_every_call(cases: list[Case]) -> Iterator[Trial]:
    """Including the calls of the loader, for the time zone and for fonts. When one of these changes only the charts, or
    ends the program by a signal, it is counted separately; everything else must be right."""
    # This command line reads and writes files of every kind.
    for case in [case for case in cases if case.name == "tarvel -p -d -g walk.csv run.csv"]:
        yield from (trial("every call", case, f"{call.name} {call.n}", fail_any_call, call)
                    for call in traced(case, TRACED)[1])


PASSES = (fail_own_calls, transfer_little, limit_sizes, fill_disks, close_streams, put_odd_things, forbid,
          fail_every_call)


def prove(words: list[str]) -> Outcome:
    need_strace()
    tally = Tally()
    with Workplace() as place:
        cases = small_cases(place)
        for step in PASSES:
            if not words or step.__name__ in words:
                tally.try_all(step(cases))
    tally.show()
    passes = ", ".join(f"{heading} ({row.total():,})" for heading, row in tally.counts.items())
    calls = sum(row.total() for row in tally.counts.values())
    return Outcome(f"{len(cases)} command lines, {calls:,} calls: {passes}", len(tally.findings))
