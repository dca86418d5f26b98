#!/usr/bin/env python3
"""tests/web/firefox_app_test.py: tarvel.html in Debian's firefox-esr, from the disk.

Exits with 77 when firefox-esr is not installed.
"""
import os
import sys
import unittest
from pathlib import Path

import firefox
from pages import BrowserTest, wait_for

if not firefox.is_installed():
    sys.exit(77)

APP = Path(os.environ["TARVEL_BROWSER_PAGE"])


class FirefoxAppTest(BrowserTest):
    start = firefox.Firefox

    def script(self, text, *arguments):
        return self.browser.execute_script(text, *arguments)

    def test_dropped_files_are_analysed_and_compared(self):
        self.browser.get(APP.as_uri())
        names = ("matrix.txt", "carve.csv", "straight.csv", "walk.csv")
        contents = [[name, (self.work.folder / name).read_text()] for name in names]
        self.script("""const data = new DataTransfer();
            for (const [name, text] of arguments[0]) data.items.add(new File([text], name));
            document.body.dispatchEvent(new DragEvent('drop', {dataTransfer: data, bubbles: true, cancelable: true}));""",
                    contents)
        wait_for(lambda: self.script("return document.querySelectorAll('.mark').length") == 2, 60)
        for run in ("carve", "straight"):
            figure = self.work.document(f"{run}.csv")["figures"]["entry_gate_speed"]
            cell = f"return document.querySelector('tr[data-path=\"{run}.csv\"] [data-figure=entry_gate_speed]').textContent"
            self.assertEqual(self.script(cell), figure["text"])
        self.assertIn("surveyed", self.script("return document.querySelector('tr[data-path=\"walk.csv\"]').textContent"))
        self.script("for (const box of [...document.querySelectorAll('.tick input')]) box.click()")
        self.script("[...document.querySelectorAll('button')].find(each => each.textContent === 'Compare 2 runs').click()")
        wait_for(lambda: self.script("return document.querySelector('.comparison') !== null"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
