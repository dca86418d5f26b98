"""The command lines for the proofs of faults, with the files that each starts from."""
from __future__ import annotations

import re
from collections.abc import Mapping
from typing import NamedTuple

from proofs.families import ponds
from proofs.harness import Content, Folder, HardLink, Link, Pipe, Workplace
from proofs.inputs import example, thinned


class CommandLine(NamedTuple):
    name: str
    arguments: list[str]
    files: Mapping[str, Content]
    zone: str = "UTC"

    def inputs(self) -> list[str]:
        """The names of the files that must not be lost: all but links and earlier outputs."""
        return [name for name, content in self.files.items()
                if not isinstance(content, Link) and content not in EARLIER]


def containers(place: Workplace, walk: bytes, run: bytes) -> tuple[bytes, bytes]:
    """The containers that -d writes for a walk and for a run over its course."""
    files = place.call({"walk.csv": walk, "run.csv": run}, "-p -d -g walk.csv run.csv".split()).files
    walked, flown = files["walk.tvl"].content, files["run.tvl"].content
    assert walked and flown
    return walked, flown


class Maker:
    """Makes command lines over the examples, with about this number of rows."""

    def __init__(self, place: Workplace, rows: int) -> None:
        self.course = example("matrix.txt")
        names = ("walk.csv", "carve.csv", "reversed.csv", "tagged.csv", "implicit.csv")
        given = {"run.csv": "straight.csv", "1run.csv": "straight.csv", **dict(zip(names, names))}
        self.tracks = {name: thinned(example(source), rows) for name, source in given.items()}
        self.tracks["walk.tvl"], self.tracks["run.tvl"] = containers(
            place, self.tracks["walk.csv"], self.tracks["run.csv"])

    def line(self, name: str, arguments: str, zone: str = "UTC", **others: Content | None) -> CommandLine:
        """The tracks that are named are there, and the course unless -i or -g is given. The other files replace these
        or are added, and None removes one; in their names, _ stands for the point."""
        words = arguments.split()
        files: dict[str, Content | None] = {word: self.tracks[word] for word in words if word in self.tracks}
        if words and not re.search(r"-\w*[gi]", arguments):
            files["matrix.txt"] = self.course
        files |= {name.replace("_", "."): content for name, content in others.items()}
        return CommandLine(name, words, {name: content for name, content in files.items() if content is not None}, zone)


def full_lines(place: Workplace) -> list[CommandLine]:
    """Command lines of every kind over the examples."""
    make = Maker(place, 100_000)
    line, tracks = make.line, make.tracks
    straight, walk, container = tracks["run.csv"], tracks["walk.csv"], tracks["run.tvl"]
    rows = straight.splitlines(keepends=True)
    new_york = "America/New_York"

    return [
        line("straight run", "run.csv"),
        line("metric", "-m run.csv"),
        line("debug", "-d run.csv"),
        line("pond without a walk", "-p run.csv"),
        line("time aloft", "-t 5 tagged.csv"),
        line("tagged lines, debug", "-d tagged.csv"),
        line("carve", "carve.csv"),
        line("carve, metric, debug", "-md carve.csv"),
        line("reversed", "reversed.csv"),
        line("reversed, debug", "-d reversed.csv"),
        line("without a course", "-i implicit.csv"),
        line("without a course, all options", "-imdp -t 6 implicit.csv"),
        line("container", "run.tvl"),
        line("container set aside", "-d run.tvl"),
        line("container in New York", "run.tvl", new_york),
        line("New York, debug", "-d run.csv", new_york),
        line("zone of rules, debug", "-d run.csv", "EST5EDT,M3.2.0,M11.1.0"),
        line("New York, tagged lines, debug", "-id tagged.csv", new_york),
        line("track named as the report", "run.txt", run_txt=straight),
        line("track named as the map", "run.kml", run_kml=straight),
        line("track named as the charts", "run.pdf", run_pdf=straight),
        line("track named as the dump", "-d coord.txt", coord_txt=straight),
        line("course named as the report", "matrix.csv", matrix_csv=straight),
        line("report is a link to the track", "run.csv", run_txt=Link("run.csv")),
        line("report is the track's second name", "run.csv", run_txt=HardLink("run.csv")),
        line("track is a link", "here.csv", run_csv=straight, here_csv=Link("run.csv")),
        # For arrays that must grow.
        line("long track", "run.csv", run_csv=b"".join(rows[:2] + rows[2:3] * 6000 + rows[2:])),
        line("many columns", "run.csv", run_csv=straight.replace(b"\n", b",extra" * 40 + b"\n")),
        line("wide pond", "run.csv", matrix_txt=make.course + b"(1.5, 2.5)\n" * 600),
        line("index for every run", "run.csv", matrix_txt=b"* - \"other.txt\"\n", other_txt=make.course),
        line("index of indices", "1run.csv", matrix_txt=b"2 - nogate\n1run - a.txt\n", a_txt=b"1 - b.txt\n",
             b_txt=b"* - c.txt\n", c_txt=make.course),
        line("index without a gate", "implicit.csv", matrix_txt=b"* - nogate\n"),
        line("index to nowhere", "run.csv", matrix_txt=b"* - missing.txt\n"),
        line("index to itself", "run.csv", matrix_txt=b"* - matrix.txt\n"),
        line("invalid course", "run.csv", matrix_txt=b"what is this\n"),
        line("course cut short", "run.csv", matrix_txt=b"[1, 0, 0, 0]\n"),
        line("no course", "run.csv", matrix_txt=None),
        line("walk", "-g walk.csv"),
        line("walk round a pond", "-p -g walk.csv"),
        line("walk, debug", "-pd -g walk.csv"),
        line("walk in New York, debug", "-d -g walk.csv", new_york),
        line("walk over an earlier course", "-g walk.csv", matrix_txt=b"earlier\n"),
        line("walk named as the course", "-g walk.txt", walk_txt=walk),
        line("walk named matrix", "-g matrix.csv", matrix_csv=walk),
        line("container of a course", "-p -g walk.tvl"),
        line("container of a course set aside", "-pd -g walk.tvl"),
        line("walk and run", "-p -g walk.csv carve.csv"),
        line("walk and run, all options", "-pdm -t 5 -g walk.csv tagged.csv"),
        line("container of a course and run", "-g walk.tvl run.csv"),
        line("nothing", ""),
        line("version", "-v", matrix_txt=None),
        line("unknown option", "-x run.csv"),
        line("option without its value", "run.csv -t"),
        line("conflict", "-i -g walk.csv"),
        line("too many words", "run.csv run.csv"),
        line("name without three characters", "run.data", run_data=straight),
        line("no track", "run.csv", run_csv=None),
        line("no walk", "-g walk.csv", walk_csv=None),
        line("folder as a track", "run.csv", run_csv=Folder()),
        line("pipe as a track", "run.csv", run_csv=Pipe()),
        line("folder as the map", "run.csv", run_kml=Folder()),
        line("folder as the charts", "run.csv", run_pdf=Folder()),
        line("empty track", "run.csv", run_csv=b""),
        line("columns that are missing", "run.csv", run_csv=b"time,lat\n,\n"),
        line("no samples", "run.csv", run_csv=b"".join(rows[:2])),
        line("bad time", "run.csv", run_csv=b"".join(rows[:50]) + b"noon,1,2\n"),
        line("bad tagged line", "run.csv", run_csv=tracks["tagged.csv"][:5000] + b"\nno prefix\n"),
        line("line too long", "run.csv", run_csv=straight[:5000] + b"1" * 40000),
        line("container cut in its header", "run.tvl", run_tvl=container[:30]),
        line("container cut in its samples", "run.tvl", run_tvl=container[:-1]),
        line("gate container cut in its pond", "-g walk.tvl", walk_tvl=tracks["walk.tvl"][:-1]),
        line("container of a run as a walk", "-g run.tvl"),
        line("track that is no run", "walk.csv"),
        line("track that is no walk", "-g run.csv"),
        line("walk cut short", "-p -g walk.csv", walk_csv=walk[:60000]),
    ]


INDEX_TO_THE_MAP = b"* - run.kml\n"
EARLIER = (b"// an earlier course\n", b"an earlier report\n", b"an earlier map\n")


def small_lines(place: Workplace) -> list[CommandLine]:
    """Command lines of both modes, with earlier outputs and with inputs that have the name of an output. Their tracks
    have few rows, for few system calls."""
    make = Maker(place, 600)
    straight, walk, implicit = (make.tracks[name] for name in ("run.csv", "walk.csv", "implicit.csv"))
    old, old_report, old_map = EARLIER

    def line(arguments: str, **others: Content | None) -> CommandLine:
        return make.line("tarvel " + arguments, arguments, "Europe/Paris", **others)

    return [
        line("run.csv"),
        line("-d -m carve.csv"),
        line("-t 5 tagged.csv"),
        line("-i implicit.csv"),
        line("-d run.tvl", run_txt=old_report, run_kml=old_map),
        line("-g walk.csv", matrix_txt=old),
        line("-p -d -g walk.csv run.csv", run_csv=make.tracks["reversed.csv"], matrix_txt=old, run_pdf=old_report),
        line("-p -d -g walk.tvl", matrix_txt=old),
        # So many points that the C library writes the course file in more than one system call.
        line("-p -g walk.tvl", walk_tvl=b"".join(ponds(1000).files["gate.tvl"]), matrix_txt=old),
        # Inputs with the name of an output.
        line("run.txt", run_txt=straight, run_txt_orig=old_report),
        line("-i run.kml", run_kml=implicit),
        line("-i run.pdf", run_pdf=implicit),
        line("-g walk.csv walk.txt", walk_txt=straight, matrix_txt=old),
        line("-p -g matrix.txt", matrix_txt=walk),
        line("-p -g matrix.csv", matrix_csv=walk, matrix_txt=old),
        line("-i run.csv", run_csv=implicit, run_txt=HardLink("run.csv")),
        line("-i run.csv", run_txt=implicit, run_csv=Link("run.txt")),
        line("run.csv", matrix_txt=b"* - run.txt\n", run_txt=make.course),
        line("run.csv", matrix_txt=INDEX_TO_THE_MAP, run_kml=make.course),
        # Command lines that fail.
        line("run.csv", matrix_txt=None),
        line("run.csv", run_csv=walk),
        line("none.csv", matrix_txt=None),
        line("-v", matrix_txt=None),
        line(""),
    ]
