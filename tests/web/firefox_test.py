#!/usr/bin/env python3
"""tests/web/firefox_test.py: the page of a run in Debian's firefox-esr, from the disk.

Exits with 77 when firefox-esr is not installed.
"""
import sys
import unittest

import firefox
from shared_tests import BrowserTest, PageTests

if not firefox.is_installed():
    sys.exit(77)


class FirefoxTest(PageTests, BrowserTest):
    start = firefox.Firefox

    def texts(self, selector):
        return self.script(
            "return [...document.querySelectorAll(arguments[0])].map(each => each.textContent)", selector)

    def test_the_page_is_shown(self):
        document = self.work.document("carve.csv")
        self.open(self.work.page("carve.html", "carve.csv"))
        self.assertEqual(self.texts("h1"), ["carve"])
        self.assertIn("76.8", self.texts(".tiles .value"))
        painted = self.script("""
            const isPainted = canvas => canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data.some(byte => byte);
            return [...document.querySelectorAll('.view canvas, .plot canvas')].filter(each => each.checkVisibility()).map(isPainted)""")
        self.assertEqual(painted, [True] * 6)
        for sample in (10, 278):
            self.script("""const slider = document.querySelector('.readout input');
                slider.value = arguments[0]; slider.dispatchEvent(new Event('input'))""", sample)
            heading = document["samples"]["heading"][sample] / 100
            shown = self.script("return document.querySelector('[data-channel=heading]').textContent")
            self.assertAlmostEqual(float(shown.rstrip("°")), heading, delta=0.0501)

    def test_units_are_remembered(self):
        page = self.work.page("carve.html", "carve.csv")
        self.open(page)
        self.script("document.querySelector('[data-value=metric]').click()")
        self.open(page)
        self.assertIn("123.6", self.texts(".tiles .value"))
        self.script("document.querySelector('[data-value=imperial]').click()")

    def test_nothing_is_loaded_and_nothing_fails(self):
        page = self.work.page("several.html", "carve.csv", "straight.csv", "walk.csv", status=1)
        self.open(page)
        for text in ("height", "distance to the gate", "time"):
            self.script("""[...document.querySelectorAll('button')].find(
                each => each.textContent === arguments[0]).click()""", text)
        asked = self.script("return performance.getEntriesByType('resource').map(each => each.name)")
        self.assertEqual(asked, [])
        errors = [line for line in self.browser.log.read_text().splitlines() if "JavaScript error: file:" in line]
        self.assertEqual(errors, [])


if __name__ == "__main__":
    unittest.main()
