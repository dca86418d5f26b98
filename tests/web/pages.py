"""Pages and documents of the example tracks, for the tests of the page."""
import json
import os
import re
import shutil
import subprocess
import time
from pathlib import Path

PROJECT = Path(os.environ["TARVEL_SOURCE_DIR"])
TARVEL = os.environ["TARVEL_PROGRAM"]
TARVEL_JSON = os.environ["TARVEL_JSON_PROGRAM"]
TARVEL_PAGE = os.environ["TARVEL_PAGE_PROGRAM"]


def wait_for(condition, seconds=20):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError("the condition was not met in time")


class Workplace:
    """A folder with the example tracks and the course in it."""

    def __init__(self, folder):
        self.folder = Path(folder)
        self.pages = {}  # {arguments: the page}
        for track in (PROJECT / "examples").glob("*.csv"):
            shutil.copy(track, self.folder)
        shutil.copy(PROJECT / "examples/matrix.txt", self.folder)

    def run(self, command, status=0, environment=None):
        done = subprocess.run(command, cwd=self.folder, capture_output=True, text=True, check=False,
                              env={**os.environ, **(environment or {})})
        if done.returncode != status:
            raise AssertionError(f"{command}: {done.returncode}\n{done.stderr}")
        return done

    def page(self, name, *arguments, status=0):
        """A page of these tracks, which must not change: it is made once for equal arguments."""
        path = self.folder / name
        if (arguments, status) in self.pages:
            path.write_bytes(self.pages[arguments, status])
        else:
            self.run([TARVEL_PAGE, "-o", name, *arguments], status)
            self.pages[arguments, status] = path.read_bytes()
        return path

    def document(self, run, *options):
        return json.loads(self.run([TARVEL_JSON, *options, run]).stdout)

    def report(self, run, *options):
        """The report's numbers, in its order."""
        return re.findall(r"-?\d+(?:\.\d+)?", self.run([TARVEL, *options, run]).stdout)

    def page_of_documents(self, name, *documents, status=0):
        """A page of these documents, which a script prints in place of tarvel-json."""
        tracks = []
        for number, document in enumerate(documents):
            tracks.append(f"given-{number}.json")
            (self.folder / tracks[-1]).write_text(json.dumps(document))
        program = self.folder / "say-document"
        program.write_text('#!/bin/sh\nfor last; do :; done\ncat "$last"\n')
        program.chmod(0o755)
        self.run([TARVEL_PAGE, "-o", name, *tracks], status, {"TARVEL_JSON": str(program)})
        return self.folder / name

    def rewrite(self, name, other, change):
        """A track whose rows have been changed: change gets a row as a record of its columns."""
        lines = (self.folder / name).read_text().splitlines()
        columns = lines[0].split(",")
        made = [lines[0]]
        for line in lines[1:]:
            row = dict(zip(columns, line.split(",")))
            if row[columns[0]]:
                change(row)
            made.append(",".join(row[column] for column in columns))
        (self.folder / other).write_text("\n".join(made) + "\n")
        return other
