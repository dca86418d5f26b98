"""Two builds of tarvel have the same outputs.

Calls both in each of N scenarios (10,000 by default), which are made from the seed, in equal copies of a folder. Exit
status, standard output, standard error, and all files with their names, modes and links must be the same byte for byte;
PDFs are compared without their creation dates.

    scripts/proofs compare_programs OLD NEW [--seed S] [--count N] [--only K] [--jobs N]

Prints each difference with the number of its scenario. --only K tries this scenario only, and leaves the folders after
the calls. When it is started by root, the programs run as an ordinary user, for whom the modes of files and folders
matter.
"""
from __future__ import annotations

import argparse
import functools
import pathlib

from proofs import scenarios
from proofs.comparison import Comparison, compare
from proofs.harness import CORES, Outcome


def prove(words: list[str]) -> Outcome:
    parser = argparse.ArgumentParser(prog="scripts/proofs compare_programs")
    parser.add_argument("old", type=pathlib.Path)
    parser.add_argument("new", type=pathlib.Path)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--count", type=int, default=10_000)
    parser.add_argument("--only", type=int)
    parser.add_argument("--jobs", type=int, default=CORES)
    given = parser.parse_args(words)
    scenario = functools.partial(scenarios.scenario, scenarios.Sources(given.old), given.seed)
    with Comparison({"old": given.old, "new": given.new}, scenario) as comparison:
        comparison.is_kept = given.only is not None
        numbers = range(given.count) if given.only is None else [given.only]
        total = compare(comparison, numbers, given.jobs)
        if comparison.is_kept:
            print(f"folders: {comparison.path}")
    ends = ", ".join(f"{count:,} with {status}" for status, count in sorted(total.statuses.items()))
    return Outcome(f"{len(numbers):,} scenarios, {total.statuses.total():,} calls (exit statuses: {ends}), "
                   f"{total.outputs:,} outputs compared", total.findings)
