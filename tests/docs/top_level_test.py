#!/usr/bin/env python3
"""tests/docs/top_level_test.py: docs/architecture.md explains every entry at the top of the tree, and these are few."""
import os
import re
import subprocess
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
# Made by building and running, or git's own.
PASSED_OVER = {".git", "build", "demo"}


def entries():
    """The entries that git tracks; without git, as in a source package, those that exist."""
    if (PROJECT / ".git").exists():
        names = subprocess.run(["git", "ls-files", "-z"], cwd=PROJECT, capture_output=True, text=True, check=True).stdout
        return {name.partition("/")[0] for name in names.split("\0") if name}
    return {path.name for path in PROJECT.iterdir()} - PASSED_OVER


def explained():
    """The names in the first cells of the first table."""
    table = re.search(r"(?:^\|.*\n)+", (PROJECT / "docs/architecture.md").read_text(), re.MULTILINE)[0]
    return [name.rstrip("/") for row in table.splitlines()[2:] for name in re.findall(r"`([^`]+)`", row.split("|")[1])]


class TopLevelTest(unittest.TestCase):
    def test_every_entry_is_explained_once(self):
        self.assertEqual(sorted(explained()), sorted(entries()))

    def test_a_dozen_entries_are_seen(self):
        self.assertLessEqual(len([name for name in entries() if not name.startswith(".")]), 12)


if __name__ == "__main__":
    unittest.main()
