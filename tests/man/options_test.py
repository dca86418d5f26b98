#!/usr/bin/env python3
"""tests/man/options_test.py: each program has the same options in its usage text, in its man page and in its
completions for bash, zsh and fish; and the three completions describe each option in the same words.

Each completion is run in its shell.
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
TARVEL = os.environ.get("TARVEL_PROGRAM", str(PROJECT / "build/release/tarvel"))
SPLIT = os.environ.get("TARVEL_SPLIT_PROGRAM", str(PROJECT / "build/release/tarvel-split"))
TARVEL_CHECK = os.environ.get("TARVEL_CHECK_PROGRAM", str(PROJECT / "build/release/tarvel-check"))
TARVEL_JSON = os.environ.get("TARVEL_JSON_PROGRAM", str(PROJECT / "build/release/tarvel-json"))
COMPLETIONS = PROJECT / "docs/completions"
OPTION = r"-[A-Za-z]|--[a-z]+(?:-[a-z]+)*"


def printed_by(command, **settings):
    return subprocess.run(command, capture_output=True, text=True, check=False, **settings).stdout


def page_section(name, heading):
    page = (PROJECT / f"docs/man/{name}.1.in").read_text()
    return re.search(rf"^\.Sh {heading}\n(.*?)^\.Sh ", page, re.MULTILINE | re.DOTALL)[1]


def listed_in_page(name):
    heads = re.findall(r"^\.It (Fl .*)$", page_section(name, "DESCRIPTION"), re.MULTILINE)
    return {f"-{option}" for head in heads for option in re.findall(r"Fl (-?\w[\w-]*)", head)}


def letters(words):
    return {f"-{letter}" for letter in "".join(words)}


# {option: description} of each shell.

def bash_offers(*words, setup=""):
    """The completions of the last of these words, one in each line."""
    script = f"""
        {setup}
        . "{COMPLETIONS}/tarvel.bash"
        COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMP_TYPE=63
        COMP_POINT=${{#COMP_LINE}}
        complete_function=$(complete -p "${{1##*/}}" | sed 's/.* -F \\([^ ]*\\) .*/\\1/')
        $complete_function "$1" "${{*: -1}}" "${{*: -2:1}}"
        printf '%s\n' "${{COMPREPLY[@]}}"
    """
    return printed_by(["bash", "--norc", "-c", script, "bash", *words]).splitlines()


def bash_completion(name):
    return dict(re.fullmatch(r"(\S+)  \((.*)\)", line).groups() for line in bash_offers(name, "-"))


def zsh_completion(name):
    script = f'_arguments() {{ print -l -- "$@" }}; complete() {{ . "{COMPLETIONS}/_tarvel" }}; service={name}; complete'
    found = {}
    for line in printed_by(["zsh", "-f", "-c", script]).splitlines():
        # Without the group of options that this one excludes.
        head, bracket, tail = re.sub(r"\([^)]*\)", "", line, count=1).partition("[")
        if bracket:
            found.update({option: tail.split("]")[0] for option in re.findall(rf"(?<![\w-])(?:{OPTION})", head)})
    return found


def fish_completion(name):
    script = f'source "{COMPLETIONS}/{name}.fish"; complete -C "{name} -"; complete -C "{name} --"'
    with tempfile.TemporaryDirectory() as home:
        lines = printed_by(["fish", "--no-config", "-c", script], env={**os.environ, "HOME": home}).splitlines()
    return dict(line.split("\t") for line in lines)


class OptionsTest(unittest.TestCase):
    def check_completions(self, name, expected):
        reference = bash_completion(name)
        self.assertEqual(set(reference), expected)
        self.assertTrue(all(reference.values()), reference)
        self.assertEqual(zsh_completion(name), reference)
        self.assertEqual(fish_completion(name), reference)

    def test_tarvel(self):
        usage = printed_by([TARVEL])
        expected = set(re.findall(r"^ +(-\w) .*", usage, re.MULTILINE))
        self.assertGreater(len(expected), 0)
        self.assertEqual(letters(re.findall(r"\[-(\w+)", usage)), expected)
        self.assertEqual(letters(re.findall(r"^\.Op Fl (\w+)", page_section("tarvel", "SYNOPSIS"), re.MULTILINE)),
                         expected)
        self.assertEqual(listed_in_page("tarvel"), expected)
        self.check_completions("tarvel", expected)
        print(f"tarvel: {len(expected)} options")

    def check_listing(self, name, *program):
        listing = re.search(r"^options:\n(.*?)(?:\n\n|\Z)", printed_by([*program, "--help"]), re.MULTILINE | re.DOTALL)[1]
        heads = re.findall(r"^  (-\S.*?)(?:   .*)?$", listing, re.MULTILINE)
        expected = {option for head in heads for option in re.findall(rf"(?<![\w-])(?:{OPTION})", head)}
        self.assertGreater(len(expected), 7)
        self.assertEqual(listed_in_page(name), expected)
        self.check_completions(name, expected)
        print(f"{name}: {len(expected)} options")

    def test_tarvel_check(self):
        self.check_listing("tarvel-check", TARVEL_CHECK)

    def test_tarvel_json(self):
        self.check_listing("tarvel-json", TARVEL_JSON)

    def test_tarvel_page(self):
        self.check_listing("tarvel-page", sys.executable, str(PROJECT / "web/tarvel-page"))

    def test_tarvel_meet(self):
        self.check_listing("tarvel-meet", sys.executable, str(PROJECT / "src/meet/tarvel-meet"))

    def test_tarvel_split(self):
        heads = re.findall(r"^  (-\S.*?)   ?\S", printed_by([SPLIT, "--help"]), re.MULTILINE)
        expected = {option for head in heads for option in re.findall(rf"(?<![\w-])(?:{OPTION})", head)}
        self.assertEqual(len(expected), 8)
        self.assertEqual(listed_in_page("tarvel-split"), expected)
        self.check_completions("tarvel-split", expected)
        print(f"tarvel-split: {len(expected)} options")


class BashCompletionTest(unittest.TestCase):
    """The completions after a word, with bash-completion, which lists the files, and without it, when bash does."""
    LIBRARY = ". /usr/share/bash-completion/bash_completion"
    FILES = ("course.txt", "run.csv", "page.html", "results/")

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        for name in self.FILES:
            path = Path(folder.name, name)
            path.mkdir() if name.endswith("/") else path.touch()
        self.setup = f'{self.LIBRARY}; cd "{folder.name}"'

    def check(self, line, *expected):
        offered = bash_offers(*line.split(" "), setup=self.setup)
        self.assertEqual(sorted(offered), sorted(expected or [""]), line)

    def test_files_that_an_operand_or_a_value_may_be(self):
        tracks = ("course.txt", "results", "run.csv")
        for line in ("tarvel ", "tarvel -d ", "tarvel -g ", "tarvel -pg ", "tarvel-check -m ", "/usr/bin/tarvel-json ",
                     "tarvel-page run.csv ", "tarvel-split --write ", "tarvel-meet --fresh "):
            self.check(line, *tracks)
        self.check("tarvel-page -o ", "page.html", "results")
        self.check("tarvel-page -mo ", "page.html", "results")
        self.check("tarvel-meet --course ", "course.txt", "results")
        self.check("tarvel-meet -o ", "results")
        self.check("tarvel-meet --hosts ", "course.txt", "page.html", "results", "run.csv")

    def test_any_file_where_none_fits(self):
        self.check("tarvel-page -o ru", "run.csv")
        self.check("tarvel pa", "page.html")

    def test_nothing_where_a_value_is_free(self):
        for line in ("tarvel -t ", "tarvel -mt ", "tarvel-check --draws ", "tarvel-json -it ", "tarvel-page --seed ",
                     "tarvel-meet -j ", "tarvel-meet -x "):
            self.check(line)

    def test_a_letter_that_is_a_value_takes_none(self):
        self.check("tarvel-page -ot ", "course.txt", "results", "run.csv")

    def test_commands(self):
        self.check("tarvel-meet --ssh mapfil", "mapfile")

    def test_one_option_is_offered_without_its_description(self):
        self.check("tarvel-meet --ret", "--retries")

    def test_files_are_left_to_bash_without_its_library(self):
        told = bash_offers("tarvel", "", setup='compopt() { printf "%s\\n" "$*"; }')
        self.assertEqual(told, ["-o default", ""])


if __name__ == "__main__":
    unittest.main()
