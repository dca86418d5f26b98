"""What scripts/proofs compare_programs tries: folders of files, and calls of tarvel in them, made from a seed.

A scenario starts from a sound run or walk (the examples, the simulated tracks of the tests), one of
scripts/proofs hostile_families or a seed of a fuzz target, changes its values, its text or its bytes, adds a course file or a
chain of them, puts something where the outputs go, and calls the program once or twice. The same seed and number give
the same scenario.
"""

import collections
import contextlib
import importlib.machinery
import importlib.util
import math
import os
import pathlib
import random
import subprocess
import sys
import tempfile

from fault_runs import Link, Twin, put

from proofs.command_lines import fuzz_inputs, simulated_tracks
from proofs.tracks import (
    FAULTS, damaged, damaged_container, move, read_course, read_track, text_of, text_of_course, thin)

root = pathlib.Path(__file__).resolve().parent.parent


class Folder(str):
    """An empty folder; the text is not used."""


class Fifo(str):
    """A named pipe that nobody reads or writes."""


# Streams: a shell's redirections, such as "> run.txt 2>&1", or nothing. HERE in an argument stands for the folder.
Call = collections.namedtuple("Call", "arguments time_zone streams")
Scenario = collections.namedtuple("Scenario", "kind files modes calls")

time_zones = ("UTC", "Europe/Vienna", "Australia/Lord_Howe")


def import_script(name):
    sys.dont_write_bytecode = True
    loader = importlib.machinery.SourceFileLoader(name, str(root / "proofs" / f"{name}.py"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(name, loader))
    sys.modules[name] = module
    loader.exec_module(module)
    return module


def place(folder, scenario):
    """Makes the scenario's files in an empty folder."""
    for name, content in sorted(scenario.files.items(), key=lambda item: isinstance(item[1], Twin)):
        path = os.path.join(folder, name)
        if "/" in name:
            os.makedirs(os.path.dirname(path), exist_ok=True)
        if isinstance(content, Folder):
            os.makedirs(path, exist_ok=True)
        elif isinstance(content, Fifo):
            os.mkfifo(path)
        else:
            put(folder, name, content)
    for name, mode in scenario.modes.items():
        os.chmod(os.path.join(folder, name), mode)


# What scenarios are made from


class Sources:
    """Everything a scenario starts from. The program makes the containers."""

    def __init__(self, program):
        self.families = import_script("hostile_families").families
        example_course = read_course((root / "examples" / "matrix.txt").read_text())
        self.runs, self.walks = {}, {}
        for path in sorted((root / "examples").glob("*.csv")):
            if path.stem == "walk":
                self.walks["example walk"] = read_track(path.read_bytes())
            else:
                self.runs["example " + path.stem] = (read_track(path.read_bytes()), example_course)
        with tempfile.TemporaryDirectory(prefix="tarvel_scenarios_") as name:
            folder = pathlib.Path(name)
            for file, content in simulated_tracks().items():
                (folder / file).write_bytes(content)
            for path in sorted(folder.glob("*.csv")):
                course = path.with_suffix(".txt")
                track = read_track(path.read_bytes())
                if course.exists():
                    self.runs["simulated " + path.stem] = (track, read_course(course.read_text()))
                else:
                    self.walks["simulated " + path.stem] = track
        self.run_containers = [
            (name, made, course)
            for name, (track, course) in self.runs.items()
            if (made := container_of(program, ["-d", "run.csv"], track, course))
        ]
        made_of_walks = (container_of(program, ["-d", "-g", "run.csv"], track, None) for track in self.walks.values())
        self.walk_containers = [made for made in made_of_walks if made]
        self.seeds = [(target, content) for target, _, content in fuzz_inputs()]


def container_of(program, arguments, track, course):
    """What `-d` makes of a track; nothing when its analysis fails."""
    with tempfile.TemporaryDirectory(prefix="tarvel_scenarios_") as folder:
        put(folder, "run.csv", text_of(track))
        if course:
            put(folder, "matrix.txt", text_of_course(course))
        subprocess.run([program, *arguments], cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=60)
        with contextlib.suppress(FileNotFoundError):
            return pathlib.Path(folder, "run.tvl").read_bytes()
    return b""


# Course files


def some_course(rng, course):
    """The same frame, with or without the rest."""
    if rng.random() < 0.3:
        course = course._replace(theta=rng.choice((0.0, -4.99707438, 3.5, 180.0, rng.uniform(-9, 9))))
    if rng.random() < 0.3:
        size = rng.choice((0, 1, 2, 4, 30, 600))
        pond = [(40 + 30 * math.cos(k), 20 * math.sin(k)) for k in range(size)]
        course = course._replace(pond=pond[: rng.randrange(size + 1)] + rng.choice(([], [(0.0, 0.0)])) + pond)
    return text_of_course(course)


odd_lines = (
    *(b"", b"//", b"// " + b"long " * 30, b"theta = nan", b"theta = 1e308", b"theta =", b"theta = x", b"[1, 2, 3]"),
    *(b"hello", b"[nan, inf, 0, 1e308]", b"[0, 0, 0, 1]", b"(1, 2), (3, 4), (5, 6), (7, 8), (9, 10)", b"(1, 2), (3"),
    *(b"(1e39, -1e39)", b"(nan, inf)", b"(0, 0)", b"( 1, 2 )", b"(" + b"1" * 120 + b", 2)", b" (1, 2)", b"* other.txt"),
    *(b"1 - ", b"* - ", b"\0"),
)


def odd_course(rng, text):
    if rng.random() < 0.4:
        return damaged(rng, text)
    lines = text.split(b"\n")
    for _ in range(rng.choice((1, 1, 3))):
        lines.insert(rng.randrange(len(lines) + 1), rng.choice(odd_lines))
    return b"\n".join(lines)


def index_line(rng, run_name, target):
    name = os.path.basename(run_name) if rng.random() < 0.2 else run_name
    prefix = name[: rng.randrange(1, len(name) + 1)].split(" ")[0] if name[:1].isdigit() and rng.random() < 0.7 else "*"
    target = f'"{target}"' if rng.random() < 0.15 else target
    before = rng.choice(("", "", "", "// an index\n", "9999 - nothing.txt\n", "\n", "0 - nogate\n"))
    return (f"{before}{prefix} - {target}" + rng.choice(("\n", "\n", "\r\n", ""))).encode()


def add_index(rng, files, run_name, course_text):
    """matrix.txt leads elsewhere: on to the course, through many files, round in a ring, nowhere, or to an output."""
    kind = rng.choice(("one", "chain", "ring", "nogate", "missing", "output", "output", "folder", "odd"))
    stem = run_name[:-4]
    if kind == "nogate":
        files["matrix.txt"] = index_line(rng, run_name, "nogate")
        return
    if kind == "missing":
        files["matrix.txt"] = index_line(rng, run_name, rng.choice(("none.txt", "no/where.txt", "", " ", "x" * 120)))
        return
    if kind == "output":
        outputs = [stem + end for end in (".kml", ".txt", ".pdf", ".tvl", ".txt.orig")]
        targets = [rng.choice((*outputs, "coord.txt", run_name))]
    elif kind == "folder":
        targets = [rng.choice(("sub/course.txt", "./course.txt", "sub/../course.txt", "HERE/course.txt", "a b.txt"))]
        files["sub"] = Folder()
    elif kind == "odd":
        targets = ["course.txt"]
        course_text = odd_course(rng, course_text)
    else:
        lengths = {"one": (1,), "chain": (1, 2, 3, 20, 62, 63, 64, 65, 66, 80), "ring": (1, 2, 3, 7, 63, 64, 65)}
        targets = [f"{k}.txt" for k in range(rng.choice(lengths[kind]))]
    names = ["matrix.txt", *targets]
    for name, target in zip(names, targets):
        files.setdefault(name, index_line(rng, run_name, target))
    if kind == "ring":
        files[names[-1]] = index_line(rng, run_name, rng.choice((names[0], names[len(names) // 2], names[-1])))
    elif "HERE" not in names[-1] and (kind != "chain" or rng.random() < 0.8):
        files.setdefault(os.path.normpath(names[-1]), course_text)
    elif kind != "chain":
        files["course.txt"] = course_text


def add_course(rng, files, run_name, course):
    kind = rng.random()
    if kind < 0.55:
        files["matrix.txt"] = some_course(rng, course)
    elif kind < 0.78:
        add_index(rng, files, run_name, some_course(rng, course))
    elif kind < 0.9:
        files["matrix.txt"] = odd_course(rng, some_course(rng, course))
    elif kind < 0.95:
        files["sound.txt"] = some_course(rng, course)
        links = (Link("sound.txt"), Twin("sound.txt"), Link("none.txt"), Link("matrix.txt"), Link(run_name))
        files["matrix.txt"] = rng.choice((*links, Folder(), Fifo()))


# Names and what lies in the way

plain_names = ("run.csv",) * 8 + ("117-2.csv", "1run.csv")
odd_names = (
    *("run.txt", "run.kml", "run.pdf", "run.tvl", "matrix.txt", "matrix.csv", "coord.txt", "coord.csv", "a b.csv"),
    *("run", "x", ".csv", "sub/run.csv", "./run.csv", "HERE/run.csv", "run.CSV", "é.csv", "1run.txt"),
    *("n" * 200 + ".csv", "csv", "run.csv.orig", "run.tar.gz", "sub/run.txt", "%s.csv", "7.csv", "-run.csv"),
)


plain_walks = ("walk.csv",)
odd_walks = ("walk.txt", "walk.kml", "walk.tvl", "matrix.txt", "matrix.csv", "sub/walk.csv", "run.csv", "w")


def some_name(rng, taken=()):
    name = rng.choice(plain_names if rng.random() < 0.8 else odd_names)
    return name if name.replace("HERE/", "") not in taken else "other.csv"


def block_outputs(rng, files, modes, names, inputs):
    """Something lies where an output goes."""
    for name in rng.sample(names, rng.choice((1, 1, 2, len(names)))):
        if name in files:
            if isinstance(files[name], bytes):
                modes[name] = rng.choice((0o444, 0o600, 0o000, 0o640))
            continue
        given = rng.choice(inputs)
        content = rng.choice(
            (
                *(b"an earlier output\n", b"", Folder(), Fifo(), Twin(given), Twin(given), Link(given), Link(given)),
                *map(Link, (os.path.basename(name), "none.txt", "no/where.txt", "/dev/full", "/dev/null")),
            )
        )
        if isinstance(content, Link) and not content.startswith("/") and "/" in name:
            content = Link("../" + content)
        if isinstance(content, Twin) and not isinstance(files.get(content), bytes):
            content = b"an earlier output\n"
        files[name] = content
        if isinstance(content, bytes) and rng.random() < 0.5:
            modes[name] = rng.choice((0o444, 0o600, 0o000, 0o640))
        if isinstance(content, Folder) and rng.random() < 0.5:
            files[name + "/inside.txt"] = b"kept\n"
        if rng.random() < 0.2:
            files.setdefault(name + ".orig", b"taken\n")


all_streams = (
    *("> {}", ">> {}", "> {} 2>&1", "2> {}", "2>> {}", "> {0} 2> {0}", "< {}", ">&-", "2>&-", "<&-", ">&- 2>&- <&-"),
    *("> /dev/full", "> /dev/full 2>&1", "> log.txt 2>&1"),
)


def some_streams(rng, names):
    """What a shell makes of the standard streams."""
    return rng.choice(all_streams).format(rng.choice(names)) if rng.random() < 0.07 else ""


def stem_of(name):
    return name.replace("HERE/", "")[:-4]


def outputs_of(name, is_walk):
    stem = stem_of(name)
    others = ["matrix.txt"] if is_walk else [stem + ".pdf", "coord.txt"]
    return [stem + ".kml", stem + ".txt", stem + ".tvl", *others]


# Command lines

times_aloft = ("4.5", "2", "0", "-1", "1e9", "1e30", "nan", "abc", "", "2.0005", "4.5x", "inf", "0x3")
bad_command_lines = (
    *([], ["-v"], ["-x"], ["-t"], ["-g"], ["-i", "-g", "run.csv"], ["a", "b"], ["none.csv"], ["-m", "-i", "nothing"]),
    *(["--"], ["-g", ".csv"], ["-t", "nan", "-i", "none.csv"], ["-dv"], ["-g", ""], [""], ["-"], ["--help"], ["-vx"]),
    *(["-g", "none"], ["-di"], ["run.csv", "-v"], ["run.csv", "run.csv"], ["-i", "-m", "-d"], ["-t", "5"], ["-p"]),
    *(["."], ["-g", "."], ["/"], ["-g", "x.csv", "-g", "y.csv"], ["-h"], ["-?"], ["run.csv/"], ["n" * 5000]),
    ["-g", "/dev/null", "/dev/null"],
)


def some_options(rng, is_run):
    shares = {"-d": 0.3, "-m": 0.25, "-i": 0.2 if is_run else 0.02}
    options = [flag for flag, share in shares.items() if rng.random() < share]
    if rng.random() < 0.15:
        options += rng.choice((["-t", rng.choice(times_aloft)], ["-t" + rng.choice(times_aloft[:-1])]))
    if rng.random() < 0.05:
        options.append(rng.choice(("-p", "-mm", "-x", "-v")))
    rng.shuffle(options)
    return options


def operands(name):
    return ["--", name] if name.startswith("-") else [name]


# Scenarios


def some_track(rng, track, is_sound, course):
    track = thin(track, rng.choice((150, 400, 600, 1200)))
    if course is not None and rng.random() < 0.5:
        track, course = move(rng, track, course)
    if rng.random() < 0.2:
        track = track._replace(is_tagged=not track.is_tagged)
    for _ in range(0 if is_sound else rng.choice((1, 1, 2, 3))):
        if track.rows:
            track = rng.choice(FAULTS)(rng, track) or track
    content = text_of(track)
    if not is_sound and rng.random() < 0.25:
        content = damaged(rng, content)
    return content, course


def some_run(rng, sources):
    """The bytes of a run and its course."""
    is_sound = rng.random() < 0.35
    if rng.random() < 0.12:
        _, content, course = rng.choice(sources.run_containers)
        return (content if is_sound else damaged_container(rng, content)), course
    track, course = rng.choice(list(sources.runs.values()))
    return some_track(rng, track, is_sound, course)


def some_walk(rng, sources):
    is_sound = rng.random() < 0.5
    if rng.random() < 0.15:
        content = rng.choice(sources.walk_containers)
        return content if is_sound else damaged_container(rng, content)
    return some_track(rng, rng.choice(list(sources.walks.values())), is_sound, None)[0]


def finish(rng, kind, files, modes, arguments, names, inputs):
    """Obstacles, streams and, now and then, a second call over what the first has left."""
    if rng.random() < 0.22:
        block_outputs(rng, files, modes, names, inputs)
    if rng.random() < 0.03:
        modes["."] = 0o555
    time_zone = rng.choice(time_zones)
    # A shell that opens a pipe would wait for ever.
    redirected = [name for name in (*names, *inputs) if not isinstance(files.get(name), Fifo)]
    calls = [Call(arguments, time_zone, some_streams(rng, redirected))]
    if rng.random() < 0.06:
        other = [*(word for word in arguments if word != "-i"), *some_options(rng, True)]
        calls.append(Call(rng.choice((arguments, other)), time_zone, ""))
    return Scenario(kind, files, modes, calls)


def run_scenario(rng, sources):
    name = some_name(rng)
    content, course = some_run(rng, sources)
    own = name.replace("HERE/", "")
    files = {own: content}
    add_course(rng, files, name, course)
    return finish(rng, "run", files, {}, [*some_options(rng, True), *operands(name)], outputs_of(name, False), [own])


def walk_scenario(rng, sources):
    walk = rng.choice(plain_walks if rng.random() < 0.5 else odd_walks)
    files = {walk: some_walk(rng, sources)}
    inputs, names = [walk], outputs_of(walk, True)
    arguments = ["-g", walk, *some_options(rng, False)]
    if rng.random() < 0.4:
        arguments.insert(0, "-p")
    if rng.random() < 0.4:
        run = rng.choice((some_name(rng, files), stem_of(walk) + ".txt", stem_of(walk) + ".log", walk))
        own = run.replace("HERE/", "")
        files.setdefault(own, some_run(rng, sources)[0])
        arguments += operands(run)
        inputs, names = [walk, own], names + outputs_of(run, False)
    if rng.random() < 0.3:
        files.setdefault("matrix.txt", b"// an earlier course\n")
    return finish(rng, "walk", files, {}, arguments, names, inputs)


def family_scenario(rng, sources):
    name = rng.choice(sorted(sources.families))
    with tempfile.TemporaryDirectory(prefix="tarvel_scenarios_") as path:
        folder = pathlib.Path(path)
        arguments = sources.families[name](folder, rng.choice((20, 60, 150, 400)))
        files = {file.name: file.read_bytes() for file in sorted(folder.iterdir())}
    names, inputs = outputs_of(arguments[-1], False), [arguments[-1]]
    return finish(rng, f"family {name}", files, {}, [*some_options(rng, False), *arguments], names, inputs)


def seed_scenario(rng, sources):
    target, content = rng.choice(sources.seeds)
    if rng.random() < 0.5:
        content = damaged(rng, content)
    if target == "swoop_analysis":
        content = content[1:]  # the first byte is the target's own
    track, course = rng.choice(list(sources.runs.values()))
    files = {"run.csv": content, "matrix.txt": text_of_course(course)}
    arguments = rng.choice((["run.csv"], ["-g", "run.csv"], ["-p", "-d", "-g", "run.csv"], ["-d", "-i", "run.csv"]))
    if target == "course_file":
        files = {"run.csv": text_of(thin(track, 300)), "matrix.txt": content}
        arguments = ["run.csv"]
    arguments = [*arguments, *some_options(rng, False)]
    return finish(rng, f"seed of {target}", files, {}, arguments, outputs_of("run.csv", False), ["run.csv"])


def command_line_scenario(rng, sources):
    track, course = sources.runs["simulated small"]
    files = {"run.csv": text_of(track), "matrix.txt": text_of_course(course)}
    arguments = rng.choice(bad_command_lines)
    if rng.random() < 0.5:
        arguments = [*arguments, *rng.choice(([], ["run.csv"], *bad_command_lines))]
    if rng.random() < 0.3:
        rng.shuffle(arguments := list(arguments))
    return finish(rng, "command line", files, {}, arguments, outputs_of("run.csv", False), ["run.csv"])


# And in how many of a hundred scenarios.
kinds = {run_scenario: 55, walk_scenario: 22, family_scenario: 8, seed_scenario: 8, command_line_scenario: 7}


def scenario(sources, seed, number):
    rng = random.Random(f"{seed}/{number}")
    (kind,) = rng.choices(list(kinds), kinds.values())
    return kind(rng, sources)
