"""When an allocation fails, the program reports it or has complete outputs, and no input is lost.

Builds the program and tests/support/failing_allocator.cpp in build/dev and build/asan. The passes are

  own        For all command lines each allocation of the program's own, or of the C library on its behalf, fails: only
             this one, then this one and all later ones. The call must have the same outputs as without the fault, or
             end with status 1 and a message that says what there was no memory for. No input may be lost.
  drawing    For three command lines a sample of the allocations of the drawing libraries fails. These libraries then
             end the process: the report and the map, which are written before, must be complete, and the exit status
             may be 0 only if all outputs are right. Two silent effects are counted separately: other letters, when the
             font settings cannot be read; and missing letters, when one allocation fails and later ones succeed, which
             does not happen under a limit.
  limit      For the same three command lines memory is limited (RLIMIT_AS, RLIMIT_DATA) to every size. The drawing
             libraries must never run out of memory: the call has right outputs, or ends with the program's message.
  sanitizer  As "own", for eleven command lines under the address and undefined sanitizers, without a report or leak.

    scripts/proofs memory_faults [PASS...]
"""
from __future__ import annotations

import collections
import functools
import pathlib
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile
from collections.abc import Callable
from typing import NamedTuple

from proofs.command_lines import CommandLine, full_lines
from proofs.harness import (ROOT, Conditions, Judged, Outcome, Result, Tally, Trial, Workplace, build_preset,
                            changed_names, in_parallel, masked)

PROCESSOR_TIME = 5  # seconds; a call takes 0.05, with sanitizers 1
TIMEOUT = 300.0  # seconds, for a machine under heavy load
DRAWING_CALLS = 150  # for each command line, once and onward
LIMIT_STEP = 1 << 16  # bytes
# The largest size; the smallest is a megabyte, below which no program can be loaded.
LIMITS = {"addresses": (resource.RLIMIT_AS, 112 << 20), "data": (resource.RLIMIT_DATA, 96 << 20)}
SANITIZER_REPORT = 97  # an exit status

# The messages of the program when an allocation fails. Opening a file needs memory for its stream, hence those for
# files; "invalid field names" is also the message for a list of columns that could not be allocated.
MESSAGES = re.compile(
    r"strdup\(\) failed|malloc\(\) failed|realloc failed|failed to allocate memory for (swoop|gate|charts)|"
    r"failed to realloc (gps_points|pond array)|failed to malloc file\.block_ptr|invalid field names|"
    r"failed to read time zone: [^\n]+|failed to open file: [^\n]+|could not open [^\n]+ for (reading|writing)")

DRAWING_LINES = ("straight run", "carve, metric, debug", "without a course")
SANITIZER_LINES = (
    "container set aside", "walk and run, all options", "container of a course set aside", "walk named as the course",
    "index to itself", "bad tagged line", "line too long", "track that is no run", "container cut in its samples",
    "folder as the charts", "unknown option")


class Fault(NamedTuple):
    kind: str  # whose allocations, or what is limited
    number: int
    how: str  # "once", "onward", "limit"


class Counted(NamedTuple):
    """A call with the numbers of its allocations, and the program's address at the first that failed."""
    result: Result
    own: int = 0
    drawing: int = 0
    refused: int = 0
    place: int = 0


class Build:
    """A program and the allocator that is preloaded into it, before that of a sanitizer."""

    def __init__(self, preset: str) -> None:
        self.folder = build_preset(preset, "tarvel", "failing_allocator")
        self.place = Workplace(self.folder / "tarvel", {
            "ASAN_OPTIONS": f"verify_asan_link_order=0:exitcode={SANITIZER_REPORT}:allocator_may_return_null=1",
            "UBSAN_OPTIONS": f"exitcode={SANITIZER_REPORT}",
            "LSAN_OPTIONS": f"suppressions={ROOT}/tests/support/known_leaks.txt:print_suppressions=0:"
                            f"exitcode={SANITIZER_REPORT}"})

    def call(self, line: CommandLine, fault: Fault | None = None) -> Counted:
        limits = {resource.RLIMIT_CPU: PROCESSOR_TIME}
        with tempfile.NamedTemporaryFile(dir=self.place.path) as report:
            environment = {"TZ": line.zone}
            if fault and fault.how == "limit":
                limits[LIMITS[fault.kind][0]] = fault.number
            else:
                environment["LD_PRELOAD"] = str(self.folder / "libfailing_allocator.so")
                environment["ALLOCATION_REPORT"] = report.name
            if fault and fault.how != "limit":
                environment["FAIL_ALLOCATION"] = ",".join(map(str, fault))
            result = self.place.call(line.files, line.arguments,
                                     under=Conditions(environment, limits=limits, timeout=TIMEOUT))
            counts = pathlib.Path(report.name).read_bytes()
        if result.status == -signal.SIGXCPU:
            result.status = None
        return Counted(result, *struct.unpack("<4Q", counts)) if len(counts) == 32 else Counted(result)

    def source_line(self, address: int) -> str:
        found = subprocess.run(["addr2line", "-e", self.folder / "tarvel", hex(address - 1)], capture_output=True,
                               text=True)
        return found.stdout.strip().replace(str(ROOT) + "/", "")


Judge = Callable[[CommandLine, Counted, Result], Judged]


def lost_inputs(line: CommandLine, result: Result, sound: Result) -> list[str]:
    """Inputs that no longer exist under any name, although a call without the fault keeps them."""
    kept, wanted = ([entry.content for entry in files.values()] for files in (result.files, sound.files))
    return [name for name, content in line.files.items()
            if isinstance(content, bytes) and masked(content) in wanted and masked(content) not in kept]


def differences(result: Result, sound: Result) -> str:
    printed = [f"{name}: {a[-200:]!r}" for name, a, b in (("standard output", result.out, sound.out),
                                                           ("standard error", result.err, sound.err)) if a != b]
    return f"WRONG SUCCESS: {changed_names(sound.files, result.files) + printed}"


def check_message(result: Result, sound: Result) -> Judged:
    """For status 1: the text before the message must be a beginning of what is printed without the fault."""
    printed, _, last = result.out.rstrip(b"\n").rpartition(b"\n")
    message = last.decode(errors="replace").removeprefix("ERROR: ")
    if not last.startswith(b"ERROR: ") or not MESSAGES.fullmatch(message):
        return "message", f"says {result.out[-200:]!r} {result.err[-200:]!r}"
    if not sound.out.startswith(printed.rstrip(b"\n")):
        return "message", f"prints {printed[:200]!r} before its message"
    return message, f"standard error says {result.err[-200:]!r}" if result.err != sound.err else None


def judge_own(line: CommandLine, counted: Counted, sound: Result) -> Judged:
    result = counted.result
    if result.status is None:
        return "hang", "has not ended"
    if result.status == SANITIZER_REPORT:
        return "sanitizer", f"sanitizer report: {result.err.decode(errors='replace')[:3000]}"
    if result.status < 0:
        return "crash", f"is ended by signal {-result.status}: {result.err[-200:]!r}"
    if lost := lost_inputs(line, result, sound):
        return "input lost", f"loses {lost}"
    if unexpected := {*result.files} - {*sound.files, *line.files}:
        return "unexpected file", f"leaves {sorted(unexpected)}"
    if result == sound:
        return "undisturbed", None
    if result.status == 0:
        return "wrong success", differences(result, sound)
    return check_message(result, sound) if result.status == 1 else ("status", f"exits with {result.status}")


def judge_fault(line: CommandLine, counted: Counted, sound: Result) -> Judged:
    return judge_own(line, counted, sound) if counted.refused else ("no fault", "no allocation failed")


def fonts_in(result: Result) -> set[bytes]:
    contents = b"".join(entry.content or b"" for entry in result.files.values())
    return set(re.findall(rb"/FontName /[A-Z]{6}\+(\S+)", contents))


def judge_drawing(_: CommandLine, counted: Counted, sound: Result) -> Judged:
    result = counted.result
    if result.status is None:
        return "hang", "has not ended"
    for name, entry in sound.files.items():
        if not name.endswith(".pdf") and result.files.get(name) != entry:
            return "files", f"{name} is not whole"
    if result.status == 0 and fonts_in(result) != fonts_in(sound) and result.out == sound.out:
        return "other letters", None
    if result.status == 0 and counted.refused == 1 and result.out == sound.out and result.files != sound.files:
        return "letters missing after one refusal", None
    if result.status == 0 and (result.out, result.files) != (sound.out, sound.files):
        return "wrong success", differences(result, sound)
    return ("right outputs" if result.status == 0 else f"status {result.status}"), None


def judge_limit(line: CommandLine, counted: Counted, sound: Result) -> Judged:
    result = counted.result
    if result.status == 127 and not result.out and {*result.files} == {*line.files}:
        return "not begun", None
    return judge_own(line, counted, sound)


# The passes

Plans = Callable[[Counted], list[Fault]]


def own_plans(sound: Counted) -> list[Fault]:
    return [Fault("own", n, how) for how in ("once", "onward") for n in range(1, sound.own + 1)]


def drawing_plans(sound: Counted, at_start: int) -> list[Fault]:
    """Without the allocations of the libraries while they are loaded, before any output."""
    step = max(1, (sound.drawing - at_start) // DRAWING_CALLS)
    numbers = range(at_start + 1, sound.drawing + 1, step)
    return [Fault("drawing", n, how) for how in ("once", "onward") for n in numbers]


def limit_plans(_: Counted) -> list[Fault]:
    return [Fault(kind, size, "limit") for kind, (_, end) in LIMITS.items() for size in range(1 << 20, end, LIMIT_STEP)]


def run_pass(name: str, at: Build, lines: list[CommandLine], plans: Plans, judge: Judge, tally: Tally) -> str:
    """Tries all faults of the command lines. Returns the counts as text."""
    def attempt(line: CommandLine, sound: Counted, fault: Fault) -> Judged:
        counted = at.call(line, fault)
        ending, finding = judge(line, counted, sound.result)
        place = f" [{at.source_line(counted.place)}]" if counted.place and finding else ""
        return ending, finding and finding + place

    sounds = in_parallel(at.call, lines)
    for line, sound in zip(lines, sounds):
        if sound.result.status not in (0, 1):
            sys.exit(f"memory_faults: {line.name} does not run: {sound.result}")
    jobs = [(line, sound, fault) for line, sound in zip(lines, sounds) for fault in plans(sound)]
    tally.try_all(Trial(name, f"{line.name}: {','.join(map(str, fault))}",
                        functools.partial(attempt, line, sound, fault)) for line, sound, fault in jobs)
    faults = len({(line.name, fault.kind, fault.number) for line, _, fault in jobs})
    return f"{name}: {len(lines)} command lines, {faults:,} allocations or limits, {len(jobs):,} calls"


def prove(words: list[str]) -> Outcome:
    plain, guarded, tally = Build("dev"), Build("asan"), Tally()
    with plain.place, guarded.place:
        lines = full_lines(plain.place)
        drawn, checked = ([line for line in lines if line.name in names] for names in (DRAWING_LINES, SANITIZER_LINES))
        at_start = plain.call(next(line for line in lines if line.name == "version")).drawing
        passes: list[tuple[str, Build, list[CommandLine], Plans, Judge]] = [
            ("own", plain, lines, own_plans, judge_fault),
            ("drawing", plain, drawn, lambda sound: drawing_plans(sound, at_start), judge_drawing),
            ("limit", plain, drawn, limit_plans, judge_limit),
            ("sanitizer", guarded, checked, own_plans, judge_fault)]
        done = [run_pass(*given, tally) for given in passes if not words or given[0] in words]
    tally.show()
    drawings = tally.counts.get("drawing", collections.Counter())
    letters = sum(count for word, count in drawings.items() if "letters" in word)
    return Outcome("; ".join(done) + f" (of those of drawing, {letters} with other letters)", len(tally.findings))
