#!/usr/bin/env python3
"""scripts/proofs memcheck [PATTERN]: valgrind's memcheck finds no misuse of memory and no leak.

Builds the program and the replays of the fuzz targets without sanitizers in build/memcheck and runs them under memcheck:
the program over all examples in both modes with every option, and over what it must refuse; each fuzz target over its
seeds and, where there is one, its corpus. Reports of third-party libraries alone are suppressed, each with its reason,
in tests/support/valgrind.supp. With a PATTERN only runs whose name matches this regular expression are made. Prints the
counts; exit status 1 on any finding.
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

root = pathlib.Path(__file__).resolve().parent.parent
build = root / "build" / "memcheck"
suppressions = root / "tests" / "support" / "valgrind.supp"
finding = 99  # an exit status that no program here has
patience = 1800  # s

runs = ("straight.csv", "carve.csv", "reversed.csv", "tagged.csv", "implicit.csv")
options = ("", "-m", "-d", "-d -m", "-t 5", "-i", "-i -d", "-i -m -t 1e9")
other_commands = (
    *("-g walk.csv", "-p -g walk.csv", "-p -d -g walk.csv", "-d -g walk.csv carve.csv", "-p -m -g walk.csv tagged.csv"),
    *("", "-v", "-x", "-t", "-i -g walk.csv", "one two", "missing.csv", "-i missing.csv", "-g missing.csv", "-i matrix.txt"),
    *("-g carve.csv", "-i walk.csv", "README.md", "-g README.md", "walk", "."),
)


def build_all():
    subprocess.run(
        ["cmake", "-S", root, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O1 -g"],
        check=True,
        stdout=subprocess.DEVNULL,
    )
    targets = re.findall(r"^tarvel_fuzzer\((\w+)", (root / "fuzz" / "fuzz.cmake").read_text(), re.MULTILINE)
    replays = [f"{target}_replay" for target in targets]
    subprocess.run(["cmake", "--build", build, "--target", "tarvel", *replays], check=True, stdout=subprocess.DEVNULL)
    return targets


def valgrind(command, folder):
    """None, or what memcheck has reported."""
    checks = ["--leak-check=full", "--num-callers=40", "--track-fds=no", f"--error-exitcode={finding}", "--quiet"]
    done = subprocess.run(
        ["valgrind", *checks, "--gen-suppressions=all", f"--suppressions={suppressions}", *command],
        cwd=folder,
        env=dict(os.environ, TZ="UTC", LC_ALL="C"),
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.PIPE,
        timeout=patience,
    )
    is_sound = 0 <= done.returncode < finding
    return None if is_sound else f"exit status {done.returncode}\n{done.stderr.decode(errors='replace')[-20000:]}"


def check_program(command):
    with tempfile.TemporaryDirectory(prefix="tarvel_memcheck_") as name:
        folder = pathlib.Path(name) / "examples"
        shutil.copytree(root / "examples", folder)
        return valgrind([build / "tarvel", *command.split()], folder)


def check_container(command):
    """The examples as a run with -d leaves them: trimmed tracks and a finished course."""
    with tempfile.TemporaryDirectory(prefix="tarvel_memcheck_") as name:
        folder = pathlib.Path(name) / "examples"
        shutil.copytree(root / "examples", folder)
        for first in ("-d carve.csv", "-p -d -g walk.csv"):
            subprocess.run([build / "tarvel", *first.split()], cwd=folder, check=True, stdout=subprocess.DEVNULL)
        return valgrind([build / "tarvel", *command.split()], folder)


def input_folders(target):
    """The seeds, and the corpus as the build of its replay has unpacked it."""
    return root / "fuzz" / "seeds" / target, build / "corpus" / target


def check_target(target):
    folders = input_folders(target)
    with tempfile.TemporaryDirectory(prefix="tarvel_memcheck_") as name:
        return valgrind([build / f"{target}_replay", *(folder for folder in folders if folder.is_dir())], name)


def all_checks(targets):
    for target in targets:
        yield f"fuzz target {target}", check_target, target
    for command in [f"{option} {run}".strip() for run in runs for option in options] + list(other_commands):
        yield f"tarvel {command}", check_program, command
    for command in ("carve.tvl", "-d carve.tvl", "-g walk.tvl", "-p -g walk.tvl carve.tvl", "-g carve.tvl", "-i walk.tvl"):
        yield f"tarvel {command}", check_container, command


def main():
    pattern = sys.argv[1] if len(sys.argv) > 1 else ""
    targets = build_all()
    checks = [check for check in all_checks(targets) if re.search(pattern, check[0])]
    inputs = sum(len(list(folder.glob("*"))) for target in targets for folder in input_folders(target))
    findings = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        for (name, _, _), report in zip(checks, pool.map(lambda check: check[1](check[2]), checks)):
            if report is not None:
                findings += 1
                print(f"FINDING {name}: {report}", flush=True)
    print(f"{len(checks)} runs, {len(targets)} of them fuzz targets with {inputs} inputs, {findings} findings")
    return 1 if findings or not checks else 0


if __name__ == "__main__":
    sys.exit(main())
