#!/usr/bin/env python3
"""tests/web/measure.py [BUILD]: measures the pages in chromium, at a quarter of the processor's speed.

BUILD is a build tree with the programs, tarvel-page and tarvel.html, by default build/release. The browser slows only
the threads of pages: the worker of tarvel.html, which reads and analyses, runs at full speed. Needs Debian's
python3-selenium.
"""
import os
import statistics
import sys
import tempfile
import time
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
BUILD = Path(sys.argv[1] if len(sys.argv) > 1 else PROJECT / "build/release").resolve()
os.environ.update(TARVEL_SOURCE_DIR=str(PROJECT), TARVEL_PROGRAM=str(BUILD / "tarvel"),
                  TARVEL_JSON_PROGRAM=str(BUILD / "tarvel-json"), TARVEL_PAGE_PROGRAM=str(BUILD / "tarvel-page"), TZ="UTC")

import chromium  # noqa: E402
from pages import Workplace, wait_for  # noqa: E402

SLOWER = 4
TIMES = 7  # the first includes the start of the browser
MOVES = 300

# For each move the time from the event until the layout of the page has been computed again, ms.
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

# The time from the choice of the files to the frame that shows the figures of the run, ms.
WATCH_FIGURES = """
addEventListener('change', () => { window.began ??= performance.now(); }, true);
new MutationObserver((_, observer) => {
  if (!document.querySelector('.tiles')) return;
  observer.disconnect();
  requestAnimationFrame(() => setTimeout(() => { window.taken = performance.now() - window.began; }));
}).observe(document.body, {childList: true, subtree: true});"""


def start():
    driver = chromium.start()
    driver.execute_cdp_cmd("Emulation.setCPUThrottlingRate", {"rate": SLOWER})
    return driver


def first_paint(driver, page, shown):
    paints = []
    for _ in range(TIMES):
        driver.get("about:blank")
        driver.get(page.as_uri())
        wait_for(lambda: driver.execute_script("return document.querySelector(arguments[0]) !== null", shown), 60)
        paints.append(wait_for(lambda: driver.execute_script(
            "return performance.getEntriesByName('first-contentful-paint')[0]?.startTime")))
    return f"first paint {statistics.median(paints):.0f} ms, at best {min(paints):.0f}"


def measure_page(work, name, runs):
    page = work.page(f"{name}.html", *runs)
    driver = start()
    try:
        paint = first_paint(driver, page, ".readout")
        moves = sorted(driver.execute_script(MOVE_CURSOR, MOVES))
        print(f"{name}: {page.stat().st_size} bytes, {paint}; a cursor move {statistics.median(moves):.1f} ms, "
              f"95 of 100 within {moves[MOVES * 95 // 100]:.1f} ms")
    finally:
        driver.quit()


def measure_rows(work, driver, count):
    head, units, *rows = (work.folder / "straight.csv").read_bytes().splitlines(keepends=True)
    track = work.folder / "long.csv"
    track.write_bytes(head + units + rows[0] * (count - len(rows)) + b"".join(rows))
    driver.get("about:blank")
    driver.get((BUILD / "tarvel.html").as_uri())
    time.sleep(2)  # for the engine
    driver.execute_script(WATCH_FIGURES)
    driver.find_element("id", "files").send_keys(f"{work.folder / 'matrix.txt'}\n{track}")
    taken = wait_for(lambda: driver.execute_script("return window.taken"), 120)
    print(f"tarvel.html: {count:,} rows, {track.stat().st_size / 1e6:.1f} MB, are shown after {taken / 1000:.2f} s")


def main():
    print(f"load {os.getloadavg()[0]:.1f}, {os.cpu_count()} cores")
    with tempfile.TemporaryDirectory() as folder:
        work = Workplace(folder)
        measure_page(work, "one", ["carve.csv"])
        measure_page(work, "eight", ["carve.csv", "straight.csv", "reversed.csv", "tagged.csv"] * 2)
        driver = start()
        try:
            print(f"tarvel.html: {first_paint(driver, BUILD / 'tarvel.html', '.dropping')}")
            for count in (20_000, 1_000_000):
                measure_rows(work, driver, count)
        finally:
            driver.quit()
    print(f"load {os.getloadavg()[0]:.1f}")


if __name__ == "__main__":
    main()
