#!/usr/bin/env python3
"""tests/web/measure.py: how long the page takes on a processor of a quarter of the speed. Needs the environment of the tests:

    TARVEL_SOURCE_DIR=. TARVEL_PROGRAM=build/release/tarvel TARVEL_JSON_PROGRAM=build/release/tarvel-json \\
      TARVEL_PAGE_PROGRAM=build/release/tarvel-page python3 tests/web/measure.py
"""
import statistics
import tempfile

import chromium
from pages import Workplace, wait_for

SLOWER = 4
PAINTS = 7  # the first is the browser's own beginning
MOVES = 300

# From the event to a page that is laid out again, ms, of each move.
MOVE_CURSOR = """
const slider = document.querySelector('.readout input');
const count = Number(slider.max);
return Array.from({length: arguments[0]}, (_, i) => {
  slider.value = Math.floor(count * (0.2 + 0.6 * i / arguments[0]));
  const begin = performance.now();
  slider.dispatchEvent(new Event('input'));
  document.body.getBoundingClientRect();
  return performance.now() - begin;
});"""


def measure(work, name, runs):
    page = work.page(f"{name}.html", *runs)
    driver = chromium.start()
    try:
        driver.execute_cdp_cmd("Emulation.setCPUThrottlingRate", {"rate": SLOWER})
        paints = []
        for _ in range(PAINTS):
            driver.get(page.as_uri())
            wait_for(lambda: driver.execute_script("return document.querySelector('.readout') !== null"), 60)
            paints.append(driver.execute_script(
                "return performance.getEntriesByName('first-contentful-paint')[0].startTime"))
        paint = statistics.median(paints)
        moves = sorted(driver.execute_script(MOVE_CURSOR, MOVES))
        print(f"{name}: {page.stat().st_size} bytes, first paint {paint:.0f} ms, "
              f"a cursor move {statistics.median(moves):.1f} ms, 95 of 100 within {moves[MOVES * 95 // 100]:.1f} ms")
    finally:
        driver.quit()


def main():
    with tempfile.TemporaryDirectory() as folder:
        work = Workplace(folder)
        measure(work, "one", ["carve.csv"])
        measure(work, "eight", ["carve.csv", "straight.csv", "reversed.csv", "tagged.csv"] * 2)


if __name__ == "__main__":
    main()
