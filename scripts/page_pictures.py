#!/usr/bin/env python3
"""scripts/page_pictures.py FOLDER OUT [TARVEL_HTML]: takes a picture of FOLDER/carve.html, OUT/page.png; one of
FOLDER/compared.html, OUT/page-compared.png; and one of tarvel.html with the tracks of FOLDER, OUT/browser.png. Needs
Debian's chromium and python3-selenium."""
import base64
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests/web"))
import chromium  # noqa: E402

WIDTH = 1280


def draw(driver, page, out):
    driver.get(page.as_uri())
    driver.execute_async_script("const done = arguments[0]; setTimeout(done, 1000)")  # until the page is drawn
    height = driver.execute_script("return document.querySelector('details.more').getBoundingClientRect().top + scrollY")
    picture = driver.execute_cdp_cmd("Page.captureScreenshot", {
        "captureBeyondViewport": True, "clip": {"x": 0, "y": 0, "width": WIDTH, "height": height, "scale": 1}})
    out.write_bytes(base64.b64decode(picture["data"]))


def draw_all_files(driver, page, folder, out):
    driver.get(page.as_uri())
    files = [*sorted(folder.glob("*.csv")), folder / "matrix.txt"]
    driver.find_element("id", "files").send_keys("\n".join(map(str, files)))
    verdicts = "const done = arguments[0]; setInterval(() => document.querySelectorAll('.mark').length > 2 && done(), 100)"
    driver.execute_async_script(verdicts)
    height = driver.execute_script("return document.querySelector('.files').getBoundingClientRect().bottom + 30")
    picture = driver.execute_cdp_cmd("Page.captureScreenshot", {
        "clip": {"x": 0, "y": 0, "width": WIDTH, "height": height, "scale": 1}})
    out.write_bytes(base64.b64decode(picture["data"]))


def main():
    folder, out = Path(sys.argv[1]).resolve(), Path(sys.argv[2])
    pages = [Path(each).resolve() for each in sys.argv[3:]]
    driver = chromium.start(WIDTH)
    try:
        draw(driver, folder / "carve.html", out / "page.png")
        draw(driver, folder / "compared.html", out / "page-compared.png")
        for page in pages:
            draw_all_files(driver, page, folder, out / "browser.png")
    finally:
        driver.quit()


if __name__ == "__main__":
    main()
