#!/usr/bin/python3
"""Replaces Python while scripts/coverage measures the tests' coverage of tarvel-meet: measure.py [OPTIONS] PROGRAM ...

TARVEL_MEET_COVERAGE names the folder for the counts, one file a process. tarvel-meet calls sys.executable for its
workers, and python3 on other machines: both are this file. Copies of tarvel-meet count as tarvel-meet itself.
"""
import atexit
import os
import pathlib
import sys

sys.dont_write_bytecode = True
FOLDER = pathlib.Path(os.environ["TARVEL_MEET_COVERAGE"])
MEET = pathlib.Path(__file__).resolve().parents[2] / "src" / "meet" / "tarvel-meet"


def start():
    import coverage
    counts = coverage.Coverage(data_file=FOLDER / "counts", data_suffix=True, branch=True, include=[str(MEET)])

    def save():
        counts.stop()
        counts.save()

    atexit.register(save)
    counts.start()
    return save


def run(program, *words):
    """As Python would run it."""
    execute = os.execv
    source = pathlib.Path(program).read_bytes()
    name = str(MEET) if source.startswith(MEET.read_bytes()) else program
    sys.argv = [program, *words]
    sys.executable = __file__
    save = start()

    def save_and_execute(*arguments):
        save()
        execute(*arguments)

    os.execv = save_and_execute
    exec(compile(source, name, "exec"), {"__name__": "__main__", "__file__": program})


def main(words):
    is_utf8 = False
    while words[0].startswith("-"):
        is_utf8 |= words[:2] == ["-X", "utf8"]
        words = words[2 if words[0] == "-X" else 1:]
    if is_utf8 and not sys.flags.utf8_mode:
        os.execv("/usr/bin/python3", ["/usr/bin/python3", "-X", "utf8", __file__, *words])
    run(*words)


if __name__ == "__main__":
    main(sys.argv[1:])
