"""Both compilers, at every level of optimisation, make programs with the same outputs.

Builds tarvel with g++ and clang++ at -O0, -O2, -O3 and at -O2 with link-time optimisation in build/proofs. Calls each
over all examples, all fuzz seeds and corpora, the simulated tracks of the tests and small hostile inputs, in both modes
and with many options, and compares exit status, standard output, standard error and all files, PDFs without their
creation date.

    scripts/proofs same_bytes [PATTERN]

PATTERN is a regular expression for the names of the inputs to try.
"""
from __future__ import annotations

import pathlib
import re

from proofs.comparison import Call, Comparison, Scenario, compare
from proofs.harness import WORK, Outcome, build
from proofs.inputs import all_inputs

BUILDS = {f"{compiler}{flags}{'-lto' if lto == 'ON' else ''}": (compiler, flags, lto) for compiler in ("g++", "clang++")
          for flags, lto in (("-O0", "OFF"), ("-O2", "OFF"), ("-O3", "OFF"), ("-O2", "ON"))}


def program_of(name: str) -> pathlib.Path:
    compiler, flags, lto = BUILDS[name]
    options = [f"-DCMAKE_CXX_COMPILER={compiler}", "-DCMAKE_BUILD_TYPE=", f"-DCMAKE_CXX_FLAGS={flags}",
               "-DTARVEL_TESTS=OFF", f"-DCMAKE_INTERPROCEDURAL_OPTIMIZATION={lto}"]
    return build(WORK / name, options, "tarvel") / "tarvel"


def prove(words: list[str]) -> Outcome:
    pattern = words[0] if words else ""
    inputs = [given for given in all_inputs() if re.search(pattern, given.name)]
    tried = [Scenario(given.name, given.files, {}, [Call(words, "Europe/Vienna")])
             for given in inputs for words in given.command_lines]
    with Comparison({name: program_of(name) for name in BUILDS}, tried.__getitem__) as comparison:
        total = compare(comparison, range(len(tried)))
    calls, outputs = (len(BUILDS) * count for count in (len(tried), total.outputs))
    return Outcome(f"{len(BUILDS)} builds, {len(inputs):,} inputs, {calls:,} calls, {outputs:,} outputs compared",
                   total.findings)
