#!/usr/bin/env python3
"""tests/docs/layers_test.py: the picture and the table of the layers in docs/architecture.md agree with the link
lines."""
import os
import re
import sys
import unittest
from pathlib import Path

PROJECT = Path(os.environ.get("TARVEL_SOURCE_DIR", Path(__file__).parents[2]))
sys.path.append(str(PROJECT / "scripts"))
import draw_layers  # noqa: E402


class LayersTest(unittest.TestCase):
    def setUp(self):
        self.found = draw_layers.components()
        self.mains = draw_layers.programs()
        self.text = (PROJECT / "docs/architecture.md").read_text()

    def test_drawn_again_the_picture_is_the_same(self):
        drawn = draw_layers.draw(self.found, self.mains, draw_layers.descriptions())
        self.assertTrue(drawn == (PROJECT / "docs/layers.svg").read_text(),
                        "docs/layers.svg is out of date: run scripts/draw_layers.py docs")

    def test_the_picture_shows_every_folder_with_headers(self):
        self.assertEqual({each.name for each in self.found},
                         {path.parent.name for path in (PROJECT / "src").glob("*/*.h")})

    def test_the_table_names_what_each_uses(self):
        rows = re.findall(r"^\| `tarvel_(\w+)`[^|]*\|[^|]*\|[^|]*\|([^|]*)\|", self.text, re.MULTILINE)
        in_table = {name: {word for word in re.split(r"[, ]+", uses.strip()) if word} for name, uses in rows}
        self.assertEqual(in_table, {each.name: {*each.uses, *each.libraries} for each in self.found})

    def test_the_table_names_the_programs(self):
        rows = re.findall(r"^\| `tarvel_(\w+)`, `([\w.-]+)`", self.text, re.MULTILINE)
        self.assertEqual({program: component for component, program in rows}, self.mains)

    def test_no_box_lies_over_another(self):
        nodes, rows, _ = draw_layers.lay_out(self.found, self.mains)
        draw_layers.put_in_order(rows)
        draw_layers.place(rows)
        for row in rows:
            for left, right in zip(row, row[1:]):
                self.assertGreaterEqual(right.x - left.x, (left.width + right.width) / 2.0)
        self.assertEqual(len(nodes), len(self.found) + len(self.mains))


if __name__ == "__main__":
    unittest.main()
