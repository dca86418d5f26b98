#!/usr/bin/env python3
"""Lets every request for memory fail in turn, over command lines of every kind, and proves that nothing comes of it.

    scripts/proofs memory_faults [BUILD_FOLDER [SANITIZER_BUILD_FOLDER]]      (build/dev and build/asan)

Builds the program and tests/faults/failing_allocator.cpp in both folders, then runs the program

  own        with each request of its own, or of the C library on its behalf, refused, for all command lines: that one,
             then that one and all after it. The run must end as if nothing had been (every byte of every output equal),
             or with status 1 and a message that says what there was no memory for. Inputs stay whole.
  drawing    with requests of the drawing libraries refused, a sample of them for three of the command lines. These
             end the process by their own design: the report and the map, written before, must be whole, and the status
             0 only if all outputs are right. Two things they do in silence are counted by themselves: with other
             letters, when the machine's font settings cannot be read; and without some letters, when a single request
             is refused and those after it are granted, as under no limit.
  limit      with limits on addresses and on data (RLIMIT_AS, RLIMIT_DATA) of every size, as memory runs out in earnest,
             for the same three. No library may ever come to it: once the program has begun, it ends with right outputs
             or with its own message.
  sanitizer  as the first, under the address and undefined sanitizers, for eleven of the command lines: no leak, no report

Prints what was refused and what came of it. Exits with 1 on any finding.
"""

import collections
import concurrent.futures
import os
import pathlib
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile

root = pathlib.Path(__file__).resolve().parent.parent
patience = 300  # seconds, on a machine that has much else to do
processor_time = 5  # seconds; a run takes a hundredth of that, under a sanitizer a fifth
drawing_runs = 150  # for each command line and way to fail
limit_step = 1 << 16  # bytes
# Up to which size; from a megabyte, below which the system loads no program.
limits = [(resource.RLIMIT_AS, 112 << 20), (resource.RLIMIT_DATA, 96 << 20)]
sanitizer_report = 97

# What the program says when memory is short. A file cannot be opened without memory for its stream.
memory_messages = re.compile(
    r"strdup\(\) failed|malloc\(\) failed|realloc failed|failed to allocate memory for (swoop|gate|charts)|"
    r"failed to realloc (gps_points|pond array)|failed to malloc file\.block_ptr|"
    r"failed to read time zone: [^\n]+|failed to open file: [^\n]+|could not open [^\n]+ for (reading|writing)")

# The list of columns is given up with the words for a list that cannot be used.
field_names_message = "invalid field names"

command_line = collections.namedtuple("command_line", "name arguments files zone make", defaults=("UTC", None))
outcome = collections.namedtuple("outcome", "status out err files own drawing refused place")
fault = collections.namedtuple("fault", "kind number how")


# The inputs.

def example(name):
    return (root / "examples" / name).read_bytes()


def every(step, track, head):
    lines = track.splitlines(keepends=True)
    return b"".join(lines[:head] + lines[head::step])


def with_columns(track, count):
    """The track with so many columns more that nobody knows."""
    lines = track.splitlines()
    extra = [b"," + b",".join(b"extra%d" % i for i in range(count)), b"," * count]
    return b"\n".join(line + extra[min(i, 1)] for i, line in enumerate(lines)) + b"\n"


def with_long_start(track):
    """Ten minutes in the aircraft before the first sample, which makes the array of samples grow."""
    lines = track.splitlines(keepends=True)
    row = lines[2].split(b",", 1)[1]
    day = lines[2][:11]
    early = [b"%s%02d:%02d:%02d.%dZ,%s" % (day, 4, i // 600, i // 10 % 60, i % 10, row) for i in range(6000)]
    return b"".join(lines[:2] + early + lines[2:])


def with_wide_pond(course):
    """As many marks of the pond's edge as make their array grow."""
    return course + b"".join(b"(%d.5, %d.5)\n" % (i % 100, i // 100 + 1) for i in range(600))


def containers(program, folder):
    """What -d writes for a run and for a walk."""
    for name in ["straight.csv", "walk.csv", "matrix.txt"]:
        (folder / name).write_bytes(example(name))
    for arguments in [["-d", "straight.csv"], ["-d", "-p", "-g", "walk.csv"]]:
        subprocess.run([program] + arguments, cwd=folder, check=True, stdout=subprocess.DEVNULL, env={"TZ": "UTC"})
    return (folder / "straight.tvl").read_bytes(), (folder / "walk.tvl").read_bytes()


def make_link(name, target):
    return lambda folder: (folder / name).symlink_to(target)


def make_second_name(name, target):
    return lambda folder: (folder / name).hardlink_to(folder / target)


def make_folder(name):
    return lambda folder: (folder / name).mkdir()


def make_pipe(name):
    return lambda folder: os.mkfifo(folder / name)


# The command lines.

new_york = "America/New_York"
zone_rules = "EST5EDT,M3.2.0,M11.1.0"


def all_command_lines(run_container, gate_container):
    course = {"matrix.txt": example("matrix.txt")}
    straight = example("straight.csv")
    carve = {"carve.csv": example("carve.csv"), **course}
    run = {"run.csv": straight, **course}
    tagged = {"tagged.csv": example("tagged.csv"), **course}
    implicit = {"implicit.csv": example("implicit.csv")}
    reversed_run = {"reversed.csv": example("reversed.csv"), **course}
    container = {"run.tvl": run_container, **course}
    gate = {"course.tvl": gate_container}
    walk = {"walk.csv": example("walk.csv")}

    def over(course_text, **more):
        return {"run.csv": straight, "matrix.txt": course_text, **more}

    def track(data, name="run.csv"):
        return {name: data, **course}

    c = command_line
    return [
        c("straight run", ["run.csv"], run),
        c("metric", ["-m", "run.csv"], run),
        c("debug", ["-d", "run.csv"], run),
        c("pond without a walk", ["-p", "run.csv"], run),
        c("time aloft", ["-t", "5", "tagged.csv"], tagged),
        c("tagged lines, debug", ["-d", "tagged.csv"], tagged),
        c("carve", ["carve.csv"], carve),
        c("carve, metric, debug", ["-md", "carve.csv"], carve),
        c("reversed", ["reversed.csv"], reversed_run),
        c("reversed, debug", ["-d", "reversed.csv"], reversed_run),
        c("without a course", ["-i", "implicit.csv"], implicit),
        c("without a course, all options", ["-imdp", "-t", "6", "implicit.csv"], implicit),
        c("container", ["run.tvl"], container),
        c("container set aside", ["-d", "run.tvl"], container),
        c("container in New York", ["run.tvl"], container, new_york),
        c("New York, debug", ["-d", "run.csv"], run, new_york),
        c("zone of rules, debug", ["-d", "run.csv"], run, zone_rules),
        c("New York, tagged lines, debug", ["-id", "tagged.csv"], tagged, new_york),
        c("track named as the report", ["run.txt"], track(straight, "run.txt")),
        c("track named as the map", ["run.kml"], track(straight, "run.kml")),
        c("track named as the charts", ["run.pdf"], track(straight, "run.pdf")),
        c("track named as the dump", ["-d", "coord.txt"], track(straight, "coord.txt")),
        c("course named as the report", ["matrix.csv"], track(straight, "matrix.csv")),
        c("report is a link to the track", ["run.csv"], run, make=make_link("run.txt", "run.csv")),
        c("report is the track's second name", ["run.csv"], run, make=make_second_name("run.txt", "run.csv")),
        c("track is a link", ["here.csv"], run, make=make_link("here.csv", "run.csv")),
        c("long track", ["run.csv"], track(with_long_start(straight))),
        c("many columns", ["run.csv"], track(with_columns(straight, 40))),
        c("wide pond", ["run.csv"], over(with_wide_pond(example("matrix.txt")))),
        c("index for every run", ["run.csv"], over(b"* - \"other.txt\"\n", **{"other.txt": example("matrix.txt")})),
        c("index of indices", ["1run.csv"],
          {"1run.csv": straight, "matrix.txt": b"2 - nogate\n1run - a.txt\n", "a.txt": b"1 - b.txt\n",
           "b.txt": b"* - c.txt\n", "c.txt": example("matrix.txt")}),
        c("index without a gate", ["implicit.csv"], {**implicit, "matrix.txt": b"* - nogate\n"}),
        c("index to nowhere", ["run.csv"], over(b"* - missing.txt\n")),
        c("index to itself", ["run.csv"], over(b"* - matrix.txt\n")),
        c("invalid course", ["run.csv"], over(b"what is this\n")),
        c("course cut short", ["run.csv"], over(b"[1, 0, 0, 0]\n")),
        c("no course", ["run.csv"], {"run.csv": straight}),
        c("walk", ["-g", "walk.csv"], walk),
        c("walk round a pond", ["-p", "-g", "walk.csv"], walk),
        c("walk, debug", ["-pd", "-g", "walk.csv"], walk),
        c("walk in New York, debug", ["-d", "-g", "walk.csv"], walk, new_york),
        c("walk over an earlier course", ["-g", "walk.csv"], {**walk, "matrix.txt": b"earlier\n"}),
        c("walk named as the course", ["-g", "walk.txt"], {"walk.txt": example("walk.csv")}),
        c("walk named matrix", ["-g", "matrix.csv"], {"matrix.csv": example("walk.csv")}),
        c("container of a course", ["-p", "-g", "course.tvl"], gate),
        c("container of a course set aside", ["-pd", "-g", "course.tvl"], gate),
        c("walk and run", ["-p", "-g", "walk.csv", "carve.csv"], {**walk, "carve.csv": example("carve.csv")}),
        c("walk and run, all options", ["-pdm", "-t", "5", "-g", "walk.csv", "tagged.csv"],
          {**walk, "tagged.csv": example("tagged.csv")}),
        c("container of a course and run", ["-g", "course.tvl", "run.csv"], {**gate, "run.csv": straight}),
        c("nothing", [], {}),
        c("version", ["-v"], {}),
        c("unknown option", ["-x", "run.csv"], run),
        c("option without its value", ["run.csv", "-t"], run),
        c("conflict", ["-i", "-g", "walk.csv"], walk),
        c("too many words", ["run.csv", "run.csv"], run),
        c("name without three characters", ["run.data"], track(straight, "run.data")),
        c("no track", ["run.csv"], course),
        c("no walk", ["-g", "walk.csv"], {}),
        c("folder as a track", ["run.csv"], course, make=make_folder("run.csv")),
        c("pipe as a track", ["run.csv"], course, make=make_pipe("run.csv")),
        c("folder as the map", ["run.csv"], run, make=make_folder("run.kml")),
        c("folder as the charts", ["run.csv"], run, make=make_folder("run.pdf")),
        c("empty track", ["run.csv"], track(b"")),
        c("columns that are missing", ["run.csv"], track(b"time,lat\n,\n")),
        c("no samples", ["run.csv"], track(b"".join(straight.splitlines(keepends=True)[:2]))),
        c("bad time", ["run.csv"], track(straight[:5000].rsplit(b"\n", 1)[0] + b"\nnoon,1,2\n")),
        c("bad tagged line", ["run.csv"], track(example("tagged.csv")[:5000] + b"\nno prefix\n")),
        c("line too long", ["run.csv"], track(straight[:5000] + b"1" * 40000)),
        c("container cut in its header", ["run.tvl"], track(run_container[:30], "run.tvl")),
        c("container cut in its samples", ["run.tvl"], track(run_container[:-1], "run.tvl")),
        c("gate container cut in its pond", ["-g", "course.tvl"], {"course.tvl": gate_container[:-1]}),
        c("container of a run as a walk", ["-g", "run.tvl"], {"run.tvl": run_container}),
        c("track that is no run", ["walk.csv"], track(example("walk.csv"), "walk.csv")),
        c("track that is no walk", ["-g", "run.csv"], {"run.csv": straight}),
        c("walk cut short", ["-p", "-g", "walk.csv"], {"walk.csv": every(1, example("walk.csv")[:60000], 2)}),
    ]


drawing_command_lines = ["straight run", "carve, metric, debug", "without a course"]
sanitizer_command_lines = [
    "container set aside", "walk and run, all options", "container of a course set aside", "walk named as the course",
    "index to itself", "bad tagged line", "line too long", "track that is no run", "container cut in its samples",
    "folder as the charts", "unknown option"]


# A run.

def masked(name, data):
    """Documents tell when they were made."""
    return re.sub(rb"/CreationDate \(D:[^)]*\)", b"/CreationDate ()", data) if name.endswith(".pdf") else data


def set_limits(limit):
    resource.setrlimit(resource.RLIMIT_CPU, (processor_time, processor_time + 1))
    if limit:
        resource.setrlimit(limit.kind, (limit.number, limit.number))


def files_in(folder):
    return {p.name: masked(p.name, p.read_bytes()) for p in folder.iterdir() if p.is_file() and not p.is_fifo()}


class build:
    def __init__(self, folder, preset):
        self.folder = folder
        self.program = str(folder / "tarvel")
        if not (folder / "CMakeCache.txt").exists():
            subprocess.run(["cmake", "--preset", preset, "-B", folder], cwd=root, check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["cmake", "--build", folder, "--target", "tarvel", "failing_allocator"], check=True,
                       stdout=subprocess.DEVNULL)
        # The allocator stands before the sanitizer's, which it hands requests on to.
        self.environment = {
            "PATH": os.environ["PATH"], "HOME": os.environ.get("HOME", "/"), "LC_ALL": "C",
            "LD_PRELOAD": str(folder / "libfailing_allocator.so"),
            "ASAN_OPTIONS": f"verify_asan_link_order=0:exitcode={sanitizer_report}:allocator_may_return_null=1",
            "UBSAN_OPTIONS": f"exitcode={sanitizer_report}",
            "LSAN_OPTIONS": f"suppressions={root}/tests/support/known_leaks.txt:print_suppressions=0:"
                            f"exitcode={sanitizer_report}"}

    def run(self, line, planned=None):
        with tempfile.TemporaryDirectory(prefix="memory_faults_") as outside:
            folder = pathlib.Path(outside, "run")
            folder.mkdir()
            for name, data in line.files.items():
                (folder / name).write_bytes(data)
            if line.make:
                line.make(folder)
            report = pathlib.Path(outside, "report")
            environment = {**self.environment, "TZ": line.zone, "ALLOCATION_REPORT": str(report)}
            limit = planned if planned and planned.how == "limit" else None
            if limit:
                del environment["LD_PRELOAD"]
            elif planned:
                environment["FAIL_ALLOCATION"] = f"{planned.kind},{planned.number},{planned.how}"
            try:
                done = subprocess.run([self.program] + line.arguments, executable=self.program, cwd=folder,
                                      env=environment, stdin=subprocess.DEVNULL, capture_output=True,
                                      timeout=patience, preexec_fn=lambda: set_limits(limit))
                status, out, err = done.returncode, done.stdout, done.stderr
            except subprocess.TimeoutExpired as expired:
                status, out, err = f"has not ended after {patience} s", expired.stdout or b"", expired.stderr or b""
            if status == -signal.SIGXCPU:
                status = f"has not ended after {processor_time} s of processor time"
            counts = struct.unpack("<4Q", report.read_bytes()) if report.exists() else (0, 0, 0, 0)
            return outcome(status, out, err, files_in(folder), *counts)

    def place_of(self, result):
        """The source line at which the request was refused."""
        found = subprocess.run(["addr2line", "-e", self.program, hex(result.place - 1)], capture_output=True, text=True)
        return found.stdout.strip().replace(str(root) + "/", "")


# What came of a fault.

def is_undisturbed(result, sound):
    return (result.status, result.out, result.err, result.files) == (sound.status, sound.out, sound.err, sound.files)


def lost_inputs(line, result, sound):
    kept = set(result.files.values())
    return [name for name, data in line.files.items()
            if masked(name, data) in sound.files.values() and masked(name, data) not in kept]


def differences(result, sound):
    names = sorted(n for n in set(sound.files) | set(result.files) if sound.files.get(n) != result.files.get(n))
    return names + [f"{name}: {a[-200:]!r}" for name, a, b in
                    [("standard output", result.out, sound.out), ("standard error", result.err, sound.err)] if a != b]


def check_message(result, sound):
    """Status 1: what was printed is what would have been printed, up to the message."""
    printed, _, last = result.out.rstrip(b"\n").rpartition(b"\n")
    message = last.decode(errors="replace").removeprefix("ERROR: ")
    printed += b"\n" if printed else b""
    if not last.startswith(b"ERROR: ") or not (memory_messages.fullmatch(message) or message == field_names_message):
        return None, f"says {result.out[-200:]!r} {result.err[-200:]!r}"
    if not sound.out.startswith(printed) and not sound.out.startswith(printed.rstrip(b"\n")):
        return None, f"prints {printed[:200]!r} before its message"
    if result.err != sound.err:
        return None, f"standard error says {result.err[-200:]!r}"
    return message, None


def judge_own(line, result, sound):
    """What happened in a word, and the finding if it is one."""
    if isinstance(result.status, str):
        return "hang", result.status
    if result.status == sanitizer_report:
        return "sanitizer", f"sanitizer report: {result.err.decode(errors='replace')[:3000]}"
    if result.status < 0:
        return "crash", f"is ended by signal {-result.status}: {result.err[-200:]!r}"
    lost = lost_inputs(line, result, sound)
    if lost:
        return "input lost", f"loses {lost}"
    strangers = set(result.files) - set(sound.files) - set(line.files)
    if strangers:
        return "stranger", f"leaves {sorted(strangers)}"
    if is_undisturbed(result, sound):
        return "undisturbed", None
    if result.status == 0:
        return "wrong success", f"WRONG SUCCESS: {differences(result, sound)}"
    if result.status != 1:
        return "status", f"exits with {result.status}"
    message, finding = check_message(result, sound)
    return (message or "message"), finding


def fonts_in(result):
    return sorted(set(re.findall(rb"/FontName /[A-Z]{6}\+(\S+)", b"".join(result.files.values()))))


def judge_drawing(line, result, sound):
    if isinstance(result.status, str):
        return "hang", result.status
    for name, data in sound.files.items():
        if not name.endswith(".pdf") and result.files.get(name) != data:
            return "files", f"{name} is not whole"
    if result.status == 0 and fonts_in(result) != fonts_in(sound) and result.out == sound.out:
        return "other letters", None
    if result.status == 0 and result.refused == 1 and result.out == sound.out and result.files != sound.files:
        return "letters missing after one refusal", None
    if result.status == 0 and (result.out, result.files) != (sound.out, sound.files):
        return "wrong success", f"WRONG SUCCESS: {differences(result, sound)}"
    return ("right outputs" if result.status == 0 else f"status {result.status}"), None


def judge_limit(line, result, sound):
    if result.status == 127 and not result.out and set(result.files) == set(line.files):
        return "not begun", None
    return judge_own(line, result, sound)


# The passes.

class tally:
    def __init__(self):
        self.findings = []
        self.results = collections.Counter()
        self.lines = 0
        self.requests = 0
        self.refusals = 0


def own_plans(sound):
    return [fault("own", n, how) for how in ["once", "ever"] for n in range(1, sound.own + 1)]


def drawing_plans(sound, at_start):
    """What the libraries ask for when they are loaded comes before any output."""
    step = max(1, (sound.drawing - at_start) // drawing_runs)
    return [fault("drawing", n, how) for how in ["once", "ever"] for n in range(at_start + 1, sound.drawing + 1, step)]


def limit_plans(sound):
    return [fault(kind, size, "limit") for kind, end in limits for size in range(1 << 20, end, limit_step)]


def note_result(found, at, line, planned, result, sound, judge):
    word, finding = judge(line, result, sound)
    found.refusals += result.refused
    found.results[word] += 1
    if finding:
        place = at.place_of(result) if result.place else ""
        found.findings.append(f"{line.name}: {planned.kind},{planned.number},{planned.how} "
                              f"tarvel {' '.join(line.arguments)}  [{place}]: {finding}")


def run_pass(name, at, lines, plans_for, judge, pool):
    found = tally()
    sounds = list(pool.map(at.run, lines))
    jobs = []
    for line, sound in zip(lines, sounds):
        if sound.status not in (0, 1):
            sys.exit(f"memory_faults: {line.name} does not run: {sound}")
        plans = plans_for(sound)
        found.requests += len({(planned.kind, planned.number) for planned in plans})
        jobs += [(line, planned, sound) for planned in plans]
    found.lines = len(lines)
    results = pool.map(lambda job: at.run(job[0], job[1]), jobs)
    for (line, planned, sound), result in zip(jobs, results):
        note_result(found, at, line, planned, result, sound, judge)
    print_pass(name, found)
    return found


def print_pass(name, found):
    print(f"\n== {name}: {found.lines} command lines, {found.requests} requests or limits, "
          f"{sum(found.results.values())} runs, {found.refusals} refusals, {len(found.findings)} findings")
    for word, count in found.results.most_common():
        print(f"{count:7} {word}")
    for finding in found.findings:
        print(f"FINDING {finding}")
    sys.stdout.flush()


def main():
    plain = build(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else root / "build/dev").resolve(), "dev")
    guarded = build(pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else root / "build/asan").resolve(), "asan")
    with tempfile.TemporaryDirectory(prefix="memory_faults_") as folder:
        lines = all_command_lines(*containers(plain.program, pathlib.Path(folder)))

    def named(names):
        return [line for line in lines if line.name in names]

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        at_start = plain.run(named(["version"])[0]).drawing
        passes = [run_pass("own", plain, lines, own_plans, judge_own, pool),
                  run_pass("drawing", plain, named(drawing_command_lines),
                           lambda sound: drawing_plans(sound, at_start), judge_drawing, pool),
                  run_pass("limit", plain, named(drawing_command_lines), limit_plans, judge_limit, pool),
                  run_pass("sanitizer", guarded, named(sanitizer_command_lines), own_plans, judge_own, pool)]
    findings = sum(len(found.findings) for found in passes)
    print(f"\n{findings} findings in {sum(sum(found.results.values()) for found in passes)} runs")
    sys.exit(1 if findings else 0)


if __name__ == "__main__":
    main()
