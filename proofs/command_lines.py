"""The command lines for the proofs of faults, with the files that each starts from."""
from __future__ import annotations

from collections.abc import Mapping
from typing import NamedTuple

from proofs.families import content_of, ponds
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


def with_columns(track: bytes, count: int) -> bytes:
    """The track with this number of unknown columns added."""
    lines = track.splitlines()
    extra = [b"," + b",".join(b"extra%d" % i for i in range(count)), b"," * count]
    return b"\n".join(line + extra[min(i, 1)] for i, line in enumerate(lines)) + b"\n"


def with_long_start(track: bytes) -> bytes:
    """Adds ten minutes in the aircraft before the first sample: the array of samples must grow."""
    lines = track.splitlines(keepends=True)
    row, day = lines[2].split(b",", 1)[1], lines[2][:11]
    early = [b"%s%02d:%02d:%02d.%dZ,%s" % (day, 4, i // 600, i // 10 % 60, i % 10, row) for i in range(6000)]
    return b"".join(lines[:2] + early + lines[2:])


def with_wide_pond(course: bytes) -> bytes:
    """Adds 600 points of the pond: their array must grow."""
    return course + b"".join(b"(%d.5, %d.5)\n" % (i % 100, i // 100 + 1) for i in range(600))


def containers(place: Workplace, walk: bytes, run: bytes) -> tuple[bytes, bytes]:
    """The containers that -d writes for a walk and for a run over its course."""
    files = place.call({"walk.csv": walk, "run.csv": run}, "-p -d -g walk.csv run.csv".split()).files
    walked, flown = files["walk.tvl"].content, files["run.tvl"].content
    assert walked and flown
    return walked, flown


def full_lines(place: Workplace) -> list[CommandLine]:
    """Command lines of every kind over the examples."""
    walk_container, run_container = containers(place, example("walk.csv"), example("straight.csv"))
    course: dict[str, Content] = {"matrix.txt": example("matrix.txt")}
    straight = example("straight.csv")
    carve: dict[str, Content] = {"carve.csv": example("carve.csv"), **course}
    run: dict[str, Content] = {"run.csv": straight, **course}
    tagged: dict[str, Content] = {"tagged.csv": example("tagged.csv"), **course}
    implicit: dict[str, Content] = {"implicit.csv": example("implicit.csv")}
    reverse: dict[str, Content] = {"reversed.csv": example("reversed.csv"), **course}
    container: dict[str, Content] = {"run.tvl": run_container, **course}
    walked: dict[str, Content] = {"course.tvl": walk_container}
    walk: dict[str, Content] = {"walk.csv": example("walk.csv")}
    new_york = "America/New_York"

    def over(text: bytes, **more: bytes) -> dict[str, Content]:
        return {"run.csv": straight, "matrix.txt": text, **more}

    def track(content: Content, name: str = "run.csv") -> dict[str, Content]:
        return {name: content, **course}

    def line(name: str, arguments: str, files: Mapping[str, Content], zone: str = "UTC") -> CommandLine:
        return CommandLine(name, arguments.split(), files, zone=zone)

    return [
        line("straight run", "run.csv", run),
        line("metric", "-m run.csv", run),
        line("debug", "-d run.csv", run),
        line("pond without a walk", "-p run.csv", run),
        line("time aloft", "-t 5 tagged.csv", tagged),
        line("tagged lines, debug", "-d tagged.csv", tagged),
        line("carve", "carve.csv", carve),
        line("carve, metric, debug", "-md carve.csv", carve),
        line("reversed", "reversed.csv", reverse),
        line("reversed, debug", "-d reversed.csv", reverse),
        line("without a course", "-i implicit.csv", implicit),
        line("without a course, all options", "-imdp -t 6 implicit.csv", implicit),
        line("container", "run.tvl", container),
        line("container set aside", "-d run.tvl", container),
        line("container in New York", "run.tvl", container, new_york),
        line("New York, debug", "-d run.csv", run, new_york),
        line("zone of rules, debug", "-d run.csv", run, "EST5EDT,M3.2.0,M11.1.0"),
        line("New York, tagged lines, debug", "-id tagged.csv", tagged, new_york),
        line("track named as the report", "run.txt", track(straight, "run.txt")),
        line("track named as the map", "run.kml", track(straight, "run.kml")),
        line("track named as the charts", "run.pdf", track(straight, "run.pdf")),
        line("track named as the dump", "-d coord.txt", track(straight, "coord.txt")),
        line("course named as the report", "matrix.csv", track(straight, "matrix.csv")),
        line("report is a link to the track", "run.csv", {**run, "run.txt": Link("run.csv")}),
        line("report is the track's second name", "run.csv", {**run, "run.txt": HardLink("run.csv")}),
        line("track is a link", "here.csv", {**run, "here.csv": Link("run.csv")}),
        line("long track", "run.csv", track(with_long_start(straight))),
        line("many columns", "run.csv", track(with_columns(straight, 40))),
        line("wide pond", "run.csv", over(with_wide_pond(example("matrix.txt")))),
        line("index for every run", "run.csv", {**over(b"* - \"other.txt\"\n"), "other.txt": example("matrix.txt")}),
        line("index of indices", "1run.csv",
             {"1run.csv": straight, "matrix.txt": b"2 - nogate\n1run - a.txt\n", "a.txt": b"1 - b.txt\n",
              "b.txt": b"* - c.txt\n", "c.txt": example("matrix.txt")}),
        line("index without a gate", "implicit.csv", {**implicit, "matrix.txt": b"* - nogate\n"}),
        line("index to nowhere", "run.csv", over(b"* - missing.txt\n")),
        line("index to itself", "run.csv", over(b"* - matrix.txt\n")),
        line("invalid course", "run.csv", over(b"what is this\n")),
        line("course cut short", "run.csv", over(b"[1, 0, 0, 0]\n")),
        line("no course", "run.csv", {"run.csv": straight}),
        line("walk", "-g walk.csv", walk),
        line("walk round a pond", "-p -g walk.csv", walk),
        line("walk, debug", "-pd -g walk.csv", walk),
        line("walk in New York, debug", "-d -g walk.csv", walk, new_york),
        line("walk over an earlier course", "-g walk.csv", {**walk, "matrix.txt": b"earlier\n"}),
        line("walk named as the course", "-g walk.txt", {"walk.txt": example("walk.csv")}),
        line("walk named matrix", "-g matrix.csv", {"matrix.csv": example("walk.csv")}),
        line("container of a course", "-p -g course.tvl", walked),
        line("container of a course set aside", "-pd -g course.tvl", walked),
        line("walk and run", "-p -g walk.csv carve.csv", {**walk, "carve.csv": example("carve.csv")}),
        line("walk and run, all options", "-pdm -t 5 -g walk.csv tagged.csv",
             {**walk, "tagged.csv": example("tagged.csv")}),
        line("container of a course and run", "-g course.tvl run.csv", {**walked, "run.csv": straight}),
        line("nothing", "", {}),
        line("version", "-v", {}),
        line("unknown option", "-x run.csv", run),
        line("option without its value", "run.csv -t", run),
        line("conflict", "-i -g walk.csv", walk),
        line("too many words", "run.csv run.csv", run),
        line("name without three characters", "run.data", track(straight, "run.data")),
        line("no track", "run.csv", course),
        line("no walk", "-g walk.csv", {}),
        line("folder as a track", "run.csv", track(Folder())),
        line("pipe as a track", "run.csv", track(Pipe())),
        line("folder as the map", "run.csv", {**run, "run.kml": Folder()}),
        line("folder as the charts", "run.csv", {**run, "run.pdf": Folder()}),
        line("empty track", "run.csv", track(b"")),
        line("columns that are missing", "run.csv", track(b"time,lat\n,\n")),
        line("no samples", "run.csv", track(b"".join(straight.splitlines(keepends=True)[:2]))),
        line("bad time", "run.csv", track(straight[:5000].rsplit(b"\n", 1)[0] + b"\nnoon,1,2\n")),
        line("bad tagged line", "run.csv", track(example("tagged.csv")[:5000] + b"\nno prefix\n")),
        line("line too long", "run.csv", track(straight[:5000] + b"1" * 40000)),
        line("container cut in its header", "run.tvl", track(run_container[:30], "run.tvl")),
        line("container cut in its samples", "run.tvl", track(run_container[:-1], "run.tvl")),
        line("gate container cut in its pond", "-g course.tvl", {"course.tvl": walk_container[:-1]}),
        line("container of a run as a walk", "-g run.tvl", {"run.tvl": run_container}),
        line("track that is no run", "walk.csv", track(example("walk.csv"), "walk.csv")),
        line("track that is no walk", "-g run.csv", {"run.csv": straight}),
        line("walk cut short", "-p -g walk.csv", {"walk.csv": example("walk.csv")[:60000]}),
    ]


INDEX_TO_THE_MAP = b"* - run.kml\n"
EARLIER = (b"// an earlier course\n", b"an earlier report\n", b"an earlier map\n")


def small_lines(place: Workplace) -> list[CommandLine]:
    """Command lines of both modes, with earlier outputs and with inputs that have the name of an output. Their tracks
    have few rows, for few system calls."""
    walk, straight, carve, reverse, implicit, tagged = (
        thinned(example(name + ".csv"), 600) for name in ("walk", "straight", "carve", "reversed", "implicit", "tagged"))
    walk_container, run_container = containers(place, walk, straight)
    old, old_report, old_map = EARLIER
    course = example("matrix.txt")
    over: dict[str, Content] = {"matrix.txt": course}

    def line(arguments: str, files: Mapping[str, Content]) -> CommandLine:
        return CommandLine("tarvel " + arguments, arguments.split(), files, "Europe/Paris")

    return [
        line("run.csv", {"run.csv": straight, **over}),
        line("-d -m run.csv", {"run.csv": carve, **over}),
        line("-t 5 run.csv", {"run.csv": tagged, **over}),
        line("-i run.csv", {"run.csv": implicit}),
        line("-d run.tvl", {"run.tvl": run_container, **over, "run.txt": old_report, "run.kml": old_map}),
        line("-g walk.csv", {"walk.csv": walk, "matrix.txt": old}),
        line("-p -d -g walk.csv run.csv",
             {"walk.csv": walk, "run.csv": reverse, "matrix.txt": old, "run.pdf": old_report}),
        line("-p -d -g walk.tvl", {"walk.tvl": walk_container, "matrix.txt": old}),
        # So many points that the C library writes the course file in more than one system call.
        line("-p -g walk.tvl", {"walk.tvl": content_of(ponds(1000).files["gate.tvl"]), "matrix.txt": old}),
        # Inputs with the name of an output.
        line("run.txt", {"run.txt": straight, **over, "run.txt.orig": old_report}),
        line("-i run.kml", {"run.kml": implicit}),
        line("-i run.pdf", {"run.pdf": implicit}),
        line("-g walk.csv walk.txt", {"walk.csv": walk, "walk.txt": straight, "matrix.txt": old}),
        line("-p -g matrix.txt", {"matrix.txt": walk}),
        line("-p -g matrix.csv", {"matrix.csv": walk, "matrix.txt": old}),
        line("-i run.csv", {"run.csv": implicit, "run.txt": HardLink("run.csv")}),
        line("-i run.csv", {"run.txt": implicit, "run.csv": Link("run.txt")}),
        line("run.csv", {"run.csv": straight, "matrix.txt": b"* - run.txt\n", "run.txt": course}),
        line("run.csv", {"run.csv": straight, "matrix.txt": INDEX_TO_THE_MAP, "run.kml": course}),
        # Command lines that fail.
        line("run.csv", {"run.csv": straight}),
        line("run.csv", {"run.csv": walk, **over}),
        line("none.csv", {}),
        line("-v", {}),
        line("", {}),
    ]
