#!/usr/bin/env python3
"""tests/docs/links_test.py: the targets of all links in the project's Markdown files exist, and pictures are
readable."""
import os
import tempfile
import unittest
import xml.etree.ElementTree
from pathlib import Path
from urllib.parse import unquote

from manual_text import anchors, links

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
SKIPPED = {".git", "build", "demo"}


def markdown_files(project):
    for folder, folders, files in os.walk(project):
        folders[:] = sorted(set(folders) - SKIPPED)
        yield from (Path(folder) / name for name in sorted(files) if name.endswith(".md"))


def fault_of(page, link):
    """Why the link is broken, or None."""
    if link.startswith(("http://", "https://", "mailto:")):
        return None
    path, _, anchor = unquote(link).partition("#")
    target = page.parent / path if path else page
    if not target.exists():
        return "nothing is there"
    if anchor and target.suffix == ".md" and anchor not in anchors(target.read_text()):
        return "no such heading"
    return None


def broken_links(project):
    faults = []
    for page in markdown_files(project):
        for link in links(page.read_text()):
            fault = fault_of(page, link)
            if fault:
                faults.append(f"{page.relative_to(project)}: {link}: {fault}")
    return faults


class LinksTest(unittest.TestCase):
    def test_no_link_is_broken(self):
        count = sum(len(links(page.read_text())) for page in markdown_files(PROJECT))
        print(f"{count} links in {len(list(markdown_files(PROJECT)))} Markdown files")
        self.assertGreater(count, 20)
        self.assertEqual(broken_links(PROJECT), [])

    def test_the_manuals_contents_link_to_every_chapter(self):
        manual = PROJECT / "docs/manual"
        listed = {link.partition("#")[0] for link in links((manual / "README.md").read_text())}
        chapters = {page.name for page in manual.glob("*.md")} - {"README.md"}
        self.assertEqual(chapters - listed, set())

    def test_pictures_can_be_read(self):
        for picture in (PROJECT / "docs").rglob("*.svg"):
            root = xml.etree.ElementTree.parse(picture).getroot()
            self.assertEqual(root.tag, "{http://www.w3.org/2000/svg}svg", picture)
        for picture in (PROJECT / "docs").rglob("*.png"):
            self.assertTrue(picture.read_bytes().startswith(b"\x89PNG\r\n\x1a\n"), picture)

    def test_broken_links_are_found(self):
        with tempfile.TemporaryDirectory() as folder:
            project = Path(folder)
            (project / "other.md").write_text("# The entry gate\n\n## `-t`: time aloft\n\n## The entry gate\n")
            (project / "page.md").write_text(
                "[a](other.md) [b](other.md#the-entry-gate) [c](other.md#-t-time-aloft) [d](other.md#the-entry-gate-1)\n"
                "`[code](nowhere.md)` [web](https://example.org/)\n\n    [code](nowhere.md)\n\n"
                "[e](gone.md) ![f](gone.png) [g](other.md#exit) [h](#here)\n\n[i]: gone.txt\n<img src=\"gone.svg\">\n")
            found = [line.split(": ")[1] for line in broken_links(project)]
        self.assertEqual(found, ["gone.md", "gone.png", "other.md#exit", "#here", "gone.txt", "gone.svg"])


if __name__ == "__main__":
    unittest.main()
