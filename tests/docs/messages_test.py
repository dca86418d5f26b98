#!/usr/bin/env python3
"""tests/docs/messages_test.py: the manual's chapter on messages has every message of src/ and no other."""
import os
import re
import shutil
import tempfile
import unittest
from pathlib import Path

from manual_text import code_spans
from source_messages import pattern_of, source_messages

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
SOURCES = PROJECT / "src"
CHAPTER = PROJECT / "docs/manual/messages.md"

# Source lines with a message that the manual does not have, each written in another way.
NEW_MESSAGES = {
    'void f(error_slot *error) { *error = "pilot landed in a tree"; }': "pilot landed in a tree",
    'void f(error_slot *error) { if (*error) *error = "treeless"; }': "treeless",
    'void f(text_buffer &log) { *log.error = "no tree"; }': "no tree",
    'void f(error_slot *error) { *error = format_error("tree %d of %s in the way", 1, name()); }':
        "tree %d of %s in the way",
    'void f() { fatal_error("trees"); }': "trees",
    'void f() { std::puts("Too many trees"); }': "Too many trees",
    'void f() { std::printf("WARNING: unknown tree (%s)\\n", name()); }': "WARNING: unknown tree (%s)",
    'void f() { std::fputs("ERROR: a tree "\n "fell\\n", stderr); }': "a tree fell",
    'void f(text_buffer &log) { text_buffer_printf(log, "tree found: %3d\\n", 1); }': "tree found: %3d",
    'void f(text_buffer &warnings) { text_buffer_printf(warnings, "WARNING: tree (%s)\\n", name()); }':
        "WARNING: tree (%s)",
    'constexpr words tree_words = {1, "not a tree"};': "not a tree",
    'constexpr const char *tree_failure = "failed to climb tree: ";': "failed to climb tree: ",
    'const char *f(bool b) { return b ? "in a tree" : nullptr; }': "in a tree",
}

# Source lines without a message.
NO_MESSAGES = (
    '// "a tree in a comment"\n'
    '#include "tree or not"\n'
    'void f(std::FILE *file) { std::fprintf(file, "<tree>an oak</tree>\\n"); }\n'
    'void g(text_buffer &text) { text_buffer_printf(text, "tree height: %d\\n", 1); }\n'
    'owned_text h() { return format_text("height of tree (%s)", "ft"); }\n'
    'bool is_tree(const char *name) { return name == "tree"; }\n')


def quoted_messages(chapter):
    """The messages that the chapter explains. An item of its lists begins "- `one`, `another`:"."""
    heads = re.findall(r"^- (`[^`]+`(?:,\s+`[^`]+`)*):$", chapter, re.MULTILINE)
    return [span for head in heads for span in code_spans(head)]


def missing_messages(sources, chapter):
    quoted = quoted_messages(chapter)
    return {message: files for message, files in source_messages(sources).items()
            if not any(pattern_of(message).fullmatch(words) for words in quoted)}


def needless_messages(sources, chapter):
    patterns = [pattern_of(message) for message in source_messages(sources)]
    return [words for words in quoted_messages(chapter) if not any(p.fullmatch(words) for p in patterns)]


class MessagesTest(unittest.TestCase):
    def setUp(self):
        self.chapter = CHAPTER.read_text()

    def missing_of(self, text):
        """The messages of a source file with this text that the chapter does not have."""
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "tree.cpp").write_text(text)
            return set(missing_messages(Path(folder), self.chapter))

    def test_no_message_of_the_source_is_missing_in_the_chapter(self):
        self.assertEqual(missing_messages(SOURCES, self.chapter), {})

    def test_the_chapter_has_no_message_that_the_source_lacks(self):
        self.assertEqual(needless_messages(SOURCES, self.chapter), [])

    def test_the_source_has_messages_of_each_kind(self):
        messages = source_messages(SOURCES)
        for message in ("could not find rollout", "failed to open file: %s", "WARNING: unknown field (%s)",
                        "Too many command line parameters", "not a swoop section", "COMMAND LINE USAGE:",
                        "failed to write file: standard output", "WARNING: clockwise pond walk detected"):
            self.assertIn(message, messages)
        self.assertGreater(len(messages), 80)
        print(f"{len(messages)} messages in src/, {len(quoted_messages(self.chapter))} in the chapter")

    def test_a_message_added_to_a_copy_of_the_source_is_missed(self):
        with tempfile.TemporaryDirectory() as folder:
            sources = Path(folder) / "src"
            shutil.copytree(SOURCES, sources)
            before = missing_messages(sources, self.chapter)
            stop = sources / "swoop/stop.cpp"
            stop.write_text(stop.read_text().replace('"could not determine swoop heading"', '"pilot landed in a tree"'))
            after = missing_messages(sources, self.chapter)
            needless = needless_messages(sources, self.chapter)
        self.assertEqual(set(after) - set(before), {"pilot landed in a tree"})
        self.assertIn("could not determine swoop heading", needless)

    def test_a_new_message_of_each_kind_is_missed(self):
        for source, message in NEW_MESSAGES.items():
            with self.subTest(source=source):
                self.assertEqual(self.missing_of(source), {message})

    def test_what_is_no_message_is_not_missed(self):
        self.assertEqual(self.missing_of(NO_MESSAGES), set())

    def test_a_message_taken_from_the_chapter_is_missed(self):
        damaged = self.chapter.replace("`could not find rollout`", "could not find rollout")
        self.assertIn("could not find rollout", missing_messages(SOURCES, damaged))
        self.assertNotIn("could not find rollout", missing_messages(SOURCES, self.chapter))

    def test_a_message_that_is_gone_from_the_source_is_found_in_the_chapter(self):
        added = self.chapter + "\n- `pilot landed in a tree`:\n  climb down\n"
        self.assertIn("pilot landed in a tree", needless_messages(SOURCES, added))


if __name__ == "__main__":
    unittest.main()
