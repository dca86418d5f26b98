#!/usr/bin/env python3
"""scripts/draw_pictures.py PROGRAM OUT: draws OUT/course.svg and OUT/run-phases.svg, pictures of the manual.

They show the output of PROGRAM, a built tarvel, for two of the examples, the walk and the carve.
"""
import math
import re
import subprocess
import sys
import tempfile
from pathlib import Path

EXAMPLES = Path(__file__).resolve().parents[1] / "examples"

FEET_PER_METRE = 3.2808399
# The speed carve: an arc of 75 degrees that is 70 m long, between gates 10 m wide.
CARVE_DEGREES = 75.0
CARVE_RADIUS = 70.0 / math.radians(CARVE_DEGREES)
GATE_HALF_WIDTH = 5.0

INK = "#222222"
GREY = "#777777"
PALE = "#dddddd"
RED = "#c81e1e"
BLUE = "#1f5fa8"
ORANGE = "#b45309"


# ------------------------------------------------------------------------------------------------- the program's output

def run_program(program, folder):
    """Writes to the folder: the course file walk.txt, the coordinates walk.coord and carve.coord, and carve.report."""
    for name in ("walk.csv", "carve.csv"):
        (folder / name).write_bytes((EXAMPLES / name).read_bytes())

    def tarvel(*arguments):
        return subprocess.run([program, *arguments], cwd=folder, stdout=subprocess.PIPE, text=True, check=False).stdout

    tarvel("-p", "-g", "walk.csv")
    # The walk is analysed as a run. That fails, since it has no descent, but only after the coordinates are written.
    tarvel("-d", "walk.csv")
    (folder / "coord.txt").rename(folder / "walk.coord")
    (folder / "carve.report").write_text(tarvel("-d", "carve.csv"))
    (folder / "coord.txt").rename(folder / "carve.coord")


class Sample:
    """A row of coord.txt: seconds, feet and mph."""

    def __init__(self, row):
        numbers = [float(n) for n in re.findall(r"-?\d+\.?\d*", row)]
        self.time = numbers[0]
        self.x, self.y, self.z = numbers[1:4]
        self.vx, self.vy, self.vz = numbers[4:7]
        self.az = numbers[9]

    def level_speed(self):
        return math.hypot(self.vx, self.vy)


def read_coordinates(path):
    return [Sample(row) for row in path.read_text().splitlines()[2:]]


def read_course(path):
    text = path.read_text()
    theta = float(re.search(r"^theta = *(\S+)", text, re.M).group(1))
    pond = [(float(x), float(y)) for x, y in re.findall(r"\( *(-?[\d.]+), *(-?[\d.]+)\)", text)]
    return theta, pond


def first_accurate_row(path):
    rows = path.read_text().splitlines()
    names = rows[0].split(",")
    columns = [names.index("hAcc"), names.index("vAcc")]
    return next(i for i, row in enumerate(rows[2:]) if min(float(row.split(",")[c]) for c in columns) < 3.0)


def find_standstills(samples):
    """The mean x, y (m) and the last index of each stretch of more than 8 s that is slower than 1.2 mph."""
    stretches = [[]]
    for i, sample in enumerate(samples):
        if sample.level_speed() < 1.2:
            stretches[-1].append(i)
        elif stretches[-1]:
            stretches.append([])
    found = []
    for stretch in stretches:
        if stretch and samples[stretch[-1]].time - samples[stretch[0]].time > 8.0:
            places = [(samples[i].x / FEET_PER_METRE, samples[i].y / FEET_PER_METRE) for i in stretch]
            mean = tuple(sum(values) / len(places) for values in zip(*places))
            found.append((mean, stretch[-1]))
    return found


def read_report_points(text):
    """The places in the report: {label: (x, y, z) in feet}."""
    line = re.compile(r"^([a-z ]+): +(-?\d+) ft AGL, +(-?\d+) ft back, +(-?\d+) ft offset", re.M)
    return {label: (-float(back), -float(offset), float(height)) for label, height, back, offset in line.findall(text)}


# ------------------------------------------------------------------------------------------------------------- drawing

class Picture:
    def __init__(self, width, height):
        self.width = width
        self.height = height
        self.parts = []

    def add(self, part):
        self.parts.append(part)

    def line(self, points, colour=INK, width=1.0, dash=None, fill="none", close=False):
        path = "M" + " L".join(f"{x:.1f},{y:.1f}" for x, y in points) + (" Z" if close else "")
        dashes = f' stroke-dasharray="{dash}"' if dash else ""
        self.add(f'<path d="{path}" fill="{fill}" stroke="{colour}" stroke-width="{width}"{dashes}'
                 ' stroke-linejoin="round"/>')

    def circle(self, x, y, radius, fill="none", stroke="none", width=1.0):
        self.add(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="{radius}" fill="{fill}" stroke="{stroke}"'
                 f' stroke-width="{width}"/>')

    def text(self, x, y, words, size=13, anchor="start", colour=INK, weight="normal", turn=None):
        turned = f' transform="rotate({turn} {x:.1f} {y:.1f})"' if turn else ""
        words = words.replace("&", "&amp;").replace("<", "&lt;")
        self.add(f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" fill="{colour}"'
                 f' font-weight="{weight}"{turned}>{words}</text>')

    def arrow_head(self, x, y, angle, size=6.0, colour=INK):
        """Points along the angle (radians, y down)."""
        corners = [(x + size * math.cos(angle + a), y + size * math.sin(angle + a)) for a in (0.0, 2.5, -2.5)]
        self.line(corners, colour, 0.5, fill=colour, close=True)

    def arrow(self, x0, y0, x1, y1, colour=INK, width=1.5):
        self.line([(x0, y0), (x1, y1)], colour, width)
        self.arrow_head(x1, y1, math.atan2(y1 - y0, x1 - x0), 7.0, colour)

    def number(self, x, y, number, colour=ORANGE):
        self.circle(x, y, 10, fill=colour)
        self.text(x, y + 4.5, str(number), 12.5, "middle", "white", "bold")

    def save(self, path):
        head = (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {self.width} {self.height}"'
                f' width="{self.width}" height="{self.height}"'
                ' font-family="Liberation Sans, Arial, Helvetica, sans-serif">\n'
                f'<rect width="{self.width}" height="{self.height}" fill="white"/>\n')
        path.write_text(head + "\n".join(self.parts) + "\n</svg>\n")


class Panel:
    """A framed plot: data (x_range, y_range) in a box of pixels, y growing upwards."""

    def __init__(self, picture, left, top, width, height, x_range, y_range):
        self.picture = picture
        self.left, self.top, self.width, self.height = left, top, width, height
        self.x_range, self.y_range = x_range, y_range

    def at(self, x, y):
        (x0, x1), (y0, y1) = self.x_range, self.y_range
        return (self.left + (x - x0) / (x1 - x0) * self.width,
                self.top + (y1 - y) / (y1 - y0) * self.height)

    def curve(self, points, colour=INK, width=1.5, dash=None):
        self.picture.line([self.at(x, y) for x, y in points], colour, width, dash)

    def arrows(self, points, spacing, colour=INK):
        """Arrow heads along a path, at this distance in data units."""
        covered = 0.75 * spacing
        for (x0, y0), (x1, y1) in zip(points, points[1:]):
            covered += math.hypot(x1 - x0, y1 - y0)
            if covered > spacing:
                px, py = self.at(x1, y1)
                self.picture.arrow_head(px, py, math.atan2(y0 - y1, x1 - x0), 7.5, colour)
                covered = 0.0

    def frame(self, title, x_step, y_step, x_title, y_title):
        picture = self.picture
        bottom = self.top + self.height
        for x in steps(self.x_range, x_step):
            px = self.at(x, 0)[0]
            picture.line([(px, self.top), (px, bottom)], INK if x == 0 else PALE, 0.8)
            picture.text(px, bottom + 15, f"{x:g}", 11, "middle")
        for y in steps(self.y_range, y_step) if y_step else []:
            py = self.at(0, y)[1]
            picture.line([(self.left, py), (self.left + self.width, py)], INK if y == 0 else PALE, 0.8)
            picture.text(self.left - 6, py + 4, f"{y:g}", 11, "end")
        corners = [(self.left, self.top), (self.left + self.width, self.top), (self.left + self.width, bottom),
                   (self.left, bottom)]
        picture.line(corners, GREY, 1.0, close=True)
        picture.text(self.left, self.top - 9, title, 14, weight="bold")
        picture.text(self.left + self.width / 2, bottom + 31, x_title, 12, "middle")
        picture.text(self.left - 42, self.top + self.height / 2, y_title, 12, "middle", turn=-90)

    def mark(self, number, point, offset):
        """A dot on the point, and its number at this distance in pixels."""
        x, y = self.at(*point)
        tag_x, tag_y = x + offset[0], y + offset[1]
        self.picture.line([(x, y), (tag_x, tag_y)], ORANGE, 1.0)
        self.picture.circle(x, y, 3.2, fill=ORANGE)
        self.picture.number(tag_x, tag_y, number)


def steps(limits, step):
    first = math.ceil(limits[0] / step)
    last = math.floor(limits[1] / step)
    return [i * step for i in range(first, last + 1)]


# ----------------------------------------------------------------------------------------------------------- geometry

def carve_gate(degrees, to_the_left):
    """The poles of a gate along the carve, m: inner and outer."""
    angle = math.radians(degrees)
    side = 1.0 if to_the_left else -1.0
    radii = (CARVE_RADIUS - GATE_HALF_WIDTH, CARVE_RADIUS + GATE_HALF_WIDTH)
    return [(r * math.sin(angle), side * (CARVE_RADIUS - r * math.cos(angle))) for r in radii]


def carve_centre(degrees, to_the_left):
    (x0, y0), (x1, y1) = carve_gate(degrees, to_the_left)
    return ((x0 + x1) / 2.0, (y0 + y1) / 2.0)


def turned_clockwise(point, degrees):
    angle = math.radians(degrees)
    x, y = point
    return (x * math.cos(angle) + y * math.sin(angle), y * math.cos(angle) - x * math.sin(angle))


def crossing(samples, side_of):
    """x, y, z and time of the crossing between the first two samples on different sides of a line."""
    for before, after in zip(samples, samples[1:]):
        a, b = side_of(before), side_of(after)
        if a < 0.0 <= b:
            t = -a / (b - a)
            return [p + t * (q - p) for p, q in
                    zip((before.x, before.y, before.z, before.time), (after.x, after.y, after.z, after.time))]
    raise ValueError("the run does not cross the line")


# ------------------------------------------------------------------------------------------------- the course's picture

def draw_walk(panel, walk):
    points = [(s.x / FEET_PER_METRE, s.y / FEET_PER_METRE) for s in walk]
    panel.curve(points, GREY, 1.6)
    # A walker who stands still has no direction.
    moving = [p for p, s in zip(points, walk) if s.level_speed() > 1.5]
    panel.arrows(moving[::4], 18.0, GREY)


def draw_carve(panel, theta, to_the_left):
    arc = [turned_clockwise(carve_centre(d, to_the_left), theta) for d in range(0, int(CARVE_DEGREES) + 1)]
    panel.curve(arc, RED, 1.2, "2 4")
    for gate in range(5):
        for pole in carve_gate(gate * CARVE_DEGREES / 4, to_the_left):
            panel.picture.circle(*panel.at(*turned_clockwise(pole, theta)), 4, fill="white", stroke=RED, width=1.5)


def label(picture, x, y, lines, anchor="start"):
    for i, words in enumerate(lines):
        picture.text(x, y + 16 * i, words, 13.5, anchor, weight="bold" if i == 0 else "normal")


def draw_scale(panel, x, y, metres):
    (left, py), (right, _) = panel.at(x, y), panel.at(x + metres, y)
    panel.picture.line([(left, py - 5), (left, py), (right, py), (right, py - 5)], INK, 1.5)
    panel.picture.text((left + right) / 2, py - 7, f"{metres} m", 12, "middle")


def draw_marks(panel, marks):
    far, left, before, right, far_again, carve_exit = marks
    tags = [(far, 16, 15), (left, 0, -22), (before, -22, 0), (right, 0, 22), (far_again, 16, -15), (carve_exit, 0, 0)]
    for number, (place, dx, dy) in enumerate(tags, 1):
        x, y = panel.at(*place)
        panel.picture.line([(x, y), (x + dx, y + dy)], ORANGE, 1.2)
        panel.picture.circle(x, y, 4, fill=ORANGE)
        panel.picture.number(x + dx, y + dy, number)

    texts = panel.picture
    x, y = panel.at(*far)
    label(texts, x + 34, y - 22, ["start (1) and return (5)", "far end of the course,", "on its centre line"])
    x, y = panel.at(*left)
    label(texts, x - 2, y - 54, ["left mark of the entry gate"], "middle")
    x, y = panel.at(*before)
    label(texts, x - 38, y - 8, ["centre line", "before the", "entry gate"], "end")
    x, y = panel.at(*right)
    label(texts, x - 2, y + 52, ["right mark of the entry gate"], "middle")
    x, y = panel.at(*carve_exit)
    label(texts, x + 16, y + 22, ["speed carve only: centre of its exit gate", "more than 10 m from mark 5"])


def draw_course(folder, out):
    theta, pond = read_course(folder / "walk.txt")
    walk = read_coordinates(folder / "walk.coord")[first_accurate_row(EXAMPLES / "walk.csv"):]
    standstills = find_standstills(walk)
    if len(standstills) != 6:
        raise ValueError(f"{len(standstills)} standstills in the walk instead of 6")
    marks = [place for place, _ in standstills]
    walk = walk[:standstills[-1][1] + 1]

    scale = 7.2
    x_range, y_range = (-35.0, 109.0), (-49.0, 27.0)
    picture = Picture(1040, 596)
    picture.text(20, 28, "Walking a course: stand still at each mark in this order", 17, weight="bold")
    panel = Panel(picture, 2, 42, (x_range[1] - x_range[0]) * scale, (y_range[1] - y_range[0]) * scale, x_range, y_range)

    picture.line([panel.at(*p) for p in pond], BLUE, 1.2, "5 4", fill="#e6f0fa", close=True)
    panel.curve([marks[2], marks[4]], INK, 1.0, "10 4 2 4")
    panel.curve([marks[1], marks[3]], INK, 1.0, "10 4 2 4")
    draw_walk(panel, walk)
    draw_carve(panel, theta, marks[5][1] > 0.0)

    picture.text(*panel.at(40, 8.5), "pond", 14, "middle", BLUE)
    x, y = panel.at(0, 0)
    picture.text(x + 12, y - 9, "entry gate", 13, weight="bold", colour=RED)
    x, y = panel.at(34, 0)
    picture.arrow(x, y, x + 100, y, INK, 2.5)
    picture.text(x + 50, y - 9, "direction of flight", 13, "middle")
    picture.text(*panel.at(13.5, -12.0), "speed carve", 12.5, "middle", RED)
    draw_marks(panel, marks)

    draw_scale(panel, -32, -46, 20)
    x, y = panel.at(-32, -41)
    picture.line([(x, y - 4), (x + 30, y - 4)], GREY, 1.6)
    picture.arrow_head(x + 15, y - 4, 0.0, 7.5, GREY)
    picture.text(x + 38, y, "path of the walker", 12)
    picture.save(out / "course.svg")


# ---------------------------------------------------------------------------------------------------- the run's picture

class Phase:
    def __init__(self, name, x, y, z, time):
        self.name = name
        self.x, self.y, self.z, self.time = x, y, z, time


def phase_at(name, sample):
    return Phase(name, sample.x, sample.y, sample.z, sample.time)


def nearest(samples, place):
    return min(samples, key=lambda s: math.dist((s.x, s.y, s.z), place))


def exit_gate_side(to_the_left):
    """A function of a sample: negative before the line through the exit gate, positive after it."""
    (x0, y0), (x1, y1) = carve_gate(CARVE_DEGREES, to_the_left)
    centre = carve_centre(CARVE_DEGREES, to_the_left)
    normal = (y1 - y0, x0 - x1)
    ahead = math.copysign(1.0, normal[0] * math.cos(math.radians(CARVE_DEGREES)))
    return lambda s: ahead * ((s.x / FEET_PER_METRE - centre[0]) * normal[0] +
                              (s.y / FEET_PER_METRE - centre[1]) * normal[1])


def find_phases(samples, report):
    points = read_report_points(report)
    left_airplane = next(s for s in samples if s.az < -12.0)
    flight = [s for s in samples if s.time >= left_airplane.time]
    low = [s for s in flight if s.z < 1000.0]
    finish = nearest(low, points["finished rollout"])
    swoop = [s for s in low if s.time >= finish.time]
    stop = next(s for s in swoop if s.level_speed() < 2.0)

    phases = [phase_at("exited airplane", left_airplane)]
    for name in ("initiated turn", "max vertical speed", "max total speed", "started rollout"):
        phases.append(phase_at(name, nearest(low, points[name])))
    phases.append(Phase("finished rollout", *points["finished rollout"], finish.time))
    phases.append(phase_at("max horizontal speed", nearest(low, points["max horizontal speed"])))
    phases.append(Phase("entry gate speed", *crossing(swoop, lambda s: s.x)))
    phases.append(Phase("speed carve time: the exit gate", *crossing(swoop, exit_gate_side(stop.y > 0.0))))
    phases.append(phase_at("distance to stop, touchdown estimate", stop))
    return phases


def draw_marked(panel, phases, offsets, place_of):
    for number, offset in offsets.items():
        panel.mark(number, place_of(phases[number - 1]), offset)


def draw_path(panel, points):
    panel.curve(points, RED, 2.0)
    panel.arrows(points, 130.0, RED)


def draw_descent(picture, samples, phases):
    start = samples[0].time
    end = phases[-1].time - start
    panel = Panel(picture, 70, 66, 900, 176, (0, end + 8), (-200, 6100))
    panel.frame("The whole descent", 20, 1000, "time since the first sample (s)", "height (ft AGL)")
    for height, words in ((2500, "2,500 ft: the pattern begins"), (1000, "1,000 ft: the final dive is below")):
        panel.curve([(0, height), (end + 8, height)], BLUE, 1.2, "6 4")
        picture.text(78, panel.at(0, height)[1] - 5, words, 12, colour=BLUE)
    panel.curve([(s.time - start, s.z) for s in samples if s.time <= phases[-1].time + 7.0], RED, 2.0)
    draw_marked(panel, phases, {1: (18, -15), 2: (-16, -20), 10: (-14, -38)}, lambda p: (p.time - start, p.z))


def draw_side_view(picture, run, phases):
    panel = Panel(picture, 70, 312, 432, 600, (-460, 260), (-20, 980))
    panel.frame("From the side", 100, 100, "distance from the entry gate along the course (ft)", "height (ft AGL)")
    draw_path(panel, [(s.x, s.z) for s in run])
    offsets = {2: (34, 0), 3: (34, -12), 4: (34, 14), 5: (34, 0), 6: (-30, -34), 7: (4, -46), 8: (20, -28),
               9: (-16, -34), 10: (10, -28)}
    draw_marked(panel, phases, offsets, lambda p: (p.x, p.z))


def draw_overhead(picture, run, phases):
    panel = Panel(picture, 560, 312, 414, 188, (-460, 250), (-280, 42))
    panel.frame("From above", 100, 100, "", "to the left (ft)")
    draw_path(panel, [(s.x, s.y) for s in run])
    offsets = {2: (18, 20), 3: (-24, -2), 4: (14, 25), 5: (-20, -12), 6: (0, 24), 10: (-28, 0)}
    draw_marked(panel, phases, offsets, lambda p: (p.x, p.y))


def draw_swoop(picture, run, phases):
    panel = Panel(picture, 560, 550, 414, 362, (-148, 250), (-285, 63))
    panel.frame("From above: the swoop and the gates of a speed carve", 50, 50,
                "distance from the entry gate along the course (ft)", "to the left (ft)")
    to_the_left = phases[-1].y > 0.0
    for gate in range(5):
        poles = [panel.at(x * FEET_PER_METRE, y * FEET_PER_METRE)
                 for x, y in carve_gate(gate * CARVE_DEGREES / 4, to_the_left)]
        if gate in (0, 4):
            picture.line(poles, BLUE, 1.2, "4 3")
        for pole in poles:
            picture.circle(*pole, 3.5, fill="white", stroke=BLUE, width=1.5)
    draw_path(panel, [(s.x, s.y) for s in run if s.x > -140.0 and s.z < 50.0])
    offsets = {6: (-6, -28), 7: (10, 28), 8: (20, -24), 9: (36, 20), 10: (-28, 0)}
    draw_marked(panel, phases, offsets, lambda p: (p.x, p.y))


def draw_times(picture, phases):
    start = phases[1].time
    panel = Panel(picture, 70, 1000, 900, 96, (-0.6, phases[-1].time - start + 0.6), (0, 4))
    panel.frame("The times", 1, None, "time since the initiated turn (s)", "")
    bars = [(2, 5, 3, "time to execute turn"), (5, 6, 2, "time during rollout"),
            (6, 10, 1, "time aloft during swoop"), (8, 9, 0, "speed carve time")]
    for first, last, row, name in bars:
        x0, x1 = (phases[n - 1].time - start for n in (first, last))
        (left, y), (right, _) = panel.at(x0, row + 0.5), panel.at(x1, row + 0.5)
        picture.line([(left, y), (right, y)], "#f3c9a0", 19)
        picture.text((left + right) / 2, y + 4.5, name, 12.5, "middle")
        picture.number(left, y, first)
        picture.number(right, y, last)


def draw_legend(picture, phases):
    for i, phase in enumerate(phases):
        x, y = 76 + 300 * (i // 4), 1166 + 27 * (i % 4)
        picture.number(x, y, i + 1)
        picture.text(x + 18, y + 4.5, phase.name, 13.5)


def draw_run(folder, out):
    samples = read_coordinates(folder / "carve.coord")
    phases = find_phases(samples, (folder / "carve.report").read_text())
    run = [s for s in samples if phases[1].time <= s.time <= phases[-1].time]
    picture = Picture(1000, 1268)
    picture.text(20, 24, "One run and its phases: a speed carve to the right", 17, weight="bold")
    draw_descent(picture, samples, phases)
    draw_side_view(picture, run, phases)
    draw_overhead(picture, run, phases)
    draw_swoop(picture, run, phases)
    draw_times(picture, phases)
    draw_legend(picture, phases)
    picture.save(out / "run-phases.svg")


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: scripts/draw_pictures.py PROGRAM OUT")
    program, out = Path(sys.argv[1]).resolve(), Path(sys.argv[2])
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        run_program(program, folder)
        draw_course(folder, out)
        draw_run(folder, out)


if __name__ == "__main__":
    main()
