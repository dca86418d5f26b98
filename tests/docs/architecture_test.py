#!/usr/bin/env python3
"""tests/docs/architecture_test.py: the files and names in docs/architecture.md exist."""
import os
import re
import unittest
from pathlib import Path

from manual_text import code_spans

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
PAGE = (PROJECT / "docs/architecture.md").read_text()
# Files that are built, and tests whose names CMake makes.
MADE = {"page.js", "page.css", "page/page.js", "page/page.css", ".page.js", "tarvel.html", "cmake/layers", "engine/wasm",
        "engine/aarch64"}


def project_files():
    for folder, folders, files in os.walk(PROJECT):
        folders[:] = set(folders) - {".git", "build", "demo"}
        yield from (Path(folder, name).relative_to(PROJECT) for name in files)


def names_in(files):
    """The words of all code but that of the tests of the documentation."""
    texts = ((PROJECT / file).read_text(errors="ignore") for file in files
             if file.parts[0] not in ("docs", "examples") and file.parts[:2] != ("tests", "docs") and "vendor" not in file.parts
             and file.suffix not in (".md", ".csv", ".kml", ".tvl", ".pdf", ".svg", ".png"))
    return {word for text in texts for word in re.findall(r"\w+", text)}


def stale_spans(page):
    """Code spans that name a file, or a name in the code, that does not exist."""
    files = list(project_files())
    places = {"/" + str(path) + end for file in files for path in (file, file.with_suffix(""), *file.parents)
              for end in ("", "/")}
    names = names_in(files)

    def is_there(span):
        if "/" in span or re.search(r"\.(h|cpp|py|ts|cmake|md|json|png|css|js|html)$", span):
            return span in MADE or any(place.endswith("/" + span) for place in places)
        return not re.fullmatch(r"\w+", span) or span in names

    return [span for span in dict.fromkeys(code_spans(page)) if not is_there(span)]


class ArchitectureTest(unittest.TestCase):
    def test_everything_that_is_named_is_there(self):
        self.assertGreater(len(code_spans(PAGE)), 200)
        self.assertEqual(stale_spans(PAGE), [])

    def test_what_is_gone_is_found(self):
        page = "`src/geo/wgs85.h`, `wgs84.h`, `tests/support/`, `man/figures_test`, `figures_tests.py`, `try_resized`"
        self.assertEqual(stale_spans(page), ["src/geo/wgs85.h", "figures_tests.py", "try_resized"])


if __name__ == "__main__":
    unittest.main()
