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

import axe
import webkit
from pages import BrowserTest, wait_for

if not webkit.is_installed():
    sys.exit(77)

APP = os.environ.get("TARVEL_BROWSER_PAGE")


class WebKitTest(BrowserTest):
    start = webkit.WebKit

    @classmethod
    def setUpClass(cls):
        warnings.simplefilter("ignore", DeprecationWarning)  # of selenium, about how this driver is named
        super().setUpClass()

    def script(self, text, *arguments):
        return self.browser.driver.execute_script(text, *arguments)

    def open(self, page):
        self.browser.driver.get(page.as_uri())
        wait_for(lambda: self.script("return document.querySelector('.readout') !== null"), 60)

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

    def test_the_policy_lets_in_no_other_script(self):
        self.open(self.work.page("carve.html", "carve.csv"))
        self.assertFalse(self.script("""
            const made = document.createElement('script');
            made.textContent = 'document.title = "was run"';
            document.body.append(made);
            return document.title === 'was run'"""))

    def test_axe_finds_nothing(self):
        self.open(self.work.page("several.html", "carve.csv", "straight.csv"))
        found = self.browser.driver.execute_async_script(
            axe.SCRIPT + "; const done = arguments[0]; axe.run(document).then(done, error => done({violations: [{id: String(error)}]}))")
        self.assertEqual([each["id"] for each in found["violations"]], [])

    @unittest.skipUnless(APP, "tarvel.html is not built")
    def test_dropped_files_are_analysed(self):
        self.browser.driver.get(Path(APP).as_uri())
        names = ("matrix.txt", "carve.csv", "straight.csv", "walk.csv")
        self.script("""const data = new DataTransfer();
            for (const [name, text] of arguments[0]) data.items.add(new File([text], name));
            document.body.dispatchEvent(new DragEvent('drop', {dataTransfer: data, bubbles: true, cancelable: true}));""",
                    [[name, (self.work.folder / name).read_text()] for name in names])
        wait_for(lambda: self.script("return document.querySelectorAll('.mark').length") == 2, 60)
        for run in ("carve", "straight"):
            figure = self.work.document(f"{run}.csv")["figures"]["entry_gate_speed"]
            cell = f"return document.querySelector('tr[data-path=\"{run}.csv\"] [data-figure=entry_gate_speed]').textContent"
            self.assertEqual(self.script(cell), figure["text"])
        self.assertIn("surveyed", self.script("return document.querySelector('tr[data-path=\"walk.csv\"]').textContent"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
