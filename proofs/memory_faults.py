"""When an allocation fails, the program reports it or has complete outputs, and no input is lost.

Builds the program and tests/support/failing_allocator.cpp in build/dev and build/asan. The passes are

  own        For all command lines each allocation of the program's own, or of the C library on its behalf, fails: only
             this one, then this one and all later ones. The call must have the same outputs as without the fault, or
             end with status 1 and a message that says what there was no memory for. No input may be lost, and only
             outputs that the message names may be incomplete.
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

import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
from collections.abc import Callable, Sequence
from typing import NamedTuple

from proofs.command_lines import full_lines
from proofs.disturbed import Case, judge, trial
from proofs.harness import ROOT, Judged, Outcome, Result, Tally, Workplace, build_preset, in_parallel

PROCESSOR_TIME = 5  # seconds; a call takes 0.05, with sanitizers 1
TIMEOUT = 300.0  # seconds, for a machine under heavy load
DRAWING_CALLS = 150  # for each command line, once and onward
LIMIT_STEP = 1 << 16  # bytes
# The largest size; the smallest is a megabyte, below which no program can be loaded.
LIMITS = {"as": 112 << 20, "data": 96 << 20}
SANITIZER_REPORT = 97  # an exit status

# The messages of the program when an allocation fails. Opening a file needs memory for its stream, hence those for
# files; "invalid field names" is also the message for a list of columns that could not be allocated.
MESSAGES = (
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

    def __str__(self) -> str:
        return ",".join(map(str, self))


class Counted(NamedTuple):
    """A call with the numbers of its allocations, and the program's address at the first that failed."""
    result: Result
    own: int = 0
    drawing: int = 0
    refused: int = 0
    place: int = 0


def build_place(preset: str) -> Workplace:
    """With the allocator that is preloaded into the program, before that of a sanitizer."""
    folder = build_preset(preset, "tarvel", "failing_allocator")
    place = Workplace(folder / "tarvel", TIMEOUT)
    shutil.copy(folder / "libfailing_allocator.so", place.path)
    status = f"exitcode={SANITIZER_REPORT}"
    place.environment |= {"ASAN_OPTIONS": f"verify_asan_link_order=0:{status}:allocator_may_return_null=1",
                          "UBSAN_OPTIONS": status,
                          "LSAN_OPTIONS": f"suppressions={ROOT}/tests/support/known_leaks.txt:print_suppressions=0:"
                                          f"{status}"}
    return place


def call(case: Case, fault: Fault | None = None) -> Counted:
    launcher = ["prlimit", f"--cpu={PROCESSOR_TIME}:{PROCESSOR_TIME + 1}"]
    if fault and fault.how == "limit":
        return Counted(case.call([*launcher, f"--{fault.kind}={fault.number}"]))
    with tempfile.NamedTemporaryFile(dir=case.place.path) as report:
        launcher += ["env", f"LD_PRELOAD={case.place.path}/libfailing_allocator.so", f"ALLOCATION_REPORT={report.name}",
                     f"FAIL_ALLOCATION={fault or ''}"]
        result = case.call(launcher)
        counts = pathlib.Path(report.name).read_bytes()
    return Counted(result, *struct.unpack("<4Q", counts)) if len(counts) == 32 else Counted(result)


def source_line(program: pathlib.Path, address: int) -> str:
    found = subprocess.run(["addr2line", "-e", program, hex(max(address, 1) - 1)], capture_output=True, text=True)
    return found.stdout.strip().replace(str(ROOT) + "/", "")


# The judges


def judge_own(case: Case, fault: Fault, counted: Counted) -> Judged:
    result = counted.result
    if fault.how == "limit":
        if result.status == 127 and not result.out and result.files.keys() == case.before.keys():
            return "not begun", None
    elif not counted.refused:
        return "no fault", "no allocation failed"
    finding = judge(case, result, MESSAGES)
    if not finding and result.err != case.reference.err:
        finding = f"standard error says {result.err[-200:]!r}"
    if not finding and not case.reference.out.startswith(result.out.partition(b"ERROR: ")[0].rstrip(b"\n")):
        finding = f"prints {result.out[:200]!r} before its message"
    return (result.message() if result.status == 1 else result.ending()), finding


def fonts_in(result: Result) -> set[bytes]:
    contents = b"".join(entry.content or b"" for entry in result.files.values())
    return set(re.findall(rb"/FontName /[A-Z]{6}\+(\S+)", contents))


def judge_drawing(case: Case, counted: Counted) -> Judged:
    """The drawing libraries may end the process."""
    result, sound = counted.result, case.reference
    for name, entry in sound.files.items():
        if not name.endswith(".pdf") and result.files.get(name) != entry:
            return result.ending(), f"{name} is not whole"
    if result.status == 0 and result.out == sound.out and result.files != sound.files:
        if fonts_in(result) != fonts_in(sound):
            return "other letters", None
        if counted.refused == 1:
            return "letters missing after one refusal", None
    return result.ending(), judge(case, result) if result.status in (None, 0) else None


# The passes


def own_faults(sound: Counted) -> list[Fault]:
    return [Fault("own", n, how) for how in ("once", "onward") for n in range(1, sound.own + 1)]


def drawing_faults(sound: Counted, at_start: int) -> list[Fault]:
    """Without the allocations of the libraries while they are loaded, before any output."""
    numbers = range(at_start + 1, sound.drawing + 1, max(1, (sound.drawing - at_start) // DRAWING_CALLS))
    return [Fault("drawing", n, how) for how in ("once", "onward") for n in numbers]


def limit_faults(_: Counted) -> list[Fault]:
    return [Fault(kind, size, "limit") for kind, end in LIMITS.items() for size in range(1 << 20, end, LIMIT_STEP)]


def run_pass(name: str, cases: Sequence[Case], faults: Callable[[Counted], list[Fault]], tally: Tally) -> str:
    """Tries all faults of the command lines. Returns the counts as text."""
    def one(case: Case, fault: Fault) -> Judged:
        counted = call(case, fault)
        ending, finding = judge_drawing(case, counted) if name == "drawing" else judge_own(case, fault, counted)
        return ending, finding and f"{finding} {source_line(case.place.program, counted.place)}"

    planned = [(case, fault) for case, sound in zip(cases, in_parallel(call, cases)) for fault in faults(sound)]
    tally.try_all(trial(name, case, str(fault), one, fault) for case, fault in planned)
    numbers = len({(case, fault.kind, fault.number) for case, fault in planned})
    return f"{name}: {len(cases)} command lines, {numbers:,} allocations or limits, {len(planned):,} calls"


def prove(words: list[str]) -> Outcome:
    tally = Tally()
    with build_place("dev") as plain, build_place("asan") as guarded:
        lines = full_lines(plain)
        cases = in_parallel(lambda line: Case(plain, line), lines)
        drawn = [case for case in cases if case.name in DRAWING_LINES]
        checked = [Case(guarded, line) for line in lines if line.name in SANITIZER_LINES]
        at_start = call(next(case for case in cases if case.name == "version")).drawing
        passes = {"own": (cases, own_faults), "drawing": (drawn, lambda sound: drawing_faults(sound, at_start)),
                  "limit": (drawn, limit_faults), "sanitizer": (checked, own_faults)}
        done = [run_pass(name, *passes[name], tally) for name in passes if not words or name in words]
    tally.show()
    letters = sum(count for ending, count in tally.counts.get("drawing", {}).items() if "letters" in ending)
    return Outcome("; ".join(done) + f" (of those of drawing, {letters} with other letters)", len(tally.findings))
