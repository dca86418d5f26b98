#!/usr/bin/env python3
"""tests/man/options_test.py: the options of each program are the same in what it prints, in its man page and in its
completions for bash, zsh and fish; and the three shells describe each option in the same words.

Completions run in their own shells. Where zsh or fish is not installed, the completion's file is read instead.
"""
import os
import re
import shutil
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
COMPLETIONS = PROJECT / "completions"
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

def bash_completion(name):
    script = f"""
        . "{COMPLETIONS}/{name}.bash"
        complete_function=$(complete -p {name} | sed 's/.* -F \\([^ ]*\\) .*/\\1/')
        COMP_WORDS=({name} -) COMP_CWORD=1 COMP_TYPE=63
        $complete_function
        printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    lines = printed_by(["bash", "--norc", "-c", script]).splitlines()
    return dict(re.fullmatch(r"(\S+)  \((.*)\)", line).groups() for line in lines)


def zsh_completion(name):
    path = COMPLETIONS / f"_{name}"
    if shutil.which("zsh"):
        script = f'_arguments() {{ print -l -- "$@" }}; . "{path}"'
        lines = printed_by(["zsh", "-f", "-c", script]).splitlines()
    else:
        lines = path.read_text().splitlines()
    found = {}
    for line in lines:
        # Without the group of options that this one excludes.
        head, bracket, tail = re.sub(r"\([^)]*\)", "", line, count=1).partition("[")
        if bracket:
            found.update({option: tail.split("]")[0] for option in re.findall(rf"(?<![\w-])(?:{OPTION})", head)})
    return found


def fish_completion(name):
    path = COMPLETIONS / f"{name}.fish"
    found = {}
    if shutil.which("fish"):
        script = f'source "{path}"; complete -C "{name} -"; complete -C "{name} --"'
        with tempfile.TemporaryDirectory() as home:
            lines = printed_by(["fish", "--no-config", "-c", script], env={**os.environ, "HOME": home}).splitlines()
        found.update(line.split("\t") for line in lines)
    else:
        for line in path.read_text().replace("\\\n", " ").splitlines():
            # Without the condition, which names other options.
            line = re.sub(r" -n '[^']*'", "", line)
            description = re.search(r" -d '(.*)'", line)
            found.update({f"-{letter}": description[1] for letter in re.findall(r" -s (\w) ", line)})
            found.update({f"--{word}": description[1] for word in re.findall(r" -l ([\w-]+) ", line)})
    return found


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
        self.check_listing("tarvel-meet", sys.executable, str(PROJECT / "meet/tarvel-meet"))

    def test_tarvel_split(self):
        heads = re.findall(r"^  (-\S.*?)   ?\S", printed_by([SPLIT, "--help"]), re.MULTILINE)
        expected = {option for head in heads for option in re.findall(rf"(?<![\w-])(?:{OPTION})", head)}
        self.assertEqual(len(expected), 8)
        self.assertEqual(listed_in_page("tarvel-split"), expected)
        self.check_completions("tarvel-split", expected)
        print(f"tarvel-split: {len(expected)} options")


if __name__ == "__main__":
    unittest.main()
