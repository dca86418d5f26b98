"""Time and memory grow linearly with the input, even for inputs that are made to cause endless or quadratic work.

Makes each family of inputs in up to five sizes, up to a million rows. Every call must end with exit status 0 or 1
within

    time    0.3 s + 2 us a row of processor time, and a slope below 1.1 on logarithmic scales
    memory  40 MB + 232 bytes a row
    64 KB   0.5 s for files of at most this size together

Lines much longer than 100 bytes count as several rows. Families in which every sample is drawn may take 20 us and 3,000
bytes a row, with the same slope: the drawing library stores each sample as two dots and a corner in fourteen curves
until the page is complete. A call that exceeds a limit is repeated up to four times, and its shortest time counts,
since the machine may do other work.

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
SMALL_FILE, SMALL_FILE_TIME = 65_536, 0.5
MOST_TRIES = 4
TIMEOUT_FACTOR = 4  # times the limit; then a signal ends the child


class Cost(NamedTuple):
    status: int
    seconds: float
    memory: int


def measure_once(program: pathlib.Path, folder: pathlib.Path, arguments: list[str], seconds: int) -> Cost:
    child = subprocess.Popen(
        [program, *arguments], cwd=folder, env=dict(os.environ, TZ="UTC", LC_ALL="C"), stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds)))
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    return Cost(child.returncode, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)


def limits_of(name: str) -> Limits:
    return DRAWN_LIMITS if name.startswith("drawn_") else LIMITS


def violations(name: str, rows: int, cost: Cost, time_limit: float) -> list[str]:
    wrong = []
    if cost.status not in (0, 1):
        wrong.append(f"{rows} rows: exit status {cost.status} after {cost.seconds:.2f} s")
    elif cost.seconds > time_limit:
        wrong.append(f"{rows} rows: {cost.seconds:.2f} s")
    if cost.memory > FIXED_MEMORY + limits_of(name).bytes_per_row * rows:
        wrong.append(f"{rows} rows: {cost.memory / 1e6:.0f} MB")
    return wrong


def measure(program: pathlib.Path, name: str, rows: int) -> tuple[Cost, list[str]]:
    """The shortest of up to MOST_TRIES calls, each over new files, and what is wrong with it."""
    best = None
    for _ in range(MOST_TRIES):
        with tempfile.TemporaryDirectory(prefix="tarvel_proofs_") as path:
            folder = pathlib.Path(path)
            made = FAMILIES[name](rows)
            for file_name, parts in made.files.items():
                with open(folder / file_name, "wb") as file:
                    file.writelines(parts)
            is_small = sum(given.stat().st_size for given in folder.iterdir()) <= SMALL_FILE
            limit = FIXED_TIME + limits_of(name).seconds_per_row * rows
            limit = min(limit, SMALL_FILE_TIME) if is_small else limit
            cost = measure_once(program, folder, made.arguments, math.ceil(TIMEOUT_FACTOR * limit))
        best = cost if best is None or cost.seconds < best.seconds else best
        if best.status not in (0, 1) or best.seconds <= limit:
            break
    assert best
    return best, violations(name, rows, best, limit)


def slope(costs: Mapping[int, Cost]) -> float:
    """The slope of the time above the fixed cost, by least squares; 0 with fewer than two usable sizes."""
    above = ((rows, cost.seconds - costs[TINY].seconds) for rows, cost in costs.items())
    points = [(math.log(rows), math.log(seconds)) for rows, seconds in above if seconds >= LEAST_TIME]
    return statistics.linear_regression(*zip(*points)).slope if len(points) > 1 else 0.0


class Tried(NamedTuple):
    line: str  # of the table
    wrong: list[str]
    per_row: tuple[float, float]  # seconds and bytes above the fixed cost


def try_family(program: pathlib.Path, name: str) -> Tried:
    """Measures a family size by size, and stops after the first failure."""
    costs: dict[int, Cost] = {}
    wrong: list[str] = []
    for rows in limits_of(name).sizes:
        costs[rows], found = measure(program, name, rows)
        wrong += found
        if wrong:
            break
    for _ in range(1, MOST_TRIES):
        for rows in costs if not wrong and slope(costs) >= STEEPEST else ():
            again = measure(program, name, rows)[0]
            costs[rows] = min(costs[rows], again, key=lambda cost: cost.seconds)
    if slope(costs) >= STEEPEST:
        wrong.append(f"slope {slope(costs):.2f}")
    rows, last = max(costs.items())
    per_row = ((last.seconds - costs[TINY].seconds) / rows, max(0.0, last.memory - FIXED_MEMORY) / rows)
    line = (f"{name:52} {rows:8} {last.status:6} {1e3 * costs[TINY].seconds:9.0f} {1e3 * last.seconds:8.0f}"
            f" {1e6 * per_row[0]:8.3f} {slope(costs):6.2f}"
            f" {last.memory / 1e6:7.0f} {per_row[1]:7.0f}")
    return Tried(line, wrong, per_row)


def prove(words: list[str]) -> Outcome:
    program = release_program()
    names = [name for name in FAMILIES if re.search(words[0] if words else "", name)]
    print(f"{'family':52} {'rows':>8} {'status':>6} {'fixed ms':>9} {'all ms':>8} {'us/row':>8} {'slope':>6} {'MB':>7}"
          f" {'B/row':>7}", flush=True)
    findings = 0
    most = {limits: (0.0, 0.0) for limits in (LIMITS, DRAWN_LIMITS)}
    # A process for each family: the peak memory of a child includes that of its parent when it was forked.
    with multiprocessing.get_context("fork").Pool(CORES, maxtasksperchild=1) as pool:
        for name, tried in zip(names, pool.imap(functools.partial(try_family, program), names)):
            print(tried.line, flush=True)
            for what in tried.wrong:
                print("FINDING", f"{name}: {what}", flush=True)
            findings += len(tried.wrong)
            before = most[limits_of(name)]
            most[limits_of(name)] = (max(before[0], tried.per_row[0]), max(before[1], tried.per_row[1]))
    sizes = sum(len(limits_of(name).sizes) for name in names)
    return Outcome(f"{len(names)} families, {sizes} sizes, up to {max(LIMITS.sizes):,} rows: at most "
                   f"{1e6 * most[LIMITS][0]:.1f} us and {most[LIMITS][1]:.0f} bytes a row, "
                   f"{1e6 * most[DRAWN_LIMITS][0]:.0f} us and {most[DRAWN_LIMITS][1]:,.0f} bytes a drawn sample",
                   findings)
