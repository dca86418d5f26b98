#!/usr/bin/env python3
"""tests/web/meet_page_test.py: the pages of a meet, in chromium and, where it is installed, in firefox, from the disk.

Exits with 77 where chromium, its driver or selenium is not installed.
"""
import json
import os
import resource
import signal
import sys
import tempfile
import time
import unittest
from pathlib import Path

try:
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ImportError:
    sys.exit(77)
if not os.access("/usr/bin/chromedriver", os.X_OK):
    sys.exit(77)

import axe
import chromium
import firefox
from pages import PROJECT, TARVEL_JSON, TARVEL_PAGE, Workplace, wait_for

sys.path.insert(0, str(Path(TARVEL_PAGE).parent / "page"))
import meet_page

HOSTILE = "</script><img src=x onerror=alert(1)>"


def setUpModule():
    global temporary, work, driver, documents
    temporary = tempfile.TemporaryDirectory()
    work = Workplace(temporary.name)
    driver = chromium.start()
    documents = {name: work.run([TARVEL_JSON, "--check", f"{name}.csv"], status).stdout
                 for name, status in (("carve", 0), ("straight", 0), ("reversed", 0), ("walk", 1))}


def tearDownModule():
    driver.quit()
    temporary.cleanup()


def changed(text, change):
    """A document, its members still a line each."""
    document = json.loads(text)
    change(document)
    return "{" + ",\n".join(f"{json.dumps(name)}:{json.dumps(value, separators=(',', ':'))}" for name, value in document.items()) + "}\n"


def doubtful(document):
    document["phases"]["entry_gate"]["clock"] = None
    document["check"]["verdict"] = "doubtful"
    document["check"]["reasons"] = [
        {"code": "gap", "severity": "doubtful", "value": 1, "unit": "s", "text": f"{HOSTILE} without samples"},
        {"code": "wide-distance", "severity": "doubtful", "value": 4.0, "unit": "m", "text": "13.1 ft wide"}]


class Meet:
    """A results folder with four runs that have documents and one that has none."""

    def __init__(self):
        self.folder = Path(tempfile.mkdtemp(dir=temporary.name))
        self.runs = []
        self.add("10", "carve", documents["carve"])
        self.add("2/9 b", "straight", documents["straight"])
        self.add("2/odd", "reversed", changed(documents["reversed"], doubtful))
        self.add("walk", "walk", documents["walk"])
        self.runs.append((f"lost {HOSTILE}", None, "no result came back"))
        self.write()

    def add(self, name, track, text):
        (self.folder / name).mkdir(parents=True, exist_ok=True)
        (self.folder / name / f"{track}.json").write_text(text)
        self.runs.append((name, f"{name}/{track}.json", ""))

    def write(self):
        meet_page.write_meet_page(self.folder, self.runs)

    def open(self, browser=None):
        (browser or driver).get("about:blank")
        (browser or driver).get((self.folder / "index.html").as_uri())


def script(text, *arguments):
    return driver.execute_script(text, *arguments)


def texts(selector):
    return script("return [...document.querySelectorAll(arguments[0])].map(each => each.textContent)", selector)


def names():
    return texts(".runs tbody th")


def axe_findings():
    script(axe.SCRIPT)
    found = driver.execute_async_script(
        "const done = arguments[0]; axe.run(document, {resultTypes: ['violations'], preload: false}).then(done, error => done(String(error)))")
    return [f"{each['id']}: {[node['html'] for node in each['nodes']][:3]}" for each in found["violations"]]


def head_button(title):
    return next(each for each in driver.find_elements(By.CSS_SELECTOR, ".runs thead button") if each.text.startswith(title))


class TableTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.meet = Meet()

    def setUp(self):
        self.meet.open()

    def tearDown(self):
        self.assertEqual(chromium.console_of(driver), [])

    def test_each_run_has_its_verdict_its_figures_and_its_reasons(self):
        self.assertEqual(texts(".tally"), ["5 runs: 2 good, 1 doubtful, 2 failed"])
        rows = dict(zip(names(), script(
            "return [...document.querySelectorAll('.runs tbody tr')].map(row => [...row.cells].slice(2).map(each => each.textContent))")))
        self.assertEqual(rows["10"][:6], ["✓good", "2026-05-16 13:08:48", "76.8", "2.88", "39.1", "210"])
        self.assertEqual(rows["10"][-1], "")
        turn = json.loads(documents["reversed"])["phases"]["turn"]["clock"]
        self.assertEqual(rows["2/odd"][1], turn[:19].replace("T", " "))
        self.assertEqual((rows["2/odd"][0], rows["2/odd"][-1]), ("?doubtful", f"{HOSTILE} without samples13.1 ft wide"))
        self.assertEqual((rows["walk"][0], rows["walk"][-1]), ("✕failed", "could not detect pattern entry"))
        self.assertEqual((rows[f"lost {HOSTILE}"][0], rows[f"lost {HOSTILE}"][-1]), ("✕failed", "no result came back"))
        script("document.querySelector('[data-value=metric]').click()")
        self.assertIn("123.6", texts(".runs .figure"))
        self.assertIn("4.0\u00a0m wide", texts(".runs li"))
        script("document.querySelector('[data-value=imperial]').click()")

    def test_a_figure_of_which_only_bounds_are_known_is_struck_out(self):
        def gap_at_gate(document):
            interval = document["check"]["intervals"]["entry_gate_speed"]
            interval.update(low=None, high=None, low_text=None, high_text=None, why="gap",
                            bounds={"low": 20.0, "high": 40.0, "low_text": "44.7", "high_text": "89.5"})
            document["check"]["verdict"] = "unusable"

        meet = Meet()
        meet.add("gap", "gap", changed(documents["carve"], gap_at_gate))
        meet.write()
        meet.open()
        self.assertEqual(texts(".runs tbody s"), ["76.8"])

    def test_it_is_sorted_by_a_click_and_by_keys(self):
        self.assertEqual(names(), ["2/9 b", "2/odd", "10", f"lost {HOSTILE}", "walk"])
        head_button("Entry gate").click()
        self.assertEqual(names()[:3], ["2/odd", "2/9 b", "10"])  # 71.1, 74.9 and 76.8
        self.assertEqual(texts("[aria-sort=ascending]"), ["Entry gate, mph ▲"])
        script("return document.activeElement").send_keys(Keys.ENTER)
        self.assertEqual(names()[:3], ["10", "2/9 b", "2/odd"])
        self.assertEqual(texts("[aria-sort=descending]"), ["Entry gate, mph ▼"])
        for title in ("Verdict", "Time", "Carve time", "Exit gate", "Stop", "Touchdown", "Rotation", "Turn", "Course", "Reasons", "Run"):
            head_button(title).click()
            self.assertTrue(texts("[aria-sort=ascending]")[0].startswith(title))

    def test_it_is_filtered_by_words(self):
        field = driver.find_element(By.CSS_SELECTOR, "input[type=search]")
        field.send_keys("doubt SAMPLES")
        self.assertEqual(names(), ["2/odd"])
        self.assertEqual(texts("[role=status]"), ["1 of 5 shown"])
        field.send_keys(" nothing")
        self.assertEqual(names(), [])

    def test_a_row_opens_its_run(self):
        script("document.querySelector('.runs tbody tr td.figure').click()")
        wait_for(lambda: texts(".readout") and texts("h1") == ["straight"])
        self.assertIn("/2/9%20b/straight.page.html", driver.current_url)
        driver.find_element(By.CSS_SELECTOR, ".meet-nav a").click()
        wait_for(names)
        script("[...document.querySelectorAll('.runs a')].find(each => each.textContent === 'walk').click()")
        wait_for(lambda: texts("[role=alert]"))
        self.assertIn("could not detect pattern entry", texts("[role=alert]")[0])

    def test_two_ticked_rows_open_their_comparison(self):
        chromium.requests_of(driver)
        compare = driver.find_element(By.CSS_SELECTOR, ".meet-tools button")
        self.assertFalse(compare.is_enabled())
        for name in ("10", "2/9 b"):
            driver.find_element(By.CSS_SELECTOR, f"[aria-label='Compare {name}']").send_keys(Keys.SPACE)
        compare.click()
        wait_for(lambda: texts(".comparison tbody .run-name"))
        self.assertEqual(texts(".comparison tbody .run-name"), ["straight", "carve"])
        self.assertEqual([request.rsplit("/", 1)[1] for request in chromium.requests_of(driver)], ["straight.page.js", "carve.page.js"])
        wait_for(lambda: texts(".readout"))
        self.assertEqual(axe_findings(), [])
        driver.refresh()
        wait_for(lambda: texts(".comparison tbody .run-name"))
        driver.find_element(By.CSS_SELECTOR, ".meet-nav a").click()
        wait_for(names)
        self.assertEqual(texts("h1"), ["Runs of the meet"])

    def test_axe_finds_nothing(self):
        for dark in (False, True):
            chromium.emulate(driver, dark)
            self.meet.open()
            self.assertEqual(axe_findings(), [])
        chromium.emulate(driver)

    def test_the_policy_lets_in_no_other_script(self):
        self.assertFalse(script("""
            const made = document.createElement('script');
            made.textContent = 'document.title = "was run"';
            document.body.append(made);
            return document.title === 'was run'"""))
        self.assertIn("Content Security Policy", chromium.console_of(driver)[0])


class FilesTest(unittest.TestCase):
    def test_a_run_takes_at_most_60_kilobytes(self):
        meet = Meet()
        for name, document, _ in meet.runs[:4]:
            stem = meet.folder / document
            size = stem.with_suffix(".page.html").stat().st_size + stem.with_suffix(".page.js").stat().st_size
            print(f"{name}: {size} bytes")
            self.assertLessEqual(size, 60_000)

    def test_what_is_made_anew(self):
        meet = Meet()
        page, other = meet.folder / "10/carve.page.js", meet.folder / "2/9 b/straight.page.js"
        before = [path.stat().st_ino for path in (page, other)]
        (meet.folder / "10/carve.json").write_text(documents["reversed"])
        meet.write()
        self.assertEqual([path.stat().st_ino == old for path, old in zip((page, other), before)], [False, True])
        (meet.folder / "2/9 b/straight.page.html").unlink()
        meet.write()
        self.assertTrue((meet.folder / "2/9 b/straight.page.html").exists())
        self.assertEqual(list(meet.folder.rglob(".tarvel*")), [])

    def test_a_file_that_cannot_be_written_leaves_nothing_behind(self):
        meet = Meet()
        before = {path: path.read_bytes() for path in meet.folder.rglob("*") if path.is_file()}
        (meet.folder / "10/carve.json").write_text(documents["reversed"])
        limits = resource.getrlimit(resource.RLIMIT_FSIZE)
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (500, limits[1]))
        try:
            self.assertRaises(OSError, meet.write)
        finally:
            resource.setrlimit(resource.RLIMIT_FSIZE, limits)
        after = {path: path.read_bytes() for path in meet.folder.rglob("*") if path.is_file()}
        self.assertEqual(set(after), set(before))
        self.assertEqual({path for path in after if after[path] != before[path]}, {meet.folder / "10/carve.json"})

    def test_a_file_of_the_users_is_renamed(self):
        meet = Meet()
        for name in ("index.html", "page.css", "10/carve.page.html"):
            (meet.folder / name).write_text("mine")
        meet.write()
        for name in ("index.html", "page.css", "10/carve.page.html"):
            self.assertIn("Made by tarvel-meet", (meet.folder / name).read_text())
            self.assertEqual((meet.folder / f"{name}.orig").read_text(), "mine")

    def test_documents_that_cannot_be_read_are_failed_runs(self):
        meet = Meet()
        texts_of = ["", "{}", "[" * 100000, documents["carve"][:3000], documents["carve"][:20000],
                    documents["carve"].replace('"figures":{', '"figures":[{', 1),
                    changed(documents["carve"], lambda document: document.update(figures={}))]
        for number, text in enumerate(texts_of):
            meet.add(f"bad {number}", "bad", text)
        meet.runs.append(("gone", "gone/gone.json", ""))
        meet.write()
        meet.open()
        self.assertEqual(script("return [...document.querySelectorAll('.runs tbody tr')].filter("
                                "row => row.cells[1].textContent.match(/^(bad|gone)/) && row.textContent.includes("
                                "'its document cannot be read')).length"), len(texts_of) + 1)

    def test_three_hundred_runs_take_less_than_a_second(self):
        meet = Meet()
        for number in range(300):
            meet.add(f"run {number}", "carve", documents["carve"])
        meet.write()
        start = time.process_time()
        meet.write()
        taken = time.process_time() - start
        print(f"{taken:.2f} s")
        self.assertLess(taken, 1)


@unittest.skipUnless(firefox.is_installed(), "no firefox")
class FirefoxTest(unittest.TestCase):
    def test_table_run_and_comparison(self):
        browser = firefox.Firefox()
        self.addCleanup(browser.stop)
        meet = Meet()
        meet.open(browser)
        count = "return document.querySelectorAll(arguments[0]).length"
        wait_for(lambda: browser.execute_script(count, ".runs tbody tr") == 5)
        browser.execute_script("""for (const each of ['10', '2/9 b']) document.querySelector(`[aria-label="Compare ${each}"]`).click();
            document.querySelector('.meet-tools button').click()""")
        wait_for(lambda: browser.execute_script(count, ".comparison tbody tr") == 2)
        browser.get((meet.folder / "10/carve.page.html").as_uri())
        wait_for(lambda: browser.execute_script(count, ".readout") == 1)


if __name__ == "__main__":
    unittest.main()
