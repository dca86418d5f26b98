#!/usr/bin/env python3
"""scripts/proofs hostile_families [PATTERN]: files that aim at endless or quadratic behaviour cost no more than their rows.

Each family is made in five sizes, up to a million rows, and given to build/release/tarvel, which must be built. Every
run must end by itself with exit status 0 or 1 and stay within

    time    2 us a row + 0.3 s of processor time, and in proportion: slope below 1.1 on logarithmic scales
    memory  40 MB + 232 bytes a row
    64 KB   0.5 s for a file of at most that size

Lines much longer than 100 bytes count as several rows. A family that is drawn from end to end has limits of its own,
since every drawn sample is two dots and a corner in fourteen curves to the drawing library, which keeps them until the
page is complete: 20 us and 3,000 bytes a row, and no steeper. With a PATTERN only families whose name matches this regular expression are tried; --program FILE tries another
program. A run beyond a limit is repeated, up to four times, and its best time counts, since machines have other work.
What a family writes goes into a temporary folder that is removed. Prints a table; exit status 1 on any violation.
"""

import argparse
import collections
import concurrent.futures
import itertools
import math
import os
import pathlib
import re
import resource
import struct
import subprocess
import sys
import tempfile

root = pathlib.Path(__file__).resolve().parent.parent

tiny = 400  # rows; what a run of so few takes is the fixed cost
Limits = collections.namedtuple("Limits", "sizes seconds_per_row bytes_per_row")
limits = Limits((tiny, 15_625, 62_500, 250_000, 1_000_000), 2e-6, 232)
drawn_limits = Limits((tiny, 15_625, 62_500, 250_000), 20e-6, 3000)
fixed_time = 0.3
fixed_memory = 40e6
steepest = 1.1
least_time = 0.03  # s above the fixed cost from which on a slope means something
small_file = 65_536
small_file_time = 0.5
most_tries = 4
patience = 4  # times the limit; then the child is ended by a signal

families = {}


def family(make):
    """Registers a maker. It gets a folder and a row count, writes the files and returns the command line."""
    families[make.__name__] = make
    return make


# A course at latitude 0, longitude 0 whose frame is exact: x is north, z the height above sea level.
plain_course = b"[0, 0, 1, 0]\n[0, -1, 0, 0]\n[1, 0, 0, -6378137]\n[0, 0, 0, 1]\n"
first_line = b"time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV\n,,,,,,,,,,\n"
feet = 1 / 3.2808399
mph = 1 / 2.2369362920544


def write(folder, name, *parts):
    with open(folder / name, "wb") as file:
        for part in parts:
            file.writelines((part,) if isinstance(part, bytes) else part)


def clock(ms):
    minutes, ms = divmod(ms, 60_000)
    hours, minutes = divmod(minutes, 60)
    days, hours = divmod(hours, 24)
    return b"2026-05-%02dT%02d:%02d:%02d.%03dZ" % (1 + days, hours, minutes, ms // 1000, ms % 1000)


noon = 12 * 3_600_000
sample = struct.Struct(">qddddddfffBB")  # time, position, velocity, accuracies, fix, satellites


def container(rows, samples):
    """A .tvl file of samples (time, latitude, height, north, down), and east behind them where it is not 0."""
    yield struct.pack(">4sHQHHQ", b"uTVL", 26, 26, 16, 1, 0)
    yield struct.pack(">IQI", 1, 42, (8 + 70 * rows) & 0xFFFFFFFF)
    yield struct.pack(">HHI", 8, 70, rows)
    for time, latitude, height, north, down, *east in itertools.islice(samples, rows):
        yield sample.pack(time, latitude, 0.0, height, north, *(east or (0.0,)), down, 1, 1, 1, 3, 9)


def write_container(folder, rows, samples):
    write(folder, "run.tvl", container(rows, samples))
    write(folder, "matrix.txt", plain_course)
    return ["run.tvl"]


def write_track(folder, rows):
    write(folder, "run.csv", first_line, rows)
    write(folder, "matrix.txt", plain_course)
    return ["run.csv"]


def standing_row(ms):
    return clock(ms) + b",0,0,100,0,0,0,1,1,1,9\n"


# Lines, columns and bytes.


@family
def empty_lines(folder, rows):
    return write_track(folder, [b"\n" * rows])


@family
def empty_lines_cr(folder, rows):
    return write_track(folder, [b"\r" * rows])


@family
def empty_lines_from_the_first(folder, rows):
    write(folder, "run.csv", b"\n" * rows)
    return ["-i", "run.csv"]


@family
def lines_of_commas(folder, rows):
    return write_track(folder, [b",,,,,,,,,,,,,,\n" * rows])


@family
def one_byte_rows(folder, rows):
    write(folder, "run.csv", first_line.replace(b"time,", b"").replace(b"lat", b"lat,time"), b"0\n" * rows)
    return ["-i", "run.csv"]


@family
def carriage_returns_only(folder, rows):
    write(folder, "run.csv", first_line.replace(b"\n", b"\r"), (standing_row(noon)[:-1] + b"\r") * rows)
    return ["-i", "run.csv"]


@family
def swapped_line_ends(folder, rows):
    write(folder, "run.csv", first_line.replace(b"\n", b"\n\r"), (standing_row(noon)[:-1] + b"\n\r") * rows)
    return ["-i", "run.csv"]


@family
def many_columns(folder, rows):
    write(folder, "run.csv", b"a," * rows, b"\n")
    return ["-i", "run.csv"]


@family
def columns_that_fill_a_line(folder, rows):
    names = b"time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV" + b",a" * 16_000 + b"\n"
    write(folder, "run.csv", names, b"\n", standing_row(noon) * rows)
    return ["-i", "run.csv"]


def one_line(folder, rows, byte):
    """1 GB for a million rows: a hole for NULs, and one block written again and again for anything else."""
    size = rows * 1000
    with open(folder / "run.csv", "wb") as file:
        if byte == b"\0":
            file.truncate(size)
        else:
            block = byte * 1_000_000
            for begin in range(0, size, len(block)):
                file.write(block[: size - begin])
    return ["-i", "run.csv"]


@family
def one_line_of_nuls(folder, rows):
    return one_line(folder, rows, b"\0")


@family
def one_line_of_digits(folder, rows):
    return one_line(folder, rows, b"7")


@family
def one_line_of_digits_behind_good_rows(folder, rows):
    write_track(folder, [standing_row(noon) * 10, b"7" * (1000 * rows)])
    return ["run.csv"]


@family
def other_tags_only(folder, rows):
    write(folder, "run.csv", b"$IMU,1,2,3\n" * rows)
    return ["-i", "run.csv"]


@family
def column_line_again_and_again(folder, rows):
    names = b"$COL,GNSS,time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV\n"
    write(folder, "run.csv", names * rows, b"$GNSS," + standing_row(noon))
    return ["-i", "run.csv"]


@family
def tagged_rows_of_one_comma(folder, rows):
    names = b"$COL,GNSS,numSV,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,time\n"
    write(folder, "run.csv", names, b"$GNSS,,\n" * rows)
    return ["-i", "run.csv"]


@family
def tagged_then_no_prefix(folder, rows):
    """Read to its end as tagged lines, then once more as header lines."""
    names = b"$COL,GNSS,time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV\n"
    write(folder, "run.csv", names, (b"$GNSS," + standing_row(noon)) * rows, b"x\n")
    return ["-i", "run.csv"]


# Times.


@family
def equal_times(folder, rows):
    return write_track(folder, [standing_row(noon) * rows])


@family
def times_going_back(folder, rows):
    return write_track(folder, (standing_row(noon + 1_000_000 - i) for i in range(rows)))


@family
def every_row_another_minute(folder, rows):
    return write_track(folder, (standing_row(60_000 * (i * 7919 % 40_000)) for i in range(rows)))


@family
def every_row_another_year(folder, rows):
    tail = b"-02-31T27:61:3.5Z,0,0,100,0,0,0,1,1,1,9\n"
    return write_track(folder, (b"%d" % (i * 4_294_967_291 % 2**32) + tail for i in range(rows)))


@family
def second_60_and_more(folder, rows):
    return write_track(folder, [b"2026-05-16T12:00:61.0Z,0,0,100,0,0,0,1,1,1,9\n" * rows])


@family
def seconds_beyond_every_integer(folder, rows):
    return write_track(folder, [b"2026-05-16T12:00:1e30Z,0,0,100,0,0,0,1,1,1,9\n" * rows])


@family
def times_of_many_blanks(folder, rows):
    return write_track(folder, [b"    2026-    5-    16T    12:     0:    3Z,0,0,100,0,0,0,1,1,1,9\n" * rows])


# Values.


def every_value(folder, rows, value):
    row = b"2026-05-16T12:00:00Z" + b",%s" % value * 9 + b",9\n"
    return write_track(folder, itertools.repeat(row, rows))


for name, value in (
    ("huge", b"1e308"),
    ("largest", b"1.7976931348623157e308"),
    ("far_below", b"-2e307"),
    ("not_a_number", b"nan"),
    ("endless", b"inf"),
    ("denormal", b"5e-324"),
    ("minus_zero", b"-0"),
    ("underflow", b"1e-400"),
    ("overflow", b"-1e999"),
    ("of_16_digits", b"1.234567890123456"),
    ("of_a_thousandth", b"1e-3"),
    ("large", b"1e15"),
    ("hexadecimal", b"0x1.8p3"),
    ("blank", b"      "),
):

    def make_every_value(folder, rows, value=value):
        return every_value(folder, rows, value)

    families["every_value_" + name] = make_every_value


@family
def every_value_huge_with_dump(folder, rows):
    return ["-d", *every_value(folder, rows, b"1e308")]


@family
def every_value_not_a_number_with_dump(folder, rows):
    return ["-d", *every_value(folder, rows, b"nan")]


@family
def every_value_of_300_digits(folder, rows):
    return every_value(folder, rows // 16, b"1234567890" * 30)


@family
def every_value_of_800_decimals(folder, rows):
    """A tie between two doubles that only the last digit breaks."""
    return every_value(folder, rows // 64, b"1.00000000000000011102230246251565404236316680908203125" + b"0" * 750 + b"1")


# Containers.


@family
def container_that_claims_four_billion(folder, rows):
    head = next(container(rows, []))
    entry = struct.pack(">IQI", 1, 42, (8 + 70 * (2**32 - 1)) & 0xFFFFFFFF)
    write(folder, "run.tvl", head, entry, struct.pack(">HHI", 8, 70, 2**32 - 1), bytes(70) * rows)
    return ["-i", "run.tvl"]


@family
def container_cut_short(folder, rows):
    write(folder, "run.tvl", container(rows, [(0, 0, 0, 0, 0)] * (rows - 1)))
    return ["-i", "run.tvl"]


@family
def container_of_zeros(folder, rows):
    return write_container(folder, rows, itertools.repeat((0, 0.0, 0.0, 0.0, 0.0), rows))


@family
def container_of_denormals(folder, rows):
    return write_container(folder, rows, itertools.repeat((1, 5e-324, 5e-324, 5e-324, 5e-324), rows))


@family
def container_of_subnormal_steps(folder, rows):
    return write_container(folder, rows, ((i, i * 1e-310, i * 1e-310, i * 1e-310, i * 1e-310) for i in range(rows)))


@family
def container_of_far_times(folder, rows):
    times = (-(2**63), 2**63 - 1, -(2**62) - 1, 2**62 + 1)
    return write_container(folder, rows, ((times[i % 4], 0.0, 900.0, 0.0, i * 5.0) for i in range(rows)))


@family
def container_of_ponds(folder, rows):
    """A finished course with so many perimeter points, which all go into the course file."""
    matrix = [0, 0, 1, 0, 0, -1, 0, 0, 1, 0, 0, -6378137, 0, 0, 0, 1]
    write(
        folder,
        "gate.tvl",
        struct.pack(">4sHQHHQ", b"uTVL", 26, 26, 16, 1, 0),
        struct.pack(">IQI", 2, 42, 144 + 16 * rows),
        struct.pack(">H17dHI", 144, *matrix, 0.1, 16, rows),
        (struct.pack(">dd", 1.0 + i % 100, 2.0) for i in range(rows)),
    )
    return ["-p", "-g", "gate.tvl"]


# Detectors of a run.


def exit_track(folder, rows, heights, speeds, times=None):
    """Heights in feet, speeds in mph downward; a millisecond a sample."""
    times = itertools.count(noon) if times is None else times
    return write_container(
        folder, rows, ((t, 0.0, h * feet, 0.0, v * mph) for t, h, v in zip(times, heights, speeds))
    )


@family
def exits_in_a_slow_climb(folder, rows):
    """Every sample falls, by its speeds, and not by its heights, which at last have climbed by more than 75 ft."""
    heights = (3000 + 70 * i / rows + (100 if i == rows - 1 else 0) for i in range(rows))
    return exit_track(folder, rows, heights, (0.02 * i for i in range(rows)))


@family
def exits_in_a_steady_climb(folder, rows):
    return exit_track(folder, rows, (3000 + 200 * i / rows for i in range(rows)), (0.02 * i for i in range(rows)))


@family
def exits_in_waves(folder, rows):
    heights = (3000 + 37 * math.sin(i / 1000) + 100 * i / rows for i in range(rows))
    return exit_track(folder, rows, heights, (0.02 * i for i in range(rows)))


@family
def falls_of_a_low_mean(folder, rows):
    """Every second sample may be an exit; the mean over its 1,500 samples is just too small."""
    speeds = itertools.accumulate(itertools.cycle((0.013, 0.0109)))
    return exit_track(folder, rows, itertools.repeat(3000), speeds)


@family
def falls_of_the_least_mean(folder, rows):
    speeds = itertools.accumulate(itertools.cycle((0.024, 0.0)))
    return exit_track(folder, rows, itertools.repeat(3000), speeds)


@family
def falls_of_the_least_mean_at_250_hz(folder, rows):
    speeds = itertools.accumulate(itertools.cycle((0.096, 0.0)))
    return exit_track(folder, rows, itertools.repeat(3000), speeds, itertools.count(noon, 4))


@family
def falls_of_the_least_mean_over_all_rows(folder, rows):
    """A clock that goes 0, 1, 0, 1 ms. Each mean ends with the last row and is less than a fall's, by hardly more than rounding."""
    last = rows - 2 + rows % 2
    times = (noon + (i % 2 if i < last else 10**6) for i in range(rows))
    least = (1 - 1e-11) / (2.23693629 * mph)
    return exit_track(folder, rows, itertools.repeat(3000), (0.024 * least * (i // 2) for i in range(1, rows + 1)), times)


@family
def falls_that_never_last(folder, rows):
    return exit_track(folder, rows, itertools.repeat(3000), (0.02 * i for i in range(rows)), itertools.repeat(noon))


@family
def falls_while_the_clock_goes_back(folder, rows):
    """Steps back in time count as 2^32 ms: only enormous speeds make them a fall."""
    speeds = (7e7 * i for i in range(rows))
    return exit_track(folder, rows, itertools.repeat(3000), speeds, range(noon, noon - rows, -1))


def bouncing(rows, last_step):
    """A clock that goes forward by 1 ms and back by 2, and at last far ahead."""
    return (noon + (i % 2) - i // 2 + (last_step if i == rows - 1 else 0) for i in range(rows))


@family
def falls_on_a_bouncing_clock(folder, rows):
    speeds = itertools.accumulate(itertools.cycle((0.0, 0.013)))
    return exit_track(folder, rows, itertools.repeat(3000), speeds, bouncing(rows, 0))


@family
def falls_of_a_low_mean_on_a_bouncing_clock(folder, rows):
    speeds = itertools.accumulate(itertools.cycle((0.0, 0.013)))
    return exit_track(folder, rows, itertools.repeat(3000), speeds, bouncing(rows, 10**9))


def landing_track(folder, rows, heights, times=None):
    """A descent of 2,000 ft, then heights in feet at walking pace, then away."""
    times = itertools.repeat(noon) if times is None else times
    start = ((noon, 0.0, 900.0, 30.0, 9.0), (noon, 0.0, 200.0, 30.0, 9.0))
    slow = ((t, 0.0, h * feet, 1.0, 0.0) for t, h in zip(times, itertools.islice(heights, rows - 3)))
    end = ((noon, 0.0, 300.0, 30.0, 0.0),)
    write(folder, "run.tvl", container(rows, itertools.chain(start, slow, end)))
    return ["-i", "run.tvl"]


@family
def landings_refused_at_the_end(folder, rows):
    return landing_track(folder, rows, itertools.repeat(300))


@family
def landings_that_drift(folder, rows):
    return landing_track(folder, rows, (300 + 300 * i / rows for i in itertools.count()))


@family
def landings_on_two_levels(folder, rows):
    """Each of two heights is refused by another sample at the end."""
    last = {rows - 5: 201, rows - 4: 401}
    return landing_track(folder, rows, (last.get(i, 300 + 50 * (i % 2)) for i in itertools.count()))


@family
def landings_in_a_spiral(folder, rows):
    """Heights close in on their middle, so that every candidate is refused by another sample of the second half."""
    half = rows // 2

    def height(i):
        side = 1 if i % 2 else -1
        return 400 + side * (90 - 80 * i / half) if i < half else 400 + side * (105 - 90 * (rows - i) / half)

    return landing_track(folder, rows, map(height, itertools.count()))


@family
def landings_at_1000_hz(folder, rows):
    """15 s hold 15,000 samples, and each candidate is refused just before."""
    heights = (300 if i % 14_000 < 13_990 else 401 for i in itertools.count())
    return landing_track(folder, rows, heights, itertools.count(noon))


@family
def landings_while_the_clock_goes_back(folder, rows):
    last = {rows - 5: 201, rows - 4: 401}
    heights = (last.get(i, 300 + 50 * (i % 2)) for i in itertools.count())
    return landing_track(folder, rows, heights, itertools.count(noon, -1))


@family
def endless_standstill(folder, rows):
    return ["-i", *write_track(folder, (standing_row(noon + 5 * i) for i in range(rows)))]


# Runs of which the whole track is turn, rollout or swoop: all of it is drawn.


def run_track(folder, rows, turn, options=(), latitude=lambda i: -0.003):
    """A run over the plain course that turns from its third sample on: turn(i) is (height in ft, north, down, east in mph)."""
    tail = 24
    samples = [(noon, 0.0, 2600 * feet, 20.0, 0.0), (noon + 200, 0.0, 2400 * feet, 20.0, 0.0)]

    def whole():
        yield from samples
        for i in range(rows - tail - 2):
            height, north, down, east = turn(i)
            yield (noon + 200 * (i + 2), latitude(i), height * feet, north * mph, down * mph, east * mph)
        for k in range(tail):
            left = (tail - 1 - k) / tail
            yield (
                noon + 200 * (rows - tail + k),
                -0.0005 + 0.00003 * k,
                150 * feet * left * left,
                80 * mph * left,
                90 * mph * left,
            )

    write_container(folder, rows, whole())
    return [*options, "run.tvl"]


@family
def drawn_from_end_to_end(folder, rows):
    return run_track(folder, rows, lambda i: (900 - 700 * i / rows, 30.0, 40.0, 0.0))


@family
def drawn_and_restless(folder, rows):
    return run_track(folder, rows, lambda i: (300 + i * 7919 % 600, i * 104_729 % 60 - 30.0, 30.0 + i * 31 % 50, 10.0))


@family
def drawn_in_split_headings(folder, rows):
    """In a steep dive two left turns follow each right turn: every third heading is one that was evened out."""
    headings = [(math.cos(math.radians(a)), math.sin(math.radians(a))) for a in (0, 120, 20)]

    def turn(i):
        north, east = headings[i % 3]
        return 900 - 700 * i / rows, 10 * north, 70.0, 10 * east

    return run_track(folder, rows, turn)


@family
def drawn_with_turns_of_alternating_sign(folder, rows):
    return run_track(folder, rows, lambda i: (900 - 700 * i / rows, 10.0, 70.0, 25.0 * (-1) ** i))


@family
def drawn_with_steps_back_in_time(folder, rows):
    return ["-m", *run_track(folder, rows, lambda i: (900.0 - (i % 3) * 1e-300, 30.0 * (-1) ** i, 40.0, 0.0))]


@family
def drawn_over_heights_of_1e300(folder, rows):
    """Beside them the course is 1e-298 wide: charts of one scale for both axes have to bear it."""
    return run_track(folder, rows, lambda i: (1e300 * (1 + i % 7), 30.0, 40.0, 0.0))


# As plain_course, but leaning to one side: heights lead sideways, too.
leaning_course = b"[0, 0, 1, 0]\n[0.1, -0.995, 0, -637813.7]\n[0.995, 0.1, 0, -6346246.3]\n[0, 0, 0, 1]\n"


@family
def drawn_over_one_sample_far_out(folder, rows):
    """Far along all three axes, so that one scale for two of them has to bear the span of either."""
    arguments = run_track(
        folder,
        rows,
        lambda i: (5e307 if i == 200 else 900 - 700 * i / rows, 30.0, 40.0, 0.0),
        latitude=lambda i: 5.0 if i == 200 else -0.003,
    )
    write(folder, "matrix.txt", leaning_course)
    return arguments


@family
def drawn_over_places_up_to_the_largest_number(folder, rows):
    heights = (900.0, 1e299, 2e306, -6e307, sys.float_info.max, -sys.float_info.max)
    return run_track(
        folder, rows, lambda i: (heights[i % 6], 30.0, 40.0, 0.0), latitude=lambda i: (-0.003, 20.0, -80.0, 60.0)[i % 4]
    )


@family
def drawn_over_speeds_up_to_the_largest_number(folder, rows):
    return run_track(folder, rows, lambda i: (500.0, sys.float_info.max * (i % 3 - 1), 40.0, 1e306 * (i % 5)))


@family
def drawn_over_speeds_below_the_least_that_can_be_scaled(folder, rows):
    return run_track(folder, rows, lambda i: (500.0, 1e-307 * (i % 5), 40.0, 1e-308 * (i % 3)))


@family
def drawn_over_speeds_of_1e300(folder, rows):
    return run_track(folder, rows, lambda i: (500.0, 1e300 * (i % 5), 40.0, 1e-300 * (i % 3)))


@family
def drawn_over_speeds_of_1e_300(folder, rows):
    return run_track(folder, rows, lambda i: (500.0, 1e-300 * (i % 5), 40.0, 5e-324 * (i % 3)))


@family
def drawn_pond(folder, rows):
    """A run of a few samples over a pond of so many points."""
    arguments = run_track(folder, 100, lambda i: (900 - 7 * i, 30.0, 40.0, 0.0))
    write(folder, "matrix.txt", plain_course, (b"(%d, %d)\n" % (1 + i * 7919 % 100, i * 104_729 % 100) for i in range(rows)))
    return arguments


# Course files and indices.


def course_with(folder, lines):
    write(folder, "matrix.txt", plain_course, lines)
    write(folder, "run.csv", first_line, standing_row(noon) * 10)
    return ["run.csv"]


@family
def course_of_comments(folder, rows):
    return course_with(folder, [b"// nothing\n" * rows])


@family
def course_of_pond_points(folder, rows):
    return course_with(folder, [b"(1, 2)\n" * rows])


@family
def course_of_pond_lines(folder, rows):
    return course_with(folder, [b"(  12.5,   22.5),  (  12.5,   22.5),  (  12.5,   22.5),  (  12.5,   22.5),\n" * rows])


@family
def course_of_huge_numbers(folder, rows):
    return course_with(folder, [b"(1e38, -1e38), (1e-45, 99999999999999999999999999)\n" * rows])


@family
def course_of_one_line(folder, rows):
    return course_with(folder, [b"(1, 2), " * rows])


@family
def course_of_thetas(folder, rows):
    return course_with(folder, [b"theta = 1e308\n" * rows])


@family
def index_of_other_runs(folder, rows):
    return course_with(folder, [b"2026 - other.txt\n" * rows])


@family
def index_that_names_itself(folder, rows):
    return course_with(folder, [b"// nothing\n" * rows, b"* - matrix.txt\n"])


@family
def index_that_names_itself_behind_a_pond(folder, rows):
    return course_with(folder, [b"(1, 2)\n" * rows, b"* - matrix.txt\n"])


@family
def index_of_two_that_name_each_other(folder, rows):
    write(folder, "other.txt", b"// nothing\n" * (rows // 2), b"* - matrix.txt\n")
    return course_with(folder, [b"// nothing\n" * (rows // 2), b"* - other.txt\n"])


@family
def index_of_a_long_chain(folder, rows):
    """64 files lead to one another; the last is missing."""
    for k in range(64):
        write(folder, f"{k}.txt", b"// nothing\n" * (rows // 64), b"* - %d.txt\n" % (k + 1))
    return course_with(folder, [b"* - 0.txt\n"])


# Walks of a course.


def walk(folder, rows, options=()):
    write(folder, "walk.csv", first_line, rows)
    return [*options, "-g", "walk.csv"]


def walk_row(ms, metres, accuracy=b"1"):
    return clock(ms) + b",%.9f,0,100,0,0,0,%s,1,1,9\n" % (metres / 110_574, accuracy)


@family
def walk_that_stands_for_ever(folder, rows):
    return walk(folder, (walk_row(noon + 5 * i, 0) for i in range(rows)))


@family
def walk_that_never_stands(folder, rows):
    return walk(folder, (walk_row(noon + 200 * i, 1.5 * i) for i in range(rows)))


@family
def walk_in_a_crawl(folder, rows):
    """Almost 8 s within 2 m, again and again."""
    return walk(folder, (walk_row(noon + 5 * i, 0.00127 * i) for i in range(rows)))


@family
def walk_to_and_fro(folder, rows):
    return walk(folder, (walk_row(noon + 5 * i, 3 * (i // 1500 % 2)) for i in range(rows)))


@family
def walk_on_a_clock_that_stands(folder, rows):
    return walk(folder, (walk_row(noon, i % 2) for i in range(rows)))


@family
def walk_on_a_clock_that_goes_back(folder, rows):
    return walk(folder, (walk_row(noon + 2_000_000 - i, i % 3) for i in range(rows)))


@family
def walk_without_accuracy(folder, rows):
    return walk(folder, [standing_row(noon).replace(b",1,1,1,", b",9,9,9,") * rows])


def marked_walk(rows, per_metre):
    """The marks of a course with so many rows between and at them; distances in m north and east."""
    marks = ((70, 12), (0, 5), (-20, 0), (0, -5), (70, 0), (90, 25))
    legs = len(marks) * 2
    per_leg = rows // legs
    time = noon
    for (north, east), (next_north, next_east) in zip(marks, (*marks[1:], marks[-1])):
        for i in range(per_leg):
            time += 3 if i % 3 else 1000 * 12 // per_leg + 1
            yield clock(time) + b",%.9f,%.9f,100,0,0,0,1,1,1,9\n" % (north / 110_574, east / 111_319)
        for i in range(per_leg):
            part = (i / per_leg * per_metre) % 1.0 if next_north is not None else 0.0
            at = (north + part * (next_north - north), east + part * (next_east - east))
            yield clock(time) + b",%.9f,%.9f,100,0,0,0,1,1,1,9\n" % (at[0] / 110_574, at[1] / 111_319)


@family
def walk_with_a_pond(folder, rows):
    return walk(folder, marked_walk(rows, 1), ["-p"])


@family
def walk_with_a_restless_pond(folder, rows):
    """Each leg is walked a thousand times, so that almost every row is a perimeter point."""
    return walk(folder, marked_walk(rows, 0.999 * rows / 100), ["-p", "-d"])


# Names.


@family
def names_that_are_taken(folder, rows):
    """The run has the report's name, and so many names for what is set aside are taken: a hundredth of the rows."""
    (folder / "run.txt.orig").touch()
    for k in range(2, rows // 100):
        os.link(folder / "run.txt.orig", folder / f"run.txt.orig.{k}")
    arguments = run_track(folder, 100, lambda i: (900 - 7 * i, 30.0, 40.0, 0.0))
    os.rename(folder / arguments[-1], folder / "run.txt")
    return ["run.txt"]


# What is measured.


Run = collections.namedtuple("Run", "status seconds memory")
exit_statuses = (0, 1)


def run_once(program, folder, arguments, seconds):
    environment = dict(os.environ, TZ="UTC", LC_ALL="C")
    child = subprocess.Popen(
        [program, *arguments],
        cwd=folder,
        env=environment,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds)),
    )
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    return Run(child.returncode, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)


def limits_of(name):
    return drawn_limits if name.startswith("drawn_") else limits


def time_limit(name, rows, is_small_file):
    limit = fixed_time + limits_of(name).seconds_per_row * rows
    return min(limit, small_file_time) if is_small_file else limit


def measure(program, name, rows):
    """The best of up to most_tries runs, each over files made anew, and what is wrong with it."""
    best = None
    for _ in range(most_tries):
        with tempfile.TemporaryDirectory(prefix="tarvel_families_") as path:
            folder = pathlib.Path(path)
            arguments = families[name](folder, rows)
            is_small_file = sum(file.stat().st_size for file in folder.iterdir()) <= small_file
            limit = time_limit(name, rows, is_small_file)
            run = run_once(program, folder, arguments, math.ceil(patience * limit))
        if best is None or run.seconds < best.seconds:
            best = run
        if best.status not in exit_statuses or best.seconds <= limit:
            break
    wrong = []
    if best.status not in exit_statuses:
        wrong.append(f"{rows} rows: exit status {best.status} after {best.seconds:.2f} s")
    elif best.seconds > limit:
        wrong.append(f"{rows} rows: {best.seconds:.2f} s")
    if best.memory > fixed_memory + limits_of(name).bytes_per_row * rows:
        wrong.append(f"{rows} rows: {best.memory / 1e6:.0f} MB")
    return best, wrong


def slope(runs):
    """Of the time above the fixed cost, by least squares; None without two sizes in which it means something."""
    above = ((rows, run.seconds - runs[tiny].seconds) for rows, run in runs.items())
    points = [(math.log(rows), math.log(seconds)) for rows, seconds in above if seconds >= least_time]
    if len(points) < 2:
        return None
    mean_x = sum(x for x, _ in points) / len(points)
    mean_y = sum(y for _, y in points) / len(points)
    return sum((x - mean_x) * (y - mean_y) for x, y in points) / sum((x - mean_x) ** 2 for x, _ in points)


def is_too_steep(runs):
    found = slope(runs)
    return found is not None and found >= steepest


def try_family(program, name):
    """The line of the table and the violations. A family that has failed is not tried in larger sizes."""
    runs = {}
    wrong = []
    for rows in limits_of(name).sizes:
        runs[rows], found = measure(program, name, rows)
        wrong += found
        if wrong:
            break
    for rows in list(runs) if not wrong and is_too_steep(runs) else ():
        again, _ = measure(program, name, rows)
        runs[rows] = min(runs[rows], again, key=lambda run: run.seconds)
    if is_too_steep(runs):
        wrong.append(f"slope {slope(runs):.2f}")
    rows, last = max(runs.items())
    found = slope(runs)
    line = (
        f"{name:44} {rows:8}  {last.status:6}  {1e3 * runs[tiny].seconds:8.0f} {1e3 * last.seconds:8.0f}"
        f" {1e6 * (last.seconds - runs[tiny].seconds) / rows:8.3f}  {'-' if found is None else format(found, '.2f'):>5}"
        f" {last.memory / 1e6:7.0f} {max(0.0, last.memory - fixed_memory) / rows:8.0f}"
    )
    return line, wrong


def main():
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--program", default=root / "build" / "release" / "tarvel", type=pathlib.Path)
    parser.add_argument("pattern", nargs="?", default="")
    arguments = parser.parse_args()
    program = arguments.program.resolve()
    if not os.access(program, os.X_OK):
        sys.exit(f"hostile_families: {program} is not built")

    names = [name for name in families if re.search(arguments.pattern, name)]
    print(f"{'family':44} {'rows':>8}  status  fixed ms   all ms   us/row  slope      MB   B/row", flush=True)
    violations = []
    sizes = sum(len(limits_of(name).sizes) for name in names)
    with concurrent.futures.ProcessPoolExecutor(max_workers=os.cpu_count()) as pool:
        tries = [(name, pool.submit(try_family, program, name)) for name in names]
        for name, attempt in tries:
            line, wrong = attempt.result()
            print(line, flush=True)
            violations += [f"{name}: {what}" for what in wrong]
    for violation in violations:
        print("VIOLATION", violation)
    print(f"{len(names)} families, {sizes} sizes, {len(violations)} violations")
    return 1 if violations or not names else 0


if __name__ == "__main__":
    sys.exit(main())
