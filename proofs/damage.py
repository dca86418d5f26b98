"""Damages the content of files: the rows, columns and fields of a track, the lines of a course file, and bytes."""
from __future__ import annotations

import contextlib
import datetime
import math
import random
import re
import struct
from collections.abc import Callable, Sequence
from typing import TypeVar

Rng = random.Random
Item = TypeVar("Item")

FACTORS = (0, -1, 0.1, 0.5, 0.9, 1.1, 2, 10, 1e5, 1e300)
STEPS = (1e-7, 1e-6, 0.05, 0.5, 5, -100)
CLOCK_STEPS = (-3_600_000, -1000, -1, 1, 40, 300, 400, 1000, 5000, 60_000, 3_600_000, 43_200_000, 86_400_000)
VALUES = (
    *(b"nan", b"inf", b"-inf", b"1e306", b"-2e307", b"1e308", b"1e400", b"-1e400", b"5e-324", b"1e-310", b"", b" "),
    *(b"abc", b"0x1p3", b"+5", b" 7", b"7 ", b"-0", b"-", b".", b"1e", b"1e+", b"00012.5", b".5", b"5.", b"1.5.2"),
    *(b"1" * 400, b"0." + b"0" * 330 + b"1", b"123456789012345678901234567890", b"4294967296", b"-1", b"256", b"1e19"),
    *(b"0", b"3", b"2.999", b"3.0000001", b"9.9", b"4", b"6"),  # limits of accuracies and of the number of satellites
    *(b"infinity", b"nan(7)", b'"3"', b"9007199254740993", b"1e22", b"1e23", b"\0", b"1;5", b"\t3", b"7,7,7"),
)
TIMES = (
    *(b"2026", b"2026-05-16", b"2026-05-16T12:00:00", b"2026-13-40T25:61:61.5Z", b"0000-00-00T00:00:00Z"),
    *(b"2026-05-16T12:00:60.999Z", b"-2026-05-16T12:00:00.0Z", b"292277026-12-04T15:30:08Z", b"2026-5-6T1:2:3Z"),
    *(b"2026-03-29T02:30:00.00Z", b"2026-10-25T02:30:00.00Z", b"1582-10-10T00:00:00.00Z", b"2026-05-16T12:00:nanZ"),
    *(b"2026-05-16T12:00:1e30Z", b"2147483648-01-01T00:00:00Z", b"2026-05-16 12:00:00.00Z"),
)
NAMES = (b"unknown", b"Lat", b"lat", b"time", b"", b"hmsl", b"vel N", b"velD ", b"x" * 120, "é".encode())
MIDNIGHT = datetime.datetime(2026, 5, 16)
MILLISECOND = datetime.timedelta(milliseconds=1)


def rearranged(rng: Rng, items: Sequence[Item]) -> list[Item]:
    """The items, of which some but not all are cut off, missing, repeated, or in another order."""
    first, at = rng.randrange(len(items) + 1), rng.randrange(len(items) + 1)
    last = first + rng.choice((1, 1, 2, 10, 50, len(items)))
    before, part, behind = list(items[:first]), list(items[first:last]), list(items[last:])
    return rng.choice((before, part, before + behind, [*items[:at], *part, *items[at:]],
                       before + part[::-1] + behind, before + rng.sample(part, len(part)) + behind)) or list(items)


def with_number(field: bytes, function: Callable[[float], float]) -> bytes:
    """The field with another number, or with another time in milliseconds; other text stays."""
    with contextlib.suppress(ValueError, OverflowError):
        if b"T" not in field:
            return b"%.10g" % function(float(field))
        time = datetime.datetime.fromisoformat(field.decode()).replace(tzinfo=None)
        time = MIDNIGHT + MILLISECOND * function((time - MIDNIGHT) / MILLISECOND)
        return time.isoformat(timespec="milliseconds").encode() + b"Z"
    return field


def first_row(lines: Sequence[bytes]) -> int:
    """The number of lines before the first sample of a track."""
    return next((i for i, line in enumerate(lines) if line[:1].isdigit() or line.startswith(b"$GNSS,")), 0)


def other_fields(rng: Rng, rows: list[list[bytes]], time_column: int) -> None:
    """Other fields in a stretch of rows: noise, wrong units, a clock that stands, steps or runs backwards, or text that
    is hard to read."""
    first = rng.choice((0, rng.randrange(len(rows))))
    stretch = rows[first:first + rng.choice((1, 5, 50, len(rows), len(rows)))]
    column = rng.choice((time_column, rng.randrange(max(1, len(rows[first])))))
    is_time = column == time_column
    factor, step = rng.choice(FACTORS), rng.choice(CLOCK_STEPS if is_time else STEPS)
    value = rng.choice(TIMES if is_time else VALUES)
    numbers: Sequence[Callable[[float], float]] = (
        lambda x: factor * x, lambda x: x + step, lambda x: x // step * step, lambda x: x + step * (rng.random() - 0.5))
    number, kind = rng.choice(numbers), rng.randrange(8)
    for row in stretch:
        if kind == 0:
            row[:] = rearranged(rng, row)
        else:
            row[column:column + 1] = [value if kind < 4 else with_number(old, number)
                                      for old in row[column:column + 1]]


def other_columns(rng: Rng, lines: list[list[bytes]], names: list[bytes], first: int) -> None:
    """Columns that are missing, repeated or in another order, or whose name is unknown or misspelt."""
    if rng.random() < 0.5:
        names[rng.randrange(first, len(names))] = rng.choice(NAMES)
        return
    order = [*range(first), *rearranged(rng, range(first, len(names)))]
    for line in lines:
        line[:] = [line[i] for i in order if i < len(line)]


def damaged_table(rng: Rng, content: bytes) -> bytes:
    """A track with changed rows, columns or fields. In tagged lines, the first field is the tag."""
    texts = content.split(b"\n")
    count = first_row(texts)
    lines = [re.split(rb"(?<!\$COL),", text) for text in texts]
    header, rows = lines[:count], lines[count:]
    first = int(content.startswith(b"$"))
    for _ in range(rng.choice((1, 1, 2, 3))):
        kind = rng.random()
        if kind < 0.3:
            rows = rearranged(rng, rows)
        elif kind < 0.93 or not header:
            other_fields(rng, rows, first)
        else:
            other_columns(rng, header + rows, max(header, key=len), first)
    return b"\n".join(map(b",".join, header + rows))


PATCHES = (
    *(b"\0", b"\n", b"\r", b",", b"\xff", b"\1", b"\2", b"-", b"9"),
    *(struct.pack(">d", value) for value in (math.nan, math.inf, -math.inf, 1e306, 5e-324, -0.0)),
    *(struct.pack(">q", value) for value in (0, -1, 2**63 - 1, -(2**63), 10**12, 10**15)),
)
LINE_ENDS = (b"\r\n", b"\r", b"\n\r", b"\n\n", b",\n", b" \n")


def damaged_bytes(rng: Rng, content: bytes) -> bytes:
    """Cuts, repeats, overwrites or moves bytes, often near the beginning, or changes the line ends."""
    kind = rng.randrange(8)
    if kind == 0:
        return content.replace(b"\n", rng.choice(LINE_ENDS))
    if kind == 1:
        return rng.choice((b"\xef\xbb\xbf", b"\n", b"\0", b" ", b"$")) + content.rstrip(b"\n")
    if kind < 4:
        near = rng.choice((200, len(content)))
        return bytes(rearranged(rng, content[:near])) + rng.choice((b"", content[near:]))
    changed = bytearray(content)
    for _ in range(rng.choice((1, 1, 3, 100))):
        at = rng.randrange(min(len(content), rng.choice((60, len(content)))))
        patch = rng.choice((rng.choice(PATCHES), bytes([content[at] ^ 1])))
        changed[at:at + len(patch)] = patch
    return bytes(changed)


def damaged(rng: Rng, content: bytes) -> bytes:
    is_text = not content.startswith(b"uTVL")
    return damaged_table(rng, content) if is_text and rng.random() < 0.75 else damaged_bytes(rng, content)
