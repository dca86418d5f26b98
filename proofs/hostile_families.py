"""Time and memory grow linearly with the input, even for inputs that are made to cause endless or quadratic work.

Makes each family of inputs in up to five sizes, up to a million rows. Every call must end with exit status 0 or 1
within

    time    0.3 s + 2 us a row of processor time, and a slope below 1.1 on logarithmic scales
    memory  40 MB + 232 bytes a row

Lines much longer than 100 bytes count as several rows. Families in which every sample is drawn may take 20 us and 3,000
bytes a row, with the same slope: the drawing library stores each sample as two dots and a corner in fourteen curves
until the page is complete. A family that exceeds a limit is measured up to four times, and the shortest time of each
size counts, since the machine may do other work.

    scripts/proofs hostile_families [PATTERN]

PATTERN is a regular expression for the names of the families to try. Prints a table.
"""
from __future__ import annotations

import functools
import math
import multiprocessing
import os
import pathlib
import re
import resource
import statistics
import subprocess
import tempfile
from collections.abc import Mapping
from typing import NamedTuple

from proofs.families import FAMILIES, TINY
from proofs.harness import CORES, Outcome, release_program


class Limits(NamedTuple):
    sizes: tuple[int, ...]
    seconds_per_row: float
    bytes_per_row: int


LIMITS = Limits((TINY, 15_625, 62_500, 250_000, 1_000_000), 2e-6, 232)
DRAWN_LIMITS = Limits((TINY, 15_625, 62_500, 250_000), 20e-6, 3000)
FIXED_TIME = 0.3
FIXED_MEMORY = 40e6
STEEPEST = 1.1
LEAST_TIME = 0.03  # s above the fixed cost; shorter times are too inexact for a slope
MOST_TRIES = 4
TIMEOUT_FACTOR = 4  # times the limit; then a signal ends the child


class Cost(NamedTuple):
    status: int
    seconds: float
    memory: int


def limits_of(name: str) -> Limits:
    return DRAWN_LIMITS if name.startswith("drawn_") else LIMITS


def time_limit(name: str, rows: int) -> float:
    return FIXED_TIME + limits_of(name).seconds_per_row * rows


def measure(program: pathlib.Path, name: str, rows: int) -> Cost:
    with tempfile.TemporaryDirectory(prefix="tarvel_proofs_") as folder:
        made = FAMILIES[name](rows)
        for file, parts in made.files.items():
            with open(pathlib.Path(folder, file), "wb") as stream:
                stream.writelines(parts)
        seconds = math.ceil(TIMEOUT_FACTOR * time_limit(name, rows))
        child = subprocess.Popen(
            [program, *made.arguments], cwd=folder, env=dict(os.environ, TZ="UTC", LC_ALL="C"),
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds)))
        _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    return Cost(child.returncode, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)


def violation(name: str, rows: int, cost: Cost) -> str | None:
    if cost.status not in (0, 1):
        return f"{rows} rows: exit status {cost.status} after {cost.seconds:.2f} s"
    if cost.seconds > time_limit(name, rows):
        return f"{rows} rows: {cost.seconds:.2f} s"
    is_large = cost.memory > FIXED_MEMORY + limits_of(name).bytes_per_row * rows
    return f"{rows} rows: {cost.memory / 1e6:.0f} MB" if is_large else None


def slope(costs: Mapping[int, Cost]) -> float:
    """The slope of the time above the fixed cost, by least squares; 0 with fewer than two usable sizes."""
    above = ((rows, cost.seconds - costs[TINY].seconds) for rows, cost in costs.items())
    points = [(math.log(rows), math.log(seconds)) for rows, seconds in above if seconds >= LEAST_TIME]
    return statistics.linear_regression(*zip(*points)).slope if len(points) > 1 else 0.0


class Tried(NamedTuple):
    name: str
    line: str  # of the table
    wrong: str | None
    per_row: tuple[float, float]  # seconds and bytes above the fixed cost


def try_family(program: pathlib.Path, name: str) -> Tried:
    costs: dict[int, Cost] = {}
    for _ in range(MOST_TRIES):
        for rows in limits_of(name).sizes:
            cost = measure(program, name, rows)
            # A call that failed once stays.
            costs[rows] = min(cost, costs.get(rows, cost), key=lambda cost: (cost.status in (0, 1), cost.seconds))
        wrong = next(filter(None, (violation(name, rows, cost) for rows, cost in costs.items())), None)
        if wrong is None and slope(costs) >= STEEPEST:
            wrong = f"slope {slope(costs):.2f}"
        if wrong is None:
            break
    rows, last = max(costs.items())
    fixed = costs[TINY].seconds
    per_row = (last.seconds - fixed) / rows, max(0.0, last.memory - FIXED_MEMORY) / rows
    line = (f"{name:52} {rows:8} {last.status:6} {1e3 * fixed:9.0f} {1e3 * last.seconds:8.0f} {1e6 * per_row[0]:8.3f}"
            f" {slope(costs):6.2f} {last.memory / 1e6:7.0f} {per_row[1]:7.0f}")
    return Tried(name, line, wrong, per_row)


def prove(words: list[str]) -> Outcome:
    program = release_program()
    names = [name for name in FAMILIES if re.search(words[0] if words else "", name)]
    print(f"{'family':52} {'rows':>8} {'status':>6} {'fixed ms':>9} {'all ms':>8} {'us/row':>8} {'slope':>6} {'MB':>7}"
          f" {'B/row':>7}", flush=True)
    every = []
    # A process for each family: the peak memory of a child includes that of its parent when it was forked.
    with multiprocessing.get_context("fork").Pool(CORES, maxtasksperchild=1) as pool:
        for tried in pool.imap(functools.partial(try_family, program), names):
            every.append(tried)
            print(tried.line, flush=True)
            if tried.wrong:
                print("FINDING", f"{tried.name}: {tried.wrong}", flush=True)
    most = {limits: [max((tried.per_row[i] for tried in every if limits_of(tried.name) == limits), default=0.0)
                     for i in range(2)] for limits in (LIMITS, DRAWN_LIMITS)}
    sizes = sum(len(limits_of(name).sizes) for name in names)
    return Outcome(f"{len(names)} families, {sizes} sizes, up to {max(LIMITS.sizes):,} rows: at most "
                   f"{1e6 * most[LIMITS][0]:.1f} us and {most[LIMITS][1]:.0f} bytes a row, "
                   f"{1e6 * most[DRAWN_LIMITS][0]:.0f} us and {most[DRAWN_LIMITS][1]:,.0f} bytes a drawn sample",
                   sum(tried.wrong is not None for tried in every))
