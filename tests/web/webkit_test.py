#!/usr/bin/env python3
"""tests/web/webkit_test.py: the page of a run, and tarvel.html where it is built, in Debian's WebKitGTK, from the disk.

Exits with 77 where the browser or selenium is not installed.
"""
import os
import sys
import unittest
import warnings
from pathlib import Path

try:
    import selenium  # noqa: F401
except ImportError:
    sys.exit(77)

import webkit
from shared_tests import BrowserTest, PageTests

if not webkit.is_installed():
    sys.exit(77)

APP = os.environ.get("TARVEL_BROWSER_PAGE")


class WebKitTest(PageTests, BrowserTest):
    start = webkit.WebKit

    @classmethod
    def setUpClass(cls):
        warnings.simplefilter("ignore", DeprecationWarning)  # of selenium, about how this driver is named
        super().setUpClass()

    def test_the_page_is_shown_and_nothing_is_loaded(self):
        document = self.work.document("carve.csv")
        self.open(self.work.page("carve.html", "carve.csv"))
        self.assertIn("76.8", self.script("return [...document.querySelectorAll('.tiles .value')].map(each => each.textContent)"))
        painted = self.script("""
            const isPainted = canvas => canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data.some(byte => byte);
            return [...document.querySelectorAll('.view canvas, .plot canvas')].map(isPainted)""")
        self.assertEqual(painted, [True] * 6)
        for sample in (10, 278):
            self.script("""const slider = document.querySelector('.readout input');
                slider.value = arguments[0]; slider.dispatchEvent(new Event('input'))""", sample)
            shown = self.script("return document.querySelector('[data-channel=heading]').textContent")
            self.assertAlmostEqual(float(shown.rstrip("°")), document["samples"]["heading"][sample] / 100, delta=0.0501)
        self.assertEqual(self.script("return performance.getEntriesByType('resource').map(each => each.name)"), [])

    @unittest.skipUnless(APP, "tarvel.html is not built")
    def test_dropped_files_are_analysed(self):
        self.assert_dropped_files_are_analysed(Path(APP))


if __name__ == "__main__":
    unittest.main(verbosity=2)
