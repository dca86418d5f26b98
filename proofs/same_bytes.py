#!/usr/bin/env python3
"""scripts/proofs same_bytes [PATTERN]: every compiler and every optimisation gives the same program.

Builds tarvel with g++ and clang++ at -O0, -O2, -O3 and at -O2 with link-time optimisation in build/same_bytes, runs
each over all examples, all fuzz seeds and corpora, simulated tracks as the tests use them and small hostile files, in
both modes and with many options, and compares exit status, standard output, standard error and every byte of every file
left behind. Only the creation date of a PDF is masked. With a PATTERN only inputs whose name matches this regular
expression are tried. Prints the counts; exit status 1 on any difference.
"""

import collections
import concurrent.futures
import hashlib
import importlib.machinery
import importlib.util
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

root = pathlib.Path(__file__).resolve().parent.parent
work = root / "build" / "same_bytes"
builds = [
    (f"{compiler}{flags.replace(' ', '')}{'-lto' if lto else ''}", compiler, flags, lto)
    for compiler in ("g++", "clang++")
    for flags, lto in (("-O0", False), ("-O2", False), ("-O3", False), ("-O2", True))
]
patience = 120  # s

# Command lines for a track, {} stands for its name. A course, as far as one is needed, is the input's own.
track_options = (
    "{}",
    "-m {}",
    "-d {}",
    "-d -m -t 4.5 {}",
    "-i {}",
    "-i -d -m {}",
    "-i -t 1e9 {}",
    "-g {}",
    "-p -d -g {}",
    "-p -g {} {}",
)
other_options = ("", "-v", "-x", "-t", "-i -g a.csv", "a b", "a.csv", "-m -i nothing", "-g .csv", "-t nan -i a.csv")

Input = collections.namedtuple("Input", "name make commands")  # make(folder) writes the files


def build(name, compiler, flags, lto):
    folder = work / name
    configure = [
        *("cmake", "-S", root, "-B", folder, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={compiler}"),
        *("-DCMAKE_BUILD_TYPE=", f"-DCMAKE_CXX_FLAGS={flags}", "-DTARVEL_TESTS=OFF"),
        f"-DCMAKE_INTERPROCEDURAL_OPTIMIZATION={'ON' if lto else 'OFF'}",
    ]
    for command in (configure, ["cmake", "--build", folder, "--target", "tarvel"]):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0:
            sys.exit(f"same_bytes: {name} does not build\n{done.stdout}")
    return folder / "tarvel"


def simulated_tracks(folder):
    """Files named NAME.csv and, for runs, their courses NAME.txt. The folder is made anew."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    program = folder / "write_simulated_tracks"
    sources = ("write_simulated_tracks", "simulator", "hand_made_walk")
    subprocess.run(
        ["g++", "-std=c++20", "-O1", "-ffp-contract=off", f"-I{root}/src", f"-I{root}/tests", "-o", program]
        + [root / "tests" / "support" / f"{source}.cpp" for source in sources]
        + sorted(p for p in (root / "src").rglob("*.cpp") if p.name in helper_sources),
        check=True,
    )
    subprocess.run([program], cwd=folder, check=True)
    return folder


helper_sources = ("memory.cpp", "wgs84.cpp", "vec3.cpp")


def copying(files):
    def make(folder):
        for name, source in files.items():
            shutil.copy(source, folder / name)

    return make


def inputs_of_examples():
    folder = root / "examples"
    course = folder / "matrix.txt"
    for track in sorted(folder.glob("*.csv")):
        commands = [line.replace("{}", track.name) for line in track_options]
        commands += [f"-{flags} -g walk.csv {track.name}" for flags in ("d", "pm", "pdm")]
        files = {file.name: file for file in (track, course, folder / "walk.csv")}
        yield Input(f"examples/{track.name}", copying(files), commands)


def inputs_of_simulation():
    folder = simulated_tracks(work / "simulated")
    for track in sorted(folder.glob("*.csv")):
        course = track.with_suffix(".txt")
        files = {"run.csv": track, "matrix.txt": course if course.exists() else root / "examples" / "matrix.txt"}
        yield Input(f"simulated/{track.name}", copying(files), [line.replace("{}", "run.csv") for line in track_options])


def track_behind_options(target, data):
    """The target of whole runs begins with a byte of options and, by one of them, a course with its pond."""
    if target != "swoop_analysis" or not data:
        return data
    pond_count = 1 + 13 * 8
    if not data[0] & 16:
        return data[1:]
    return data[pond_count + 1 + 16 * data[pond_count] :] if len(data) > pond_count else b""


def fuzz_inputs(folder):
    """Copies of the seeds and, unpacked, the corpora: FOLDER/KIND/TARGET/NAME. The folder is made anew."""
    shutil.rmtree(folder, ignore_errors=True)
    shutil.copytree(root / "fuzz" / "seeds", folder / "seeds")
    for archive in (root / "fuzz" / "corpus").glob("*.tar.gz"):
        shutil.unpack_archive(archive, folder / "corpus" / archive.name.partition(".")[0])
    return sorted(folder.glob("*/*/*"))


def inputs_of_fuzzing():
    """As tracks, and as course files for an example run."""
    example = root / "examples" / "carve.csv"
    course = root / "examples" / "matrix.txt"
    for seed in fuzz_inputs(work / "fuzz"):
        target = seed.parent.name
        if target == "course_file":
            make = copying({"run.csv": example, "matrix.txt": seed})
            commands = ["run.csv"]
        else:

            def make(folder, seed=seed, target=target):
                (folder / "run.csv").write_bytes(track_behind_options(target, seed.read_bytes()))
                shutil.copy(course, folder / "matrix.txt")

            commands = [line.replace("{}", "run.csv") for line in ("-d {}", "-i -d -m {}", "-p -d -g {}")]
        yield Input(f"{seed.relative_to(work)}", make, commands)


def inputs_of_hostile_families():
    path = str(root / "proofs" / "hostile_families.py")
    loader = importlib.machinery.SourceFileLoader("hostile_families", path)
    loader_spec = importlib.util.spec_from_loader(loader.name, loader)
    module = importlib.util.module_from_spec(loader_spec)
    sys.dont_write_bytecode = True
    loader.exec_module(module)
    for name, family in module.families.items():
        with tempfile.TemporaryDirectory(prefix="tarvel_same_bytes_") as folder:
            command = " ".join(family(pathlib.Path(folder), module.tiny))

        def make(folder, family=family):
            family(folder, module.tiny)

        yield Input(f"hostile/{name}", make, [command, f"-m -d {command}"])


def all_inputs():
    nothing = Input("no track", lambda folder: None, other_options)
    return [
        nothing,
        *inputs_of_examples(),
        *inputs_of_simulation(),
        *inputs_of_fuzzing(),
        *inputs_of_hostile_families(),
    ]


creation_date = re.compile(rb"/CreationDate \(D:[^)]*\)")


def bytes_of(file):
    content = file.read_bytes()
    return creation_date.sub(b"/CreationDate ()", content) if file.suffix == ".pdf" else content


def outcome(program, make, command):
    """Names and digests of all that a run leaves behind."""
    with tempfile.TemporaryDirectory(prefix="tarvel_same_bytes_") as name:
        folder = pathlib.Path(name)
        make(folder)
        environment = {"TZ": "Europe/Vienna", "LC_ALL": "C", "HOME": name, "PATH": os.environ["PATH"]}
        done = subprocess.run(
            ["tarvel", *command.split()],
            executable=program,
            cwd=folder,
            env=environment,
            stdin=subprocess.DEVNULL,
            capture_output=True,
            timeout=patience,
        )
        left = {"exit status": b"%d" % done.returncode, "standard output": done.stdout, "standard error": done.stderr}
        left |= {file.name: bytes_of(file) for file in sorted(folder.iterdir()) if file.is_file()}
    return {what: hashlib.sha256(content).hexdigest() for what, content in left.items()}


def differences(programs, given):
    """Number of runs and of compared outputs, and how the builds differ."""
    found = []
    outputs = 0
    for command in given.commands:
        outcomes = {name: outcome(program, given.make, command) for name, program in programs.items()}
        first = next(iter(outcomes))
        outputs += sum(len(left) for left in outcomes.values())
        for name, left in outcomes.items():
            what = [key for key in outcomes[first] | left if outcomes[first].get(key) != left.get(key)]
            if what:
                found.append(f"{given.name}: tarvel {command}: {name} differs from {first} in {', '.join(what)}")
    return len(given.commands) * len(programs), outputs, found


def main():
    pattern = sys.argv[1] if len(sys.argv) > 1 else ""
    work.mkdir(parents=True, exist_ok=True)
    programs = {name: build(name, *rest) for name, *rest in builds}
    inputs = [given for given in all_inputs() if re.search(pattern, given.name)]
    runs = outputs = 0
    findings = []
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        for run_count, output_count, found in pool.map(lambda given: differences(programs, given), inputs):
            runs += run_count
            outputs += output_count
            findings += found
            for line in found:
                print("DIFFERENCE", line, flush=True)
    print(f"{len(programs)} builds, {len(inputs)} inputs, {runs} runs, {outputs} outputs, {len(findings)} differences")
    return 1 if findings or runs == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
