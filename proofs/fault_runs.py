"""What scripts/proofs io_faults and scripts/proofs kill_anywhere share: the command lines, their folders, and what counts as right.

A command line has a folder of files that it starts from. It is run once undisturbed; what that leaves is what a
disturbed run is held against. A run may succeed, and then every byte must be the undisturbed run's, or end with exit
status 1 and a message, and then no input may be lost and no output may look finished that is not.
"""
import concurrent.futures
import os
import re
import shutil
import signal
import socket
import stat
import struct
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PATIENCE = 60  # seconds; an undisturbed run takes a twentieth of one
INDEX_TO_THE_MAP = b"* - run.kml\n"
DRAWN_AT = re.compile(rb"/CreationDate \(D:[^)]*\)")


class Link(str):
    """A symbolic link to that target."""


class Twin(str):
    """A second name of that file."""


class Command:
    """The arguments, the files of the folder, which of them must survive, and where a copy is called otherwise."""

    def __init__(self, arguments, files, inputs, courses=()):
        self.arguments = arguments.split()
        self.name = "tarvel " + arguments
        self.files = files
        self.inputs = inputs
        self.courses = courses  # read, not written, by this command line
        self.reference = None
        self.track_map = {}  # the name of the run's map, and what it is when the run fails


class Result:
    def __init__(self, status, out, err, files):
        self.status = status  # None after a hang; negative for a signal
        self.out = out
        self.err = err
        self.files = files

    def message(self):
        """What the program says for a failure, without "ERROR: "; empty when it says nothing."""
        for text in (self.err, self.out):
            last = text.rstrip("\n").rpartition("\n")[2]
            if last.startswith("ERROR: "):
                return last[len("ERROR: "):]
        return ""


def build_release():
    """The program, built if need be, or the one that TARVEL names."""
    if "TARVEL" in os.environ:
        return os.path.abspath(os.environ["TARVEL"])
    for step in (["--preset", "release"], ["--build", "--preset", "release"]):
        subprocess.run(["cmake", *step], cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    return os.path.join(ROOT, "build", "release", "tarvel")


def normalised(content):
    return DRAWN_AT.sub(b"/CreationDate (D:)", content) if content.startswith(b"%PDF") else content


def content_of(path):
    mode = os.lstat(path).st_mode
    if stat.S_ISLNK(mode):
        end = os.path.realpath(path)
        inside = os.path.dirname(end) == os.path.realpath(os.path.dirname(path)) and os.path.isfile(end)
        return ("link", os.readlink(path), content_of(end) if inside else None)
    if not stat.S_ISREG(mode):
        return ("special", stat.S_IFMT(mode))
    if not os.access(path, os.R_OK):
        os.chmod(path, 0o600)
    with open(path, "rb") as file:
        return normalised(file.read())


def snapshot(folder):
    """What is there, also of what a test has forbidden."""
    os.chmod(folder, 0o777)
    return {name: content_of(os.path.join(folder, name)) for name in sorted(os.listdir(folder))}


def put(folder, name, content):
    path = os.path.join(folder, name)
    if isinstance(content, Link):
        os.symlink(content, path)
    elif isinstance(content, Twin):
        os.link(os.path.join(folder, content), path)
    else:
        with open(path, "wb") as file:
            file.write(content)


def fill(folder, files):
    for name, content in files.items():
        put(folder, name, content)


class Workplace:
    """A temporary folder with the program, fonts whose tables are cached there, and a folder for each run."""

    def __init__(self):
        self.path = tempfile.mkdtemp(prefix="tarvel_faults_")
        os.chmod(self.path, 0o755)
        self.program = shutil.copy(build_release(), self.path)
        self.cache = os.path.join(self.path, "cache")
        self.environment = {"PATH": os.environ["PATH"], "HOME": self.path, "TZ": "Europe/Paris",
                            "FONTCONFIG_FILE": self.write_fonts("fonts.conf", self.cache)}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.path, ignore_errors=True)

    def write_fonts(self, name, cache):
        path = os.path.join(self.path, name)
        with open(path, "w") as file:
            file.write('<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "fonts.dtd"><fontconfig>'
                       "<dir>/usr/share/fonts</dir><include>/etc/fonts/conf.d</include>"
                       f"<cachedir>{cache}</cachedir></fontconfig>")
        return path

    def new_folder(self):
        folder = tempfile.mkdtemp(dir=self.path)
        os.chmod(folder, 0o777)
        return folder

    def run_in(self, folder, arguments, launcher=(), out=subprocess.PIPE, **options):
        """Runs the program in a folder. A launcher that says @OUT@ gets standard output in a file of that name."""
        environment = options.pop("env", self.environment)
        with tempfile.NamedTemporaryFile(dir=self.path) as own_out:
            words = [word.replace("@OUT@", own_out.name) for word in launcher]
            process = subprocess.Popen([*words, self.program, *arguments], cwd=folder, env=environment,
                                       stdin=subprocess.DEVNULL, stdout=own_out if "@OUT@" in launcher else out,
                                       stderr=subprocess.PIPE, text=True, errors="replace", start_new_session=True,
                                       **options)
            try:
                printed, err = process.communicate(timeout=PATIENCE)
                status = process.returncode
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                printed, err = process.communicate()
                status = None
            if printed is None:
                own_out.seek(0)
                printed = own_out.read().decode(errors="replace")
            return Result(status, printed, err, snapshot(folder))

    def run(self, command, launcher=(), prepare=lambda folder: None, **options):
        """Runs a command line in a new folder that is gone afterwards."""
        folder = self.new_folder()
        try:
            fill(folder, command.files)
            prepare(folder)
            words = [word.replace("@FOLDER@", folder) for word in launcher]
            return self.run_in(folder, command.arguments, words, **options)
        finally:
            shutil.rmtree(folder, ignore_errors=True)

    def refer(self, command):
        before = self.new_folder()
        fill(before, command.files)
        command.before = snapshot(before)
        shutil.rmtree(before)
        command.reference = self.run(command)
        command.track_map = self.map_of_track(command)
        command.names = sorted(set(command.before) | set(command.reference.files))

    def map_of_track(self, command):
        """The map that a run leaves which fails behind the reading of its track: here for want of a course."""
        if not command.arguments or "-g" in command.arguments[-2:] or not os.path.splitext(command.arguments[-1])[1]:
            return {}
        track = command.arguments[-1]
        name = track[:-3] + "kml"
        folder = self.new_folder()
        fill(folder, {other: content for other, content in command.files.items() if other != "matrix.txt"})
        result = self.run_in(folder, [track])
        shutil.rmtree(folder)
        content = plain(result.files.get(name))
        return {name: content} if isinstance(content, bytes) and content.endswith(b"</kml>\n") else {}


def thin(track, heads, step):
    """Every step-th row behind the head lines: small files have few system calls."""
    lines = track.splitlines(keepends=True)
    return b"".join(lines[:heads] + lines[heads::step])


def example(name):
    with open(os.path.join(ROOT, "examples", name), "rb") as file:
        return file.read()


def tagged_rows(track, step):
    rows = [line for line in track.splitlines(keepends=True) if line.startswith((b"$COL,GNSS", b"$GNSS"))]
    return b"".join(rows[:1] + rows[1::step])


def make_tracks(place):
    """Small tracks of every kind; the containers are what the program makes of the texts."""
    names = ("walk", "straight", "carve", "reversed", "implicit")
    tracks = {name: thin(example(name + ".csv"), 2, 4) for name in names}
    tracks["tagged"] = tagged_rows(example("tagged.csv"), 4)
    tracks["course"] = example("matrix.txt")
    folder = place.new_folder()
    fill(folder, {"walk.csv": tracks["walk"], "run.csv": tracks["straight"]})
    place.run_in(folder, ["-p", "-d", "-g", "walk.csv", "run.csv"])
    for name, path in (("walk.tvl", "walk.tvl"), ("run.tvl", "run.tvl")):
        with open(os.path.join(folder, path), "rb") as file:
            tracks[name] = file.read()
    shutil.rmtree(folder)
    return tracks


def wide_course():
    """A finished course whose pond takes the course file beyond what the C library writes at once."""
    matrix = [0, 0, 1, 0, 0, -1, 0, 0, 1, 0, 0, -6378137, 0, 0, 0, 1]
    points = [(1.0 + i, 2.0) for i in range(1000)]
    return b"".join([struct.pack(">4sHQHHQ", b"uTVL", 26, 26, 16, 1, 0),
                     struct.pack(">IQI", 2, 42, 144 + 16 * len(points)),
                     struct.pack(">H17dHI", 144, *matrix, 0.1, 16, len(points)),
                     *(struct.pack(">dd", *point) for point in points)])


def make_commands(place):
    t = make_tracks(place)
    old, old_report, old_map = b"// an earlier course\n", b"an earlier report\n", b"an earlier map\n"
    over = {"matrix.txt": t["course"]}
    commands = [
        Command("run.csv", {"run.csv": t["straight"], **over}, ["run.csv"], ["matrix.txt"]),
        Command("-d -m run.csv", {"run.csv": t["carve"], **over}, ["run.csv"], ["matrix.txt"]),
        Command("-t 5 run.csv", {"run.csv": t["tagged"], **over}, ["run.csv"], ["matrix.txt"]),
        Command("-i run.csv", {"run.csv": t["implicit"]}, ["run.csv"]),
        Command("-d run.tvl", {"run.tvl": t["run.tvl"], **over, "run.txt": old_report, "run.kml": old_map},
                ["run.tvl"], ["matrix.txt"]),
        Command("-g walk.csv", {"walk.csv": t["walk"], "matrix.txt": old}, ["walk.csv"]),
        Command("-p -d -g walk.csv run.csv",
                {"walk.csv": t["walk"], "run.csv": t["reversed"], "matrix.txt": old, "run.pdf": old_report},
                ["walk.csv", "run.csv"]),
        Command("-p -d -g walk.tvl", {"walk.tvl": t["walk.tvl"], "matrix.txt": old}, ["walk.tvl"]),
        Command("-p -g walk.tvl", {"walk.tvl": wide_course(), "matrix.txt": old}, ["walk.tvl"]),
        # Inputs that are in an output's way.
        Command("run.txt", {"run.txt": t["straight"], **over, "run.txt.orig": old_report}, ["run.txt"], ["matrix.txt"]),
        Command("-i run.kml", {"run.kml": t["implicit"]}, ["run.kml"]),
        Command("-i run.pdf", {"run.pdf": t["implicit"]}, ["run.pdf"]),
        Command("-g walk.csv walk.txt", {"walk.csv": t["walk"], "walk.txt": t["straight"], "matrix.txt": old},
                ["walk.csv", "walk.txt"]),
        Command("-p -g matrix.txt", {"matrix.txt": t["walk"]}, ["matrix.txt"]),
        Command("-p -g matrix.csv", {"matrix.csv": t["walk"], "matrix.txt": old}, ["matrix.csv"]),
        Command("-i run.csv", {"run.csv": t["implicit"], "run.txt": Twin("run.csv")}, ["run.csv", "run.txt"]),
        Command("-i run.csv", {"run.txt": t["implicit"], "run.csv": Link("run.txt")}, ["run.txt"]),
        Command("run.csv", {"run.csv": t["straight"], "matrix.txt": b"* - run.txt\n", "run.txt": t["course"]},
                ["run.csv", "run.txt"], ["matrix.txt"]),
        Command("run.csv", {"run.csv": t["straight"], "matrix.txt": INDEX_TO_THE_MAP, "run.kml": t["course"]},
                ["run.csv", "run.kml"], ["matrix.txt"]),
        # Command lines that fail.
        Command("run.csv", {"run.csv": t["straight"]}, ["run.csv"]),
        Command("run.csv", {"run.csv": t["walk"], **over}, ["run.csv"], ["matrix.txt"]),
        Command("none.csv", {}, []),
        Command("-v", {}, []),
        Command("", {}, []),
    ]
    for command in commands:
        place.refer(command)
        if command.reference.status not in (0, 1):
            sys.exit(f"{command.name}: undisturbed, it ends with {command.reference.status}")
    return commands


# What a survey writes beside it, under the name with ".new" behind it, and then renames.
COURSES = ("matrix.txt", "walk.txt")


def cut_courses(command, files):
    """Course files that hold only a part of what they should, or nothing."""
    return [name for name in COURSES
            if isinstance(whole := command.reference.files.get(name), bytes)
            and isinstance(part := files.get(name), bytes) and whole.startswith(part)
            and part not in (whole, command.before.get(name))]


def is_kept(name, content, files):
    """True when the content is there under its name or one to which a run may have renamed it."""
    return any(files[other] == content for other in files if other == name or other.startswith(name + ".orig"))


def names_of(command, name):
    """The names that lead to the same file."""
    if name not in command.before:
        return {name}
    return {other for other in command.before if plain(command.before[other]) == plain(command.before[name])}


def lost_inputs(command, files, message=""):
    wanted = {name: command.before[name] for name in (*command.inputs, *command.courses)}
    # An index that could not be read leads nowhere: a course that has the map's name is then no input of the call.
    if command.files.get("matrix.txt") == INDEX_TO_THE_MAP and re.fullmatch("failed to (open|read) file: matrix.txt",
                                                                            message):
        del wanted["run.kml"]
    return [name for name, content in wanted.items() if not is_kept(name, plain(content), plain_all(files))]


def plain(content):
    """A link counts as the file behind it."""
    return content[2] if isinstance(content, tuple) and content[0] == "link" else content


def plain_all(files):
    return {name: plain(content) for name, content in files.items()}


def is_map_of_track(command, name, content, message):
    """True for the whole track's map; where another output could not be written, the map may be cut short as well."""
    whole = command.track_map.get(name)
    if whole is None or not isinstance(content, bytes):
        return False
    is_disk_full = message.startswith(("failed to open ", "failed to write "))
    return content == whole or (is_disk_full and whole.startswith(content))


def false_outputs(command, result, spared=()):
    """Files that a failed run has left neither as they were nor as they should become, apart from the one it names."""
    message = result.message()
    found = []
    for name, content in result.files.items():
        right = (command.before.get(name), command.reference.files.get(name))
        known = name in command.names or re.sub(r"\.orig(\.\d+)?$", "", name) in command.names
        written = content[1] if isinstance(content, tuple) and content[0] == "link" else name
        # Reading the survey's course file fails while its copy is being written.
        copied = name == "matrix.txt" and "-g" in command.arguments and message.startswith("failed to read file: ")
        excused = written in message.split() or copied or name in spared or \
            is_map_of_track(command, name, content, message) or \
            (name.endswith(".tvl") and message.startswith("failed to write ")) or \
            (name.endswith(".pdf") and message.endswith(" for charts"))
        aside = ".orig" in name and content in command.before.values()
        if not known or not (content in right or excused or aside):
            found.append(name)
    return found


def judge(command, result, expected=None, spared=()):
    """What is wrong with a disturbed run, in words, or nothing. `expected` are the messages that belong to the fault;
    without it any message of the program will do. `spared` are names that the test itself has changed."""
    if result.status is None:
        return "hang"
    if result.status < 0:
        return f"ended by signal {-result.status}"
    reference = command.reference
    if result.status == reference.status and result.out == reference.out:
        changed = [name for name in sorted(set(reference.files) | set(result.files))
                   if name not in spared and reference.files.get(name) != result.files.get(name)]
        if not changed:
            return None
        if result.status == 0:
            return "WRONG SUCCESS: " + " ".join(changed)
    if result.status == 0:
        return "WRONG SUCCESS: standard output"
    if result.status != 1:
        return f"exit status {result.status}"
    if not result.message():
        return "exit status 1 without a message"
    if expected is not None and result.message() not in expected:
        return f"says '{result.message()}' instead of {sorted(expected)}"
    if cut := [name for name in cut_courses(command, result.files) if name not in spared]:
        return "cut " + " ".join(cut)
    if lost := [name for name in lost_inputs(command, result.files, result.message()) if name not in spared]:
        return "lost " + " ".join(lost)
    if false := false_outputs(command, result, spared):
        return "leaves unfinished " + " ".join(false)
    return None


class Tally:
    """Counts by heading, and the findings."""

    def __init__(self):
        self.counts = {}
        self.findings = []

    def add(self, heading, description, finding, outcome):
        row = self.counts.setdefault(heading, {})
        row[outcome] = row.get(outcome, 0) + 1
        if finding:
            self.findings.append(f"{heading}: {description}: {finding}")
            print(f"FOUND {heading}: {description}: {finding}", flush=True)

    def close(self):
        for heading, row in self.counts.items():
            print(f"{heading}: {sum(row.values())} runs:", ", ".join(f"{n} {what}" for what, n in sorted(row.items())))
        wrong = sum("WRONG SUCCESS" in finding for finding in self.findings)
        print(f"{len(self.findings)} findings, {wrong} of them wrong successes")
        sys.exit(1 if self.findings else 0)


def outcome_of(result):
    if result.status is None:
        return "hung"
    return {0: "succeeded", 1: "failed with a message"}.get(result.status, f"ended with {result.status}")


def in_parallel(jobs):
    """Runs the jobs, functions without arguments, as many at a time as there are processors."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for done in concurrent.futures.as_completed([pool.submit(job) for job in jobs]):
            done.result()


def make_socket(path):
    # A socket's name is limited to a hundred bytes or so; the folder's need not be.
    folder = os.open(os.path.dirname(path), os.O_RDONLY)
    with socket.socket(socket.AF_UNIX) as maker:
        maker.bind(f"/proc/self/fd/{folder}/{os.path.basename(path)}")
    os.close(folder)


STRACE = ["strace", "-f", "--quiet=all", "--seccomp-bpf"]


def own_paths(command, streams=("@OUT@",)):
    """strace options that confine it to the command line's own files and standard output."""
    words = []
    for name in [*command.names, *(course + ".new" for course in COURSES if course in command.names)]:
        words += ["-P", name, "-P", "@FOLDER@/" + name]
    return words + [word for stream in streams for word in ("-P", stream)]


CALL = re.compile(r"^(?:\d+ +)?(\w+)\((.*)$")


def calls_in(log):
    """The system calls of a log of strace, each with its arguments."""
    with open(log, errors="replace") as file:
        return [match.groups() for match in map(CALL.match, file) if match]
