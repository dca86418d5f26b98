"""engine_test.py MACHINE RUNNER... PROGRAM: the engine built for another machine gives the outputs of tarvel."""

import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from engines import ProcessEngine, WasmEngine
from same_outputs import SameOutputs

source = pathlib.Path(os.environ["TARVEL_SOURCE_DIR"])
tarvel = os.environ["TARVEL_PROGRAM"]
tarvel_json = os.environ["TARVEL_JSON_PROGRAM"]
tarvel_check = os.environ["TARVEL_CHECK_PROGRAM"]

runs = ("carve", "implicit", "reversed", "straight", "tagged")
document_options = ((), ("-m",), ("-i",), ("-i", "-m"), ("-t", "5"))
options = ((), ("-m",), ("-d",), ("-i",), ("-i", "-m", "-d"), ("-t", "5"))


def files_in(folder):
    """The files that a call left, except charts."""
    files = {file.name: file.read_bytes() for file in folder.iterdir() if file.suffix != ".pdf"}
    files.pop("charts.txt", None)
    return files


class EngineTest(SameOutputs, unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def compare(self, arguments, files):
        """Calls both programs over the same files (name: bytes), compares the results, returns the engine's files."""
        outcomes = []
        for name, program in (("tarvel", ProcessEngine([tarvel])), ("engine", engine)):
            folder = self.folder / name
            shutil.rmtree(folder, ignore_errors=True)
            folder.mkdir()
            for file, content in files.items():
                (folder / file).write_bytes(content)
            outcomes.append((program.call(arguments, folder), files_in(folder)))
        (printed, left), (engine_printed, engine_left) = outcomes
        self.assertEqual(printed, engine_printed)
        self.assertEqual(sorted(left), sorted(engine_left))
        for name in left:
            with self.subTest(file=name):
                self.expect_same(left[name], engine_left[name])
        return engine_left

    def example(self, *names):
        return {name: (source / "examples" / name).read_bytes() for name in names}

    def test_examples(self):
        for run in runs:
            for given in options:
                with self.subTest(run=run, options=given):
                    self.compare([*given, f"{run}.csv"], self.example(f"{run}.csv", "matrix.txt"))

    def test_checks(self):
        """The draws are equal although the logarithms of the two C libraries differ in their last bits."""
        for run in runs:
            # The random numbers do not depend on the options, so that all of them are compared once.
            for given, draws in (((), 400), (("-m",), 40), (("-i",), 40)):
                with self.subTest(run=run, options=given):
                    for name, content in self.example(f"{run}.csv", "matrix.txt").items():
                        (self.folder / name).write_bytes(content)
                    _, native = ProcessEngine([tarvel_check]).call(["--draws", str(draws), *given, f"{run}.csv"], self.folder)
                    _, other = engine.call(["-k", str(draws), *given, f"{run}.csv"], self.folder)
                    # The far run has no gate; tarvel-check then prints on standard error.
                    self.assertEqual(native, "" if other.startswith("ERROR: ") else other)

    def test_golden_runs(self):
        golden = source / "tests" / "golden" / "driver"
        small = {"small.csv": (golden / "small.csv").read_bytes(), **self.example("matrix.txt")}
        for given in options:
            with self.subTest(options=given):
                self.compare([*given, "small.csv"], small)
        container = {"small.tvl": (golden / "small.tvl").read_bytes(), **self.example("matrix.txt")}
        self.compare(["small.tvl"], container)

    def test_survey(self):
        left = self.compare(["-d", "-p", "-g", "walk.csv"], self.example("walk.csv"))
        self.compare(["-p", "-g", "walk.tvl"], {"walk.tvl": left["walk.tvl"]})
        self.compare(["-d", "carve.csv"], {"matrix.txt": left["matrix.txt"], **self.example("carve.csv")})

    def compare_documents(self, arguments, files):
        folder = self.folder / "documents"
        folder.mkdir(exist_ok=True)
        for file, content in files.items():
            (folder / file).write_bytes(content)
        digests = ["-s", hashlib.sha256(files[arguments[-1]]).hexdigest(),
                   "-c", hashlib.sha256(files["matrix.txt"]).hexdigest()]
        native = subprocess.run([tarvel_json, *arguments], cwd=folder, capture_output=True, timeout=240)
        status, _ = engine.call([*digests, *arguments], folder)
        self.assertEqual(native.returncode, status)
        printed = native.stdout, (folder / "document.json").read_bytes()
        self.expect_same_documents(*printed)

    def test_documents(self):
        golden = source / "tests" / "golden" / "driver"
        files = self.example(*(f"{run}.csv" for run in runs), "walk.csv", "matrix.txt")
        files |= {name: (golden / name).read_bytes() for name in ("small.csv", "small.tvl")}
        for run in files.keys() - {"matrix.txt"}:
            for given in document_options:
                with self.subTest(run=run, options=given):
                    self.compare_documents([*given, run], files)

    def test_messages(self):
        course = self.example("matrix.txt", "carve.csv")
        rows = course["carve.csv"].splitlines(keepends=True)
        unknown = rows[0].replace(b"numSV", b"numSV,mood", 1)
        tracks = {
            "an unknown column": unknown + b"".join(rows[1:]),
            "no bytes": b"",
            "half a row": b"".join(rows[:900]) + rows[900][:30],
            "no time": b"".join(rows[:3]) + rows[3].replace(b"T", b" "),
            "on the ground": b"".join(rows[:2] + rows[-50:]),
        }
        for name, content in tracks.items():
            with self.subTest(name):
                self.compare(["run.csv"], {"run.csv": content, "matrix.txt": course["matrix.txt"]})
        for name, text in {"no course": b"(1, 2)\n", "another": b"* - other.txt\n", "none": b"* - nogate\n"}.items():
            with self.subTest(name):
                self.compare(["run.csv"], {"run.csv": course["carve.csv"], "matrix.txt": text})

    def test_many_rows(self):
        """A million within the memory of WebAssembly; on another machine memory does not end there."""
        count = 1_000_000 if isinstance(engine, WasmEngine) else 100_000
        content = self.example("straight.csv")["straight.csv"]
        head, units, *rows = content.splitlines(keepends=True)
        ground = rows[0]
        padded = head + units + ground * (count - len(rows)) + b"".join(rows)
        self.compare(["straight.csv"], {"straight.csv": padded, **self.example("matrix.txt")})


if __name__ == "__main__":
    with {"wasm": WasmEngine, "aarch64": ProcessEngine}[sys.argv[1]](sys.argv[2:]) as engine:
        unittest.main(argv=sys.argv[:1], verbosity=2)
