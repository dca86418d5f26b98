"""What the tests in Firefox and WebKitGTK share."""
import tempfile
import unittest

import axe
from pages import Workplace, wait_for


class BrowserTest(unittest.TestCase):
    """Tests in a browser that start() starts, with a folder of tracks."""
    start = None

    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.work = Workplace(cls.temporary.name)
        cls.browser = cls.start()

    @classmethod
    def tearDownClass(cls):
        cls.browser.stop()
        cls.temporary.cleanup()

    def script(self, text, *arguments):
        return self.browser.execute_script(text, *arguments)

    def open(self, page):
        self.browser.get(page.as_uri())
        wait_for(lambda: self.script("return document.querySelector('.readout') !== null"), 60)

    def assert_dropped_files_are_analysed(self, app):
        self.browser.get(app.as_uri())
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


class PageTests:
    """For a BrowserTest of the page of a run."""

    def test_the_policy_lets_in_no_other_script(self):
        self.open(self.work.page("carve.html", "carve.csv"))
        self.assertFalse(self.script("""
            const made = document.createElement('script');
            made.textContent = 'document.title = "was run"';
            document.body.append(made);
            return document.title === 'was run'"""))

    def test_axe_finds_nothing(self):
        self.open(self.work.page("several.html", "carve.csv", "straight.csv"))
        found = self.browser.execute_async_script(
            axe.SCRIPT + "; const done = arguments[0]; axe.run(document).then(done, error => done({violations: [{id: String(error)}]}))")
        self.assertEqual([each["id"] for each in found["violations"]], [])
