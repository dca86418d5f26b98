#!/usr/bin/env python3
"""scripts/proofs compare_programs OLD NEW [--seed S] [--count N] [--only K] [--jobs N] [--allow NAME]... [--keep FOLDER]

Two builds of tarvel do the same. Each of N scenarios (10,000 unless said otherwise), made from the seed by
proofs/scenarios.py, is given to both in equal copies of a folder. Exit status, standard output, standard error and
every file left behind must be the same byte for byte, with its name, mode and links. PDFs are compared without their
creation dates, and where the bytes still differ, by their drawing operators and character maps.

Prints each difference with the number of its scenario. --only K tries that one again; --keep FOLDER then leaves its
folder as given and as each program left it. --allow NAME accepts the differences that a rule in the table below
describes: what a change alters on purpose. When root starts it, the programs run as the user nobody, whom read-only
files and folders stop. Exit status 1 when anything differs.
"""

import argparse
import collections
import contextlib
import itertools
import multiprocessing
import os
import pathlib
import re
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import zlib

sys.dont_write_bytecode = True
import scenarios  # noqa: E402

patience = 30  # s; the longest call takes some tenths of one
hangs = "none, after %d s" % patience
shown_in_full = 20
listing = "names, modes and links"

# What differs after a call: `what` is a key of both outcomes, "exit status", "standard output", "standard error", the
# listing or a file's name; `old` and `new` are its bytes, None where it is missing; the outcomes hold everything else.
Difference = collections.namedtuple("Difference", "call what old new old_outcome new_outcome")


def last_line(outcome):
    return outcome["standard output"].rstrip(b"\n").rpartition(b"\n")[2]


def is_map_written_once(difference):
    """The map is written once, at the end, where it was written before the analysis and again after it: a disk that
    fails the map fails it later and behind other outputs. A run without a course that can be read has a map, which may
    itself fail, or set an input aside."""
    said = last_line(difference.old_outcome).decode(errors="replace")
    if re.fullmatch(r"ERROR: failed to write file: .*\.kml", said):
        return True
    course = re.match(r"ERROR: failed to (?:open|read) file: (.*)", said)
    if not course or "-g" in difference.call.arguments:
        return False
    track = difference.call.arguments[-1]
    run_map = track[:-3] + "kml"
    return course[1] not in (track, run_map) and run_map not in difference.old_outcome


def is_drawn_far_out(difference):
    """Charts of samples so far out or so fast that no page can show them; drawing some of them did not end."""
    if difference.old_outcome["exit status"] == hangs.encode():
        return True
    texts = [content for what, content in difference.new_outcome.items() if not what.endswith((".pdf", ".tvl"))]
    return difference.what.endswith(".pdf") and any(re.search(rb"[0-9]{300}|\binf\b", text) for text in texts)


# Each says of a difference whether it is the intended one. Example:
#   "version": lambda d: "-v" in d.call.arguments and d.what == "standard output"
rules = {"map_once": is_map_written_once, "far_out": is_drawn_far_out}


# Portable Document Format

creation_date = re.compile(rb"/CreationDate \(D:[^)]*\)")
stream = re.compile(rb"<<((?:(?!stream).)*?)>>\s*stream\r?\n(.*?)\r?\nendstream", re.DOTALL)
no_drawing = re.compile(rb"/Length[123]\b|/FontFile|/Type /(?:XRef|ObjStm)|/Subtype /(?:Type1C|CIDFontType0C|OpenType)")


def without_date(pdf):
    return creation_date.sub(b"/CreationDate ()", pdf)


def drawing_of(pdf):
    """The decompressed streams of pages, forms and character maps; empty for what is no whole PDF."""
    parts = []
    for header, body in stream.findall(pdf) if pdf.rstrip().endswith(b"%%EOF") else ():
        if no_drawing.search(header):
            continue
        with contextlib.suppress(zlib.error):
            body = zlib.decompressobj().decompress(body) if b"/FlateDecode" in header else body
        parts.append(body)
    return b"\n".join(parts)


def is_same(old, new):
    if old == new:
        return True
    if old is None or new is None or not (old.startswith(b"%PDF") and new.startswith(b"%PDF")):
        return False
    return without_date(old) == without_date(new) or drawing_of(old) == drawing_of(new) != b""


# One call


def snapshot(folder):
    """The content of every file below the folder, and one text of all names, modes and links."""
    left, lines, names_of = {}, [], {}

    def add(path, name):
        status = os.lstat(path)
        line = f"{stat.filemode(status.st_mode)} {name}"
        if stat.S_ISLNK(status.st_mode):
            line += f" -> {os.readlink(path)}"
        elif stat.S_ISREG(status.st_mode):
            first = names_of.setdefault(status.st_ino, name)
            if first != name:
                line += f" = {first}"
            if not status.st_mode & stat.S_IRUSR:
                os.chmod(path, 0o600)
            with open(path, "rb") as file:
                left[name] = file.read()
        lines.append(line)
        if stat.S_ISDIR(status.st_mode):
            os.chmod(path, 0o700)
            for entry in sorted(os.listdir(path)):
                add(os.path.join(path, entry), entry if name == "." else f"{name}/{entry}")

    add(folder, ".")
    left[listing] = "\n".join(lines).encode(errors="surrogateescape")
    return left


def command_of(call, folder):
    words = [word.replace("HERE", folder) for word in call.arguments]
    # Not through a shell unless need be: it takes as long as a short call.
    return ["sh", "-c", f'exec tarvel "$@" {call.streams}', "sh", *words] if call.streams else ["tarvel", *words]


def run_call(program, call, folder):
    command = command_of(call, folder)
    environment = {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
    path = f"{os.path.dirname(program)}:/usr/bin:/bin"
    environment |= {"PATH": path, "HOME": home, "LC_ALL": "C", "TZ": call.time_zone}
    process = subprocess.Popen(
        command,
        executable="/bin/sh" if command[0] == "sh" else program,
        cwd=folder,
        env=environment,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        start_new_session=True,
    )
    try:
        out, err = process.communicate(timeout=patience)
        status = str(process.returncode)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        out, err = process.communicate()
        status = hangs
    return {"exit status": status.encode(), "standard output": out, "standard error": err}


def remove(folder):
    for path, names, _ in os.walk(folder):
        for name in names:
            if not os.path.islink(os.path.join(path, name)):
                os.chmod(os.path.join(path, name), 0o700)
    shutil.rmtree(folder, ignore_errors=True)


def outcomes_of(program, scenario, keep_as=None):
    """One for each call. Both programs work in a folder of the same name, since messages may contain it."""
    folder = os.path.join(home, "here")
    if os.path.exists(folder):
        os.chmod(folder, 0o700)
        remove(folder)
    os.mkdir(folder)
    scenarios.place(folder, scenario)
    outcomes = [run_call(program, call, folder) for call in scenario.calls]
    if keep_as:
        subprocess.run(["cp", "-a", folder, keep_as], check=True)
    outcomes[-1] |= snapshot(folder)
    return outcomes


# Differences


def differences(scenario, old_outcomes, new_outcomes):
    for call, old, new in zip(scenario.calls, old_outcomes, new_outcomes):
        for what in sorted(old.keys() | new.keys()):
            if not is_same(old.get(what), new.get(what)):
                yield Difference(call, what, old.get(what), new.get(what), old, new)


def printable(line):
    text = line.decode(errors="backslashreplace")
    return "".join(c if c.isprintable() else f"\\x{ord(c):02x}" for c in text[:160])


def show(difference):
    """The first lines that differ; for PDFs those of the drawing."""
    old, new = difference.old, difference.new
    if old is None or new is None:
        return [f"    {difference.what}: only the {'new' if old is None else 'old'} program leaves it"]
    if old.startswith(b"%PDF") and new.startswith(b"%PDF") and drawing_of(old) and drawing_of(new):
        old, new = drawing_of(old), drawing_of(new)
    pairs = itertools.zip_longest(old.split(b"\n"), new.split(b"\n"))
    number, (before, after) = next((i, pair) for i, pair in enumerate(pairs, 1) if pair[0] != pair[1])
    at = next((i for i, (a, b) in enumerate(zip(before or b"", after or b"")) if a != b), 0)
    at = max(0, at - 40)
    return [
        f"    {difference.what}, line {number}:" + (f" from byte {at} on" if at else ""),
        "      old: " + ("(its end)" if before is None else printable(before[at:])),
        "      new: " + ("(its end)" if after is None else printable(after[at:])),
    ]


def title_of(number, scenario):
    calls = "; then ".join(" ".join(["tarvel", *call.arguments, call.streams]).strip()[:160] for call in scenario.calls)
    return f"in scenario {number} ({scenario.kind}, TZ={scenario.calls[0].time_zone}): {calls}"


# All scenarios

Found = collections.namedtuple("Found", "calls outputs statuses allowed differs lines")


def in_memory():
    """A folder that no disk has to follow: most of the time would go into making and removing files."""
    return "/dev/shm" if "TMPDIR" not in os.environ and os.access("/dev/shm", os.W_OK) else None


class Comparison:
    """Copies of two programs, and a temporary folder in which anybody may work."""

    def __init__(self, old, new, seed, allowed=()):
        self.program_folder = tempfile.TemporaryDirectory(prefix="tarvel_compare_")
        os.chmod(self.program_folder.name, 0o755)
        self.programs = []
        for name, program in (("old", old), ("new", new)):
            folder = os.path.join(self.program_folder.name, name)
            os.mkdir(folder, 0o755)
            self.programs.append(shutil.copy(program, os.path.join(folder, "tarvel")))
        self.workplace = tempfile.TemporaryDirectory(prefix="tarvel_compare_", dir=in_memory())
        self.path = self.workplace.name
        os.chmod(self.path, 0o777)
        self.seed = seed
        self.rules = [rules[name] for name in allowed]
        self.sources = scenarios.Sources(self.programs[0])

    def close(self):
        self.workplace.cleanup()
        self.program_folder.cleanup()

    def find(self, number, keep=None):
        """Gives a scenario to both programs."""
        scenario = scenarios.scenario(self.sources, self.seed, number)
        if keep:
            (keep / "given").mkdir(parents=True)
            scenarios.place(keep / "given", scenario)
        names = ("old", "new")
        old, new = (outcomes_of(program, scenario, keep and keep / name) for program, name in zip(self.programs, names))
        found = list(differences(scenario, old, new))
        other = [d for d in found if not any(rule(d) for rule in self.rules)]
        lines = ["DIFFERENCE " + title_of(number, scenario), *itertools.chain.from_iterable(map(show, other))] if other else []
        statuses = [outcome["exit status"].decode() for outcome in old]
        if hangs in statuses:
            lines = [f"HANGS {title_of(number, scenario)}", *lines]
        return Found(len(old), sum(map(len, old)), statuses, len(found) - len(other), bool(other), lines)


comparison = home = None  # of a process that tries scenarios


def settle(given):
    """Begins such a process: a home of its own, as somebody whom read-only files stop."""
    global comparison, home
    comparison = given
    os.umask(0o022)
    if os.geteuid() == 0:
        os.setgroups([])
        os.setgid(65534)
        os.setuid(65534)
    home = tempfile.tempdir = tempfile.mkdtemp(dir=comparison.path)


def find(number):
    return comparison.find(number)


def find_and_keep(number):
    return comparison.find(number, pathlib.Path(comparison.path, "kept"))


def find_all(given, numbers, jobs, how=find):
    """What each scenario shows, in the order of the numbers."""
    with multiprocessing.get_context("fork").Pool(jobs, settle, (given,)) as pool:
        yield from pool.imap(how, numbers, chunksize=8)


def main(words=None):
    parser = argparse.ArgumentParser(usage=__doc__.partition("\n")[0])
    parser.add_argument("old", type=pathlib.Path)
    parser.add_argument("new", type=pathlib.Path)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--count", type=int, default=10_000)
    parser.add_argument("--only", type=int)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--allow", action="append", default=[], choices=sorted(rules))
    parser.add_argument("--keep", type=pathlib.Path)
    given = parser.parse_args(words)
    if given.keep and given.only is None:
        parser.error("--keep needs --only")
    with contextlib.closing(Comparison(given.old, given.new, given.seed, given.allow)) as both:
        if given.only is None:
            return report(find_all(both, range(given.count), given.jobs))
        status = report(find_all(both, [given.only], 1, find_and_keep))
        if given.keep:
            subprocess.run(["cp", "-a", f"{both.path}/kept", given.keep], check=True)
        return status


def report(found):
    total, statuses, differing = collections.Counter(), collections.Counter(), 0
    for one in found:
        total.update(scenarios=1, calls=one.calls, outputs=one.outputs, allowed=one.allowed)
        statuses.update(one.statuses)
        differing += one.differs
        if one.lines:
            print("\n".join(one.lines if differing <= shown_in_full else one.lines[:1]), flush=True)
    ends = ", ".join(f"{count} with {status}" for status, count in sorted(statuses.items()))
    print(
        f"{total['scenarios']} scenarios, {total['calls']} calls (exit statuses: {ends}),"
        f" {total['outputs']} outputs compared, {differing} scenarios differ, {total['allowed']} differences allowed"
    )
    return 1 if differing or not total["scenarios"] else 0


if __name__ == "__main__":
    sys.exit(main())
