"""Reads tracks and courses for the scenarios, moves them, adds faults, damages bytes, and writes them."""
from __future__ import annotations

import contextlib
import datetime
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


def read_course(content: bytes) -> Course:
    text, numbers = content.decode(), r"[-+.\deE]+"
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


def change(track: Track, name: str, function: Callable[[float, int], float], digits: int = 3) -> None:
    """Replaces the numbers of a column by function(number, number of the row). Times are in milliseconds of the day,
    and are written with this number of digits after the point."""
    i = track.columns.index(name) if name in track.columns else len(track.columns)
    for k, row in enumerate(track.rows):
        with contextlib.suppress(ValueError, IndexError, OverflowError):
            if name == "time":
                hours, minutes, seconds = int(row[i][11:13]), int(row[i][14:16]), float(row[i][17:-1])
                ms = int(function(round(1000 * (3600 * hours + 60 * minutes + seconds)), k)) % 86_400_000
                clock = datetime.datetime(2000, 1, 1) + datetime.timedelta(milliseconds=ms)
                row[i] = row[i][:11] + f"{clock:%H:%M:%S.%f}"[:9 + digits].rstrip(".") + "Z"
            else:
                row[i] = f"{function(float(row[i]), k):.10g}"


def move(rng: Rng, track: Track, course: Course) -> tuple[Track, Course]:
    """Moves or mirrors a run or a walk with its course, or changes its date; a valid one stays valid."""
    matrix, theta, pond = course
    kind = rng.randrange(5)
    if kind == 0:
        degrees = rng.choice((0.001, 90.0, rng.uniform(-180, 180)))
        change(track, "lon", lambda lon, _: (lon + degrees + 180) % 360 - 180)
        s, c = math.sin(math.radians(degrees)), math.cos(math.radians(degrees))
        matrix = [[c * x - s * y, s * x + c * y, z, offset] for x, y, z, offset in matrix]
    elif kind in (1, 2):  # a left turn becomes a right turn
        for name in (("lon", "velE"), ("lat", "velN"))[kind - 1]:
            change(track, name, lambda x, _: -x)
        matrix = [[-x if i == kind else x for i, x in enumerate(row)] for row in matrix]
        matrix[1] = [-x for x in matrix[1]]
        theta, pond = -theta, [(x, -y) for x, y in pond]
    elif kind == 3:
        metres = rng.choice((-400.0, 0.125, rng.uniform(-900, 3000)))
        change(track, "hMSL", lambda h, _: h + metres)
        *axes, offset = matrix[2]
        matrix = [*matrix[:2], [*axes, offset - metres], matrix[3]]
    else:
        year = rng.choice((1970, 2000, 2024, rng.randrange(1900, 2200)))
        date = f"{year}-{rng.randrange(1, 13):02}-{rng.randrange(1, 32):02}"
        later = rng.randrange(24) * 3_600_000 + rng.choice((0, 1, rng.randrange(3_600_000)))
        change(track, "time", lambda ms, _: ms + later, rng.choice((2, 3, 3)))
        i = track.columns.index("time")
        for row in track.rows:
            row[i] = date + row[i][10:]
    return track, Course(matrix, theta, pond)


# Faults in the values of a track. Each function changes the rows or returns another track.


def other_numbers(rng: Rng, track: Track) -> None:
    """A column that is scaled, shifted, rounded or blurred, perhaps only from some row on: noise, wrong units, a clock
    that stands, steps or runs backwards."""
    name = rng.choice((*("time",) * 6, "lat", "lon", "hMSL", "hMSL", "velN", "velE", "velD", "velD", "hAcc", "sAcc"))
    start, factors, sizes = (36_000_000, CLOCK_RATES, CLOCK_STEPS) if name == "time" else (0, FACTORS, STEPS)
    factor, size = rng.choice(factors), rng.choice(sizes)
    first = rng.choice((0, 0, rng.randrange(len(track.rows))))
    functions: Sequence[Callable[[float], float]] = (
        lambda x: start + factor * (x - start), lambda x: x + size, lambda x: x // size * size,
        lambda x: x + size * (rng.random() - 0.5))
    function = rng.choice(functions)
    change(track, name, lambda x, k: function(x) if k >= first else x, rng.choice((0, 2, 3, 3)))


def other_rows(rng: Rng, track: Track) -> None:
    """Rows that are cut off, missing, repeated, or in another order."""
    rows = track.rows
    first = rng.randrange(len(rows))
    last = first + rng.choice((1, 1, 2, 10, 50, len(rows)))
    part, share, at = [list(row) for row in rows[first:last]], rng.choice((0.05, 0.5, 0.9)), rng.randrange(len(rows))
    kinds: Sequence[Callable[[], list[list[str]]]] = (
        lambda: part,
        lambda: rows[:first],
        lambda: rows[:first] + rows[last:],
        lambda: rows[:at] + part + rows[at:],
        lambda: rows[:first] + part[::-1] + rows[last:],
        lambda: rows[:first] + rng.sample(part, len(part)) + rows[last:],
        lambda: [row for row in rows if rng.random() > share])
    rows[:] = rng.choice(kinds)()


FACTORS = (0, -1, 0.5, 0.9, 1.1, 2, 10, 1e5, 1e300)
STEPS = (1e-7, 1e-6, 0.05, 0.5, 5, -100)
CLOCK_RATES = (0, -1, 0.1, 0.5, 0.9, 1.1, 3)
CLOCK_STEPS = (-3_600_000, -1000, -1, 1, 40, 300, 400, 1000, 5000, 60_000, 3_600_000, 43_200_000, 86_400_000)
VALUES = (
    *("nan", "-nan", "inf", "-inf", "1e306", "-2e307", "1e308", "-1e308", "1e400", "-1e400", "5e-324", "1e-310", ""),
    *(" ", "abc", "0x1p3", "0x10", "+5", " 7", "7 ", "-0", "-", ".", "1e", "1e+", "00012.5", ".5", "5.", "1.5.2"),
    *("1" * 400, "0." + "0" * 330 + "1", "123456789012345678901234567890", "4294967296", "-1", "255", "256", "1e19"),
    *("0", "3", "2.999", "3.0000001", "9.9", "4", "6"),  # limits of accuracies and of the number of satellites
    *("infinity", "nan(7)", '"3"', "0.1234567890123456789012345678901234567890", "9007199254740993", "1e22", "1e23"),
    *("\0", "1;5", "\t3"),
)
TIMES = (
    *("", "2026", "2026-05-16", "2026-05-16T12:00:00", "2026-13-40T25:61:61.5Z", "0000-00-00T00:00:00Z", "1e30", "nan"),
    *("2026-05-16T12:00:60.999Z", "-2026-05-16T12:00:00.0Z", "292277026-12-04T15:30:08Z", "2026-05-16T12:00:nanZ"),
    *("2026-03-29T02:30:00.00Z", "2026-10-25T02:30:00.00Z", "1582-10-10T00:00:00.00Z", "2026-05-16 12:00:00.00Z"),
    *("2026-05-16T12:00:1e30Z", "2147483648-01-01T00:00:00Z", "2026-5-6T1:2:3Z", "2026-05-16T12:00:00.0009Z"),
)


def other_fields(rng: Rng, track: Track) -> None:
    """Fields that are hard to read, too few or too many; in single rows or in a stretch."""
    for _ in range(rng.choice((1, 1, 1, 4, 30))):
        first = rng.randrange(len(track.rows))
        i = rng.randrange(max(1, len(track.rows[first])))
        is_time = track.columns[i:i + 1] == ["time"]
        value = rng.choice(TIMES if is_time and rng.random() < 0.8 else VALUES)
        end, fields = rng.choice(((i + 1, [value]),) * 6 + ((i, [value]), (None, [""] * (i == 0)),
                                                           (None, ["7"] * rng.choice((1, 5, 60)))))
        for row in track.rows[first:first + rng.choice((1, 1, 1, 5, 50, len(track.rows)))]:
            row[i:end] = fields


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
    *(other_numbers,) * 7, *(other_rows,) * 5, *(other_fields,) * 4, other_columns)


def thin(track: Track, wanted: int) -> Track:
    """About the wanted number of rows, at a constant rate."""
    return track._replace(rows=[list(row) for row in track.rows[:: max(1, round(len(track.rows) / wanted))]])


# Bytes


def damaged(rng: Rng, content: bytes) -> bytes:
    """Cuts, changes, removes or repeats bytes, often near the beginning, or changes the line ends."""
    near = min(len(content), rng.choice((200, len(content))))
    at = rng.randrange(near + 1)
    end = at + rng.choice((1, 7, 70, 500))
    changed = bytearray(content)
    for _ in range(rng.choice((1, 3, 20)) if content else 0):
        changed[rng.randrange(near)] = rng.choice((0, 10, 13, 44, 255, rng.randrange(256)))
    line_end = rng.choice((b"\r\n", b"\r", b"\n\r", b"\n\n", b",\n", b" \n"))
    before, behind = rng.choice((b"\xef\xbb\xbf", b"\n", b"\0", b" ", b"$")), rng.choice((b"", b"\n\n", b"\x1a"))
    return rng.choice((content[:at], content[:at], bytes(changed), bytes(changed), content[:at] + content[end:],
                       content[:end] + content[at:], content.replace(b"\n", line_end),
                       before + content.rstrip(b"\n") + behind))


def damaged_container(rng: Rng, content: bytes) -> bytes:
    """Mostly keeps the form, and changes fields of the headers or of samples."""
    kind = rng.randrange(4)
    if kind == 0 or len(content) < 200:
        return damaged(rng, content)
    changed = bytearray(content)
    if kind == 1:
        at = rng.choice((0, 4, 6, 13, 14, 16, 18, 26, 29, 30, 38, 41, 42, 44, 46, 48, 49))
        changed[at] = rng.choice((0, 1, 2, 255, changed[at] + 1 & 255, changed[at] - 1 & 255))
    for _ in range(rng.choice((1, 3, 100)) if kind == 2 else 0):
        value = rng.choice((math.nan, math.inf, -math.inf, 1e306, 5e-324, 0.0, -0.0))
        struct.pack_into(">d", changed, rng.randrange(tvl.FIRST_SAMPLE, len(changed) - 8), value)
    if kind == 3:
        sample = rng.randrange((len(changed) - tvl.FIRST_SAMPLE) // tvl.SAMPLE.size)
        time = rng.choice((0, -1, 2**63 - 1, -(2**63), 10**12, 10**15))
        struct.pack_into(">q", changed, tvl.FIRST_SAMPLE + tvl.SAMPLE.size * sample, time)
    return bytes(changed)
