"""Inputs that are made to cause endless or quadratic work. Each family is a function from a number of rows to the files
and arguments of a call. hostile_families measures them; same_bytes and compare_programs use small ones."""
from __future__ import annotations

import functools
import itertools
import math
import pathlib
import struct
import sys
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from typing import NamedTuple

from proofs import tvl
from proofs.harness import Content, HardLink

TINY = 400  # rows; the time of a call over these is the fixed cost


class Hole(int):
    """This number of NULs, as a sparse file."""


Parts = Iterable[bytes] | Hole | HardLink


class Made(NamedTuple):
    files: Mapping[str, Parts]
    arguments: list[str]


Family = Callable[[int], Made]


def content_of(parts: Parts) -> Content:
    return parts if isinstance(parts, HardLink) else bytes(parts) if isinstance(parts, Hole) else b"".join(parts)


def write(folder: pathlib.Path, made: Made) -> None:
    """Writes part by part, since some inputs are larger than the memory."""
    for name, parts in made.files.items():
        if isinstance(parts, HardLink):
            (folder / name).hardlink_to(folder / parts)
            continue
        with open(folder / name, "wb") as file:
            if isinstance(parts, Hole):
                file.truncate(parts)
            else:
                file.writelines(parts)


# A course at latitude 0, longitude 0 whose frame is exact: x is north, z the height above sea level.
COURSE = b"[0, 0, 1, 0]\n[0, -1, 0, 0]\n[1, 0, 0, -6378137]\n[0, 0, 0, 1]\n"
# The same frame, tilted: height also changes the position across the course.
LEANING_COURSE = b"[0, 0, 1, 0]\n[0.1, -0.995, 0, -637813.7]\n[0.995, 0.1, 0, -6346246.3]\n[0, 0, 0, 1]\n"
COLUMNS = b"time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV"
HEAD = COLUMNS + b"\n,,,,,,,,,,\n"
FEET = 1 / 3.2808399
MPH = 1 / 2.2369362920544
NOON = 12 * 3_600_000
FLAT = itertools.repeat(3000.0)  # feet


def clock(ms: int) -> bytes:
    minutes, ms = divmod(ms, 60_000)
    hours, minutes = divmod(minutes, 60)
    days, hours = divmod(hours, 24)
    return b"2026-05-%02dT%02d:%02d:%02d.%03dZ" % (1 + days, hours, minutes, ms // 1000, ms % 1000)


def standing(ms: int) -> bytes:
    return clock(ms) + b",0,0,100,0,0,0,1,1,1,9\n"


STANDING = standing(NOON)


def over_course(rows: Iterable[bytes], *options: str) -> Made:
    """Rows of a track with a course beside it."""
    return Made({"run.csv": itertools.chain([HEAD], rows), "matrix.txt": [COURSE]}, [*options, "run.csv"])


def implicit(*parts: bytes) -> Made:
    return Made({"run.csv": parts}, ["-i", "run.csv"])


def tagged(columns: bytes, rows: bytes) -> Made:
    return implicit(b"$COL,GNSS," + columns + b"\n", rows)


def every_value(rows: int, value: bytes, *options: str) -> Made:
    row = b"2026-05-16T12:00:00Z" + b",%s" % value * 9 + b",9\n"
    return over_course(itertools.repeat(row, rows), *options)


def container(rows: int, samples: Iterable[tvl.Sample], course: bytes = COURSE) -> Made:
    return Made({"run.tvl": tvl.run(rows, samples), "matrix.txt": [course]}, ["run.tvl"])


def far_times(rows: int) -> Made:
    times = (-(2**63), 2**63 - 1, -(2**62) - 1, 2**62 + 1)
    return container(rows, ((times[i % 4], 0.0, 900.0, 0.0, i * 5.0) for i in range(rows)))


def ponds(rows: int) -> Made:
    """A surveyed course with this number of points of its pond, which are all written to the course file."""
    matrix = [0, 0, 1, 0, 0, -1, 0, 0, 1, 0, 0, -6378137, 0, 0, 0, 1]
    points = ((1.0 + i % 100, 2.0) for i in range(rows))
    return Made({"gate.tvl": tvl.course(matrix, 0.1, rows, points)}, ["-p", "-g", "gate.tvl"])


# Detectors of a run


def exits(rows: int, heights: Iterable[float], speeds: Iterable[float], times: Iterable[int] | None = None) -> Made:
    """Heights in feet, speeds in mph downward; a millisecond a sample."""
    clock_times = itertools.count(NOON) if times is None else times
    samples = ((t, 0.0, h * FEET, 0.0, v * MPH) for t, h, v in zip(clock_times, heights, speeds))
    return container(rows, samples)


def rising(rows: int) -> Iterator[float]:
    return (0.02 * i for i in range(rows))


def falls(rows: int, *steps: float, times: Iterable[int] | None = None) -> Made:
    """At constant height, with speeds that increase by each of the steps in turn."""
    return exits(rows, FLAT, itertools.accumulate(itertools.cycle(steps)), times)


def falls_of_the_least_mean_over_all_rows(rows: int) -> Made:
    """The times are 0, 1, 0, 1 ms and so on. Each mean is over all rows up to the last and is below the threshold of a
    fall by little more than a rounding error."""
    last = rows - 2 + rows % 2
    times = (NOON + (i % 2 if i < last else 10**6) for i in range(rows))
    least = (1 - 1e-11) / (2.23693629 * MPH)
    return exits(rows, FLAT, (0.024 * least * (i // 2) for i in range(1, rows + 1)), times)


def bouncing(rows: int, last_step: int) -> Iterator[int]:
    """Times with steps of 1 ms forward and 2 ms back, and a last step far forward."""
    return (NOON + (i % 2) - i // 2 + (last_step if i == rows - 1 else 0) for i in range(rows))


def landings(rows: int, heights: Iterable[float], times: Iterable[int] | None = None) -> Made:
    """A descent of 2,000 ft, then these heights in feet at 1 m/s, then a fast sample."""
    clock_times = itertools.repeat(NOON) if times is None else times
    start = ((NOON, 0.0, 900.0, 30.0, 9.0), (NOON, 0.0, 200.0, 30.0, 9.0))
    slow = ((t, 0.0, h * FEET, 1.0, 0.0) for t, h in zip(clock_times, itertools.islice(heights, rows - 3)))
    samples: Iterable[tvl.Sample] = itertools.chain(start, slow, ((NOON, 0.0, 300.0, 30.0, 0.0),))
    return Made({"run.tvl": tvl.run(rows, samples)}, ["-i", "run.tvl"])


def two_levels(rows: int) -> Iterator[float]:
    """Two heights in turn; for each, another sample near the end prevents a landing."""
    last = {rows - 5: 201.0, rows - 4: 401.0}
    return (last.get(i, 300.0 + 50 * (i % 2)) for i in itertools.count())


def spiral(rows: int) -> Iterator[float]:
    """Heights that approach their mean: for every candidate, another sample of the second half prevents a landing."""
    half = rows // 2
    for i in itertools.count():
        side = 1 if i % 2 else -1
        yield 400 + side * (90 - 80 * i / half) if i < half else 400 + side * (105 - 90 * (rows - i) / half)


# Runs whose whole track is turn, rollout or swoop, so that every sample is drawn.

Turn = Callable[[int], tuple[float, float, float, float]]


def drawn(rows: int, turn: Turn, latitude: Callable[[int], float] = lambda i: -0.003, course: bytes = COURSE) -> Made:
    """A run that turns from its third sample on: turn(i) is (height in ft, north, down, east in mph)."""
    tail = 24

    def samples() -> Iterator[tvl.Sample]:
        yield NOON, 0.0, 2600 * FEET, 20.0, 0.0
        yield NOON + 200, 0.0, 2400 * FEET, 20.0, 0.0
        for i in range(rows - tail - 2):
            height, north, down, east = turn(i)
            yield NOON + 200 * (i + 2), latitude(i), height * FEET, north * MPH, down * MPH, east * MPH
        for k in range(tail):
            left = (tail - 1 - k) / tail
            yield (NOON + 200 * (rows - tail + k), -0.0005 + 0.00003 * k, 150 * FEET * left * left, 80 * MPH * left,
                   90 * MPH * left)

    return container(rows, samples(), course)


def split_headings(rows: int) -> Turn:
    """A steep dive in which two left turns follow each right turn: every third turn angle is evened out."""
    headings = [(math.cos(math.radians(a)), math.sin(math.radians(a))) for a in (0, 120, 20)]
    return lambda i: (900 - 700 * i / rows, 10 * headings[i % 3][0], 70.0, 10 * headings[i % 3][1])


def one_sample_far_out(rows: int) -> Made:
    """One sample far out on all three axes: a chart with one scale for two axes has a huge span on both."""
    return drawn(rows, lambda i: (5e307 if i == 200 else 900 - 700 * i / rows, 30.0, 40.0, 0.0),
                 lambda i: 5.0 if i == 200 else -0.003, LEANING_COURSE)


LARGEST = sys.float_info.max
FAR_HEIGHTS = (900.0, 1e299, 2e306, -6e307, LARGEST, -LARGEST)


def short_run() -> Made:
    return drawn(100, lambda i: (900 - 7 * i, 30.0, 40.0, 0.0))


def drawn_pond(rows: int) -> Made:
    """A run of 100 samples over a pond with this number of points."""
    made = short_run()
    points = (b"(%d, %d)\n" % (1 + i * 7919 % 100, i * 104_729 % 100) for i in range(rows))
    return made._replace(files={**made.files, "matrix.txt": itertools.chain([COURSE], points)})


# Course files and indices; walks; names


def course(*lines: bytes, **files: Sequence[bytes]) -> Made:
    others = {name.lstrip("_") + ".txt": parts for name, parts in files.items()}
    return Made({**others, "matrix.txt": [COURSE, *lines], "run.csv": [HEAD, STANDING * 10]}, ["run.csv"])


def long_chain(rows: int) -> Made:
    """Each of 64 indices names the next; the file that the last one names does not exist."""
    return course(b"* - 0.txt\n", **{f"_{k}": [b"// nothing\n" * (rows // 64), b"* - %d.txt\n" % (k + 1)]
                                     for k in range(64)})


def walk(rows: Iterable[bytes], *options: str) -> Made:
    return Made({"walk.csv": itertools.chain([HEAD], rows)}, [*options, "-g", "walk.csv"])


def walked(rows: int, time: Callable[[int], int], metres: Callable[[int], float]) -> Made:
    return walk(clock(time(i)) + b",%.9f,0,100,0,0,0,1,1,1,9\n" % (metres(i) / 110_574) for i in range(rows))


def marked_walk(rows: int, per_metre: float) -> Iterator[bytes]:
    """A walk over the marks of a course (m north and east); half of the rows are at the marks, half between them."""
    marks = ((70, 12), (0, 5), (-20, 0), (0, -5), (70, 0), (90, 25))
    per_leg = rows // (len(marks) * 2)
    time = NOON
    for (north, east), (next_north, next_east) in zip(marks, (*marks[1:], marks[-1])):
        for i in range(2 * per_leg):
            if i < per_leg:
                time += 3 if i % 3 else 1000 * 12 // per_leg + 1
            part = ((i - per_leg) / per_leg * per_metre) % 1.0 if i >= per_leg else 0.0
            at = (north + part * (next_north - north), east + part * (next_east - east))
            yield clock(time) + b",%.9f,%.9f,100,0,0,0,1,1,1,9\n" % (at[0] / 110_574, at[1] / 111_319)


def taken_names(rows: int) -> Made:
    """The run has the name of the report, and a hundredth of this number of names to set it aside already exist."""
    made = short_run()
    taken = {f"run.txt.orig.{k}": HardLink("run.txt.orig") for k in range(2, rows // 100)}
    return Made({"run.txt.orig": [], **taken, "matrix.txt": made.files["matrix.txt"], "run.txt": made.files["run.tvl"]},
                ["run.txt"])


VALUES = {
    "huge": b"1e308", "largest": b"1.7976931348623157e308", "far_below": b"-2e307", "not_a_number": b"nan",
    "endless": b"inf", "denormal": b"5e-324", "minus_zero": b"-0", "underflow": b"1e-400", "overflow": b"-1e999",
    "of_16_digits": b"1.234567890123456", "of_a_thousandth": b"1e-3", "large": b"1e15", "hexadecimal": b"0x1.8p3",
    "blank": b"      ",
}
# The middle between two doubles, except for the last digit.
TIE = b"1.00000000000000011102230246251565404236316680908203125" + b"0" * 750 + b"1"

FAMILIES: dict[str, Family] = {
    # Lines, columns and bytes.
    "empty_lines": lambda n: over_course([b"\n" * n]),
    "empty_lines_cr": lambda n: over_course([b"\r" * n]),
    "empty_lines_from_the_first": lambda n: implicit(b"\n" * n),
    "lines_of_commas": lambda n: over_course([b",,,,,,,,,,,,,,\n" * n]),
    "one_byte_rows": lambda n: implicit(HEAD.replace(b"time,", b"").replace(b"lat", b"lat,time"), b"0\n" * n),
    "carriage_returns_only": lambda n: implicit(HEAD.replace(b"\n", b"\r"), (STANDING[:-1] + b"\r") * n),
    "swapped_line_ends": lambda n: implicit(HEAD.replace(b"\n", b"\n\r"), (STANDING[:-1] + b"\n\r") * n),
    "many_columns": lambda n: implicit(b"a," * n, b"\n"),
    "columns_that_fill_a_line": lambda n: implicit(COLUMNS + b",a" * 16_000 + b"\n\n", STANDING * n),
    # 1 GB for a million rows.
    "one_line_of_nuls": lambda n: Made({"run.csv": Hole(1000 * n)}, ["-i", "run.csv"]),
    "one_line_of_digits": lambda n: Made({"run.csv": itertools.repeat(b"7" * 1000, n)}, ["-i", "run.csv"]),
    "one_line_of_digits_behind_good_rows":
        lambda n: over_course(itertools.chain([STANDING * 10], itertools.repeat(b"7" * 1000, n))),
    "other_tags_only": lambda n: implicit(b"$IMU,1,2,3\n" * n),
    "column_line_again_and_again": lambda n: implicit((b"$COL,GNSS," + COLUMNS + b"\n") * n, b"$GNSS," + STANDING),
    "tagged_rows_of_one_comma": lambda n: tagged(b"numSV,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,time",
                                                 b"$GNSS,,\n" * n),
    # Read to its end as tagged lines, then once more as header lines.
    "tagged_then_no_prefix": lambda n: tagged(COLUMNS, (b"$GNSS," + STANDING) * n + b"x\n"),
    # Times.
    "equal_times": lambda n: over_course([STANDING * n]),
    "times_going_back": lambda n: over_course(standing(NOON + 1_000_000 - i) for i in range(n)),
    "every_row_another_minute": lambda n: over_course(standing(60_000 * (i * 7919 % 40_000)) for i in range(n)),
    "every_row_another_year": lambda n: over_course(
        b"%d-02-31T27:61:3.5Z,0,0,100,0,0,0,1,1,1,9\n" % (i * 4_294_967_291 % 2**32) for i in range(n)),
    "second_60_and_more": lambda n: over_course([b"2026-05-16T12:00:61.0Z,0,0,100,0,0,0,1,1,1,9\n" * n]),
    "seconds_beyond_every_integer": lambda n: over_course([b"2026-05-16T12:00:1e30Z,0,0,100,0,0,0,1,1,1,9\n" * n]),
    "times_of_many_blanks": lambda n: over_course(
        [b"    2026-    5-    16T    12:     0:    3Z,0,0,100,0,0,0,1,1,1,9\n" * n]),
    # Values.
    **{f"every_value_{name}": functools.partial(every_value, value=value) for name, value in VALUES.items()},
    "every_value_huge_with_dump": lambda n: every_value(n, b"1e308", "-d"),
    "every_value_not_a_number_with_dump": lambda n: every_value(n, b"nan", "-d"),
    "every_value_of_300_digits": lambda n: every_value(n // 16, b"1234567890" * 30),
    "every_value_of_800_decimals": lambda n: every_value(n // 64, TIE),
    # Containers.
    "container_that_claims_four_billion": lambda n: Made(
        {"run.tvl": [tvl.beginning(1, 8 + 70 * (2**32 - 1)), struct.pack(">HHI", 8, 70, 2**32 - 1), bytes(70) * n]},
        ["-i", "run.tvl"]),
    "container_cut_short": lambda n: Made({"run.tvl": tvl.run(n, itertools.repeat((0, 0, 0, 0, 0), n - 1))},
                                          ["-i", "run.tvl"]),
    "container_of_zeros": lambda n: container(n, itertools.repeat((0, 0.0, 0.0, 0.0, 0.0), n)),
    "container_of_denormals": lambda n: container(n, itertools.repeat((1, *[5e-324] * 4), n)),
    "container_of_subnormal_steps": lambda n: container(n, ((i, *[i * 1e-310] * 4) for i in range(n))),
    "container_of_far_times": far_times,
    "container_of_ponds": ponds,
    # Detectors of a run. By its speeds every sample is a fall, but by the end the heights have risen by more than 75
    # ft; or every second sample may be an exit, and the mean over the following 1,500 samples is just below the
    # threshold.
    "exits_in_a_slow_climb": lambda n: exits(
        n, (3000 + 70 * i / n + (100 if i == n - 1 else 0) for i in range(n)), rising(n)),
    "exits_in_a_steady_climb": lambda n: exits(n, (3000 + 200 * i / n for i in range(n)), rising(n)),
    "exits_in_waves": lambda n: exits(n, (3000 + 37 * math.sin(i / 1000) + 100 * i / n for i in range(n)), rising(n)),
    "falls_of_a_low_mean": lambda n: falls(n, 0.013, 0.0109),
    "falls_of_the_least_mean": lambda n: falls(n, 0.024, 0.0),
    "falls_of_the_least_mean_at_250_hz": lambda n: falls(n, 0.096, 0.0, times=itertools.count(NOON, 4)),
    "falls_of_the_least_mean_over_all_rows": falls_of_the_least_mean_over_all_rows,
    "falls_that_never_last": lambda n: exits(n, FLAT, rising(n), itertools.repeat(NOON)),
    # A step back in time counts as almost 2^32 ms: it is a fall only with enormous speeds.
    "falls_while_the_clock_goes_back": lambda n: exits(n, FLAT, (7e7 * i for i in range(n)), range(NOON, NOON - n, -1)),
    "falls_on_a_bouncing_clock": lambda n: falls(n, 0.0, 0.013, times=bouncing(n, 0)),
    "falls_of_a_low_mean_on_a_bouncing_clock": lambda n: falls(n, 0.0, 0.013, times=bouncing(n, 10**9)),
    "landings_refused_at_the_end": lambda n: landings(n, itertools.repeat(300)),
    "landings_that_drift": lambda n: landings(n, (300 + 300 * i / n for i in itertools.count())),
    "landings_on_two_levels": lambda n: landings(n, two_levels(n)),
    "landings_in_a_spiral": lambda n: landings(n, spiral(n)),
    # 15 s have 15,000 samples; each candidate fails shortly before their end.
    "landings_at_1000_hz": lambda n: landings(
        n, (300 if i % 14_000 < 13_990 else 401 for i in itertools.count()), itertools.count(NOON)),
    "landings_while_the_clock_goes_back": lambda n: landings(n, two_levels(n), itertools.count(NOON, -1)),
    "endless_standstill": lambda n: over_course((standing(NOON + 5 * i) for i in range(n)), "-i"),
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
    "drawn_over_one_sample_far_out": one_sample_far_out,
    "drawn_over_places_up_to_the_largest_number": lambda n: drawn(
        n, lambda i: (FAR_HEIGHTS[i % 6], 30.0, 40.0, 0.0), lambda i: (-0.003, 20.0, -80.0, 60.0)[i % 4]),
    "drawn_over_speeds_up_to_the_largest_number": lambda n: drawn(
        n, lambda i: (500.0, LARGEST * (i % 3 - 1), 40.0, 1e306 * (i % 5))),
    "drawn_over_speeds_below_the_least_that_can_be_scaled": lambda n: drawn(
        n, lambda i: (500.0, 1e-307 * (i % 5), 40.0, 1e-308 * (i % 3))),
    "drawn_over_speeds_of_1e300": lambda n: drawn(n, lambda i: (500.0, 1e300 * (i % 5), 40.0, 1e-300 * (i % 3))),
    "drawn_over_speeds_of_1e_300": lambda n: drawn(n, lambda i: (500.0, 1e-300 * (i % 5), 40.0, 5e-324 * (i % 3))),
    "drawn_pond": drawn_pond,
    # Course files and indices.
    "course_of_comments": lambda n: course(b"// nothing\n" * n),
    "course_of_pond_points": lambda n: course(b"(1, 2)\n" * n),
    "course_of_pond_lines": lambda n: course(
        b"(  12.5,   22.5),  (  12.5,   22.5),  (  12.5,   22.5),  (  12.5,   22.5),\n" * n),
    "course_of_huge_numbers": lambda n: course(b"(1e38, -1e38), (1e-45, 99999999999999999999999999)\n" * n),
    "course_of_one_line": lambda n: course(b"(1, 2), " * n),
    "course_of_thetas": lambda n: course(b"theta = 1e308\n" * n),
    "index_of_other_runs": lambda n: course(b"2026 - other.txt\n" * n),
    "index_that_names_itself": lambda n: course(b"// nothing\n" * n, b"* - matrix.txt\n"),
    "index_that_names_itself_behind_a_pond": lambda n: course(b"(1, 2)\n" * n, b"* - matrix.txt\n"),
    "index_of_two_that_name_each_other": lambda n: course(
        b"// nothing\n" * (n // 2), b"* - other.txt\n", other=[b"// nothing\n" * (n // 2), b"* - matrix.txt\n"]),
    "index_of_a_long_chain": long_chain,
    # Walks of a course. In the crawl, 2 m take almost 8 s again and again.
    "walk_that_stands_for_ever": lambda n: walked(n, lambda i: NOON + 5 * i, lambda i: 0),
    "walk_that_never_stands": lambda n: walked(n, lambda i: NOON + 200 * i, lambda i: 1.5 * i),
    "walk_in_a_crawl": lambda n: walked(n, lambda i: NOON + 5 * i, lambda i: 0.00127 * i),
    "walk_to_and_fro": lambda n: walked(n, lambda i: NOON + 5 * i, lambda i: 3 * (i // 1500 % 2)),
    "walk_on_a_clock_that_stands": lambda n: walked(n, lambda i: NOON, lambda i: i % 2),
    "walk_on_a_clock_that_goes_back": lambda n: walked(n, lambda i: NOON + 2_000_000 - i, lambda i: i % 3),
    "walk_without_accuracy": lambda n: walk([STANDING.replace(b",1,1,1,", b",9,9,9,") * n]),
    "walk_with_a_pond": lambda n: walk(marked_walk(n, 1), "-p"),
    # Each leg is walked a thousand times: almost every row becomes a point of the pond.
    "walk_with_a_restless_pond": lambda n: walk(marked_walk(n, 0.999 * n / 100), "-p", "-d"),
    "names_that_are_taken": taken_names,
}
