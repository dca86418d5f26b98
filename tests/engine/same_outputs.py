"""Compares outputs of the engine on two machines, whose C libraries have sines that differ in their last bits.

The report, the map and all messages must be equal byte for byte. Two things may differ. The frame that a survey finds:
a last bit of a sine times the earth's radius is less than a millimetre, which may change the last digit in a course
file. And the numbers that a document has at full precision, in their last digits, since the positions in a run's frame
are computed with such sines. The texts and integers in a document must be equal. A point of a chart that lies halfway
between two thousandths may be rounded to either: such points are listed, and there must be few.
"""

import itertools
import json
import re
import struct
import sys

frame_bytes = slice(44, 180)  # of a survey's container: matrix and theta, 17 doubles
course_number = re.compile(rb"-?\d+\.\d+")
thousandth = 1.001e-3  # and what the binary fractions add
points_for_one_turned = 100_000


class SameOutputs:
    """A base class of test cases."""

    point_count = 0
    turned_points = ()

    def expect_same(self, native, other):
        if native == other:
            return
        if native.startswith(b"uTVL"):
            self.assertEqual(len(native), len(other))
            for a, b in zip(*(struct.unpack(">17d", content[frame_bytes]) for content in (native, other))):
                self.assertAlmostEqual(a, b, delta=1e-3 if abs(a) > 1.0 else 1e-9)
            return
        self.assertTrue(native.startswith(b"// This transformation matrix"), native[:200])
        self.assertEqual(course_number.sub(b"", native), course_number.sub(b"", other))
        for a, b in zip(*(course_number.findall(content) for content in (native, other))):
            self.assertAlmostEqual(float(a), float(b), delta=1.001 * 10.0 ** -len(a.split(b".")[1]))

    def full_precision(self, document):
        """Removes the numbers of full precision from a document and returns them by name."""
        numbers = {}
        for name, figure in (document["figures"] or {}).items():
            numbers[name] = figure.pop("value")
        for name, phase in (document["phases"] or {}).items():
            for member, value in list((phase or {}).items()):
                if isinstance(value, float):
                    numbers[name, member] = phase.pop(member)
        for row, values in enumerate(document["course"].pop("frame") or []):
            for column, value in enumerate(values):
                numbers[row, column] = value
        check = document["check"] or {"intervals": {}, "reasons": []}
        for name, interval in check["intervals"].items():
            for end in ("low", "high"):
                numbers["interval", name, end] = (interval or {}).pop(end, None)
        for reason in check["reasons"]:
            numbers["reason", reason["code"]] = reason.pop("value", None)
        return numbers

    def expect_same_documents(self, native, other):
        if native == other:
            return
        documents = [json.loads(document) for document in (native, other)]
        self.expect_same_points(*documents)
        numbers, other_numbers = map(self.full_precision, documents)
        self.assertEqual(*documents)
        self.assertEqual(list(numbers), list(other_numbers))
        for name, value in numbers.items():
            # The differences of hundreds of analyses add up in an interval; those in the origin of a frame are
            # multiplied by the earth's radius.
            is_coarse = name[0] in ("interval", "reason") or (isinstance(name[0], int) and name[1] == 3)
            delta = 1e-3 if is_coarse else 1e-6
            self.assertAlmostEqual(value, other_numbers[name], delta=delta, msg=name)

    def expect_same_points(self, native, other):
        """Takes the points out of the charts, and lists those that differ by one unit of their last digit."""
        if not (native["charts"] and other["charts"]):
            return
        turned = []
        for name in native["charts"]:
            series = zip(*(document["charts"][name]["series"] for document in (native, other)), strict=True)
            for (each, other_each), axis in itertools.product(series, "xy"):
                points, other_points = each.pop(axis), other_each.pop(axis)
                self.assertEqual(len(points), len(other_points))
                self.point_count += len(points)
                for a, b in zip(points, other_points):
                    if a != b:
                        self.assertAlmostEqual(a, b, delta=thousandth, msg=name)
                        turned.append(f"{name}, {axis}: {a} here, {b} there")
        self.turned_points = [*self.turned_points, *turned]

    def tearDown(self):
        for point in self.turned_points:
            print(f"{point}: halfway between two thousandths, and sines whose last bits differ", file=sys.stderr)
        self.assertLessEqual(len(self.turned_points), 1 + self.point_count / points_for_one_turned)
