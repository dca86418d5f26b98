"""Reads tracks and courses for the scenarios, moves them, adds faults, damages bytes, and writes them."""
from __future__ import annotations

import contextlib
import math
import random
import re
import struct
from collections.abc import Callable, Sequence
from typing import NamedTuple

from proofs import tvl

Rng = random.Random


class Track(NamedTuple):
    """Rows of text fields, in the order of the columns."""
    columns: list[str]
    units: str
    rows: list[list[str]]
    is_tagged: bool


class Course(NamedTuple):
    matrix: list[list[float]]  # four rows of four
    theta: float  # degrees
    pond: list[tuple[float, float]]  # metres


def read_track(text: bytes) -> Track:
    lines = text.decode().splitlines()
    if not lines[0].startswith("$"):
        return Track(lines[0].split(","), lines[1], [line.split(",") for line in lines[2:]], False)
    columns = next(line for line in lines if line.startswith("$COL,GNSS,")).split(",")[2:]
    return Track(columns, "", [line.split(",")[1:] for line in lines if line.startswith("$GNSS,")], True)


def read_course(text: str) -> Course:
    numbers = r"[-+.\deE]+"
    matrix = [[float(n) for n in re.findall(numbers, line)] for line in re.findall(r"^\[(.*)\]", text, re.M)]
    theta = re.search(rf"^theta = *({numbers})", text, re.M)
    pond = re.findall(rf"\( *({numbers}), *({numbers})\)", re.sub(r"//.*", "", text))
    return Course(matrix, float(theta[1]) if theta else 0.0, [(float(x), float(y)) for x, y in pond])


def text_of_course(course: Course) -> bytes:
    text = "".join("[%12.9f, %12.9f, %12.9f, %12.3f]\n" % tuple(row) for row in course.matrix)
    if course.theta:
        text += f"\ntheta = {course.theta:12.8f}\n"
    return (text + "".join(f"({x:6.1f}, {y:6.1f}),\n" for x, y in course.pond)).encode()


# Tracks


def text_of(track: Track) -> bytes:
    columns = ",".join(track.columns)
    if track.is_tagged:
        lines = ["$VER,1", "$COL,GNSS," + columns, "$DATA", *("$GNSS," + ",".join(row) for row in track.rows)]
    else:
        lines = [columns, track.units, *(",".join(row) for row in track.rows)]
    return ("\n".join(lines) + "\n").encode()


def column(track: Track, name: str) -> int | None:
    return track.columns.index(name) if name in track.columns else None


def change_column(track: Track, name: str, change: Callable[[float], str]) -> None:
    i = column(track, name)
    if i is None:
        return
    for row in track.rows:
        if i < len(row):
            with contextlib.suppress(ValueError):
                row[i] = change(float(row[i]))


def milliseconds(text: str) -> int:
    """Of the day."""
    return round(1000 * (3600 * int(text[11:13]) + 60 * int(text[14:16]) + float(text[17:-1])))


def change_clock(track: Track, change: Callable[[int, int], float], digits: int = 3) -> None:
    """change(milliseconds of the day, row number) -> milliseconds of the day."""
    i = column(track, "time")
    if i is None:
        return
    for k, row in enumerate(track.rows):
        with contextlib.suppress(ValueError, IndexError, OverflowError):
            seconds, ms = divmod(int(change(milliseconds(row[i]), k)) % 86_400_000, 1000)
            fraction = f".{ms:03}"[: digits + 1] if digits else ""
            row[i] = f"{row[i][:11]}{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}{fraction}Z"


def turn_about_the_axis(track: Track, course: Course, degrees: float) -> tuple[Track, Course]:
    """Moves track and course to another longitude; the track stays valid."""
    change_column(track, "lon", lambda lon: f"{(lon + degrees + 180) % 360 - 180:.7f}")
    s, c = math.sin(math.radians(degrees)), math.cos(math.radians(degrees))
    matrix = [[c * row[0] - s * row[1], s * row[0] + c * row[1], row[2], row[3]] for row in course.matrix]
    return track, course._replace(matrix=matrix)


def mirror(track: Track, course: Course, angle: str, speed: str, axis: int) -> tuple[Track, Course]:
    """Mirrors track and course, east to west or north to south: a left turn becomes a right turn."""
    change_column(track, angle, lambda x: f"{-x:.7f}")
    change_column(track, speed, lambda v: f"{-v:.2f}")
    matrix = [[(-x if i == axis else x) for i, x in enumerate(row)] for row in course.matrix]
    matrix[1] = [-x for x in matrix[1]]
    return track, Course(matrix, -course.theta, [(x, -y) for x, y in course.pond])


def shift_height(track: Track, course: Course, metres: float) -> tuple[Track, Course]:
    change_column(track, "hMSL", lambda h: f"{h + metres:.3f}")
    matrix = [list(row) for row in course.matrix]
    matrix[2][3] -= metres
    return track, course._replace(matrix=matrix)


def move(rng: Rng, track: Track, course: Course) -> tuple[Track, Course]:
    """Moves a run or walk with its course; a valid one stays valid."""
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
    i = track.columns.index("time")
    for row in track.rows:
        row[i] = date + row[i][10:]
    return track, course


# Faults in the values of a track. Each function changes the rows or returns another track.


def noisy(rng: Rng, track: Track) -> None:
    def blur(size: float, digits: int) -> Callable[[float], str]:
        return lambda x: f"{x + size * (rng.random() - 0.5):.{digits}f}"

    speeds = (("velN", 0.5, 2), ("velE", 0.5, 2), ("velD", 0.5, 2))
    for name, size, digits in (("lat", 1e-6, 7), ("hMSL", 0.5, 3), *speeds):
        size *= rng.choice((0, 0.1, 1, 10))
        if size:
            change_column(track, name, blur(size, digits))


def scaled(rng: Rng, track: Track) -> None:
    name = rng.choice(("hMSL", "velN", "velE", "velD", "velD", "hAcc", "sAcc", "lat", "lon"))
    factor = rng.choice((0, -1, 0.5, 0.9, 1.1, 2, 10, 1e5, 1e300))
    change_column(track, name, lambda x: f"{x * factor:.7g}")


def inaccurate(rng: Rng, track: Track) -> None:
    name = rng.choice(("hAcc", "vAcc", "sAcc", "numSV"))
    i, value = column(track, name), rng.choice(("0", "3", "2.999", "3.0000001", "9.9", "nan", "4", "6", "255", "256"))
    if i is not None:
        for row in some_stretch(rng, track.rows):
            row[i:i + 1] = [value]


def some_stretch(rng: Rng, rows: list[list[str]]) -> list[list[str]]:
    first = rng.randrange(len(rows) + 1)
    return rows[first : first + rng.choice((1, 5, 50, len(rows)))]


def cut_ends(rng: Rng, track: Track) -> Track:
    n = len(track.rows)
    first = rng.choice((0, rng.randrange(n), rng.randrange(1 + n // 4)))
    last = rng.choice((n, rng.randrange(n + 1), n - rng.randrange(1 + n // 4)))
    return track._replace(rows=track.rows[first:last])


def with_gap(rng: Rng, track: Track) -> None:
    first = rng.randrange(len(track.rows))
    del track.rows[first : first + rng.choice((1, 2, 10, 50))]


def thinned_here_and_there(rng: Rng, track: Track) -> None:
    share = rng.choice((0.05, 0.5, 0.9))
    track.rows[:] = [row for row in track.rows if rng.random() > share]


def doubled_rows(rng: Rng, track: Track) -> None:
    first = rng.randrange(len(track.rows))
    part = [list(row) for row in track.rows[first : first + rng.choice((1, 1, 3, 40))]]
    at = rng.choice((first, rng.randrange(len(track.rows) + 1)))
    track.rows[at:at] = part


def shuffled(rng: Rng, track: Track) -> None:
    if rng.random() < 0.3:
        track.rows.reverse()
        return
    for _ in range(rng.choice((1, 10, len(track.rows)))):
        i, j = rng.randrange(len(track.rows)), rng.randrange(len(track.rows))
        track.rows[i], track.rows[j] = track.rows[j], track.rows[i]


def equal_times(rng: Rng, track: Track) -> None:
    step = rng.choice((300, 400, 1000, 5000, 86_400_000))
    change_clock(track, lambda ms, _: ms // step * step)


def stepping_clock(rng: Rng, track: Track) -> None:
    at, step = rng.randrange(len(track.rows)), rng.choice((-3_600_000, -1000, -1, 1, 60_000, 3_600_000, 43_200_000))
    change_clock(track, lambda ms, k: ms + step if k >= at else ms)


def other_clock_rate(rng: Rng, track: Track) -> None:
    factor = rng.choice((0, 0.1, 0.5, 0.9, 1.1, 3, -1))
    start = 36_000_000
    change_clock(track, lambda ms, _: start + factor * (ms - start))


def jittering_clock(rng: Rng, track: Track) -> None:
    size = rng.choice((1, 40, 400))
    change_clock(track, lambda ms, _: ms + rng.randrange(size))


VALUES = (
    *("nan", "-nan", "inf", "-inf", "1e306", "-2e307", "1e308", "-1e308", "1e400", "-1e400", "5e-324", "1e-310", ""),
    *(" ", "abc", "0x1p3", "0x10", "+5", " 7", "7 ", "-0", "-", ".", "1e", "1e+", "00012.5", ".5", "5.", "1.5.2"),
    *("1" * 400, "0." + "0" * 330 + "1", "123456789012345678901234567890", "4294967296", "-1", "255", "256", "1e19"),
    *("infinity", "nan(7)", '"3"', "0.1234567890123456789012345678901234567890", "9007199254740993", "1e22", "1e23"),
    *("\0", "1;5", "\t3"),
)
TIMES = (
    *("", "2026", "2026-05-16", "2026-05-16T12:00:00", "2026-13-40T25:61:61.5Z", "0000-00-00T00:00:00Z", "1e30", "nan"),
    *("2026-05-16T12:00:60.999Z", "-2026-05-16T12:00:00.0Z", "292277026-12-04T15:30:08Z", "2026-05-16T12:00:nanZ"),
    *("2026-03-29T02:30:00.00Z", "2026-10-25T02:30:00.00Z", "1582-10-10T00:00:00.00Z", "2026-05-16 12:00:00.00Z"),
    *("2026-05-16T12:00:1e30Z", "2147483648-01-01T00:00:00Z", "2026-5-6T1:2:3Z", "2026-05-16T12:00:00.0009Z"),
)


def hostile_values(rng: Rng, track: Track) -> None:
    for _ in range(rng.choice((1, 1, 1, 4, 30))):
        row = rng.choice(track.rows)
        i = rng.randrange(len(row))
        is_time = i < len(track.columns) and track.columns[i] == "time"
        row[i] = rng.choice(TIMES if is_time and rng.random() < 0.8 else VALUES)


def hostile_column(rng: Rng, track: Track) -> None:
    i, value = rng.randrange(len(track.columns)), rng.choice(VALUES)
    for row in some_stretch(rng, track.rows):
        row[i:i + 1] = [value]


def odd_rows(rng: Rng, track: Track) -> None:
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
            row.insert(rng.randrange(len(row) + 1), rng.choice(VALUES))
        if not row:
            row[:] = [""]


def other_columns(rng: Rng, track: Track) -> Track:
    """Columns that are missing, unknown, repeated, in another order, or misspelt."""
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


FAULTS: Sequence[Callable[[Rng, Track], Track | None]] = (
    *(noisy, scaled, inaccurate, cut_ends, with_gap, thinned_here_and_there, doubled_rows, shuffled, equal_times),
    *(stepping_clock, other_clock_rate, jittering_clock, hostile_values, hostile_values, hostile_column, odd_rows),
    other_columns,
)


def thin(track: Track, wanted: int) -> Track:
    """About the wanted number of rows, at a constant rate."""
    return track._replace(rows=[list(row) for row in track.rows[:: max(1, round(len(track.rows) / wanted))]])


# Bytes


def damaged(rng: Rng, content: bytes) -> bytes:
    """Cuts, changes, removes or repeats bytes, or changes the line ends."""
    kind = rng.randrange(8)
    at = rng.randrange(len(content) + 1)
    if kind == 0:
        return content[:at]
    if kind == 1:
        # Near the beginning, in the headers.
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


def damaged_container(rng: Rng, content: bytes) -> bytes:
    """Mostly keeps the form, and changes fields of the headers or of samples."""
    kind = rng.randrange(4)
    if kind == 0 or len(content) < 200:
        return damaged(rng, content)
    changed = bytearray(content)
    if kind == 1:
        at = rng.choice((0, 4, 6, 13, 14, 16, 18, 26, 29, 30, 38, 41, 42, 44, 46, 48, 49))
        changed[at] = rng.choice((0, 1, 2, 255, changed[at] + 1 & 255, changed[at] - 1 & 255))
    elif kind == 2:
        for _ in range(rng.choice((1, 3, 100))):
            at = rng.randrange(tvl.FIRST_SAMPLE, len(changed) - 8)
            value = rng.choice((math.nan, math.inf, -math.inf, 1e306, 5e-324, 0.0, -0.0))
            changed[at:at + 8] = struct.pack(">d", value)
    else:
        count = (len(changed) - tvl.FIRST_SAMPLE) // tvl.SAMPLE.size
        at = tvl.FIRST_SAMPLE + tvl.SAMPLE.size * rng.randrange(count)
        changed[at:at + 8] = struct.pack(">q", rng.choice((0, -1, 2**63 - 1, -(2**63), 10**12, 10**15)))
    return bytes(changed)
