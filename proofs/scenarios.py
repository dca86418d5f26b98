"""What scripts/proofs compare_programs tries: folders of files, and calls of tarvel in them, made from a seed.

A scenario starts from a sound run or walk (the examples, the simulated tracks of the tests), one of
scripts/proofs hostile_families or a seed of a fuzz target, changes its values, its text or its bytes, adds a course file or a
chain of them, puts something where the outputs go, and calls the program once or twice. The same seed and number give
the same scenario.
"""

import collections
import contextlib
import importlib.machinery
import importlib.util
import math
import os
import pathlib
import random
import re
import struct
import subprocess
import sys
import tempfile

from fault_runs import Link, Twin, put

root = pathlib.Path(__file__).resolve().parent.parent


class Folder(str):
    """An empty folder; the text is not used."""


class Fifo(str):
    """A named pipe that nobody reads or writes."""


# Streams: a shell's redirections, such as "> run.txt 2>&1", or nothing. HERE in an argument stands for the folder.
Call = collections.namedtuple("Call", "arguments time_zone streams")
Scenario = collections.namedtuple("Scenario", "kind files modes calls")

# Rows of text fields, in the order of the columns.
Track = collections.namedtuple("Track", "columns units rows is_tagged")
# Four rows of four, degrees, and (x, y) in metres.
Course = collections.namedtuple("Course", "matrix theta pond")

time_zones = ("UTC", "Europe/Vienna", "Australia/Lord_Howe")


def import_script(name):
    sys.dont_write_bytecode = True
    loader = importlib.machinery.SourceFileLoader(name, str(root / "proofs" / f"{name}.py"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(name, loader))
    sys.modules[name] = module
    loader.exec_module(module)
    return module


def place(folder, scenario):
    """Makes the scenario's files in an empty folder."""
    for name, content in sorted(scenario.files.items(), key=lambda item: isinstance(item[1], Twin)):
        path = os.path.join(folder, name)
        if "/" in name:
            os.makedirs(os.path.dirname(path), exist_ok=True)
        if isinstance(content, Folder):
            os.makedirs(path, exist_ok=True)
        elif isinstance(content, Fifo):
            os.mkfifo(path)
        else:
            put(folder, name, content)
    for name, mode in scenario.modes.items():
        os.chmod(os.path.join(folder, name), mode)


# What scenarios are made from


def read_track(text):
    lines = text.decode().splitlines()
    if not lines[0].startswith("$"):
        return Track(lines[0].split(","), lines[1], [line.split(",") for line in lines[2:]], False)
    columns = next(line for line in lines if line.startswith("$COL,GNSS,")).split(",")[2:]
    return Track(columns, "", [line.split(",")[1:] for line in lines if line.startswith("$GNSS,")], True)


def read_course(text):
    numbers = r"[-+.\deE]+"
    matrix = [[float(n) for n in re.findall(numbers, line)] for line in re.findall(r"^\[(.*)\]", text, re.M)]
    theta = re.search(rf"^theta = *({numbers})", text, re.M)
    pond = re.findall(rf"\( *({numbers}), *({numbers})\)", re.sub(r"//.*", "", text))
    return Course(matrix, float(theta.group(1)) if theta else 0.0, [(float(x), float(y)) for x, y in pond])


class Sources:
    """Everything a scenario starts from. The program makes the containers."""

    def __init__(self, program):
        self.families = import_script("hostile_families").families
        example_course = read_course((root / "examples" / "matrix.txt").read_text())
        self.runs, self.walks = {}, {}
        for path in sorted((root / "examples").glob("*.csv")):
            if path.stem == "walk":
                self.walks["example walk"] = read_track(path.read_bytes())
            else:
                self.runs["example " + path.stem] = (read_track(path.read_bytes()), example_course)
        with tempfile.TemporaryDirectory(prefix="tarvel_scenarios_") as name:
            same_bytes = import_script("same_bytes")
            folder = same_bytes.simulated_tracks(pathlib.Path(name))
            for path in sorted(folder.glob("*.csv")):
                course = path.with_suffix(".txt")
                track = read_track(path.read_bytes())
                if course.exists():
                    self.runs["simulated " + path.stem] = (track, read_course(course.read_text()))
                else:
                    self.walks["simulated " + path.stem] = track
        self.run_containers = [
            (name, made, course)
            for name, (track, course) in self.runs.items()
            if (made := container_of(program, ["-d", "run.csv"], track, course))
        ]
        made_of_walks = (container_of(program, ["-d", "-g", "run.csv"], track, None) for track in self.walks.values())
        self.walk_containers = [made for made in made_of_walks if made]
        with tempfile.TemporaryDirectory(prefix="tarvel_scenarios_") as name:
            inputs = same_bytes.fuzz_inputs(pathlib.Path(name))
            self.seeds = [(file.parent.name, file.read_bytes()) for file in inputs]


def container_of(program, arguments, track, course):
    """What `-d` makes of a track; nothing when its analysis fails."""
    with tempfile.TemporaryDirectory(prefix="tarvel_scenarios_") as folder:
        put(folder, "run.csv", text_of(track))
        if course:
            put(folder, "matrix.txt", text_of_course(course))
        subprocess.run([program, *arguments], cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=60)
        with contextlib.suppress(FileNotFoundError):
            return pathlib.Path(folder, "run.tvl").read_bytes()
    return b""


# Tracks


def text_of(track):
    columns = ",".join(track.columns)
    if track.is_tagged:
        lines = ["$VER,1", "$COL,GNSS," + columns, "$DATA", *("$GNSS," + ",".join(row) for row in track.rows)]
    else:
        lines = [columns, track.units, *(",".join(row) for row in track.rows)]
    return ("\n".join(lines) + "\n").encode()


def column(track, name):
    return track.columns.index(name) if name in track.columns else None


def change_column(track, name, change):
    i = column(track, name)
    if i is None:
        return
    for row in track.rows:
        if i < len(row):
            with contextlib.suppress(ValueError):
                row[i] = change(float(row[i]))


def milliseconds(text):
    """Of the day."""
    return round(1000 * (3600 * int(text[11:13]) + 60 * int(text[14:16]) + float(text[17:-1])))


def change_clock(track, change, digits=3):
    """change(milliseconds of the day, row number) -> milliseconds of the day."""
    i = column(track, "time")
    if i is None:
        return
    for k, row in enumerate(track.rows):
        with contextlib.suppress(ValueError, IndexError, OverflowError):
            seconds, ms = divmod(int(change(milliseconds(row[i]), k)) % 86_400_000, 1000)
            fraction = f".{ms:03}"[: digits + 1] if digits else ""
            row[i] = f"{row[i][:11]}{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}{fraction}Z"


def turn_about_the_axis(track, course, degrees):
    """To another longitude, with the course: still sound."""
    change_column(track, "lon", lambda lon: f"{(lon + degrees + 180) % 360 - 180:.7f}")
    s, c = math.sin(math.radians(degrees)), math.cos(math.radians(degrees))
    matrix = [[c * row[0] - s * row[1], s * row[0] + c * row[1], row[2], row[3]] for row in course.matrix]
    return track, course._replace(matrix=matrix)


def mirror(track, course, angle, speed, axis):
    """East to west or north to south, with the course: a turn to the left becomes one to the right."""
    change_column(track, angle, lambda x: f"{-x:.7f}")
    change_column(track, speed, lambda v: f"{-v:.2f}")
    matrix = [[(-x if i == axis else x) for i, x in enumerate(row)] for row in course.matrix]
    matrix[1] = [-x for x in matrix[1]]
    return track, Course(matrix, -course.theta, [(x, -y) for x, y in course.pond])


def shift_height(track, course, metres):
    change_column(track, "hMSL", lambda h: f"{h + metres:.3f}")
    matrix = [list(row) for row in course.matrix]
    matrix[2][3] -= metres
    return track, course._replace(matrix=matrix)


def move(rng, track, course):
    """A sound run or walk stays sound."""
    kind = rng.randrange(5)
    if kind == 0:
        return turn_about_the_axis(track, course, rng.choice((0.001, 90.0, rng.uniform(-180, 180))))
    if kind == 1:
        return mirror(track, course, "lon", "velE", 1)
    if kind == 2:
        return mirror(track, course, "lat", "velN", 2)
    if kind == 3:
        return shift_height(track, course, rng.choice((-400.0, 0.125, rng.uniform(-900, 3000))))
    year = rng.choice((1970, 2000, 2024, rng.randrange(1900, 2200)))
    date = f"{year}-{rng.randrange(1, 13):02}-{rng.randrange(1, 32):02}"
    hours = rng.randrange(24) * 3_600_000 + rng.choice((0, 1, rng.randrange(3_600_000)))
    change_clock(track, lambda ms, _: ms + hours, rng.choice((2, 3, 3)))
    i = column(track, "time")
    for row in track.rows:
        row[i] = date + row[i][10:]
    return track, course


# A table of what may be wrong with a track's values. Each changes the rows in place or returns another track.


def noisy(rng, track):
    def blur(size, digits):
        return lambda x: f"{x + size * (rng.random() - 0.5):.{digits}f}"

    speeds = (("velN", 0.5, 2), ("velE", 0.5, 2), ("velD", 0.5, 2))
    for name, size, digits in (("lat", 1e-6, 7), ("hMSL", 0.5, 3), *speeds):
        size *= rng.choice((0, 0.1, 1, 10))
        if size:
            change_column(track, name, blur(size, digits))


def scaled(rng, track):
    name = rng.choice(("hMSL", "velN", "velE", "velD", "velD", "hAcc", "sAcc", "lat", "lon"))
    factor = rng.choice((0, -1, 0.5, 0.9, 1.1, 2, 10, 1e5, 1e300))
    change_column(track, name, lambda x: f"{x * factor:.7g}")


def inaccurate(rng, track):
    name = rng.choice(("hAcc", "vAcc", "sAcc", "numSV"))
    i, value = column(track, name), rng.choice(("0", "3", "2.999", "3.0000001", "9.9", "nan", "4", "6", "255", "256"))
    for row in some_stretch(rng, track.rows) if i is not None else ():
        row[i : i + 1] = [value]


def some_stretch(rng, rows):
    first = rng.randrange(len(rows) + 1)
    return rows[first : first + rng.choice((1, 5, 50, len(rows)))]


def cut_ends(rng, track):
    n = len(track.rows)
    first = rng.choice((0, rng.randrange(n), rng.randrange(1 + n // 4)))
    last = rng.choice((n, rng.randrange(n + 1), n - rng.randrange(1 + n // 4)))
    return track._replace(rows=track.rows[first:last])


def with_gap(rng, track):
    first = rng.randrange(len(track.rows))
    del track.rows[first : first + rng.choice((1, 2, 10, 50))]


def thinned_here_and_there(rng, track):
    share = rng.choice((0.05, 0.5, 0.9))
    track.rows[:] = [row for row in track.rows if rng.random() > share]


def doubled_rows(rng, track):
    first = rng.randrange(len(track.rows))
    part = [list(row) for row in track.rows[first : first + rng.choice((1, 1, 3, 40))]]
    at = rng.choice((first, rng.randrange(len(track.rows) + 1)))
    track.rows[at:at] = part


def shuffled(rng, track):
    if rng.random() < 0.3:
        track.rows.reverse()
        return
    for _ in range(rng.choice((1, 10, len(track.rows)))):
        i, j = rng.randrange(len(track.rows)), rng.randrange(len(track.rows))
        track.rows[i], track.rows[j] = track.rows[j], track.rows[i]


def equal_times(rng, track):
    step = rng.choice((300, 400, 1000, 5000, 86_400_000))
    change_clock(track, lambda ms, _: ms // step * step)


def stepping_clock(rng, track):
    at, step = rng.randrange(len(track.rows)), rng.choice((-3_600_000, -1000, -1, 1, 60_000, 3_600_000, 43_200_000))
    change_clock(track, lambda ms, k: ms + step if k >= at else ms)


def other_clock_rate(rng, track):
    factor = rng.choice((0, 0.1, 0.5, 0.9, 1.1, 3, -1))
    start = 36_000_000
    change_clock(track, lambda ms, _: start + factor * (ms - start))


def jittering_clock(rng, track):
    size = rng.choice((1, 40, 400))
    change_clock(track, lambda ms, _: ms + rng.randrange(size))


values = (
    *("nan", "-nan", "inf", "-inf", "1e306", "-2e307", "1e308", "-1e308", "1e400", "-1e400", "5e-324", "1e-310", ""),
    *(" ", "abc", "0x1p3", "0x10", "+5", " 7", "7 ", "-0", "-", ".", "1e", "1e+", "00012.5", ".5", "5.", "1.5.2"),
    *("1" * 400, "0." + "0" * 330 + "1", "123456789012345678901234567890", "4294967296", "-1", "255", "256", "1e19"),
    *("infinity", "nan(7)", '"3"', "0.1234567890123456789012345678901234567890", "9007199254740993", "1e22", "1e23"),
    *("\0", "1;5", "\t3"),
)
times = (
    *("", "2026", "2026-05-16", "2026-05-16T12:00:00", "2026-13-40T25:61:61.5Z", "0000-00-00T00:00:00Z", "1e30", "nan"),
    *("2026-05-16T12:00:60.999Z", "-2026-05-16T12:00:00.0Z", "292277026-12-04T15:30:08Z", "2026-05-16T12:00:nanZ"),
    *("2026-03-29T02:30:00.00Z", "2026-10-25T02:30:00.00Z", "1582-10-10T00:00:00.00Z", "2026-05-16 12:00:00.00Z"),
    *("2026-05-16T12:00:1e30Z", "2147483648-01-01T00:00:00Z", "2026-5-6T1:2:3Z", "2026-05-16T12:00:00.0009Z"),
)


def hostile_values(rng, track):
    for _ in range(rng.choice((1, 1, 1, 4, 30))):
        row = rng.choice(track.rows)
        i = rng.randrange(len(row))
        is_time = i < len(track.columns) and track.columns[i] == "time"
        row[i] = rng.choice(times if is_time and rng.random() < 0.8 else values)


def hostile_column(rng, track):
    i, value = rng.randrange(len(track.columns)), rng.choice(values)
    for row in some_stretch(rng, track.rows):
        row[i : i + 1] = [value]


def odd_rows(rng, track):
    for _ in range(rng.choice((1, 1, 5))):
        row = rng.choice(track.rows)
        kind = rng.randrange(4)
        if kind == 0:
            del row[rng.randrange(len(row)) :]
        elif kind == 1:
            row += ["7"] * rng.choice((1, 5, 60))
        elif kind == 2:
            row[:] = [""]
        else:
            row.insert(rng.randrange(len(row) + 1), rng.choice(values))
        if not row:
            row[:] = [""]


def other_columns(rng, track):
    """Missing, unknown, twice, in another order, or misspelt."""
    order = list(range(len(track.columns)))
    columns = list(track.columns)
    kind = rng.randrange(5)
    if kind == 0:
        del order[rng.randrange(len(order))]
    elif kind == 1:
        rng.shuffle(order)
    elif kind == 2:
        order.insert(rng.randrange(len(order) + 1), rng.randrange(len(order)))
    elif kind == 3:
        columns.append(rng.choice(("unknown", "Lat", "", "heading", "x" * 120, "velD ", "é", "temperature")))
        for row in track.rows:
            row.append(rng.choice(("1", "", "nan")))
        order.insert(rng.randrange(len(order) + 1), len(order))
    else:
        columns[rng.randrange(len(columns))] = rng.choice(("LAT", "lat", "time", "", "hmsl", "vel N"))
    rows = [[row[i] for i in order if i < len(row)] or [""] for row in track.rows]
    return track._replace(columns=[columns[i] for i in order], rows=rows)


faults = (
    *(noisy, scaled, inaccurate, cut_ends, with_gap, thinned_here_and_there, doubled_rows, shuffled, equal_times),
    *(stepping_clock, other_clock_rate, jittering_clock, hostile_values, hostile_values, hostile_column, odd_rows),
    other_columns,
)


def thin(rng, track, wanted):
    """About so many rows, at an even rate."""
    return track._replace(rows=[list(row) for row in track.rows[:: max(1, round(len(track.rows) / wanted))]])


# Bytes


def damaged(rng, content):
    """Cut, changed, lost or doubled bytes; other line ends."""
    kind = rng.randrange(8)
    at = rng.randrange(len(content) + 1)
    if kind == 0:
        return content[:at]
    if kind == 1:
        # Near the beginning, where headers are.
        return content[: rng.randrange(min(len(content), 200) + 1)]
    if kind in (2, 3):
        changed = bytearray(content)
        for _ in range(rng.choice((1, 3, 20)) if changed else 0):
            nearest = len(changed) if kind == 2 else min(len(changed), 200)
            changed[rng.randrange(nearest)] = rng.choice((0, 10, 13, 44, 255, rng.randrange(256)))
        return bytes(changed)
    if kind == 4:
        return content[:at] + content[at + rng.choice((1, 7, 70, 500)) :]
    if kind == 5:
        return content[:at] + content[rng.randrange(len(content) + 1) :][: rng.choice((1, 70, 500))] + content[at:]
    if kind == 6:
        return content.replace(b"\n", rng.choice((b"\r\n", b"\r", b"\n\r", b"\n\n", b",\n", b" \n")))
    before, behind = rng.choice((b"\xef\xbb\xbf", b"\n", b"\0", b" ", b"$")), rng.choice((b"", b"\n\n", b"\x1a"))
    return before + content.rstrip(b"\n") + behind


def damaged_container(rng, content):
    """Of the right form, mostly: fields of the headers and whole samples change."""
    kind = rng.randrange(4)
    if kind == 0 or len(content) < 200:
        return damaged(rng, content)
    changed = bytearray(content)
    if kind == 1:
        at = rng.choice((0, 4, 6, 13, 14, 16, 18, 26, 29, 30, 38, 41, 42, 44, 46, 48, 49))
        changed[at] = rng.choice((0, 1, 2, 255, changed[at] + 1 & 255, changed[at] - 1 & 255))
    elif kind == 2:
        for _ in range(rng.choice((1, 3, 100))):
            at = rng.randrange(50, len(changed) - 8)
            value = rng.choice((math.nan, math.inf, -math.inf, 1e306, 5e-324, 0.0, -0.0))
            changed[at : at + 8] = struct.pack(">d", value)
    else:
        at = 50 + 70 * rng.randrange((len(changed) - 50) // 70)
        changed[at : at + 8] = struct.pack(">q", rng.choice((0, -1, 2**63 - 1, -(2**63), 10**12, 10**15)))
    return bytes(changed)


# Course files


def text_of_course(course):
    text = "".join("[%12.9f, %12.9f, %12.9f, %12.3f]\n" % tuple(row) for row in course.matrix)
    if course.theta:
        text += f"\ntheta = {course.theta:12.8f}\n"
    return (text + "".join(f"({x:6.1f}, {y:6.1f}),\n" for x, y in course.pond)).encode()


def some_course(rng, course):
    """The same frame, with or without the rest."""
    if rng.random() < 0.3:
        course = course._replace(theta=rng.choice((0.0, -4.99707438, 3.5, 180.0, rng.uniform(-9, 9))))
    if rng.random() < 0.3:
        size = rng.choice((0, 1, 2, 4, 30, 600))
        pond = [(40 + 30 * math.cos(k), 20 * math.sin(k)) for k in range(size)]
        course = course._replace(pond=pond[: rng.randrange(size + 1)] + rng.choice(([], [(0.0, 0.0)])) + pond)
    return text_of_course(course)


odd_lines = (
    *(b"", b"//", b"// " + b"long " * 30, b"theta = nan", b"theta = 1e308", b"theta =", b"theta = x", b"[1, 2, 3]"),
    *(b"hello", b"[nan, inf, 0, 1e308]", b"[0, 0, 0, 1]", b"(1, 2), (3, 4), (5, 6), (7, 8), (9, 10)", b"(1, 2), (3"),
    *(b"(1e39, -1e39)", b"(nan, inf)", b"(0, 0)", b"( 1, 2 )", b"(" + b"1" * 120 + b", 2)", b" (1, 2)", b"* other.txt"),
    *(b"1 - ", b"* - ", b"\0"),
)


def odd_course(rng, text):
    if rng.random() < 0.4:
        return damaged(rng, text)
    lines = text.split(b"\n")
    for _ in range(rng.choice((1, 1, 3))):
        lines.insert(rng.randrange(len(lines) + 1), rng.choice(odd_lines))
    return b"\n".join(lines)


def index_line(rng, run_name, target):
    name = os.path.basename(run_name) if rng.random() < 0.2 else run_name
    prefix = name[: rng.randrange(1, len(name) + 1)].split(" ")[0] if name[:1].isdigit() and rng.random() < 0.7 else "*"
    target = f'"{target}"' if rng.random() < 0.15 else target
    before = rng.choice(("", "", "", "// an index\n", "9999 - nothing.txt\n", "\n", "0 - nogate\n"))
    return (f"{before}{prefix} - {target}" + rng.choice(("\n", "\n", "\r\n", ""))).encode()


def add_index(rng, files, run_name, course_text):
    """matrix.txt leads elsewhere: on to the course, through many files, round in a ring, nowhere, or to an output."""
    kind = rng.choice(("one", "chain", "ring", "nogate", "missing", "output", "output", "folder", "odd"))
    stem = run_name[:-4]
    if kind == "nogate":
        files["matrix.txt"] = index_line(rng, run_name, "nogate")
        return
    if kind == "missing":
        files["matrix.txt"] = index_line(rng, run_name, rng.choice(("none.txt", "no/where.txt", "", " ", "x" * 120)))
        return
    if kind == "output":
        outputs = [stem + end for end in (".kml", ".txt", ".pdf", ".tvl", ".txt.orig")]
        targets = [rng.choice((*outputs, "coord.txt", run_name))]
    elif kind == "folder":
        targets = [rng.choice(("sub/course.txt", "./course.txt", "sub/../course.txt", "HERE/course.txt", "a b.txt"))]
        files["sub"] = Folder()
    elif kind == "odd":
        targets = ["course.txt"]
        course_text = odd_course(rng, course_text)
    else:
        lengths = {"one": (1,), "chain": (1, 2, 3, 20, 62, 63, 64, 65, 66, 80), "ring": (1, 2, 3, 7, 63, 64, 65)}
        targets = [f"{k}.txt" for k in range(rng.choice(lengths[kind]))]
    names = ["matrix.txt", *targets]
    for name, target in zip(names, targets):
        files.setdefault(name, index_line(rng, run_name, target))
    if kind == "ring":
        files[names[-1]] = index_line(rng, run_name, rng.choice((names[0], names[len(names) // 2], names[-1])))
    elif "HERE" not in names[-1] and (kind != "chain" or rng.random() < 0.8):
        files.setdefault(os.path.normpath(names[-1]), course_text)
    elif kind != "chain":
        files["course.txt"] = course_text


def add_course(rng, files, run_name, course):
    kind = rng.random()
    if kind < 0.55:
        files["matrix.txt"] = some_course(rng, course)
    elif kind < 0.78:
        add_index(rng, files, run_name, some_course(rng, course))
    elif kind < 0.9:
        files["matrix.txt"] = odd_course(rng, some_course(rng, course))
    elif kind < 0.95:
        files["sound.txt"] = some_course(rng, course)
        links = (Link("sound.txt"), Twin("sound.txt"), Link("none.txt"), Link("matrix.txt"), Link(run_name))
        files["matrix.txt"] = rng.choice((*links, Folder(), Fifo()))


# Names and what lies in the way

plain_names = ("run.csv",) * 8 + ("117-2.csv", "1run.csv")
odd_names = (
    *("run.txt", "run.kml", "run.pdf", "run.tvl", "matrix.txt", "matrix.csv", "coord.txt", "coord.csv", "a b.csv"),
    *("run", "x", ".csv", "sub/run.csv", "./run.csv", "HERE/run.csv", "run.CSV", "é.csv", "1run.txt"),
    *("n" * 200 + ".csv", "csv", "run.csv.orig", "run.tar.gz", "sub/run.txt", "%s.csv", "7.csv", "-run.csv"),
)


plain_walks = ("walk.csv",)
odd_walks = ("walk.txt", "walk.kml", "walk.tvl", "matrix.txt", "matrix.csv", "sub/walk.csv", "run.csv", "w")


def some_name(rng, taken=()):
    name = rng.choice(plain_names if rng.random() < 0.8 else odd_names)
    return name if name.replace("HERE/", "") not in taken else "other.csv"


def block_outputs(rng, files, modes, names, inputs):
    """Something lies where an output goes."""
    for name in rng.sample(names, rng.choice((1, 1, 2, len(names)))):
        if name in files:
            if isinstance(files[name], bytes):
                modes[name] = rng.choice((0o444, 0o600, 0o000, 0o640))
            continue
        given = rng.choice(inputs)
        content = rng.choice(
            (
                *(b"an earlier output\n", b"", Folder(), Fifo(), Twin(given), Twin(given), Link(given), Link(given)),
                *map(Link, (os.path.basename(name), "none.txt", "no/where.txt", "/dev/full", "/dev/null")),
            )
        )
        if isinstance(content, Link) and not content.startswith("/") and "/" in name:
            content = Link("../" + content)
        if isinstance(content, Twin) and not isinstance(files.get(content), bytes):
            content = b"an earlier output\n"
        files[name] = content
        if isinstance(content, bytes) and rng.random() < 0.5:
            modes[name] = rng.choice((0o444, 0o600, 0o000, 0o640))
        if isinstance(content, Folder) and rng.random() < 0.5:
            files[name + "/inside.txt"] = b"kept\n"
        if rng.random() < 0.2:
            files.setdefault(name + ".orig", b"taken\n")


all_streams = (
    *("> {}", ">> {}", "> {} 2>&1", "2> {}", "2>> {}", "> {0} 2> {0}", "< {}", ">&-", "2>&-", "<&-", ">&- 2>&- <&-"),
    *("> /dev/full", "> /dev/full 2>&1", "> log.txt 2>&1"),
)


def some_streams(rng, names):
    """What a shell makes of the standard streams."""
    return rng.choice(all_streams).format(rng.choice(names)) if rng.random() < 0.07 else ""


def stem_of(name):
    return name.replace("HERE/", "")[:-4]


def outputs_of(name, is_walk):
    stem = stem_of(name)
    others = ["matrix.txt"] if is_walk else [stem + ".pdf", "coord.txt"]
    return [stem + ".kml", stem + ".txt", stem + ".tvl", *others]


# Command lines

times_aloft = ("4.5", "2", "0", "-1", "1e9", "1e30", "nan", "abc", "", "2.0005", "4.5x", "inf", "0x3")
bad_command_lines = (
    *([], ["-v"], ["-x"], ["-t"], ["-g"], ["-i", "-g", "run.csv"], ["a", "b"], ["none.csv"], ["-m", "-i", "nothing"]),
    *(["--"], ["-g", ".csv"], ["-t", "nan", "-i", "none.csv"], ["-dv"], ["-g", ""], [""], ["-"], ["--help"], ["-vx"]),
    *(["-g", "none"], ["-di"], ["run.csv", "-v"], ["run.csv", "run.csv"], ["-i", "-m", "-d"], ["-t", "5"], ["-p"]),
    *(["."], ["-g", "."], ["/"], ["-g", "x.csv", "-g", "y.csv"], ["-h"], ["-?"], ["run.csv/"], ["n" * 5000]),
    ["-g", "/dev/null", "/dev/null"],
)


def some_options(rng, is_run):
    shares = {"-d": 0.3, "-m": 0.25, "-i": 0.2 if is_run else 0.02}
    options = [flag for flag, share in shares.items() if rng.random() < share]
    if rng.random() < 0.15:
        options += rng.choice((["-t", rng.choice(times_aloft)], ["-t" + rng.choice(times_aloft[:-1])]))
    if rng.random() < 0.05:
        options.append(rng.choice(("-p", "-mm", "-x", "-v")))
    rng.shuffle(options)
    return options


def operands(name):
    return ["--", name] if name.startswith("-") else [name]


# Scenarios


def some_track(rng, track, is_sound, course):
    track = thin(rng, track, rng.choice((150, 400, 600, 1200)))
    if course is not None and rng.random() < 0.5:
        track, course = move(rng, track, course)
    if rng.random() < 0.2:
        track = track._replace(is_tagged=not track.is_tagged)
    for _ in range(0 if is_sound else rng.choice((1, 1, 2, 3))):
        if track.rows:
            track = rng.choice(faults)(rng, track) or track
    content = text_of(track)
    if not is_sound and rng.random() < 0.25:
        content = damaged(rng, content)
    return content, course


def some_run(rng, sources):
    """The bytes of a run and its course."""
    is_sound = rng.random() < 0.35
    if rng.random() < 0.12:
        _, content, course = rng.choice(sources.run_containers)
        return (content if is_sound else damaged_container(rng, content)), course
    track, course = rng.choice(list(sources.runs.values()))
    return some_track(rng, track, is_sound, course)


def some_walk(rng, sources):
    is_sound = rng.random() < 0.5
    if rng.random() < 0.15:
        content = rng.choice(sources.walk_containers)
        return content if is_sound else damaged_container(rng, content)
    return some_track(rng, rng.choice(list(sources.walks.values())), is_sound, None)[0]


def finish(rng, kind, files, modes, arguments, names, inputs):
    """Obstacles, streams and, now and then, a second call over what the first has left."""
    if rng.random() < 0.22:
        block_outputs(rng, files, modes, names, inputs)
    if rng.random() < 0.03:
        modes["."] = 0o555
    time_zone = rng.choice(time_zones)
    # A shell that opens a pipe would wait for ever.
    redirected = [name for name in (*names, *inputs) if not isinstance(files.get(name), Fifo)]
    calls = [Call(arguments, time_zone, some_streams(rng, redirected))]
    if rng.random() < 0.06:
        other = [*(word for word in arguments if word != "-i"), *some_options(rng, True)]
        calls.append(Call(rng.choice((arguments, other)), time_zone, ""))
    return Scenario(kind, files, modes, calls)


def run_scenario(rng, sources):
    name = some_name(rng)
    content, course = some_run(rng, sources)
    own = name.replace("HERE/", "")
    files = {own: content}
    add_course(rng, files, name, course)
    return finish(rng, "run", files, {}, [*some_options(rng, True), *operands(name)], outputs_of(name, False), [own])


def walk_scenario(rng, sources):
    walk = rng.choice(plain_walks if rng.random() < 0.5 else odd_walks)
    files = {walk: some_walk(rng, sources)}
    inputs, names = [walk], outputs_of(walk, True)
    arguments = ["-g", walk, *some_options(rng, False)]
    if rng.random() < 0.4:
        arguments.insert(0, "-p")
    if rng.random() < 0.4:
        run = rng.choice((some_name(rng, files), stem_of(walk) + ".txt", stem_of(walk) + ".log", walk))
        own = run.replace("HERE/", "")
        files.setdefault(own, some_run(rng, sources)[0])
        arguments += operands(run)
        inputs, names = [walk, own], names + outputs_of(run, False)
    if rng.random() < 0.3:
        files.setdefault("matrix.txt", b"// an earlier course\n")
    return finish(rng, "walk", files, {}, arguments, names, inputs)


def family_scenario(rng, sources):
    name = rng.choice(sorted(sources.families))
    with tempfile.TemporaryDirectory(prefix="tarvel_scenarios_") as path:
        folder = pathlib.Path(path)
        arguments = sources.families[name](folder, rng.choice((20, 60, 150, 400)))
        files = {file.name: file.read_bytes() for file in sorted(folder.iterdir())}
    names, inputs = outputs_of(arguments[-1], False), [arguments[-1]]
    return finish(rng, f"family {name}", files, {}, [*some_options(rng, False), *arguments], names, inputs)


def seed_scenario(rng, sources):
    target, content = rng.choice(sources.seeds)
    if rng.random() < 0.5:
        content = damaged(rng, content)
    if target == "swoop_analysis":
        content = content[1:]  # the first byte is the target's own
    track, course = rng.choice(list(sources.runs.values()))
    files = {"run.csv": content, "matrix.txt": text_of_course(course)}
    arguments = rng.choice((["run.csv"], ["-g", "run.csv"], ["-p", "-d", "-g", "run.csv"], ["-d", "-i", "run.csv"]))
    if target == "course_file":
        files = {"run.csv": text_of(thin(rng, track, 300)), "matrix.txt": content}
        arguments = ["run.csv"]
    arguments = [*arguments, *some_options(rng, False)]
    return finish(rng, f"seed of {target}", files, {}, arguments, outputs_of("run.csv", False), ["run.csv"])


def command_line_scenario(rng, sources):
    track, course = sources.runs["simulated small"]
    files = {"run.csv": text_of(track), "matrix.txt": text_of_course(course)}
    arguments = rng.choice(bad_command_lines)
    if rng.random() < 0.5:
        arguments = [*arguments, *rng.choice(([], ["run.csv"], *bad_command_lines))]
    if rng.random() < 0.3:
        rng.shuffle(arguments := list(arguments))
    return finish(rng, "command line", files, {}, arguments, outputs_of("run.csv", False), ["run.csv"])


# And in how many of a hundred scenarios.
kinds = {run_scenario: 55, walk_scenario: 22, family_scenario: 8, seed_scenario: 8, command_line_scenario: 7}


def scenario(sources, seed, number):
    rng = random.Random(f"{seed}/{number}")
    (kind,) = rng.choices(list(kinds), kinds.values())
    return kind(rng, sources)
