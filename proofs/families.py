"""Inputs that are made to cause endless or quadratic work. Each family is a function from a number of rows to the files
and arguments of a call. hostile_families measures them; same_bytes and compare_programs use small ones."""
from __future__ import annotations

import datetime
import functools
import itertools
import math
import struct
import sys
from collections.abc import Callable, Iterable, Iterator, Mapping
from typing import NamedTuple

from proofs import tvl

TINY = 400  # rows; the time of a call over these is the fixed cost


class Made(NamedTuple):
    files: Mapping[str, Iterable[bytes]]  # in parts, since some are larger than the memory
    arguments: list[str]


Family = Callable[[int], Made]
Number = Callable[[int], float]  # of a sample, from its index

# A course at latitude 0, longitude 0 whose frame is exact: x is north, z the height above sea level.
COURSE = b"[0, 0, 1, 0]\n[0, -1, 0, 0]\n[1, 0, 0, -6378137]\n[0, 0, 0, 1]\n"
# The same frame, tilted: height also changes the position across the course.
LEANING_COURSE = b"[0, 0, 1, 0]\n[0.1, -0.995, 0, -637813.7]\n[0.995, 0.1, 0, -6346246.3]\n[0, 0, 0, 1]\n"
COLUMNS = b"time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV"
HEAD = COLUMNS + b"\n,,,,,,,,,,\n"
FEET = 1 / 3.2808399
MPH = 1 / 2.2369362920544
NOON = 12 * 3_600_000


def clock(ms: int) -> bytes:
    """A time in May 2026."""
    time = datetime.datetime(2026, 5, 1) + datetime.timedelta(milliseconds=ms)
    return time.isoformat(timespec="milliseconds").encode() + b"Z"


def standing(time: bytes) -> bytes:
    return time + b",0,0,100,0,0,0,1,1,1,9\n"


STANDING = standing(clock(NOON))


def implicit(*parts: bytes) -> Made:
    return Made({"run.csv": parts}, ["-i", "run.csv"])


def over_course(rows: Iterable[bytes], *options: str) -> Made:
    """Rows of a track with a course beside it."""
    return Made({"run.csv": itertools.chain([HEAD], rows), "matrix.txt": [COURSE]}, [*options, "run.csv"])


def every_value(rows: int, value: bytes, *options: str) -> Made:
    row = b"2026-05-16T12:00:00Z" + b",%s" % value * 9 + b",9\n"
    return over_course(itertools.repeat(row, rows), *options)


def container(rows: int, sample: Callable[[int], tvl.Sample], course: bytes = COURSE) -> Made:
    return Made({"run.tvl": tvl.run(rows, map(sample, range(rows))), "matrix.txt": [course]}, ["run.tvl"])


def ponds(rows: int) -> Made:
    """A surveyed course with this number of points of its pond, which are all written to the course file."""
    matrix = [0, 0, 1, 0, 0, -1, 0, 0, 1, 0, 0, -6378137, 0, 0, 0, 1]
    points = ((1.0 + i % 100, 2.0) for i in range(rows))
    return Made({"gate.tvl": tvl.course(matrix, 0.1, rows, points)}, ["-p", "-g", "gate.tvl"])


# Detectors of a run


def falls(rows: int, speed: Number, height: Number = lambda i: 3000.0,
          time: Callable[[int], int] = lambda i: NOON + i) -> Made:
    """Speeds in mph downward, heights in feet."""
    return container(rows, lambda i: (time(i), 0.0, height(i) * FEET, 0.0, speed(i) * MPH))


def falls_over_all_rows(rows: int) -> Made:
    """The times are 0, 1, 0, 1 ms and so on. Each mean is over all rows up to the last and is below the threshold of a
    fall by little more than a rounding error."""
    last = rows - 2 + rows % 2
    least = (1 - 1e-11) / (2.23693629 * MPH)
    return falls(rows, lambda i: 0.024 * least * ((i + 1) // 2), time=lambda i: NOON + (i % 2 if i < last else 10**6))


def landings(rows: int, height: Number, time: Callable[[int], int] = lambda i: NOON) -> Made:
    """A descent of 2,000 ft, then these heights in feet at 1 m/s, then a fast sample at another height."""
    def sample(i: int) -> tvl.Sample:
        if i < 2:
            return NOON, 0.0, 900.0 - 700.0 * i, 30.0, 9.0
        return (time(i), 0.0, height(i) * FEET, 1.0, 0.0) if i < rows - 1 else (NOON, 0.0, 300.0, 30.0, 0.0)

    return Made({"run.tvl": tvl.run(rows, map(sample, range(rows)))}, ["-i", "run.tvl"])


def two_levels(rows: int) -> Number:
    """Two heights in turn; for each, another sample near the end prevents a landing."""
    last = {rows - 3: 201.0, rows - 2: 401.0}
    return lambda i: last.get(i, 300.0 + 50 * (i % 2))


# Runs whose whole track is turn, rollout or swoop, so that every sample is drawn.

Turn = Callable[[int], tuple[float, float, float, float]]  # height in ft, speeds north, down and east in mph


def drawn(rows: int, turn: Turn, latitude: Number = lambda i: -0.003, course: bytes = COURSE) -> Made:
    """A run that turns from its third sample on."""
    tail = 24

    def sample(i: int) -> tvl.Sample:
        time, k = NOON + 200 * i, i - (rows - tail)
        if i < 2:
            return time, 0.0, (2600 - 200 * i) * FEET, 20.0, 0.0
        if k >= 0:
            left = (tail - 1 - k) / tail
            return time, -0.0005 + 0.00003 * k, 150 * FEET * left * left, 80 * MPH * left, 90 * MPH * left
        height, north, down, east = turn(i - 2)
        return time, latitude(i - 2), height * FEET, north * MPH, down * MPH, east * MPH

    return container(rows, sample, course)


def split_headings(rows: int) -> Turn:
    """A steep dive in which two left turns follow each right turn: every third turn angle is evened out."""
    headings = [(math.cos(math.radians(a)), math.sin(math.radians(a))) for a in (0, 120, 20)]
    return lambda i: (900 - 700 * i / rows, 10 * headings[i % 3][0], 70.0, 10 * headings[i % 3][1])


LARGEST = sys.float_info.max
FAR_HEIGHTS = (900.0, 1e299, 2e306, -6e307, LARGEST, -LARGEST)
SHORT_RUN = b"".join(drawn(100, lambda i: (900 - 7 * i, 30.0, 40.0, 0.0)).files["run.tvl"])


def drawn_pond(rows: int) -> Made:
    """A run of 100 samples over a pond with this number of points."""
    points = (b"(%d, %d)\n" % (1 + i * 7919 % 100, i * 104_729 % 100) for i in range(rows))
    return Made({"run.tvl": [SHORT_RUN], "matrix.txt": itertools.chain([COURSE], points)}, ["run.tvl"])


# Course files and indices; walks; names


def course(*lines: bytes, **files: Iterable[bytes]) -> Made:
    return Made({**files, "matrix.txt": [COURSE, *lines], "run.csv": [HEAD, STANDING * 10]}, ["run.csv"])


def long_chain(rows: int) -> Made:
    """Each of 64 indices names the next; the file that the last one names does not exist."""
    return course(b"* - 0.txt\n", **{f"{k}.txt": [b"// nothing\n" * (rows // 64), b"* - %d.txt\n" % (k + 1)]
                                     for k in range(64)})


def walk(rows: Iterable[bytes], *options: str) -> Made:
    return Made({"walk.csv": itertools.chain([HEAD], rows)}, [*options, "-g", "walk.csv"])


def walked(rows: int, time: Callable[[int], int], metres: Number) -> Made:
    return walk(clock(time(i)) + b",%.9f,0,100,0,0,0,1,1,1,9\n" % (metres(i) / 110_574) for i in range(rows))


def restless_walk(rows: int) -> Iterator[bytes]:
    """A walk over the marks of a course (m north and east); half of the rows are at the marks, half between them. Each
    leg is walked so often that almost every row of it becomes a point of the pond."""
    marks = ((70, 12), (0, 5), (-20, 0), (0, -5), (70, 0), (90, 25))
    per_leg = rows // (len(marks) * 2)
    time = NOON
    for (north, east), (next_north, next_east) in zip(marks, (*marks[1:], marks[-1])):
        for i in range(2 * per_leg):
            if i < per_leg:
                time += 3 if i % 3 else 1000 * 12 // per_leg + 1
            part = ((i - per_leg) / per_leg * 0.999 * rows / 100) % 1.0 if i >= per_leg else 0.0
            at = (north + part * (next_north - north), east + part * (next_east - east))
            yield clock(time) + b",%.9f,%.9f,100,0,0,0,1,1,1,9\n" % (at[0] / 110_574, at[1] / 111_319)


def taken_names(rows: int) -> Made:
    """The run has the name of the report, and a hundredth of this number of names to set it aside already exist."""
    taken: dict[str, Iterable[bytes]] = {f"run.txt.orig.{k}": () for k in range(2, rows // 100)}
    return Made({"run.txt.orig": (), **taken, "matrix.txt": [COURSE], "run.txt": [SHORT_RUN]}, ["run.txt"])


VALUES = {"huge": b"1e308", "not_a_number": b"nan", "endless": b"inf", "denormal": b"5e-324", "hexadecimal": b"0x1.8p3",
          "of_16_digits": b"1.234567890123456", "blank": b"      "}
# The middle between two doubles, except for the last digit.
TIE = b"1.00000000000000011102230246251565404236316680908203125" + b"0" * 750 + b"1"

FAMILIES: dict[str, Family] = {
    # Lines, columns and bytes.
    "empty_lines": lambda n: over_course([b"\n" * n]),
    "empty_lines_from_the_first": lambda n: implicit(b"\n" * n),
    "one_byte_rows": lambda n: implicit(HEAD.replace(b"time,", b"").replace(b"lat", b"lat,time"), b"0\n" * n),
    "carriage_returns_only": lambda n: implicit(HEAD.replace(b"\n", b"\r"), (STANDING[:-1] + b"\r") * n),
    "swapped_line_ends": lambda n: implicit(HEAD.replace(b"\n", b"\n\r"), (STANDING[:-1] + b"\n\r") * n),
    "columns_that_fill_a_line": lambda n: implicit(COLUMNS + b",a" * 16_000 + b"\n\n", STANDING * n),
    # 1 GB for a million rows.
    "one_line_of_digits": lambda n: Made({"run.csv": itertools.repeat(b"7" * 1000, n)}, ["-i", "run.csv"]),
    "one_line_of_digits_behind_good_rows":
        lambda n: over_course(itertools.chain([STANDING * 10], itertools.repeat(b"7" * 1000, n))),
    "column_line_again_and_again": lambda n: implicit((b"$COL,GNSS," + COLUMNS + b"\n") * n, b"$GNSS," + STANDING),
    "tagged_rows_of_one_comma": lambda n: implicit(
        b"$COL,GNSS,numSV,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,time\n", b"$GNSS,,\n" * n),
    # Read to its end as tagged lines, then once more as header lines.
    "tagged_then_no_prefix": lambda n: implicit(b"$COL,GNSS," + COLUMNS + b"\n", (b"$GNSS," + STANDING) * n, b"x\n"),
    # Times.
    "equal_times": lambda n: over_course([STANDING * n]),
    "every_row_another_minute": lambda n: over_course(standing(clock(60_000 * (i * 7919 % 40_000))) for i in range(n)),
    "every_row_another_year": lambda n: over_course(
        standing(b"%d-02-31T27:61:3.5Z" % (i * 4_294_967_291 % 2**32)) for i in range(n)),
    "seconds_beyond_every_integer": lambda n: over_course([standing(b"2026-05-16T12:00:1e30Z") * n]),
    "times_of_many_blanks": lambda n: over_course([standing(b"    2026-    5-    16T    12:     0:    3Z") * n]),
    # Values.
    **{f"every_value_{name}": functools.partial(every_value, value=value) for name, value in VALUES.items()},
    "every_value_huge_with_dump": lambda n: every_value(n, b"1e308", "-d"),
    "every_value_of_300_digits": lambda n: every_value(n // 16, b"1234567890" * 30),
    "every_value_of_800_decimals": lambda n: every_value(n // 64, TIE),
    # Containers.
    "container_that_claims_four_billion": lambda n: Made(
        {"run.tvl": [tvl.beginning(1, 8 + 70 * (2**32 - 1)), struct.pack(">HHI", 8, 70, 2**32 - 1), bytes(70) * n]},
        ["-i", "run.tvl"]),
    "container_of_denormals": lambda n: container(n, lambda i: (1, *[5e-324] * 4)),
    "container_of_far_times": lambda n: container(
        n, lambda i: ((-(2**63), 2**63 - 1, -(2**62) - 1, 2**62 + 1)[i % 4], 0.0, 900.0, 0.0, i * 5.0)),
    "container_of_ponds": ponds,
    # Detectors of a run. By its speeds every sample is a fall, but by the end the heights have risen by more than 75
    # ft; or every second sample may be an exit, and the mean over the following 1,500 samples is just below the
    # threshold.
    "falls_in_a_slow_climb": lambda n: falls(
        n, lambda i: 0.02 * i, lambda i: 3000 + 70 * i / n + (100 if i == n - 1 else 0)),
    "falls_in_waves": lambda n: falls(n, lambda i: 0.02 * i, lambda i: 3000 + 37 * math.sin(i / 1000) + 100 * i / n),
    "falls_of_a_low_mean": lambda n: falls(n, lambda i: 0.0239 * (i // 2) + 0.013 * (i % 2)),
    "falls_of_the_least_mean_over_all_rows": falls_over_all_rows,
    "falls_that_never_last": lambda n: falls(n, lambda i: 0.02 * i, time=lambda i: NOON),
    # A step back in time counts as almost 2^32 ms: it is a fall only with enormous speeds.
    "falls_while_the_clock_goes_back": lambda n: falls(n, lambda i: 7e7 * i, time=lambda i: NOON - i),
    # Steps of 1 ms forward and 2 ms back, and a last one far forward.
    "falls_on_a_bouncing_clock": lambda n: falls(
        n, lambda i: 0.013 * ((i + 1) // 2), time=lambda i: NOON + i % 2 - i // 2 + (10**9 if i == n - 1 else 0)),
    "landings_refused_at_the_end": lambda n: landings(n, lambda i: 300),
    "landings_on_two_levels": lambda n: landings(n, two_levels(n)),
    # 15 s have 15,000 samples; each candidate fails shortly before their end.
    "landings_at_1000_hz": lambda n: landings(n, lambda i: 300 if i % 14_000 < 13_990 else 401, lambda i: NOON + i),
    "landings_while_the_clock_goes_back": lambda n: landings(n, two_levels(n), lambda i: NOON - i),
    "endless_standstill": lambda n: over_course((standing(clock(NOON + 5 * i)) for i in range(n)), "-i"),
    # Every sample is drawn.
    "drawn_from_end_to_end": lambda n: drawn(n, lambda i: (900 - 700 * i / n, 30.0, 40.0, 0.0)),
    "drawn_and_restless": lambda n: drawn(
        n, lambda i: (300 + i * 7919 % 600, i * 104_729 % 60 - 30.0, 30.0 + i * 31 % 50, 10.0)),
    "drawn_in_split_headings": lambda n: drawn(n, split_headings(n)),
    "drawn_with_turns_of_alternating_sign": lambda n: drawn(
        n, lambda i: (900 - 700 * i / n, 10.0, 70.0, 25.0 * (-1) ** i)),
    "drawn_with_steps_back_in_time": lambda n: drawn(
        n, lambda i: (900.0 - (i % 3) * 1e-300, 30.0 * (-1) ** i, 40.0, 0.0))._replace(arguments=["-m", "run.tvl"]),
    # Relative to these heights the course is 1e-298 wide, in charts with one scale for both axes.
    "drawn_over_heights_of_1e300": lambda n: drawn(n, lambda i: (1e300 * (1 + i % 7), 30.0, 40.0, 0.0)),
    # One sample far out on all three axes: a chart with one scale for two axes has a huge span on both.
    "drawn_over_one_sample_far_out": lambda n: drawn(
        n, lambda i: (5e307 if i == 200 else 900 - 700 * i / n, 30.0, 40.0, 0.0),
        lambda i: 5.0 if i == 200 else -0.003, LEANING_COURSE),
    "drawn_over_places_up_to_the_largest_number": lambda n: drawn(
        n, lambda i: (FAR_HEIGHTS[i % 6], 30.0, 40.0, 0.0), lambda i: (-0.003, 20.0, -80.0, 60.0)[i % 4]),
    "drawn_over_speeds_up_to_the_largest_number": lambda n: drawn(
        n, lambda i: (500.0, LARGEST * (i % 3 - 1), 40.0, 1e306 * (i % 5))),
    "drawn_over_speeds_below_the_least_that_can_be_scaled": lambda n: drawn(
        n, lambda i: (500.0, 1e-307 * (i % 5), 40.0, 1e-308 * (i % 3))),
    "drawn_over_speeds_of_1e300": lambda n: drawn(n, lambda i: (500.0, 1e300 * (i % 5), 40.0, 1e-300 * (i % 3))),
    "drawn_pond": drawn_pond,
    # Course files and indices.
    "course_of_pond_lines": lambda n: course(
        b"(  12.5,   22.5),  (  12.5,   22.5),  (  12.5,   22.5),  (  12.5,   22.5),\n" * n),
    "course_of_one_line": lambda n: course(b"(1, 2), " * n),
    "course_of_thetas": lambda n: course(b"theta = 1e308\n" * n),
    "index_of_other_runs": lambda n: course(b"2026 - other.txt\n" * n),
    "index_that_names_itself": lambda n: course(b"// nothing\n" * n, b"* - matrix.txt\n"),
    "index_that_names_itself_behind_a_pond": lambda n: course(b"(1, 2)\n" * n, b"* - matrix.txt\n"),
    "index_of_a_long_chain": long_chain,
    # Walks of a course. In the crawl, 2 m take almost 8 s again and again.
    "walk_that_stands_for_ever": lambda n: walked(n, lambda i: NOON + 5 * i, lambda i: 0),
    "walk_that_never_stands": lambda n: walked(n, lambda i: NOON + 200 * i, lambda i: 1.5 * i),
    "walk_in_a_crawl": lambda n: walked(n, lambda i: NOON + 5 * i, lambda i: 0.00127 * i),
    "walk_to_and_fro_on_a_clock_that_stands": lambda n: walked(n, lambda i: NOON, lambda i: i % 2),
    "walk_without_accuracy": lambda n: walk([STANDING.replace(b",1,1,1,", b",9,9,9,") * n]),
    "walk_with_a_restless_pond": lambda n: walk(restless_walk(n), "-p", "-d"),
    "names_that_are_taken": taken_names,
}
