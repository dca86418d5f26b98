#!/usr/bin/env python3
"""tests/json/json_page_test.py: tarvel-json(5) explains each member that the schema has, in a section of its own, and
each failure code; the schema has all codes that the program knows, and each message of an analysis has one.
"""
import json
import os
import re
import sys
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
sys.path.insert(0, str(PROJECT / "tests/docs"))
from source_messages import source_messages  # noqa: E402

SCHEMA = json.loads((PROJECT / "docs/schema/run-1.json").read_text())
PAGE = (PROJECT / "docs/man/tarvel-json.5.in").read_text()
FIGURES = set(SCHEMA["properties"]["figures"]["properties"])
# Why a figure has no interval.
WHY = set(SCHEMA["$defs"]["interval"]["properties"]["why"]["enum"]) - {None}
CODES = SCHEMA["properties"]["failure"]["properties"]["code"]["enum"]

# The layers whose messages a run can fail with; a survey is no run.
LAYERS = ("support", "track", "container", "loader", "formats", "swoop", "document")
NEVER = {"invalid gate type", "missing $ prefix"}


def section_items(name):
    section = re.search(rf"^\.Ss {name}\n(.*?)^\.S[sh] ", PAGE, re.MULTILINE | re.DOTALL)[1]
    return set(re.findall(r"^\.It Li (\S+)\n(?!\.It|\.El)", section, re.MULTILINE))


def members_of(schema):
    """The names of the members of a part and of all records in it."""
    names = set()
    if "$ref" in schema:
        names |= members_of(SCHEMA["$defs"][schema["$ref"].rpartition("/")[2]])
    for name, member in schema.get("properties", {}).items():
        names |= {name} | members_of(member)
    for other in schema.get("allOf", []):
        names |= members_of(other)
    if isinstance(schema.get("items"), dict):
        names |= members_of(schema["items"])
    return names


def source_codes():
    source = (PROJECT / "src/document/failure_code.cpp").read_text()
    return dict(re.findall(r'\{"([^"]+)", "([a-z-]+)"\}', source))


class PageTest(unittest.TestCase):
    def test_each_member_is_explained_in_its_section(self):
        for name, part in SCHEMA["properties"].items():
            with self.subTest(name):
                members = members_of(part)
                if name == "check":
                    self.assertLessEqual(FIGURES, members)  # explained in their own section
                    members -= FIGURES
                explained = section_items(name) if members else set()
                # "direction" is explained in a sentence.
                self.assertEqual(members - explained - {"direction"}, set())
                codes = {"failure": set(CODES), "check": WHY}.get(name, set())
                self.assertEqual(explained - members, codes)
                self.assertIn(f".Ss {name}\n", PAGE)

    def test_the_values_of_each_member_are_named(self):
        words = set(re.findall(r"[\w/-]+", PAGE.replace("\\-", "-")))

        def check(part):
            if isinstance(part, dict):
                for value in part.get("enum", []):
                    self.assertTrue(value is None or value in words, value)
                for member in part.values():
                    check(member)

        check(SCHEMA)

    def test_the_codes(self):
        self.assertEqual(set(source_codes().values()) | {"other"}, set(CODES))

    def test_the_reasons_for_no_interval(self):
        source = (PROJECT / "src/document/check_json.cpp").read_text()
        known = set(re.findall(r'(?:return|[?:]) "([a-z-]+)"', source))
        self.assertEqual(known, WHY)

    def test_each_message_has_a_code(self):
        beginnings = source_codes()
        messages = {message for layer in LAYERS for message in source_messages(PROJECT / "src" / layer)}
        # Without those of writing, those of surveys, and the warnings of readers.
        messages = {message for message in messages
                    if not re.search(r"write|gate (section|header|sample)|^WARNING", message)}
        self.assertGreater(len(messages), 30)
        missing = {message for message in messages if not any(message.startswith(b) for b in beginnings)}
        self.assertEqual(missing - NEVER, set())

    def test_each_code_is_that_of_a_message(self):
        messages = set(source_messages(PROJECT / "src"))
        needless = {b for b in source_codes() if not any(message.startswith(b) for message in messages)}
        self.assertEqual(needless, set())


if __name__ == "__main__":
    unittest.main()
