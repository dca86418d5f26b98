"""When the program is killed, no input is lost, and the next call has the right outputs.

Sends SIGKILL at every system call on the program's own files in turn, for command lines of both modes, with earlier
outputs and with inputs that have the name of an output; for two command lines at every system call of any kind. After
it each input must be complete, as NAME or as NAME.orig. Every other file must be as before the call or as after a
complete one, except a file that was being written; a course file has no such exception. Then the inputs get their names
back, and a second call must have the outputs of a call that was not killed.

    scripts/proofs kill_anywhere

Needs strace and tzdata. About three minutes on two cores.
"""
from __future__ import annotations

import os
import pathlib
from collections.abc import Iterable, Iterator, Sequence

from proofs.disturbed import (COURSES, Case, SystemCall, content_of, lost_inputs, need_strace, own_paths, small_cases,
                              traced, trial)
from proofs.harness import Judged, Outcome, Result, Snapshot, Tally, Trial, Workplace, changed_names
from proofs.io_faults import ERRORS

# Not with --seccomp-bpf, under which strace 6.1 sends no signals.
CALLS = ",".join("?" + call for call in ERRORS)
WHOLE = (["-p", "-d", "-g", "walk.csv", "run.csv"], ["run.txt"])


def being_written(calls: Iterable[SystemCall]) -> set[str]:
    """The files that are open for writing at the end of the log. The last call in the log may have had its effect."""
    writing: set[str] = set()
    for call in calls:
        if "O_WRONLY" in call.text:
            writing.add(call.file)
        elif call.name == "close" and call.text.endswith(" = 0"):
            writing.discard(call.file)
    return writing


def broken_files(case: Case, files: Snapshot, writing: set[str]) -> list[str]:
    """Files that are neither as before nor as after a complete call, and were not being written."""
    right = [*case.before.values(), *case.reference.files.values()]
    return ["broke " + name for name, entry in files.items()
            if entry.kind != "l" and entry not in right and name not in writing.difference(COURSES)]


def give_names_back(case: Case, folder: pathlib.Path, files: Snapshot) -> None:
    """Renames inputs that were set aside, as the user would."""
    for name in case.line.inputs():
        wanted = content_of(case.before[name])
        if content_of(files.get(name)) != wanted:
            aside = next(other for other in files
                         if other.startswith(name + ".orig") and content_of(files[other]) == wanted)
            os.replace(folder / aside, folder / name)


def differences(case: Case, result: Result) -> list[str]:
    """The differences between a call after a kill and one without. An input with two names may have lost one of them,
    and an unfinished NAME.new of a course may remain."""
    reference = case.reference
    found = [name for name in changed_names(reference.files, result.files)
             if not name.removesuffix(".2").endswith(".new")
             and not (".orig" in name and result.files.get(name) in (None, *case.before.values()))]
    if (result.status, result.out) != (reference.status, reference.out):
        found.append(f"exit status {result.status}: {result.message()}")
    return found + ["lost " + name for name in lost_inputs(case, result.files)]


class Killer:
    def __init__(self) -> None:
        # What is wrong with the next call, by command line and files, which are often the same.
        self.judged: dict[tuple[Case, frozenset[object]], str | None] = {}

    def judge(self, case: Case, folder: pathlib.Path, files: Snapshot, writing: set[str]) -> str | None:
        if wrong := ["lost " + name for name in lost_inputs(case, files)] + broken_files(case, files, writing):
            return " ".join(wrong)
        key = case, frozenset(files.items())
        if key not in self.judged:
            give_names_back(case, folder, files)
            found = differences(case, case.place.call_in(folder, case.arguments, environment=case.environment))
            self.judged[key] = "the next call differs: " + " ".join(found) if found else None
        return self.judged[key]

    def kill(self, case: Case, call: SystemCall, paths: Sequence[str]) -> Judged:
        options = ["-e", f"trace={CALLS},{call.name}", "-e", f"inject={call.name}:signal=KILL:when={call.n}"]
        with case.place.folder(case.line.files) as folder:
            result, calls = traced(case, [*options, *paths], folder)
            finding = self.judge(case, folder, result.files, being_written(calls))
        if paths and result.status != -9:
            finding = finding or f"was not killed: {result.status}"
        return result.ending(), finding

    def trials(self, heading: str, case: Case, options: Sequence[str], paths: Sequence[str]) -> Iterator[Trial]:
        for call in traced(case, [*options, *paths])[1]:
            yield trial(heading, case, f"{call.name} {call.n}", self.kill, call, paths)


def prove(_: list[str]) -> Outcome:
    need_strace()
    tally, killer = Tally(), Killer()
    with Workplace() as place:
        cases = small_cases(place)
        for case in cases:
            tally.try_all(killer.trials("killed on own calls", case, ["-e", "trace=" + CALLS], own_paths(case)))
        for case in cases:
            if case.arguments in WHOLE:
                tally.try_all(killer.trials("killed on any call", case, [], []))
    tally.show()
    kills = sum(row.total() for row in tally.counts.values())
    return Outcome(f"{len(cases)} command lines, {kills:,} kills; {len(killer.judged):,} different leftovers, "
                   "each followed by another call", len(tally.findings))
