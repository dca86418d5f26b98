#!/usr/bin/env python3
"""tests/web/firefox_test.py: the page of a run in Debian's firefox-esr, from the disk.

Exits with 77 when firefox-esr is not installed.
"""
import sys
import unittest

import axe
import firefox
from pages import BrowserTest, wait_for

if not firefox.is_installed():
    sys.exit(77)


class FirefoxTest(BrowserTest):
    start = firefox.Firefox

    def open(self, page):
        self.browser.get(page.as_uri())
        wait_for(lambda: self.browser.execute_script("return document.querySelector('.readout') !== null"))

    def texts(self, selector):
        return self.browser.execute_script(
            "return [...document.querySelectorAll(arguments[0])].map(each => each.textContent)", selector)

    def test_the_page_is_shown(self):
        document = self.work.document("carve.csv")
        self.open(self.work.page("carve.html", "carve.csv"))
        self.assertEqual(self.texts("h1"), ["carve"])
        self.assertIn("76.8", self.texts(".tiles .value"))
        painted = self.browser.execute_script("""
            const isPainted = canvas => canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data.some(byte => byte);
            return [...document.querySelectorAll('.view canvas, .plot canvas')].filter(each => each.checkVisibility()).map(isPainted)""")
        self.assertEqual(painted, [True] * 6)
        for sample in (10, 278):
            self.browser.execute_script("""const slider = document.querySelector('.readout input');
                slider.value = arguments[0]; slider.dispatchEvent(new Event('input'))""", sample)
            heading = document["samples"]["heading"][sample] / 100
            shown = self.browser.execute_script("return document.querySelector('[data-channel=heading]').textContent")
            self.assertAlmostEqual(float(shown.rstrip("°")), heading, delta=0.0501)

    def test_units_are_remembered(self):
        page = self.work.page("carve.html", "carve.csv")
        self.open(page)
        self.browser.execute_script("document.querySelector('[data-value=metric]').click()")
        self.open(page)
        self.assertIn("123.6", self.texts(".tiles .value"))
        self.browser.execute_script("document.querySelector('[data-value=imperial]').click()")

    def test_nothing_is_loaded_and_nothing_fails(self):
        page = self.work.page("several.html", "carve.csv", "straight.csv", "walk.csv", status=1)
        self.open(page)
        for text in ("height", "distance to the gate", "time"):
            self.browser.execute_script("""[...document.querySelectorAll('button')].find(
                each => each.textContent === arguments[0]).click()""", text)
        asked = self.browser.execute_script("return performance.getEntriesByType('resource').map(each => each.name)")
        self.assertEqual(asked, [])
        errors = [line for line in self.browser.log.read_text().splitlines() if "JavaScript error: file:" in line]
        self.assertEqual(errors, [])

    def test_the_policy_lets_in_no_other_script(self):
        self.open(self.work.page("carve.html", "carve.csv"))
        self.assertFalse(self.browser.execute_script("""
            const made = document.createElement('script');
            made.textContent = 'document.title = "was run"';
            document.body.append(made);
            return document.title === 'was run'"""))

    def test_axe_finds_nothing(self):
        self.open(self.work.page("several.html", "carve.csv", "straight.csv"))
        found = self.browser.execute_async_script(
            axe.SCRIPT + "; const done = arguments[0]; axe.run(document).then(done, error => done({violations: [{id: String(error)}]}))")
        self.assertEqual([each["id"] for each in found["violations"]], [])


if __name__ == "__main__":
    unittest.main()
