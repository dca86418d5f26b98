"""Writes `.tvl` containers: a header, a table with one section, and the section's header and records."""
from __future__ import annotations

import itertools
import struct
from collections.abc import Iterable, Iterator, Sequence

HEADER = struct.Struct(">4sHQHHQ")  # magic, size, offset of the table, size of an entry, number of entries, reserved
ENTRY = struct.Struct(">IQI")  # kind of the section, its offset, its size
RUN = struct.Struct(">HHI")  # size of this header, size of a sample, number of samples
SAMPLE = struct.Struct(">qddddddfffBB")  # time, position, velocity, accuracies, fix, satellites
COURSE = struct.Struct(">H17dHI")  # size of this header, the frame and theta, size of a point, number of points
POINT = struct.Struct(">dd")
FIRST_SAMPLE = HEADER.size + ENTRY.size + RUN.size

Sample = Sequence[float]  # time (an integer), latitude, height, north, down, and east where it is not 0


def beginning(kind: int, size: int) -> bytes:
    table_at = HEADER.size
    return HEADER.pack(b"uTVL", HEADER.size, table_at, ENTRY.size, 1, 0) + ENTRY.pack(
        kind, table_at + ENTRY.size, size & 0xFFFFFFFF)


def run_header(count: int) -> bytes:
    """Everything before the samples."""
    return beginning(1, RUN.size + SAMPLE.size * count) + RUN.pack(RUN.size, SAMPLE.size, count)


def run(count: int, samples: Iterable[Sample]) -> Iterator[bytes]:
    """A run with this count in its header and at most this number of the samples."""
    yield run_header(count)
    for time, latitude, height, north, down, *east in itertools.islice(samples, count):
        yield SAMPLE.pack(time, latitude, 0.0, height, north, *(east or (0.0,)), down, 1, 1, 1, 3, 9)


def course(matrix: Sequence[float], theta: float, count: int, points: Iterable[tuple[float, float]]) -> Iterator[bytes]:
    """A surveyed course: a frame of four rows of four, theta, and the points of its pond."""
    yield beginning(2, COURSE.size + POINT.size * count)
    yield COURSE.pack(COURSE.size, *matrix, theta, POINT.size, count)
    for point in points:
        yield POINT.pack(*point)
