#!/usr/bin/env python3
"""scripts/proofs io_faults: whatever fails to open, read or write, the program says so or has done all of its work.

Every system call on the program's own files fails in turn, once and for ever after; files come and go a few bytes at a
time; the disk is full, files are too large, streams are closed; places are forbidden, and odd things stand where files
should be. Each run ends within a minute, without a signal, either with exit status 0 and every byte of the undisturbed
run, or with exit status 1 and the message that belongs to the fault; no input is lost. Then every call of whole runs
fails, those of the dynamic loader and of the font libraries included: what they do to the charts is listed apart.

Needs strace, g++, tzdata and, without TARVEL=program, what builds the release. As root it also fills a small disk.
About four minutes on two cores. Prints counts, and ends with 1 on any finding. With names of the passes at the end of
the file it makes those alone.
"""
import os
import re
import resource
import shutil
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True  # the folder of the scripts stays as it is
from fault_runs import (INDEX_TO_THE_MAP, ROOT, STRACE, Command, Tally, Twin, Workplace, calls_in, fill, in_parallel,
                        judge, make_commands, make_socket, names_of, outcome_of, own_paths)

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
CALLS = ",".join("?" + call for call in ERRORS)
FOR_EVER = {"openat": "EMFILE", "read": "EIO", "write": "ENOSPC"}

CONTAINER_WRITES = {"failed to write " + part for part in
                    ("TVL header", "section header table entry", "gate header", "gate sample", "swoop header",
                     "swoop sample")}
STANDARD_OUTPUT = {"failed to write file: standard output"}


def is_own(name, command):
    return name.removesuffix(".new") in command.names


def path_of(arguments):
    """The base name of what a logged call is about, as strace -y writes it; of a rename the old name."""
    match = re.match(r'\d+<([^>]*)>', arguments) or re.search(r'"([^"]*)"', arguments)
    return os.path.basename(match.group(1)) if match else ""


def messages_for(call, name, command):
    """What the program may say when this call on this file fails."""
    if not is_own(name, command):
        return STANDARD_OUTPUT
    is_beside = name.endswith(".new")
    name = name.removesuffix(".new")
    names = {*names_of(command, name), re.sub(r"\.orig(\.\d+)?$", "", name)}
    if call == "lseek":  # a failed seek is a short read, after which the other readers try
        return {"invalid field names", "missing field names"}
    if call == "read":
        return {f"failed to read file: {n}" for n in names}
    if call in ("write", "close", "fsync") or (is_beside and call.startswith("rename")):
        words = {f"failed to write file: {n}" for n in names} | {f"failure during write to {n}" for n in names}
        return words | CONTAINER_WRITES if name.endswith(".tvl") else words
    forms = ["failed to open file: %s", "could not open %s for reading", "could not open %s for writing"]
    if call in ("newfstatat", "ftruncate") and name in command.track_map:  # emptied again before it is written
        forms.append("failed to write file: %s")
    return {form % n for n in names for form in forms}


def logged_run(place, command, options, launcher_paths):
    """A run under strace and the calls that it logged."""
    with tempfile.NamedTemporaryFile(dir=place.path) as log:
        result = place.run(command, [*STRACE, "-y", "-o", log.name, *options, *launcher_paths])
        return result, calls_in(log.name)


def points_of(calls):
    """(call, n, name, is at an end): the n-th call of its kind, and whether its file's calls of one kind begin or end
    there."""
    seen, points = {}, []
    for call, arguments in calls:
        seen[call] = seen.get(call, 0) + 1
        points.append((call, seen[call], path_of(arguments)))
    for i, (call, n, name) in enumerate(points):
        near = [(c, m) for c, _, m in (points[i - 1:i] + points[i + 1:i + 2])]
        yield call, n, name, any(neighbour != (call, name) for neighbour in near) or len(near) < 2


def fail_own_calls(place, commands, tally):
    def one(command, call, when, error, name, heading):
        options = ["-e", "trace=" + call, "-e", f"inject={call}:error={error}:when={when}"]
        # The message must get out where every write fails.
        paths = own_paths(command, ()) if str(when).endswith("+") else own_paths(command)
        result, calls = logged_run(place, command, options, paths)
        expected = messages_for(call, name, command)
        # What is wrong with a course is said once the map is there, for which every call fails, too.
        if name in (*command.inputs, *command.courses, "matrix.txt") and str(when).endswith("+"):
            expected = expected.union(*(messages_for(call, name, command) for name in command.track_map))
        finding = judge(command, result, expected)
        if not any("(INJECTED)" in arguments for _, arguments in calls):
            finding = "no fault was injected"
        tally.add(heading, f"{command.name}: {call} {when} of {name}: {error}", finding, outcome_of(result))

    def jobs():
        for command in commands:
            _, calls = logged_run(place, command, ["-e", "trace=" + CALLS], own_paths(command))
            for call, n, name, is_end in points_of(calls):
                for error in ERRORS[call] if is_end else ERRORS[call][:1]:
                    yield lambda a=(command, call, n, error, name, "one call fails"): one(*a)
            on_files = [(call, arguments) for call, arguments in calls if is_own(path_of(arguments), command)]
            for call, n, name, is_end in points_of(on_files):
                if call in FOR_EVER and is_end:
                    yield lambda a=(command, call, f"{n}+", FOR_EVER[call], name, "and all after it"): one(*a)

    in_parallel(jobs())


def transfer_little(place, commands, tally):
    shim = os.path.join(place.path, "short_transfers")
    source = os.path.join(ROOT, "tests", "faults", "short_transfers.cpp")
    subprocess.run(["c++", "-std=c++20", "-O2", "-o", shim, source], check=True)

    def one(command, folder, heading):
        result = place.run(command, [shim, folder])
        finding = judge(command, result)
        if result.status != command.reference.status:
            finding = finding or f"exit status {result.status}: {result.message()}"
        tally.add(heading, command.name, finding, outcome_of(result))

    jobs = [lambda c=command: one(c, "@FOLDER@", "1 to 7 bytes at a time") for command in commands]
    jobs.append(lambda: one(commands[0], "/", "1 to 7 bytes at a time, libraries and fonts as well"))
    in_parallel(jobs)


def sizes_of_outputs(command):
    return [len(content) for name, content in command.reference.files.items()
            if isinstance(content, bytes) and command.before.get(name) != content]


def write_failures(command):
    words = {form % name for name in command.names for form in
             ("failed to write file: %s", "failed to open file: %s", "could not open %s for writing",
              "failure during write to %s")}
    return words | CONTAINER_WRITES | STANDARD_OUTPUT


def limit_sizes(place, commands, tally):
    """No file may be larger than so many bytes."""
    def one(command, limit):
        result = place.run(command, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
        tally.add("file size limit", f"{command.name}: {limit} bytes", judge(command, result, write_failures(command)),
                  outcome_of(result))

    def jobs():
        for command in commands:
            largest = max(sizes_of_outputs(command), default=0)
            for limit in sorted({0, 1, 4095, 4096, 4097, *range(0, largest + 8192, max(largest // 12, 4096))}):
                yield lambda a=(command, limit): one(*a)

    in_parallel(jobs())


def mount(folder, options):
    return subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tarvel_faults", folder], stderr=subprocess.DEVNULL)


def fill_disks(place, commands, tally):
    """A disk with so many free pages, and one with so many free entries."""
    def one(command, options):
        folder = place.new_folder()
        if mount(folder, options).returncode != 0:
            return tally.add("full disk", "", None, "not tried: may not mount")
        try:
            fill(folder, command.files)
            result = place.run_in(folder, command.arguments)
        finally:
            subprocess.run(["umount", folder], check=True)
        tally.add("full disk", f"{command.name}: {options}", judge(command, result, write_failures(command)),
                  outcome_of(result))

    def jobs():
        for command in commands:
            used = sum(-(-len(content) // 4096) for content in command.before.values() if isinstance(content, bytes))
            needed = sum(-(-size // 4096) for size in sizes_of_outputs(command))
            for free in sorted({0, 1, 2, *range(3, needed + 4, max(needed // 10, 1))}):
                yield lambda a=(command, f"size={(used + free) * 4096}"): one(*a)
            for free in range(len(command.reference.files) - len(command.before) + 1):
                yield lambda a=(command, f"nr_inodes={1 + len(command.before) + free}"): one(*a)

    in_parallel(jobs() if os.geteuid() == 0 else [lambda: tally.add("full disk", "", None, "not tried: not root")])


def close_streams(place, commands, tally):
    """Standard streams that are closed, full, or pipes that nobody reads; with fonts that have something to say."""
    no_fonts = {**place.environment, "FONTCONFIG_FILE": "/nonexistent"}

    def closer(streams):
        return lambda: [os.close(stream) for stream in streams]

    def one(command, what, expected, **options):
        result = place.run(command, **options)
        finding = judge(command, result, expected)
        if finding is None and expected is None and result.status != command.reference.status:
            finding = f"exit status {result.status}"
        tally.add("standard streams", f"{command.name}: {what}", finding, outcome_of(result))

    def one_without_any(command, **options):
        """With standard error closed, too, the exit status alone tells whether there was something to print."""
        result = place.run(command, preexec_fn=closer([0, 1, 2]), **options)
        right = 1 if command.reference.out else 0
        is_right = result.status == right and result.files == command.reference.files
        tally.add("standard streams", f"{command.name}: <&- >&- 2>&-", None if is_right else f"status {result.status}",
                  outcome_of(result))

    def with_mute_fonts(command):
        """The same without fonts: the reference has no text in its charts."""
        mute = Command(" ".join(command.arguments), command.files, command.inputs, command.courses)
        mute.name, mute.before, mute.names = command.name + " (no fonts)", command.before, command.names
        mute.reference = place.run(command, env=no_fonts)
        return mute

    def jobs():
        for command in commands:
            yield lambda c=command: one(c, "<&-", None, preexec_fn=closer([0]))
            yield lambda c=command: one(c, "2>&-", None, preexec_fn=closer([2]))
            yield lambda c=command: one(c, ">&-", STANDARD_OUTPUT, preexec_fn=closer([1]))
            yield lambda c=command: one_without_any(c)
            yield lambda c=command: to_full(c)
            yield lambda c=command: to_nobody(c)
        for command in commands[:3]:
            mute = with_mute_fonts(command)
            yield lambda c=mute: one(c, "<&- 2>&-", None, preexec_fn=closer([0, 2]), env=no_fonts)
            yield lambda c=mute: one_without_any(c, env=no_fonts)

    def to_full(command):
        with open("/dev/full", "w") as full:
            one(command, ">/dev/full", STANDARD_OUTPUT, out=full)

    def to_nobody(command):
        reader, writer = os.pipe()
        os.close(reader)
        one(command, "| true", STANDARD_OUTPUT, out=writer)
        os.close(writer)

    in_parallel(jobs())


# What may stand where a file should be. Each makes it at that path.
def make_folder(path):
    os.mkdir(path)


def make_pipe(path):
    os.mkfifo(path)


def make_empty(path):
    open(path, "wb").close()


def link_to(target):
    return lambda path: os.symlink(target, path)


ODD_THINGS = {
    "a folder": make_folder, "a pipe": make_pipe, "a socket": make_socket, "an empty file": make_empty,
    "/dev/null": link_to("/dev/null"), "/dev/zero": link_to("/dev/zero"), "/dev/full": link_to("/dev/full"),
    "a disk that fails": link_to("/proc/self/mem"), "a link to itself": None, "a link to nowhere": link_to("no/where"),
}


def stand_in(kind, path):
    if os.path.lexists(path):
        os.unlink(path)
    (ODD_THINGS[kind] or link_to(os.path.basename(path)))(path)


# A folder, an empty file and a device have no field names; only a disk that fails cannot be read.
READ_WORDS = {
    "a folder": ("missing field names", "failed to parse %s"), "an empty file": ("missing field names",
                                                                                 "failed to parse %s"),
    "/dev/null": ("missing field names", "failed to parse %s"),
    "/dev/zero": ("missing field names", "invalid field names", "line length exceeded size of buffer",
                  "invalid line in %s", "failed to parse %s"),
    "/dev/full": ("missing field names", "invalid field names", "line length exceeded size of buffer",
                  "invalid line in %s", "failed to parse %s"),
    "a disk that fails": ("failed to read file: %s",),
}


def put_odd_things(place, commands, tally):
    def as_input(command, name, kind):
        # What is in an output's way as well may fail as either.
        result = place.run(command, prepare=lambda folder: stand_in(kind, os.path.join(folder, name)))
        expected = {words.replace("%s", n) for n in names_of(command, name)
                    for words in READ_WORDS.get(kind, ("failed to open file: %s",))}
        is_output = command.reference.files.get(name) != command.before[name]
        spared = {form % n for n in names_of(command, name) for form in ("%s", "%s.orig")}
        # Where an index was, nothing leads to its courses any more.
        if command.files[name] == INDEX_TO_THE_MAP:
            spared.add("run.kml")
        finding = judge(command, result, None if is_output else expected, spared)
        tally.add("odd things as inputs", f"{command.name}: {name} is {kind}", finding, outcome_of(result))

    def as_output(command, name, kind):
        result = place.run(command, prepare=lambda folder: stand_in(kind, os.path.join(folder, name)))
        # The survey's course file is copied, too.
        expected = write_failures(command) | {f"could not open {name} for reading"}
        finding = judge(command, result, expected, spared=names_of(command, name))
        tally.add("odd things as outputs", f"{command.name}: {name} is {kind}", finding, outcome_of(result))

    def has_twins(command):
        return any(isinstance(content, Twin) for content in command.files.values())

    def outputs(command):
        return [name for name in command.reference.files
                if name not in command.files and ".orig" not in name]

    def jobs():
        for command in commands:
            for kind in ODD_THINGS:
                for name in [] if has_twins(command) else command.files:
                    yield lambda a=(command, name, kind): as_input(*a)
                for name in outputs(command):
                    yield lambda a=(command, name, kind): as_output(*a)

    in_parallel(jobs())


def forbid(place, commands, tally):
    """An ordinary user may not read, write or create."""
    user = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}

    def one(command, what, change):
        finding_words = write_failures(command) | {f"could not open {n} for reading" for n in command.names}
        result = place.run(command, prepare=change, **user)
        tally.add("forbidden places", f"{command.name}: {what}", judge(command, result, finding_words),
                  outcome_of(result))

    def mode(name, bits):
        return lambda folder: os.chmod(os.path.join(folder, name), bits)

    def closed_folder(folder):
        for name in os.listdir(folder):
            if not os.path.islink(os.path.join(folder, name)):
                os.chmod(os.path.join(folder, name), 0o666)
        os.chmod(folder, 0o555)

    def jobs():
        for command in commands:
            yield lambda c=command: one(c, "a folder that is read-only", closed_folder)
            for name in command.files:
                yield lambda a=(command, f"{name} is unreadable", mode(name, 0o000)): one(*a)
                yield lambda a=(command, f"{name} is read-only", mode(name, 0o444)): one(*a)

    in_parallel(jobs())


def fail_every_call(place, commands, tally):
    """Whole runs: the loader's, the time zone's and the fonts' own calls as well. Where such a call alone changes the
    charts or ends the run by a signal, the run is listed apart, and everything else must be right."""
    changed = {}

    def one(command, call, n, error):
        folder = tempfile.mkdtemp(dir=place.path)
        cache = shutil.copytree(place.cache, os.path.join(folder, "cache"))
        fonts = place.write_fonts(os.path.join(folder, "fonts.conf"), cache)
        with tempfile.NamedTemporaryFile(dir=place.path) as log:
            launcher = [*STRACE, "-y", "-o", log.name, "-e", "trace=" + call,
                        "-e", f"inject={call}:error={error}:when={n}"]
            result = place.run(command, launcher, env={**place.environment, "FONTCONFIG_FILE": fonts})
            hit = [arguments for _, arguments in calls_in(log.name) if "(INJECTED)" in arguments]
        shutil.rmtree(folder)
        finding = judge(command, result)
        outcome = outcome_of(result)
        own = any(is_own(path_of(arguments), command) for arguments in hit)
        if result.status == 127 and "error while loading shared libraries" in result.err:
            finding, outcome = None, "not started by the dynamic loader"
        elif finding and not own and is_about_charts(finding):
            changed.setdefault(finding, []).append(f"{call} {n} {error}: {hit[0] if hit else ''}"[:160])
            finding, outcome = None, "fonts: charts changed or not drawn"
        tally.add("every call of a whole run", f"{command.name}: {call} {n}: {error} {hit[:1]}", finding, outcome)

    def is_about_charts(finding):
        return re.fullmatch(r"WRONG SUCCESS: \S+\.pdf|ended by signal \d+", finding)

    def jobs():
        # The one that reads and writes files of every kind.
        for command in [c for c in commands if c.name == "tarvel -p -d -g walk.csv run.csv"]:
            _, calls = logged_run(place, command, ["-e", "trace=" + CALLS], [])
            counts = {}
            for call, _ in calls:
                counts[call] = counts.get(call, 0) + 1
            for call, count in counts.items():
                for n in range(1, count + 1):
                    yield lambda a=(command, call, n, ERRORS[call][0]): one(*a)

    in_parallel(jobs())
    for finding, cases in sorted(changed.items()):
        print(f"fonts: {finding}: {len(cases)} runs, such as")
        for case in sorted(cases)[:6]:
            print("    " + case)


def main():
    if shutil.which("strace") is None:
        sys.exit("io_faults: there is no strace here")
    with Workplace() as place:
        commands = make_commands(place)
        tally = Tally()
        for step in (fail_own_calls, transfer_little, limit_sizes, fill_disks, close_streams, put_odd_things, forbid,
                     fail_every_call):
            if len(sys.argv) == 1 or step.__name__ in sys.argv[1:]:
                step(place, commands, tally)
        tally.close()


main()
