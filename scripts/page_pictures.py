#!/usr/bin/env python3
"""scripts/page_pictures.py FOLDER OUT TARVEL_HTML: pictures of the pages in a folder, as OUT/page.png (carve.html, on a
telephone OUT/page-telephone.png, on paper OUT/page-printed.png), OUT/page-compared.png (compared.html), OUT/meet.png
(results/index.html) and OUT/browser.png (tarvel.html with the folder's tracks). Needs Debian's chromium,
python3-selenium and poppler-utils."""
import base64
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests/web"))
import chromium  # noqa: E402

WIDTH = 1280
TELEPHONE = (360, 640)
A4 = (8.27, 11.69)  # inches
UNTIL_DRAWN = "const done = arguments[0]; setTimeout(done, 1000)"


def capture(driver, height, out):
    picture = driver.execute_cdp_cmd("Page.captureScreenshot", {
        "captureBeyondViewport": True, "clip": {"x": 0, "y": 0, "width": WIDTH, "height": height, "scale": 1}})
    out.write_bytes(base64.b64decode(picture["data"]))


def draw(driver, page, out, end="document.querySelector('details.more').getBoundingClientRect().top"):
    driver.get(page.as_uri())
    driver.execute_async_script(UNTIL_DRAWN)
    capture(driver, driver.execute_script(f"return {end} + scrollY"), out)


def draw_printed(driver, page, out):
    driver.get(page.as_uri())
    driver.execute_async_script(UNTIL_DRAWN)
    pdf = page.with_suffix(".pdf")
    chromium.print_pdf(driver, pdf, *A4)
    size = ["-scale-to-x", "1000", "-scale-to-y", "-1"]
    subprocess.run(["pdftoppm", "-png", "-singlefile", *size, pdf, out.with_suffix("")], check=True)


def draw_telephone(page, out):
    """The view from the side, and the values at the cursor below it."""
    driver = chromium.start(*TELEPHONE, touch=True)
    try:
        driver.get(page.as_uri())
        driver.execute_async_script(UNTIL_DRAWN)
        driver.execute_script("document.querySelectorAll('.view')[1].scrollIntoView()")
        out.write_bytes(driver.get_screenshot_as_png())
    finally:
        driver.quit()


def draw_all_files(driver, page, folder, out):
    driver.get(page.as_uri())
    files = [*sorted(folder.glob("*.csv")), folder / "matrix.txt"]
    driver.find_element("id", "files").send_keys("\n".join(map(str, files)))
    verdicts = "const done = arguments[0]; setInterval(() => document.querySelectorAll('.mark').length > 2 && done(), 100)"
    driver.execute_async_script(verdicts)
    capture(driver, driver.execute_script("return document.querySelector('.files').getBoundingClientRect().bottom + 30"), out)


def main():
    folder, out, browser_page = (Path(each).resolve() for each in sys.argv[1:])
    driver = chromium.start(WIDTH)
    try:
        draw(driver, folder / "carve.html", out / "page.png")
        draw_printed(driver, folder / "carve.html", out / "page-printed.png")
        draw_telephone(folder / "carve.html", out / "page-telephone.png")
        draw(driver, folder / "compared.html", out / "page-compared.png")
        draw(driver, folder / "results/index.html", out / "meet.png",
             "document.querySelector('.runs').getBoundingClientRect().bottom + 30")
        draw_all_files(driver, browser_page, folder, out / "browser.png")
    finally:
        driver.quit()


if __name__ == "__main__":
    main()
