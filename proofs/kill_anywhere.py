#!/usr/bin/env python3
"""scripts/proofs kill_anywhere: however suddenly a run ends, the inputs are there, and the next run is right.

The program is killed with SIGKILL on every system call on its own files in turn, for command lines of both modes, over
earlier outputs and with inputs in the way of outputs; and on every system call of any kind for whole runs. Then each
input is whole, under its name or as NAME.orig; so is each earlier file and each output, unless that very file was being
written, and a course file even then; and an undisturbed run, after a set-aside input has its name back,
gives the bytes of one that was never disturbed.

Needs strace, tzdata and, without TARVEL=program, what builds the release. About three minutes on two cores. Prints
counts, and ends with 1 on any finding.
"""
import collections
import os
import re
import shutil
import sys
import tempfile

sys.dont_write_bytecode = True  # the folder of the scripts stays as it is
from fault_runs import (Tally, Workplace, calls_in, cut_courses, fill, in_parallel, lost_inputs, make_commands,
                        own_paths, plain)

# Not with --seccomp-bpf, under which strace 6.1 sends no signals.
STRACE = ["strace", "-f", "--quiet=all"]
CALLS = ("?open,?openat,read,write,close,lseek,?stat,?fstat,?lstat,?newfstatat,?statx,?readlink,?rename,?renameat,"
         "?renameat2,fcntl,fsync,fchown,fchmod,?faccessat2")


def being_written(calls, folder):
    """The files that the log leaves open for writing. A call that was cut off may have been carried out."""
    writing = set()
    for call, arguments in calls:
        opened = re.search(r'"([^"]+)", O_WRONLY', arguments) if call in ("open", "openat") else None
        if opened:
            writing.add(os.path.basename(opened.group(1)))
        closed = re.match(r"\d+<([^>]*)>\) += 0", arguments) if call == "close" else None
        if closed and os.path.dirname(closed.group(1)) == folder:
            writing.discard(os.path.basename(closed.group(1)))
    return writing


def broken_files(command, files, writing):
    """Files that are neither as they were nor as they should become, though nobody was writing them. The map of a run is
    open all the time, and is what it should become as far as it goes."""
    right = [*command.before.values(), *command.reference.files.values()]
    links = {name for name, content in files.items() if isinstance(content, tuple)}
    maps = {name: command.reference.files.get(name) for name in command.track_map}
    return [name for name, content in files.items() if name not in links and content not in right
            and not (maps[name].startswith(content) if isinstance(maps.get(name), bytes) else name in writing)]


def give_names_back(command, folder, files):
    """What the user does with an input that was set aside."""
    for name in command.inputs:
        wanted = plain(command.before[name])
        if plain(files.get(name)) == wanted:
            continue
        aside = next(other for other in files if other.startswith(name + ".orig") and plain(files[other]) == wanted)
        os.replace(os.path.join(folder, aside), os.path.join(folder, name))


def differences(command, result):
    """What tells a run over the remains from an undisturbed one. An input with two names may have lost one of them, and
    a course that was being written may lie beside its place."""
    reference = command.reference
    names = set(reference.files) | set(result.files)
    found = [name for name in names if reference.files.get(name) != result.files.get(name) and
             not name.removesuffix(".2").endswith(".new") and
             not (".orig" in name and result.files.get(name) in (None, *command.before.values()))]
    if (result.status, result.out) != (reference.status, reference.out):
        found.append(f"exit status {result.status}: {result.message()}")
    return found


class Killer:
    def __init__(self, place, tally):
        self.place = place
        self.tally = tally
        self.judged = {}  # what was found, by command line and remains: most calls change no file

    def calls_of(self, command, options):
        with tempfile.NamedTemporaryFile(dir=self.place.path) as log:
            self.place.run(command, [*STRACE, "-o", log.name, *options])
            return collections.Counter(call for call, _ in calls_in(log.name))

    def kill(self, command, call, n, paths, heading):
        folder = self.place.new_folder()
        try:
            fill(folder, command.files)
            with tempfile.NamedTemporaryFile(dir=self.place.path) as log:
                words = [word.replace("@FOLDER@", folder) for word in paths]
                result = self.place.run_in(folder, command.arguments,
                                           [*STRACE, "-y", "-o", log.name, "-e", f"trace={CALLS},{call}",
                                            "-e", f"inject={call}:signal=KILL:when={n}", *words])
                writing = being_written(calls_in(log.name), folder)
            finding = self.judge(command, folder, result, writing)
            if paths and result.status != -9:
                finding = finding or f"was not killed: {result.status}"
            outcome = {-9: "killed", 0: "over before", 1: "over before"}.get(result.status, f"status {result.status}")
            self.tally.add(heading, f"{command.name}: {call} {n}", finding, outcome)
        finally:
            shutil.rmtree(folder, ignore_errors=True)

    def judge(self, command, folder, result, writing):
        if lost := lost_inputs(command, result.files):
            return "lost " + " ".join(lost)
        if cut := cut_courses(command, result.files):
            return "cut " + " ".join(cut)
        if broken := broken_files(command, result.files, writing):
            return "broke " + " ".join(broken)
        key = (id(command), tuple(sorted((name, hash(content)) for name, content in result.files.items())))
        if key not in self.judged:
            self.judged[key] = self.judge_next_run(command, folder, result.files)
        return self.judged[key]

    def judge_next_run(self, command, folder, files):
        give_names_back(command, folder, files)
        again = self.place.run_in(folder, command.arguments)
        found = differences(command, again) + ["lost " + name for name in lost_inputs(command, again.files)]
        self.tally.add("next runs", command.name, None, "done")
        return "the next run differs: " + " ".join(found) if found else None

    def own_calls(self, command):
        for call, count in self.calls_of(command, ["-e", "trace=" + CALLS, *own_paths(command)]).items():
            for n in range(1, count + 1):
                yield lambda a=(command, call, n, own_paths(command), "killed on own calls"): self.kill(*a)

    def all_calls(self, command):
        for call, count in self.calls_of(command, []).items():
            for n in range(1, count + 1):
                yield lambda a=(command, call, n, [], "killed on any call"): self.kill(*a)


def main():
    if shutil.which("strace") is None:
        sys.exit("kill_anywhere: there is no strace here")
    with Workplace() as place:
        commands = make_commands(place)
        tally = Tally()
        killer = Killer(place, tally)
        in_parallel([job for command in commands for job in killer.own_calls(command)])
        whole = [command for command in commands if command.arguments in (["-p", "-d", "-g", "walk.csv", "run.csv"],
                                                                          ["run.txt"])]
        in_parallel([job for command in whole for job in killer.all_calls(command)])
        tally.close()


main()
