#!/usr/bin/env python3
"""tests/man/messages_test.py: the items under DIAGNOSTICS in the man pages of tarvel, tarvel-meet and tarvel-split are
exactly the messages of these programs. Items have example values in place of names and numbers.
"""
import ast
import os
import re
import sys
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
sys.path.insert(0, str(PROJECT / "tests/docs"))
from source_messages import pattern_of, source_messages  # noqa: E402

# The usage text and the line of -v, which are explained under their options.
NO_DIAGNOSTICS = {"COMMAND LINE USAGE:", "Tarvel %s", "Usage: tarvel-split [-mw] track"}
# The words of the list that tarvel-split prints.
NO_MESSAGES = {"descent without a dive"}
# Messages of the driver on files that tarvel-split can print, and the one that tarvel cannot.
OF_FILES = {"failed to open file: %s", "file exists: %s", "failed to write file: %s", "failed to write file: standard output"}
NOT_OF_TARVEL = {"file exists: %s"}


def items(page):
    text = (PROJECT / f"docs/man/{page}.in").read_text()
    diagnostics = re.search(r"^\.Sh DIAGNOSTICS\n(.*?)^\.Sh ", text, re.MULTILINE | re.DOTALL)[1]
    return re.findall(r'^\.It "(.*)"$', diagnostics, re.MULTILINE)


def is_word(node, *names):
    return isinstance(node, ast.Name) and node.id in names


class PythonMessages(ast.NodeVisitor):
    """Patterns of the messages in a Python program."""

    def __init__(self):
        self.patterns = []

    def add(self, node):
        if isinstance(node, ast.IfExp):
            self.add(node.body)
            self.add(node.orelse)
        elif isinstance(node, ast.Constant) and isinstance(node.value, str) and node.value:
            self.patterns.append(re.compile(re.escape(node.value)))
        elif isinstance(node, ast.JoinedStr):
            parts = [re.escape(part.value) if isinstance(part, ast.Constant) else ".+" for part in node.values]
            self.patterns.append(re.compile("".join(parts)))

    def visit_Call(self, node):
        if is_word(node.func, "UsageError", "Failure") or ast.unparse(node.func) == "parser.error":
            self.add(node.args[0])
        elif is_word(node.func, "outcome"):
            self.add(node.args[1])
        for keyword in node.keywords:
            if keyword.arg == "message":
                self.add(keyword.value)
        self.generic_visit(node)

    def visit_Assign(self, node):
        target = node.targets[0]
        if isinstance(target, ast.Subscript) and ast.unparse(target.slice) == "'message'":
            self.add(node.value)
        self.generic_visit(node)


def python_patterns(program):
    visitor = PythonMessages()
    visitor.visit(ast.parse((PROJECT / program).read_text()))
    return visitor.patterns


class MessagesTest(unittest.TestCase):
    def check(self, patterns, explained):
        missing = [pattern.pattern for pattern in patterns if not any(pattern.fullmatch(item) for item in explained)]
        self.assertEqual(missing, [])
        self.assertEqual(self.needless(patterns, explained), [])

    @staticmethod
    def needless(patterns, explained):
        return [item for item in explained if not any(pattern.fullmatch(item) for pattern in patterns)]

    def test_tarvel(self):
        messages = {message for message, files in source_messages(PROJECT / "src").items()
                    if not all(name.startswith("splitter/") for name in files)} - NO_DIAGNOSTICS - NO_MESSAGES - NOT_OF_TARVEL
        self.assertGreater(len(messages), 70)
        self.check([pattern_of(message) for message in messages], items("tarvel.1"))
        print(f"tarvel: {len(messages)} messages, {len(items('tarvel.1'))} items")

    def test_the_container(self):
        messages = [message for message in source_messages(PROJECT / "src/container")
                    if not message.startswith("failed to write")]
        self.assertGreater(len(messages), 10)
        self.check([pattern_of(message) for message in messages], items("tarvel-tvl.5"))

    def test_the_course_file(self):
        patterns = [pattern_of(message) for message in source_messages(PROJECT / "src")]
        self.assertEqual(self.needless(patterns, items("tarvel-course.5")), [])

    def test_tarvel_split(self):
        said = set(source_messages(PROJECT / "src/splitter")) - NO_DIAGNOSTICS - NO_MESSAGES
        self.assertGreater(len(said), 3)
        engine = set(source_messages(PROJECT / "src/split")) - NO_MESSAGES
        self.assertLessEqual(OF_FILES, set(source_messages(PROJECT / "src/driver")))
        self.check([pattern_of(message) for message in {*said, *engine, *OF_FILES}], items("tarvel-split.1"))

    def check_command_line(self, options, page):
        """The messages of this program when it is called with wrong command lines and numbers are explained."""
        calls = re.findall(r"refuse\((.*?)\);", (PROJECT / options).read_text())
        messages = [message for call in calls for message in re.findall(r'"(.*?)"', call)]
        self.assertGreater(len(messages), 1)
        numbers = re.findall(r'format_error\("(.*?)"', (PROJECT / "src/checker/number_arguments.cpp").read_text())
        self.assertEqual(len(numbers), 3)
        self.check([pattern_of(message) for message in [*messages, *numbers]], items(page))

    def test_tarvel_check(self):
        self.check_command_line("src/checker/options.cpp", "tarvel-check.1")

    def test_tarvel_json(self):
        self.check_command_line("src/json/json_options.cpp", "tarvel-json.1")

    def test_tarvel_meet(self):
        patterns = python_patterns("src/meet/tarvel-meet")
        self.assertGreater(len(patterns), 20)
        self.check(patterns, items("tarvel-meet.1"))
        print(f"tarvel-meet: {len(patterns)} messages, {len(items('tarvel-meet.1'))} items")

    def test_tarvel_page(self):
        patterns = python_patterns("web/tarvel-page")
        self.assertGreater(len(patterns), 5)
        self.check(patterns, items("tarvel-page.1"))


if __name__ == "__main__":
    unittest.main()
