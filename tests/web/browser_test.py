#!/usr/bin/env python3
"""tests/web/browser_test.py: the page of a run in Debian's chromium, from the disk and without a network.

Exits with 77 where chromium, its driver or selenium is not installed.
"""
import copy
import datetime
import math
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

try:
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import Select
except ImportError:
    sys.exit(77)
if not os.access("/usr/bin/chromedriver", os.X_OK):
    sys.exit(77)

import axe
import chromium
from pages import PROJECT, Workplace, wait_for

MINUS = "\N{MINUS SIGN}"
FEET_PER_METRE = 3.2808399
MPH_PER_MPS = 2.23693629

# The numbers of a report, from its first line to its last.
REPORT_FIGURES = [
    "exit_altitude",
    "turn_altitude", "turn_back", "turn_offset",
    "max_vertical_speed_altitude", "max_vertical_speed_back", "max_vertical_speed_offset", "max_vertical_speed",
    "rollout_start_altitude", "rollout_start_back", "rollout_start_offset", "rollout_start_vertical_speed",
    "rollout_end_altitude", "rollout_end_back", "rollout_end_offset",
    "max_total_speed_altitude", "max_total_speed_back", "max_total_speed_offset", "max_total_speed",
    "max_horizontal_speed_altitude", "max_horizontal_speed_back", "max_horizontal_speed_offset", "max_horizontal_speed",
    "rotation", "turn_time", "rollout_time", "aloft_time",
    "entry_gate_speed", "stop_distance", "touchdown_distance", "touchdown_speed", "carve_time", "exit_gate_speed"]


def setUpModule():
    global temporary, work, driver
    temporary = tempfile.TemporaryDirectory()
    work = Workplace(temporary.name)
    driver = chromium.start()


def tearDownModule():
    driver.quit()
    temporary.cleanup()


def open_page(page, browser=None):
    shown = browser or driver
    chromium.console_of(shown)
    shown.get(page.as_uri())
    wait_for(lambda: shown.execute_script(
        "return document.querySelector('.readout, [role=alert]') !== null"))


def script(text, *arguments, browser=None):
    return (browser or driver).execute_script(text, *arguments)


def texts(selector, browser=None):
    return script("return [...document.querySelectorAll(arguments[0])].map(each => each.textContent)", selector,
                  browser=browser)


def cursor_values(row=0, browser=None):
    """{channel: text} beside the cursor, of the run in this row."""
    return script("""
        const cells = {};
        for (const cell of document.querySelectorAll('.readout [data-channel]')) {
          (cells[cell.dataset.channel] ||= []).push(cell.textContent);
        }
        return Object.fromEntries(Object.entries(cells).map(([name, all]) => [name, all[arguments[0]]]));""",
                  row, browser=browser)


def put_cursor(sample):
    script("""const slider = document.querySelector('.readout input');
        slider.value = arguments[0]; slider.dispatchEvent(new Event('input'));""", sample)


def cursor_sample(browser=None):
    return int(script("return document.querySelector('.readout input').value", browser=browser))


def number(text):
    return float(text.replace(MINUS, "-").split("\u00a0")[0].rstrip("°/s").rstrip("°"))


def axe_findings(browser=None):
    script(axe.SCRIPT, browser=browser)
    found = (browser or driver).execute_async_script(
        "const done = arguments[0]; axe.run(document, {resultTypes: ['violations']}).then(done, error => done(String(error)))")
    return [f"{each['id']}: {[node['html'] for node in each['nodes']][:3]}" for each in found["violations"]]


def press(text):
    driver.find_element(By.XPATH, f"//button[.='{text}']").click()


def press_of(name):
    driver.find_element(By.CSS_SELECTOR, f'button[aria-label="{name}"]').click()


class QuietTest(unittest.TestCase):
    def test_nothing_is_loaded_and_nothing_is_said(self):
        pages = [work.page("carve.html", "carve.csv"), work.page("metric.html", "-m", "straight.csv"),
                 work.page("implicit.html", "-i", "implicit.csv"), work.page("walk.html", "walk.csv", status=1),
                 work.page("several.html", "carve.csv", "straight.csv", "walk.csv", "tagged.csv", status=1)]
        for page in pages:
            with self.subTest(page.name):
                driver.get("about:blank")
                chromium.requests_of(driver)
                open_page(page)
                if "walk" not in page.name:
                    press("m, km/h")
                    press("height")
                    press("distance to the gate")
                    press("ft, mph")
                    Select(driver.find_element(By.CSS_SELECTOR, ".curve-tools select")).select_by_visible_text("touchdown")
                self.assertEqual(chromium.requests_of(driver), [page.as_uri()])
                self.assertEqual(chromium.console_of(driver), [])

    def odd_documents(self):
        """{what is odd: a document}"""
        carve = work.document("carve.csv")

        def changed(change):
            made = copy.deepcopy(carve)
            change(made)
            return made

        def columns(of):
            return lambda each: each["samples"].update(
                {name: of(name, column) for name, column in each["samples"].items() if isinstance(column, list)})

        def first_sample_alone(each):
            columns(lambda name, column: column[:1])(each)
            each["samples"]["count"] = 1

        def no_gate(each):
            each["phases"]["entry_gate"] = None
            each["figures"]["entry_gate_speed"].update(value=None, text="----")

        return {
            "every other value is null": changed(columns(lambda name, column: [
                None if i % 2 and name not in ("satellites", "fix") else value for i, value in enumerate(column)])),
            "all values are null": changed(columns(lambda name, column: [None] * len(column))),
            "one sample": changed(first_sample_alone),
            "no sample": changed(lambda each: (columns(lambda name, column: [])(each), each["samples"].update(count=0))),
            "all at one place": changed(columns(lambda name, column: [column[0]] * len(column))),
            "backwards": changed(columns(lambda name, column: column[::-1])),
            "far out": changed(columns(lambda name, column: [value * 10**6 for value in column])),
            "no phase": changed(lambda each: each.update(phases={name: None for name in each["phases"]})),
            "no gate": changed(no_gate),
            "no chart": changed(lambda each: each.update(charts=None)),
            "no figure": changed(lambda each: [figure.update(value=None) for figure in each["figures"].values()]),
        }

    def test_odd_documents_are_shown(self):
        carve = work.document("carve.csv")
        for name, document in self.odd_documents().items():
            for documents in ([document], [carve, document]):
                with self.subTest(name, documents=len(documents)):
                    driver.get(work.page_of_documents("odd.html", *documents).as_uri())
                    wait_for(lambda: texts("table.figures"))
                    if texts(".readout"):
                        press("height")
                        press("distance to the gate")
                        put_cursor(3)
                        script("document.querySelector('details.more').open = true")
                    self.assertEqual(chromium.console_of(driver), [])

    def test_a_page_of_one_run_is_small(self):
        for run in ("carve.csv", "straight.csv", "reversed.csv", "tagged.csv"):  # the last at 20 samples a second
            size = work.page("size.html", run).stat().st_size
            print(f"{run}: {size} bytes")
            self.assertLessEqual(size, 150_000)

    def test_the_policy_lets_in_nothing_but_the_page_itself(self):
        open_page(work.page("carve.html", "carve.csv"))
        self.assertEqual(script("""
            const made = document.createElement('script');
            made.textContent = 'window.wasRun = true';
            document.body.append(made);
            return window.wasRun === true"""), False)
        self.assertTrue(any("Content Security Policy" in line for line in chromium.console_of(driver)))

    def test_names_and_messages_are_text(self):
        name = "</script><img src=x onerror=document.title='run'>\u2028<!--<script>.csv"
        document = work.document("carve.csv")
        document["track"]["name"] = name
        document["course"]["file"] = name
        document["warnings"] = [name]
        failed = {**document, "failure": {"stage": "analysis", "code": "other", "message": name},
                  "samples": None, "figures": None, "phases": None, "charts": None}
        open_page(work.page_of_documents("hostile.html", document, failed, status=1))
        self.assertEqual(chromium.console_of(driver), [])
        self.assertEqual(script("return document.querySelectorAll('img, script').length"), 2)
        self.assertEqual(texts("h1"), [name[2:-4] + " (1)"])
        self.assertIn(f"{name}, speed carve to the right", texts(".facts dd"))
        label = name[2:-4]
        self.assertEqual(texts(".warnings li"), [f"Warning about {label} (1): {name}", f"Warning about {label} (2): {name}"])
        self.assertIn(name, texts(".failed"))
        self.assertNotEqual(driver.title, "run")
        open_page(work.page_of_documents("hostile.html", document))
        self.assertEqual(texts(".warnings li"), [f"Warning: {name}"])


class FiguresTest(unittest.TestCase):
    def figures(self):
        pairs = script("""return [...document.querySelectorAll('.body [data-figure]')].map(
            each => [each.dataset.figure, each.textContent])""")
        return {name: text.replace(MINUS, "-") for name, text in pairs}

    def check(self, run, options, page_options, switch):
        open_page(work.page("figures.html", *page_options, run))
        press(switch)
        numbers = work.report(run, *options)
        shown = self.figures()
        self.assertEqual([shown[name] for name in REPORT_FIGURES[:len(numbers)] if name in shown], numbers)
        self.assertLessEqual(set(REPORT_FIGURES[:len(numbers)]), set(shown))

    def test_they_are_those_of_the_report_in_either_units(self):
        for run in ("carve.csv", "straight.csv", "reversed.csv", "tagged.csv"):
            for page_options in ([], ["-m"]):
                with self.subTest(run=run, page=page_options):
                    self.check(run, [], page_options, "ft, mph")
                    self.check(run, ["-m"], page_options, "m, km/h")

    def test_those_of_a_run_without_a_course(self):
        self.check("implicit.csv", ["-i"], ["-i"], "ft, mph")

    def test_a_judged_time_gives_the_touchdown(self):
        self.check("straight.csv", ["-t", "5"], ["-t", "5"], "ft, mph")
        self.assertIn("5 s", texts(".facts dd"))

    def test_the_head_says_whose_run_it_is(self):
        document = work.document("carve.csv")
        open_page(work.page("carve.html", "carve.csv"))
        self.assertEqual(texts("h1"), ["carve"])
        facts = texts(".facts dd")
        self.assertIn(document["phases"]["entry_gate"]["clock"][:19].replace("T", " "), facts)
        self.assertIn("matrix.txt, speed carve to the right", facts)
        self.assertIn(document["track"]["sha256"], facts)
        self.assertIn("Tarvel " + document["program"]["version"], facts)

    def test_a_failed_run_says_why(self):
        open_page(work.page("walk.html", "walk.csv", status=1))
        self.assertIn("could not detect pattern entry", texts(".verdict")[0])

    def test_intervals_are_those_of_the_check_in_either_units(self):
        for run, shared in (("carve.csv", 30), ("straight.csv", 28)):
            for page_options in ([], ["-m"]):
                open_page(work.page("check.html", *page_options, run))
                for switch, options in (("ft, mph", []), ("m, km/h", ["-m"])):
                    press(switch)
                    shown = dict(script("""return [...document.querySelectorAll('.body [data-figure]')].flatMap(each => {
                        const interval = each.closest('.behind, dd, td').querySelector(':scope > .interval');
                        return interval ? [[each.dataset.figure, interval.textContent]] : []})"""))
                    intervals = work.document(run, "--check", *options)["check"]["intervals"]
                    expected = {name: f"{each['low_text'].strip()} … {each['high_text'].strip()}".replace("-", MINUS)
                                for name, each in intervals.items() if name in shown}
                    self.assertEqual(shown, expected)
                    self.assertEqual(len(shown), shared)

    def test_verdict_and_reasons_are_words(self):
        document = work.document("straight.csv", "--check")
        open_page(work.page("check.html", "straight.csv"))
        self.assertIn("Good", texts(".verdict strong")[0])
        self.assertIn(document["check"]["reasons"][0]["text"], texts(".reasons li")[0])
        self.assertIn("the stop is taken for it", texts(".verdict p.note")[0])
        document["check"]["verdict"] = "doubtful"
        document["check"]["reasons"].append({
            "code": "wide-distance", "severity": "doubtful", "value": 4.0, "unit": "m", "text": "13.1 ft wide"})
        open_page(work.page_of_documents("check.html", document))
        self.assertIn("Doubtful", texts(".verdict strong")[0])
        self.assertEqual(texts(".reasons li strong"), ["note", "doubtful"])
        for system, sentence in (("metric", "4.0 m wide"), ("imperial", "13.1 ft wide")):
            script(f"document.querySelector('[data-value={system}]').click()")
            self.assertIn(sentence, texts(".reasons li")[1].replace("\u00a0", " "))
        good = {**work.document("carve.csv", "--check")}
        open_page(work.page_of_documents("check.html", good, document))
        self.assertEqual(texts(".comparison .mark"), ["✓good", "?doubtful"])
        self.assertEqual(texts(".verdict .whose"), ["straight:"])
        self.assertEqual(texts(".verdict p.note"), [
            "Where a figure has no interval: the touchdown is not marked, and the stop is taken for it."])
        self.assertEqual(axe_findings(), [])

    def test_without_a_check(self):
        open_page(work.page("carve.html", "--no-check", "carve.csv"))
        self.assertEqual(texts(".interval") + texts(".verdict"), [])


class CursorTest(unittest.TestCase):
    def setUp(self):
        self.document = work.document("carve.csv")
        self.samples = self.document["samples"]
        open_page(work.page("carve.html", "carve.csv"))
        press("ft, mph")

    def expected(self, i):
        s = self.samples
        level = math.hypot(s["vx"][i], s["vy"][i]) / 1000
        gate = self.document["phases"]["entry_gate"]["time"]
        return {
            "time": (s["time"][i] - gate) / 1000,
            "horizontal": level * MPH_PER_MPS, "vertical": -s["vz"][i] / 1000 * MPH_PER_MPS,
            "total": math.hypot(level, s["vz"][i] / 1000) * MPH_PER_MPS,
            "height": s["z"][i] / 1000 * FEET_PER_METRE, "distance": s["x"][i] / 1000 * FEET_PER_METRE,
            "offset": -s["y"][i] / 1000 * FEET_PER_METRE,
            "dive": s["dive_angle"][i] / 100, "rate": s["turn_rate"][i] / 100, "heading": s["heading"][i] / 100}

    def check(self, i):
        shown = cursor_values()
        for name, value in self.expected(i).items():
            # Half a unit of the last digit shown, and what the binary fractions add.
            self.assertAlmostEqual(number(shown[name]), value, delta=0.0501 if name != "time" else 0.00501, msg=name)

    def test_values_are_those_of_the_sample(self):
        for i in [0, 1, 57, 150, 278, self.samples["count"] - 1]:
            put_cursor(i)
            self.check(i)

    def test_it_begins_at_the_gate_and_names_the_phases(self):
        gate = self.document["phases"]["entry_gate"]["index"] - self.samples["first"]
        self.assertEqual(cursor_sample(), gate)
        self.assertEqual(texts(".phase"), ["entry gate"])
        driver.find_element(By.CSS_SELECTOR, '[aria-label="Next phase"]').click()
        self.assertEqual(texts(".phase"), ["exit gate"])
        self.check(self.document["phases"]["exit_gate"]["index"] - self.samples["first"])

    def test_the_mouse_moves_it_over_a_curve_and_over_a_view(self):
        for selector in (".plot .dot", ".view-area .dot"):
            put_cursor(self.document["phases"]["entry_gate"]["index"] - self.samples["first"])
            dot = driver.find_element(By.CSS_SELECTOR, selector)
            moved = []
            for _ in range(3):
                ActionChains(driver).move_to_element_with_offset(dot, -25, 3).perform()
                moved.append(cursor_sample())
                self.check(cursor_sample())
            self.assertEqual(moved, sorted(set(moved), reverse=True), selector)

    def test_arrow_keys_move_it(self):
        for selector in (".plot", ".view-area", ".readout input"):
            put_cursor(200)
            area = driver.find_element(By.CSS_SELECTOR, selector)
            script("arguments[0].focus()", area)
            for key, expected in [(Keys.ARROW_RIGHT, 201), (Keys.ARROW_LEFT, 200), (Keys.ARROW_LEFT, 199),
                                  (Keys.HOME, 0), (Keys.END, self.samples["count"] - 1)]:
                ActionChains(driver).send_keys(key).perform()
                self.assertEqual(cursor_sample(), expected, f"{selector} {key!r}")

    def test_keys_zoom_all_curves_at_the_cursor(self):
        lines = "return [...document.querySelectorAll('.cursor-line:not([hidden])')].map(each => each.style.transform)"
        gate = self.document["phases"]["entry_gate"]["index"] - self.samples["first"]

        def lines_at(sample):
            put_cursor(sample)
            places = {float(each[11:-3]) for each in script(lines)}
            self.assertEqual(len(places), 1, "all panels show the same stretch")
            return places.pop()

        before, behind = lines_at(gate), lines_at(gate + 10)
        put_cursor(gate)
        script("document.querySelectorAll('.plot')[1].focus()")
        ActionChains(driver).send_keys("+++").perform()
        wait_for(lambda: abs((lines_at(gate + 10) - before) / (behind - before) - 1.25 ** 3) < 0.01)
        self.assertAlmostEqual(lines_at(gate), before, delta=0.1)
        ActionChains(driver).send_keys("0").perform()
        wait_for(lambda: abs(lines_at(gate + 10) - behind) < 0.1)
        put_cursor(gate)
        press_of("Zoom in: curves")
        wait_for(lambda: abs((lines_at(gate + 10) - before) / (behind - before) - 1.5) < 0.01)
        press_of("Fit: curves")

    def test_keys_and_buttons_zoom_a_view_at_the_cursor(self):
        put_cursor(self.document["phases"]["touchdown"]["index"] - self.samples["first"])
        for name in ("From above", "From the side"):
            area = driver.find_element(By.CSS_SELECTOR, f'[aria-label^="{name}."]')
            dot = area.find_element(By.CSS_SELECTOR, ".dot")
            drawing = "return arguments[0].querySelector('canvas').toDataURL()"
            before, drawn = dot.rect, script(drawing, area)
            for _ in range(6):
                press_of(f"Zoom in: {name}")
            area.send_keys("++")
            self.assertAlmostEqual(dot.rect["x"], before["x"], delta=1)
            self.assertAlmostEqual(dot.rect["y"], before["y"], delta=1)
            self.assertTrue(script(drawing, area) != drawn, "the view is zoomed")

    def test_a_drag_moves_a_view(self):
        area = driver.find_element(By.CSS_SELECTOR, ".view-area")
        dot = "return document.querySelector('.view-area .dot').style.transform"
        before = script(dot)
        ActionChains(driver).drag_and_drop_by_offset(area, 40, 25).perform()
        put_cursor(self.document["phases"]["entry_gate"]["index"] - self.samples["first"])
        x, y = (float(part) for part in before[10:-1].replace("px", "").split(","))
        moved_x, moved_y = (float(part) for part in script(dot)[10:-1].replace("px", "").split(","))
        self.assertAlmostEqual(moved_x - x, 40, delta=1)
        self.assertAlmostEqual(moved_y - y, 25, delta=1)

    def test_the_wheel_zooms_about_the_pointer(self):
        area = driver.find_element(By.CSS_SELECTOR, ".view-area")
        dot = driver.find_element(By.CSS_SELECTOR, ".view-area .dot")
        before = dot.rect
        script("""const [area, x, y] = arguments;
            area.dispatchEvent(new WheelEvent('wheel', {deltaY: -200, clientX: x, clientY: y, cancelable: true}))""",
               area, *script("const box = arguments[0].getBoundingClientRect(); return [box.x + box.width / 2, box.y + box.height / 2]", dot))
        after = dot.rect
        self.assertAlmostEqual(after["x"], before["x"], delta=1)
        self.assertAlmostEqual(after["y"], before["y"], delta=1)

    def test_what_a_screen_reader_says(self):
        put_cursor(self.document["phases"]["entry_gate"]["index"] - self.samples["first"])
        said = script("return document.querySelector('.readout input').getAttribute('aria-valuetext')")
        self.assertIn("entry gate", said)
        self.assertIn("mph", said)


class ComparisonTest(unittest.TestCase):
    def differences(self):
        return [text for text in texts(".difference") if text]

    def test_a_run_differs_from_itself_by_nothing(self):
        for alignment in ("gate", "start of turn", "start of rollout", "touchdown"):
            open_page(work.page("same.html", "carve.csv", "carve.csv"))
            Select(driver.find_element(By.CSS_SELECTOR, ".curve-tools select")).select_by_visible_text(alignment)
            self.assertEqual({float(text) for text in self.differences()}, {0.0})
            for sample in (100, 278, 350):
                put_cursor(sample)
                self.assertEqual(cursor_values(0), cursor_values(1))

    def test_a_delayed_run_has_the_same_times_from_the_gate(self):
        def delay(row):
            if row["time"].startswith("2026"):
                moment = datetime.datetime.fromisoformat(row["time"].rstrip("Z") + "0") + datetime.timedelta(seconds=7.5)
                row["time"] = moment.isoformat(timespec="milliseconds")[:-1] + "Z"

        work.rewrite("straight.csv", "delayed.csv", delay)
        open_page(work.page("delayed.html", "straight.csv", "delayed.csv"))
        self.assertEqual({float(text) for text in self.differences()}, {0.0})
        for sample in (50, 200, 300):
            put_cursor(sample)
            self.assertEqual(cursor_values(0), cursor_values(1))

    def test_a_run_that_is_moved_differs_by_what_it_was_moved(self):
        self.addCleanup(script, "localStorage.clear()")
        document = work.document("straight.csv")
        moved = copy.deepcopy(document)
        # 2 m higher and 3 m further to the left, which the offset counts as negative.
        moved["samples"]["z"] = [value + 2000 for value in moved["samples"]["z"]]
        moved["samples"]["y"] = [value + 3000 for value in moved["samples"]["y"]]
        moved["figures"]["turn_altitude"]["value"] += 2
        open_page(work.page_of_documents("moved.html", document, moved))
        press("m, km/h")
        put_cursor(200)
        first, other = cursor_values(0), cursor_values(1)
        self.assertAlmostEqual(number(other["height"]) - number(first["height"]), 2.0, delta=0.11)
        self.assertAlmostEqual(number(other["offset"]) - number(first["offset"]), -3.0, delta=0.11)
        self.assertEqual(first["horizontal"], other["horizontal"])
        self.assertIn("+2", self.differences())

    def test_a_mirrored_run_turns_to_the_other_side(self):
        document = work.document("straight.csv")
        mirrored = copy.deepcopy(document)
        for column in ("y", "vy", "turn_rate", "turn_angle"):
            mirrored["samples"][column] = [-value for value in mirrored["samples"][column]]
        mirrored["figures"]["rotation"]["direction"] = "right-hand"
        open_page(work.page_of_documents("mirrored.html", document, mirrored))
        put_cursor(150)
        first, other = cursor_values(0), cursor_values(1)
        self.assertEqual(number(first["offset"]), -number(other["offset"]))
        self.assertEqual(number(first["rate"]), -number(other["rate"]))
        self.assertEqual(first["total"], other["total"])
        self.assertEqual(texts(".comparison .side"), ["left-hand", "right-hand"])

    def test_runs_have_lines_colours_and_names_of_their_own(self):
        open_page(work.page("several.html", "carve.csv", "straight.csv", "walk.csv", status=1))
        self.assertEqual(texts(".comparison tbody .run-name"), ["carve", "straight", "walk"])
        self.assertIn("could not detect pattern entry", texts(".failed"))
        self.assertEqual(texts(".comparison .mark"), ["✓good", "✓good", "✕failed"])
        colours = script("return [...document.querySelectorAll('.comparison .swatch')].map(each => each.style.backgroundColor)")
        self.assertEqual(len(set(colours)), 2)
        self.assertEqual(texts(".curve-tools .key li"), ["carve", "straight"])

    def test_the_tables_say_what_stands_below_a_figure(self):
        open_page(work.page("several.html", "carve.csv", "straight.csv"))
        self.assertEqual(texts(".described > .note"), [
            "Below a figure: how it differs from that of carve, and the interval that holds its true value in about 95 of 100 runs.",
            "Phases: height above the gate, distance back from it, offset to the right of the centre line",
            "Phases: height above the gate, distance back from it, offset to the right of the centre line; "
            "below each, how it differs from carve"])
        open_page(work.page("several.html", "--no-check", "carve.csv", "straight.csv"))
        self.assertEqual(texts(".described > .note")[0], "Below a figure: how it differs from that of carve.")

    def test_after_a_run_that_failed_the_others_are_compared_with_the_next(self):
        open_page(work.page("failed.html", "walk.csv", "carve.csv", "straight.csv", status=1))
        wait_for(lambda: texts(".readout"))
        rows = script("return [...document.querySelectorAll('.comparison tbody tr')].map(row => row.querySelectorAll('.difference').length)")
        self.assertEqual((rows[0], rows[1]), (0, 0))
        self.assertGreater(rows[2], 5)
        self.assertIn("how it differs from that of carve", texts(".described > .note")[0])
        self.assertIn("how it differs from carve", texts(".described > .note")[2])
        self.assertTrue([text for text in texts(".note") if text.startswith("Each run minus carve")])

    def test_eight_runs_are_told_apart(self):
        runs = ["carve.csv", "straight.csv", "reversed.csv", "tagged.csv"] * 2
        open_page(work.page("eight.html", *runs))
        swatches = script("return [...document.querySelectorAll('.comparison .swatch')].map(each => each.style.backgroundColor)")
        self.assertEqual(len(set(swatches)), 8)
        self.assertEqual(len(set(texts(".comparison tbody .run-name"))), 8)


class AccessTest(unittest.TestCase):
    def test_axe_finds_nothing(self):
        pages = [work.page("carve.html", "carve.csv"), work.page("walk.html", "walk.csv", status=1),
                 work.page("several.html", "carve.csv", "straight.csv", "walk.csv", status=1)]
        for page in pages:
            for dark in (False, True):
                with self.subTest(page=page.name, dark=dark):
                    chromium.emulate(driver, dark)
                    open_page(page)
                    script("for (const each of document.querySelectorAll('details')) each.open = true")
                    self.assertEqual(axe_findings(), [])
        chromium.emulate(driver)

    def test_everything_is_reached_by_the_keyboard(self):
        open_page(work.page("carve.html", "carve.csv"))
        wanted = script("""const all = 'button, select, input, summary, .plot, .view-area';
            return [...document.querySelectorAll(all)].filter(each => each.checkVisibility()).length""")
        script("document.activeElement.blur()")
        reached = set()
        for _ in range(wanted + 5):
            ActionChains(driver).send_keys(Keys.TAB).perform()
            reached.add(script("return [...document.querySelectorAll('*')].indexOf(document.activeElement)"))
        missed = script("""const reached = new Set(arguments[0]);
            const all = [...document.querySelectorAll('*')];
            return all.filter((each, i) => each.matches('button, select, input, summary, .plot, .view-area') &&
              each.checkVisibility() && !reached.has(i)).map(each => each.outerHTML.slice(0, 80))""", list(reached))
        self.assertEqual(missed, [])

    def test_units_and_theme_are_switched_by_keys_and_remembered(self):
        page = work.page("carve.html", "carve.csv")
        open_page(page)
        script("localStorage.clear()")
        open_page(page)
        self.assertIn("76.8", texts(".tiles .value"))
        script("document.querySelector('[data-value=metric]').focus()")
        ActionChains(driver).send_keys(Keys.ENTER).perform()
        self.assertIn("123.6", texts(".tiles .value"))
        Select(driver.find_element(By.CSS_SELECTOR, ".controls select")).select_by_visible_text("dark")
        open_page(page)
        self.assertIn("123.6", texts(".tiles .value"))
        self.assertEqual(script("return document.documentElement.dataset.theme"), "dark")
        script("localStorage.clear()")

    def test_a_browser_that_remembers_nothing_shows_the_page(self):
        added = driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {
            "source": "Object.defineProperty(window, 'localStorage', {get() { throw new DOMException('no') }})"})
        try:
            open_page(work.page("carve.html", "carve.csv"))
            press("m, km/h")
            self.assertIn("123.6", texts(".tiles .value"))
            self.assertEqual(chromium.console_of(driver), [])
        finally:
            driver.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", {"identifier": added["identifier"]})

    def test_dark_is_dark(self):
        chromium.emulate(driver, dark=True)
        open_page(work.page("carve.html", "carve.csv"))
        colour = script("return getComputedStyle(document.body).backgroundColor")
        self.assertLess(sum(int(part) for part in colour[4:-1].split(",")), 150)
        chromium.emulate(driver)

    def open_in_width(self, width, page):
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": 450, "deviceScaleFactor": 2, "mobile": False})
        self.addCleanup(driver.execute_cdp_cmd, "Emulation.clearDeviceMetricsOverride", {})
        open_page(page)

    def test_nothing_is_cut_off_at_twice_the_size(self):
        self.open_in_width(640, work.page("several.html", "carve.csv", "straight.csv"))
        self.assertLessEqual(script("return document.documentElement.scrollWidth"), 640)

    def test_no_value_is_wider_than_its_place(self):
        page = work.page("metric.html", "-m", "carve.csv")
        self.addCleanup(script, "localStorage.clear()")
        for width in (1600, 1280, 1231, 1230, 1000, 640, 360, 320):
            with self.subTest(width):
                self.open_in_width(width, page)
                press("m, km/h")
                put_cursor(script("return Math.round(document.querySelector('.readout input').max * 0.66)"))
                self.assertEqual(script("""return [...document.querySelectorAll('.tile dd, dl.values dt, dl.values dd')]
                    .filter(each => each.scrollWidth > each.clientWidth + 1).map(each => each.textContent)"""), [])


class TelephoneTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.phone = chromium.start(360, 640, touch=True)

    @classmethod
    def tearDownClass(cls):
        cls.phone.quit()

    def test_it_fits(self):
        for arguments in (["carve.csv"], ["carve.csv", "straight.csv", "tagged.csv"]):
            open_page(work.page("phone.html", *arguments), self.phone)
            script("for (const each of document.querySelectorAll('details')) each.open = true", browser=self.phone)
            self.assertLessEqual(script("return document.documentElement.scrollWidth", browser=self.phone), 360)
            self.assertEqual(script("""return [...document.querySelectorAll('.phase-tables .scroll')]
                .filter(each => each.scrollWidth > each.clientWidth).length""", browser=self.phone), 0)
            self.assertEqual(chromium.console_of(self.phone), [])
            self.assertEqual(axe_findings(self.phone), [])

    def test_a_name_is_not_broken_for_its_verdict(self):
        document = work.document("straight.csv", "--check")
        document["check"]["verdict"] = "doubtful"
        open_page(work.page_of_documents("check.html", work.document("carve.csv", "--check"), document), self.phone)
        height = script("return document.querySelector('.verdict .whose').offsetHeight", browser=self.phone)
        self.assertLess(height, 30, "one line")

    def box_of(self, selector):
        element = self.phone.find_element(By.CSS_SELECTOR, selector)
        script("arguments[0].scrollIntoView({block: 'center'})", element, browser=self.phone)
        return script("const box = arguments[0].getBoundingClientRect(); return [box.x, box.y, box.width, box.height]",
                      element, browser=self.phone)

    def test_a_finger_moves_the_cursor(self):
        open_page(work.page("phone.html", "carve.csv"), self.phone)
        x, y, width, height = self.box_of(".plot")
        found = []
        for part in (0.3, 0.6, 0.9):
            chromium.touch(self.phone, "touchStart", (x + part * width, y + height / 2))
            chromium.touch(self.phone, "touchEnd")
            found.append(cursor_sample(self.phone))
        self.assertEqual(found, sorted(set(found)))

    def test_two_fingers_zoom_a_view(self):
        open_page(work.page("phone.html", "carve.csv"), self.phone)
        x, y, width, height = self.box_of(".view-area")
        dot = "return document.querySelector('.view-area .dot').style.transform"
        before = script(dot, browser=self.phone)
        middle = (x + width / 2, y + height / 2)
        chromium.touch(self.phone, "touchStart", (middle[0] - 20, middle[1]), (middle[0] + 20, middle[1]))
        for apart in (25, 30, 35, 40):
            chromium.touch(self.phone, "touchMove", (middle[0] - apart, middle[1]), (middle[0] + apart, middle[1]))
        chromium.touch(self.phone, "touchEnd")
        self.assertNotEqual(script(dot, browser=self.phone), before)
        self.assertEqual(script("return document.querySelector('.view-area').style.touchAction", browser=self.phone), "none")


class PrintTest(unittest.TestCase):
    def check(self, page, width, height, words):
        open_page(page)
        pdf = work.folder / "sheet.pdf"
        chromium.print_pdf(driver, pdf, width, height)
        pages = subprocess.run(["pdfinfo", pdf], capture_output=True, text=True, check=True).stdout
        self.assertRegex(pages, r"Pages: +1\n")
        text = subprocess.run(["pdftotext", "-layout", pdf, "-"], capture_output=True, text=True, check=True).stdout
        for word in words:
            self.assertIn(word, text)
        self.assertEqual(texts(".sheet"), [])

    def test_one_sheet_holds_the_run(self):
        words = ["carve", "2026-05-16 13:08:48", "76.8", "2.88", "39.1 mph at the exit gate", "right-hand", "4955",
                 "From above", "offset to the left over distance to the gate, ft", "From the side", "total speed 1 mph", "Speed, mph", "Dive angle", "Turn rate", "Heading",
                 work.document("carve.csv")["track"]["sha256"]]
        page = work.page("carve.html", "carve.csv")
        self.check(page, 8.27, 11.69, words)
        self.check(page, 8.5, 11, words)

    def test_it_is_drawn_when_the_browser_takes_it(self):
        # Which is before any microtask, when a button has asked for the sheet.
        open_page(work.page("carve.html", "carve.csv"))
        painted = script("""
            window.dispatchEvent(new Event('beforeprint'));
            const isPainted = canvas =>
              canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data.some(byte => byte);
            const found = [...document.querySelectorAll('.sheet .view canvas, .sheet .plot canvas')].map(isPainted);
            window.dispatchEvent(new Event('afterprint'));
            return found""")
        self.assertEqual(painted, [True] * 6)

    def test_one_sheet_holds_eight_runs(self):
        page = work.page("eight.html", *["carve.csv", "straight.csv", "reversed.csv", "tagged.csv"] * 2)
        self.check(page, 8.5, 11, ["carve", "tagged", "74.9"])

    def test_one_sheet_holds_long_names_and_eight_reasons(self):
        document = work.document("carve.csv", "--check")
        document["track"]["name"] = f"saturday/{'a name that is long ' * 5}indeed.csv"
        document["check"]["verdict"] = "doubtful"
        document["check"]["reasons"] = [
            {"code": f"reason-{i}", "severity": "doubtful", "value": i, "unit": None,
             "text": "what was measured, and what to do about it, in many words, " * 3} for i in range(8)]
        for documents in ([document], [document] * 8):
            page = work.page_of_documents("check.html", *documents)
            for width, height in ((8.27, 11.69), (8.5, 11)):
                self.check(page, width, height, ["indeed", "oubtful", "what was measured", "From the side", "Turn rate"])

    def test_a_failed_run_prints_its_message(self):
        self.check(work.page("walk.html", "walk.csv", status=1), 8.27, 11.69, ["could not detect pattern entry"])


# A film of a second and a half, made by the browser itself.
MAKE_FILM = """
const done = arguments[0];
const canvas = document.createElement('canvas');
canvas.width = 64; canvas.height = 36;
const context = canvas.getContext('2d');
let picture = 0;
const timer = setInterval(() => { context.fillStyle = `rgb(${picture++ % 255},0,0)`; context.fillRect(0, 0, 64, 36); }, 20);
const recorder = new MediaRecorder(canvas.captureStream(50));
const parts = [];
recorder.ondataavailable = event => parts.push(event.data);
recorder.onstop = () => {
  clearInterval(timer);
  const files = new DataTransfer();
  files.items.add(new File(parts, 'run.webm', {type: 'video/webm'}));
  const input = document.querySelector('.video input');
  input.files = files.files;
  input.dispatchEvent(new Event('change'));
  done(true);
};
recorder.start();
setTimeout(() => recorder.stop(), 1500);
"""


class VideoTest(unittest.TestCase):
    def setUp(self):
        driver.get("about:blank")
        chromium.requests_of(driver)
        open_page(work.page("carve.html", "carve.csv"))
        script("document.querySelector('details.video').open = true")
        self.assertTrue(driver.execute_async_script(MAKE_FILM))
        wait_for(lambda: script("return document.querySelector('video').readyState >= 2"))

    def test_picture_and_cursor_move_together(self):
        times = [value / 1000 for value in work.document("carve.csv")["samples"]["time"]]
        phases = work.document("carve.csv")["phases"]
        touchdown = phases["touchdown"]["time"] / 1000
        script("const video = document.querySelector('video'); video.currentTime = 1.0")
        wait_for(lambda: script("return !document.querySelector('video').seeking"))
        press("Set")
        self.assertAlmostEqual(times[cursor_sample()], touchdown, delta=0.051)
        # The cursor moves the picture ...
        put_cursor(cursor_sample() - 5)
        wait_for(lambda: abs(script("return document.querySelector('video').currentTime") - 0.5) < 0.02)
        # ... and the picture the cursor, at a quarter of the speed too.
        Select(driver.find_elements(By.CSS_SELECTOR, ".video-tools select")[1]).select_by_visible_text("quarter speed")
        self.assertEqual(script("return document.querySelector('video').playbackRate"), 0.25)
        before = cursor_sample()
        driver.execute_async_script("const video = document.querySelector('video'); video.muted = true; video.play().then(arguments[0])")
        wait_for(lambda: cursor_sample() > before)
        script("document.querySelector('video').pause()")
        expected = script("return document.querySelector('video').currentTime") - 1.0 + touchdown
        self.assertAlmostEqual(times[cursor_sample()], expected, delta=0.16)

    def test_it_stays_beside_the_curves(self):
        script("document.querySelectorAll('.plot')[2].scrollIntoView({block: 'center'})")
        plot, video = script("""return ['.plot', 'video'].map(each => {
            const {left, right, top, bottom} = document.querySelector(each).getBoundingClientRect();
            return {left, right, top, bottom}; })""")
        self.assertLess(plot["right"], video["left"])
        self.assertTrue(video["top"] >= 0 and video["bottom"] <= script("return innerHeight"), video)

    def test_nothing_is_sent(self):
        page = (work.folder / "carve.html").as_uri()
        # The film from its file, and the pictures of the browser's own buttons.
        others = [url for url in chromium.requests_of(driver) if url != page and not url.startswith(("blob:", "data:"))]
        self.assertEqual(others, [])
        self.assertEqual(chromium.console_of(driver), [])


if __name__ == "__main__":
    unittest.main()
