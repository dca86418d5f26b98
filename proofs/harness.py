"""Code that the proofs share: folders with input files, calls of the program in them, their outputs, and the counts."""
from __future__ import annotations

import collections
import concurrent.futures
import contextlib
import dataclasses
import os
import pathlib
import re
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from typing import NamedTuple, TypeVar

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "proofs"
TIMEOUT = 60.0  # seconds; a call without faults takes 0.05
ORDINARY_USER = 65534
CORES = len(os.sched_getaffinity(0))
Item = TypeVar("Item")
Made = TypeVar("Made")


class Outcome(NamedTuple):
    """The result of a proof: what was done, with its counts, and the number of findings."""
    done: str
    findings: int


# Files


class Link(str):
    """A symbolic link; the text is its target."""


class HardLink(str):
    """A hard link; the text is another name of the file."""


class Folder(str):
    """An empty folder; the text is not used."""


class Pipe(str):
    """A named pipe without a reader or a writer; the text is not used."""


class Socket(str):
    """A socket on which nothing listens; the text is not used."""


Content = bytes | Link | HardLink | Folder | Pipe | Socket


def fill(folder: pathlib.Path, files: Mapping[str, Content]) -> None:
    """Hard links come last, since their files must exist."""
    for name, content in sorted(files.items(), key=lambda item: isinstance(item[1], HardLink)):
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if isinstance(content, bytes):
            path.write_bytes(content)
        elif isinstance(content, Link):
            path.symlink_to(content)
        elif isinstance(content, HardLink):
            path.hardlink_to(folder / content)
        elif isinstance(content, (Pipe, Socket)):
            os.mknod(path, 0o644 | (stat.S_IFIFO if isinstance(content, Pipe) else stat.S_IFSOCK))
        else:
            path.mkdir(exist_ok=True)


@dataclasses.dataclass(frozen=True)
class Entry:
    """What a directory contains under a name. Two entries are equal when their kind, content and target are."""
    kind: str  # the first letter of `ls -l`
    content: bytes | None = None  # of a regular file; of a symbolic link to a file in the same directory, that file's
    target: str = ""
    mode: str = dataclasses.field(default="", compare=False)  # as in `ls -l`, with the number of hard links


Snapshot = dict[str, Entry]


def masked(content: bytes) -> bytes:
    """Without the creation date of a PDF, the only part of the outputs in which two calls may differ."""
    is_document = content.startswith(b"%PDF")
    return re.sub(rb"(?<=/CreationDate \(D:)[^)]*", b"", content) if is_document else content


def entry_of(path: pathlib.Path) -> Entry:
    status = path.lstat()
    mode = f"{stat.filemode(status.st_mode)} {status.st_nlink}"
    if stat.S_ISLNK(status.st_mode):
        end = pathlib.Path(os.path.realpath(path))  # resolve() fails for a link to itself
        is_beside = str(end.parent) == os.path.realpath(path.parent) and end.is_file()
        return Entry("l", entry_of(end).content if is_beside else None, os.readlink(path), mode)
    if not stat.S_ISREG(status.st_mode):
        return Entry(mode[0], mode=mode)
    if not status.st_mode & stat.S_IRUSR:
        path.chmod(0o600)
    return Entry("-", masked(path.read_bytes()), mode=mode)


def snapshot(folder: pathlib.Path, prefix: str = "") -> Snapshot:
    """Everything below the folder. Makes unreadable files and folders readable."""
    folder.chmod(folder.stat().st_mode | 0o700)
    found: Snapshot = {}
    for name in sorted(os.listdir(folder)):
        found[prefix + name] = entry_of(folder / name)
        if found[prefix + name].kind == "d":
            found |= snapshot(folder / name, f"{prefix}{name}/")
    return found


def changed_names(one: Snapshot, other: Snapshot) -> list[str]:
    return sorted(name for name in {*one, *other} if one.get(name) != other.get(name))


def listing(files: Snapshot) -> str:
    """Mode, name and target of each entry, one in each line."""
    return "\n".join(f"{entry.mode} {name}" + (f" -> {entry.target}" if entry.target else "")
                     for name, entry in files.items())


def remove(folder: pathlib.Path) -> None:
    if folder.exists():
        folder.chmod(0o700)
    for path, names, _ in os.walk(folder):
        for name in names:
            if not os.path.islink(os.path.join(path, name)):
                os.chmod(os.path.join(path, name), 0o700)
    shutil.rmtree(folder, ignore_errors=True)


# Calls


@dataclasses.dataclass
class Result:
    status: int | None  # None after a hang; negative for a signal
    out: bytes
    err: bytes
    files: Snapshot = dataclasses.field(default_factory=dict)

    def message(self) -> str:
        """The message of a failed call without "ERROR: "; empty when there is none."""
        for text in (self.err, self.out):
            last = text.rstrip(b"\n").rpartition(b"\n")[2].decode(errors="replace")
            if last.startswith("ERROR: "):
                return last[len("ERROR: "):]
        return ""

    def ending(self) -> str:
        if self.status is not None and self.status < 0:
            return f"ended with signal {-self.status}"
        known = {None: "hang", 0: "succeeded", 1: "failed with a message"}
        return known.get(self.status, f"ended with status {self.status}")


def shell(script: str) -> list[str]:
    """A launcher: the words of a command that come before a program and its arguments, which are "$@" in the script."""
    return ["sh", "-c", script, "sh"]


def execute(words: Sequence[str | pathlib.Path], folder: pathlib.Path, environment: Mapping[str, str],
            timeout: float) -> Result:
    """Starts a process in a new session and waits for it. After the timeout its children are killed, too."""
    process = subprocess.Popen(words, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, start_new_session=True)
    is_over = True
    try:
        out, err = process.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        is_over = False
        os.killpg(process.pid, signal.SIGKILL)
        out, err = process.communicate()
    return Result(process.returncode if is_over else None, out, err)


class Workplace:
    """A temporary folder with a copy of the program, a font configuration, and a new folder for each call."""

    def __init__(self, program: pathlib.Path | None = None, timeout: float = TIMEOUT) -> None:
        self.path, self.timeout = pathlib.Path(tempfile.mkdtemp(prefix="tarvel_proofs_")), timeout
        self.path.chmod(0o755)
        self.program = pathlib.Path(shutil.copy(program or release_program(), self.path / "tarvel"))
        cache = self.path / "cache"
        cache.mkdir()
        cache.chmod(0o777)  # also for calls as an ordinary user
        inherited = {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        self.environment = {**inherited, "PATH": f"{self.path}:{os.environ['PATH']}", "HOME": str(self.path),
                            "LC_ALL": "C", "TZ": "UTC",
                            "FONTCONFIG_FILE": self.write_fonts(self.path / "fonts.conf", cache)}

    def __enter__(self) -> Workplace:
        return self

    def __exit__(self, *_: object) -> None:
        remove(self.path)

    @staticmethod
    def write_fonts(path: pathlib.Path, cache: pathlib.Path) -> str:
        path.write_text('<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "fonts.dtd"><fontconfig>'
                        "<dir>/usr/share/fonts</dir><include>/etc/fonts/conf.d</include>"
                        f"<cachedir>{cache}</cachedir></fontconfig>")
        return str(path)

    @contextlib.contextmanager
    def folder(self, files: Mapping[str, Content], disk: str = "") -> Iterator[pathlib.Path]:
        """A temporary folder with these files, on a disk of its own if there are options for mounting one."""
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.path))
        folder.chmod(0o777)
        if disk:
            subprocess.run(["mount", "-t", "tmpfs", "-o", disk, "tarvel_proofs", folder], check=True)
        try:
            fill(folder, files)
            yield folder
        finally:
            if disk:  # lazily: for a moment after its end a process may keep the disk busy
                subprocess.run(["umount", "--lazy", folder], check=True)
            remove(folder)

    def call_in(self, folder: pathlib.Path, arguments: Sequence[str], launcher: Sequence[str] = (),
                environment: Mapping[str, str] = {}) -> Result:
        """In the launcher @FOLDER@ is replaced by the folder."""
        words = [*(word.replace("@FOLDER@", str(folder)) for word in launcher), "tarvel", *arguments]
        result = execute(words, folder, {**self.environment, **environment}, self.timeout)
        result.files = snapshot(folder)
        return result

    def call(self, files: Mapping[str, Content], arguments: Sequence[str], launcher: Sequence[str] = (),
             environment: Mapping[str, str] = {}, disk: str = "") -> Result:
        """A call in a temporary folder with these files."""
        with self.folder(files, disk) as folder:
            return self.call_in(folder, arguments, launcher, environment)


def build(folder: pathlib.Path, options: Sequence[str], *targets: str, source: pathlib.Path = ROOT) -> pathlib.Path:
    """Configures a build folder with these options of cmake, and builds the targets. Returns the folder."""
    for command in (["cmake", "-S", str(source), "-B", str(folder), "-G", "Ninja", *options],
                    ["cmake", "--build", str(folder), "--target", *targets]):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0:
            sys.exit(f"proofs: {folder} does not build\n{done.stdout}")
    return folder


def build_preset(preset: str, *targets: str) -> pathlib.Path:
    return build(ROOT / "build" / preset, ["--preset", preset], *targets)


def release_program() -> pathlib.Path:
    """The program $TARVEL, by default that of the release build."""
    if "TARVEL" in os.environ:
        return pathlib.Path(os.environ["TARVEL"]).resolve()
    return build_preset("release", "tarvel") / "tarvel"


def in_parallel(function: Callable[[Item], Made], items: Iterable[Item]) -> list[Made]:
    """The function's results in the order of the items, computed by one thread per processor."""
    with concurrent.futures.ThreadPoolExecutor(CORES) as pool:
        return list(pool.map(function, items))


# Calls with faults

Judged = tuple[str, str | None]  # how a call ended, and what is wrong with it


class Trial(NamedTuple):
    heading: str
    what: str
    attempt: Callable[[], Judged]


class Tally:
    """Makes calls and counts them by heading and by how they ended."""

    def __init__(self) -> None:
        self.counts: dict[str, collections.Counter[str]] = {}
        self.findings: list[str] = []

    def try_all(self, trials: Iterable[Trial]) -> None:
        in_parallel(self.try_one, trials)

    def try_one(self, trial: Trial) -> None:
        ending, finding = trial.attempt()
        self.counts.setdefault(trial.heading, collections.Counter())[ending] += 1
        if finding:
            self.findings.append(finding)
            print(f"FINDING {trial.heading}: {trial.what}: {finding}", flush=True)

    def show(self) -> None:
        for heading, row in self.counts.items():
            ends = ", ".join(f"{count} {ending}" for ending, count in row.most_common())
            print(f"{heading}: {row.total()}: {ends}", flush=True)
