#!/usr/bin/env python3
"""tests/web/firefox_app_test.py: tarvel.html in Debian's firefox-esr, from the disk.

Exits with 77 when firefox-esr is not installed.
"""
import os
import sys
import unittest
from pathlib import Path

import firefox
from pages import wait_for
from shared_tests import BrowserTest

if not firefox.is_installed():
    sys.exit(77)

APP = Path(os.environ["TARVEL_BROWSER_PAGE"])


class FirefoxAppTest(BrowserTest):
    start = firefox.Firefox

    def test_dropped_files_are_analysed_and_compared(self):
        self.assert_dropped_files_are_analysed(APP)
        self.script("for (const box of [...document.querySelectorAll('.tick input')]) box.click()")
        self.script("[...document.querySelectorAll('button')].find(each => each.textContent === 'Compare 2 runs').click()")
        wait_for(lambda: self.script("return document.querySelector('.comparison') !== null"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
