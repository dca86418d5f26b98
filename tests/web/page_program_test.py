#!/usr/bin/env python3
"""tests/web/page_program_test.py: tarvel-page on the command line, and what is in the file that it writes."""
import base64
import hashlib
import html.parser
import json
import os
import re
import string
import subprocess
import tempfile
import unittest
from itertools import accumulate

from pages import TARVEL_JSON, TARVEL_PAGE, Workplace


class Parts(html.parser.HTMLParser):
    """What a browser finds: {element: its text}, scripts by their id or 'script', the policy."""

    def __init__(self, text):
        super().__init__()
        self.parts, self.name, self.policy, self.addresses = {}, None, None, []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.addresses += [values[name] for name in ("src", "href", "action", "data") if name in values]
        if values.get("http-equiv") == "Content-Security-Policy":
            self.policy = values["content"]
        self.name = values.get("id", tag) if tag in ("script", "style", "title") else None

    def handle_data(self, data):
        if self.name:
            self.parts[self.name] = self.parts.get(self.name, "") + data

    def handle_endtag(self, tag):
        self.name = None


def packed_numbers(text):
    """The numbers in the text of a column without missing values: digits below 32 end one, and odd ones are negative. A
    number after a point counts zeros."""
    letters = string.ascii_uppercase + string.ascii_lowercase + string.digits + "+/"
    for point, number in re.findall(r"(\.?)([g-z0-9+/]*[A-Za-f])", text):
        value = sum(letters.index(letter) % 32 << 5 * place for place, letter in enumerate(number))
        integer = -(value // 2) - 1 if value % 2 else value // 2
        yield from [0] * integer if point else [integer]


class PageProgramTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.work = Workplace(temporary.name)

    def page(self, *arguments, status=0, environment=None):
        return self.work.run([TARVEL_PAGE, *arguments], status, environment).stderr

    def files(self):
        return sorted(path.name for path in self.work.folder.iterdir() if path.suffix not in (".csv", ".txt"))

    def test_the_page_lies_beside_the_track_and_replaces_an_older_one(self):
        (self.work.folder / "day.1").mkdir()
        os.rename(self.work.folder / "carve.csv", self.work.folder / "day.1/carve.new.csv")
        (self.work.folder / "day.1/carve.new.html").write_text("old")
        self.page("day.1/carve.new.csv")
        self.assertIn("Content-Security-Policy", (self.work.folder / "day.1/carve.new.html").read_text())
        self.assertEqual(sorted(os.listdir(self.work.folder / "day.1")), ["carve.new.csv", "carve.new.html"])

    def test_a_track_from_standard_input(self):
        with open(self.work.folder / "carve.csv", "rb") as track:
            subprocess.run([TARVEL_PAGE, "-"], cwd=self.work.folder, stdin=track, check=True)
        self.assertEqual(self.files(), ["run.html"])

    def test_no_input_is_overwritten(self):
        os.rename(self.work.folder / "carve.csv", self.work.folder / "carve.html")
        before = (self.work.folder / "carve.html").read_bytes()
        os.link(self.work.folder / "matrix.txt", self.work.folder / "course.html")
        for arguments in (["carve.html"], ["-o", "carve.html", "straight.csv", "carve.html"], ["-o", "course.html", "straight.csv"]):
            self.assertIn("is an input; name another file with -o", self.page(*arguments, status=2))
        self.assertEqual((self.work.folder / "carve.html").read_bytes(), before)

    def test_no_course_that_an_index_names_is_overwritten(self):
        os.rename(self.work.folder / "matrix.txt", self.work.folder / "course.txt")
        (self.work.folder / "matrix.txt").write_text("* - course.txt\n")
        before = (self.work.folder / "course.txt").read_bytes()
        self.assertIn("course.txt is an input; name another file with -o", self.page("-o", "course.txt", "carve.csv", status=2))
        self.assertEqual((self.work.folder / "course.txt").read_bytes(), before)

    def test_a_wrong_command_line(self):
        for arguments, message in [([], "no track"), (["-", "-"], "standard input can be read once"),
                                   (["-t", "5", "carve.csv", "straight.csv"], "-t belongs to one run"),
                                   (["--no-check", "--seed", "2", "carve.csv"], "--draws and --seed belong to the check"),
                                   (["--metr", "carve.csv"], "unrecognized")]:
            self.assertIn(message, self.page(*arguments, status=2))
        self.assertEqual(self.files(), [])

    def test_options_that_tarvel_json_refuses(self):
        error = self.page("-t", "two", "carve.csv", status=2)
        self.assertIn("tarvel-json: not a number of seconds: two", error)
        self.assertIn("tarvel-page: no document of carve.csv", error)
        self.assertEqual(self.files(), [])

    def test_the_check_is_asked_for_unless_it_is_left_out(self):
        def check_of(*arguments):
            self.page(*arguments, "carve.csv")
            return json.loads(Parts((self.work.folder / "carve.html").read_text()).parts["tarvel-documents"])[0]["check"]

        self.assertEqual(check_of()["draws"], 400)
        self.assertEqual(check_of("--draws", "50", "--seed", "7")["draws"], 50)
        self.assertNotEqual(check_of("--draws", "50", "--seed", "7")["intervals"], check_of("--draws", "50")["intervals"])
        self.assertIsNone(check_of("--no-check"))
        self.assertIn("not a number of draws", self.page("--draws", "5", "carve.csv", status=2))

    def test_a_run_that_fails_has_a_page(self):
        self.assertIn("could not detect pattern entry", self.page("walk.csv", status=1))
        self.assertEqual(self.files(), ["walk.html"])
        self.page("-o", "both.html", "carve.csv", "gone.csv", status=1)
        self.assertEqual(self.files(), ["both.html", "walk.html"])

    def test_messages_about_one_of_several_runs_have_its_name(self):
        self.assertEqual(self.page("--no-check", "carve.csv", "walk.csv", "gone.csv", status=1),
                         "tarvel-page: walk.csv: could not detect pattern entry\n"
                         "tarvel-page: gone.csv: failed to open file: gone.csv\n")
        self.assertEqual(self.page("--no-check", "walk.csv", status=1), "tarvel-json: could not detect pattern entry\n")

    def test_a_page_that_cannot_be_written(self):
        self.assertIn("cannot write gone/page.html: No such file or directory", self.page("-o", "gone/page.html", "carve.csv", status=2))
        (self.work.folder / "taken.html").mkdir()
        self.assertIn("cannot write taken.html", self.page("-o", "taken.html", "carve.csv", status=2))
        self.assertEqual(self.files(), ["taken.html"])

    def test_a_pipe_is_written_into(self):
        self.page("--no-check", "carve.csv")
        # As /dev/stdout, which a faulty program of root would replace.
        os.symlink("/proc/self/fd/1", self.work.folder / "stdout.html")
        printed = self.work.run([TARVEL_PAGE, "--no-check", "-o", "stdout.html", "carve.csv"]).stdout
        self.assertEqual(printed, (self.work.folder / "carve.html").read_text())
        self.assertTrue((self.work.folder / "stdout.html").is_symlink())

    def test_a_link_leads_to_the_page(self):
        (self.work.folder / "pages").mkdir()
        (self.work.folder / "pages/old.html").write_text("old")
        os.symlink("pages/old.html", self.work.folder / "carve.html")
        self.page("--no-check", "carve.csv")
        self.assertTrue((self.work.folder / "carve.html").is_symlink())
        self.assertIn("Content-Security-Policy", (self.work.folder / "pages/old.html").read_text())
        self.assertEqual(os.listdir(self.work.folder / "pages"), ["old.html"])

    def test_the_version_is_that_of_the_program_that_analyses(self):
        version = self.work.run([TARVEL_JSON, "--version"]).stdout
        self.assertEqual(self.work.run([TARVEL_PAGE, "--version"]).stdout, f"tarvel-page with {version}")
        self.assertEqual(self.page("--version", status=2, environment={"TARVEL_JSON": "/gone"}),
                         "tarvel-page: cannot run /gone: No such file or directory\n")

    def test_help_and_version_that_cannot_be_written(self):
        for option in ("--help", "--version"):
            with self.subTest(option), open("/dev/full", "w", encoding="utf-8") as full:
                done = subprocess.run([TARVEL_PAGE, option], stdout=full, stderr=subprocess.PIPE, text=True, check=False)
                self.assertEqual((done.returncode, done.stderr), (2, "tarvel-page: failed to write file: standard output\n"))

    def test_a_program_that_is_not_there(self):
        self.assertIn("cannot run /gone: No such file", self.page("carve.csv", status=2, environment={"TARVEL_JSON": "/gone"}))
        self.assertIn("no document of carve.csv", self.page("carve.csv", status=2, environment={"TARVEL_JSON": "/bin/true"}))

    def test_the_policy_names_the_script_and_the_style(self):
        self.page("carve.csv")
        found = Parts((self.work.folder / "carve.html").read_text())
        digests = {name: base64.b64encode(hashlib.sha256(found.parts[name].encode()).digest()).decode() for name in ("script", "style")}
        self.assertEqual(found.policy, f"default-src 'none'; script-src 'sha256-{digests['script']}'; "
                                       f"style-src 'sha256-{digests['style']}'; media-src blob:; base-uri 'none'; form-action 'none'")
        self.assertEqual(found.addresses, [])
        self.assertNotRegex(found.parts["style"], r"url\(|@import")

    def test_the_documents_are_those_of_tarvel_json(self):
        self.page("-m", "carve.csv", "straight.csv")
        found = json.loads(Parts((self.work.folder / "carve.html").read_text()).parts["tarvel-documents"])
        for run, packed in zip(("carve.csv", "straight.csv"), found, strict=True):
            document = self.work.document(run, "-m", "--check")
            for name in ("program", "track", "warnings", "failure", "figures"):
                self.assertEqual(packed[name], document[name])
            for name, phase in packed["phases"].items():
                for member, value in (phase or {}).items():
                    whole = document["phases"][name][member]
                    self.assertEqual(value, round(whole, 4) if isinstance(whole, float) else whole)
            for name, (interval, whole) in {name: (each, document["check"]["intervals"][name])
                                            for name, each in packed["check"]["intervals"].items()}.items():
                if isinstance(interval, str):
                    self.assertEqual((interval, None), (whole["why"], whole["low"]), name)
                    continue
                self.assertEqual(interval[2:], [whole["low_text"], whole["high_text"]])
                self.assertTrue(0 <= whole["low"] - interval[0] < 2e-6 and 0 <= interval[1] - whole["high"] < 2e-6, name)
            for name, column in packed["samples"].items():
                whole = document["samples"][name]
                if name not in ("first", "count"):
                    column = list(accumulate(accumulate(packed_numbers(column))))
                self.assertEqual(column, whole, name)

    def test_bounds_have_the_reason_behind_them(self):
        document = self.work.document("carve.csv", "--check")
        none = dict.fromkeys(("low", "high", "low_text", "high_text"))
        document["check"]["intervals"]["carve_time"] = {
            **none, "missing": 0, "why": "gap", "bounds": {"low": 2.0, "high": 3.5, "low_text": "2.00", "high_text": "3.50"}}
        self.work.page_of_documents("bounds.html", document)
        found = json.loads(Parts((self.work.folder / "bounds.html").read_text()).parts["tarvel-documents"])
        self.assertEqual(found[0]["check"]["intervals"]["carve_time"], [2.0, 3.5, "2.00", "3.50", "gap"])

    def test_no_name_ends_the_block_of_documents(self):
        document = self.work.document("carve.csv")
        document["track"]["name"] = "</script><!--<script>\u2028"
        page = self.work.page_of_documents("hostile.html", document).read_text()
        block = re.search(r'id="tarvel-documents">(.*?)</script>', page, re.DOTALL)[1]
        self.assertNotIn("<", block)
        self.assertEqual(json.loads(block)[0]["track"]["name"], document["track"]["name"])

    def test_the_bundle_ends_no_element(self):
        self.page("carve.csv")
        text = (self.work.folder / "carve.html").read_text()
        self.assertEqual(text.count("</script"), 2)
        self.assertEqual(text.count("</style"), 1)


if __name__ == "__main__":
    unittest.main()
