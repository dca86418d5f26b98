#!/usr/bin/env python3
"""scripts/draw_layers.py OUT: draws OUT/layers.svg, the picture of docs/architecture.md.

A box is a component of CMakeLists.txt, and a line leads from it to each component in its link line. A component is one
row above the highest that it uses. The content of each comes from the table in docs/architecture.md.
"""
import html
import re
import sys
import textwrap
from collections import namedtuple
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[1]

Component = namedtuple("Component", "name uses libraries is_engine")

BOX, BOX_HEIGHT = 158, 58
ROW, GAP, LINE_GAP = 96, 14, 26  # distance of rows; distance of boxes; width for a line that passes through a row
INK, GREY, PALE = "#1f2933", "#616e7c", "#9fb3c8"
# Colours: fill and edge of a component; fill of a program.
ENGINE, MACHINE, PROGRAM = ("#f3f8fd", "#3e6fa3"), ("#fffaf0", "#b7791f"), "#8a5a12"


def components():
    """The components in the order of CMakeLists.txt, which declares each after those that it uses."""
    text = re.sub(r"#.*", "", (PROJECT / "CMakeLists.txt").read_text())
    end_of_engine = text.index("if(TARVEL_ENGINE_ONLY)")
    found = []
    for each in re.finditer(r"tarvel_component\(tarvel_(\w+)\s+SOURCES([^)]*)\)", text):
        uses = each[2].partition("USES")[2].split()
        found.append(Component(each[1], [use[7:] for use in uses if use.startswith("tarvel_")],
                               [use.partition("::")[2] for use in uses if "::" in use], each.start() < end_of_engine))
    return found


def programs():
    """{name: the component that its main function uses}."""
    text = (PROJECT / "CMakeLists.txt").read_text()
    found = dict(re.findall(r"tarvel_program\((\S+) \S+ USES tarvel_(\w+)\)", text))
    text = (PROJECT / "cmake/wasm_module.cmake").read_text()
    found["tarvel.wasm"] = re.search(r"target_link_libraries\(tarvel_wasm PRIVATE tarvel_(\w+)\)", text)[1]
    return found


def descriptions():
    """What each component holds, from the table."""
    rows = re.findall(r"^\| `tarvel_(\w+)`[^|]*\|[^|]*\|([^|]*)\|", (PROJECT / "docs/architecture.md").read_text(), re.M)
    return {name: text.strip().replace("`", "") for name, text in rows}


class Node:
    """A box, or a place where a line passes a row."""

    def __init__(self, name, row, is_engine, width):
        self.name, self.row, self.is_engine, self.width = name, row, is_engine, width
        self.below, self.above, self.x = [], [], 0.0


def connect(upper, lower):
    upper.below.append(lower)
    lower.above.append(upper)


def lay_out(found, mains):
    """The nodes, and the rows that they are in, from the bottom."""
    nodes, chains = {}, []
    for each in found:
        row = max((nodes[use].row + 1 for use in each.uses), default=0)
        nodes[each.name] = Node(each.name, row, each.is_engine, BOX)
    top = max(node.row for node in nodes.values()) + 1
    for name, main in mains.items():
        nodes[name] = Node(name, top, nodes[main].is_engine, BOX)
    rows = [[node for node in nodes.values() if node.row == row] for row in range(top + 1)]
    for name, uses in [(each.name, each.uses) for each in found] + [(name, [main]) for name, main in mains.items()]:
        for use in uses:
            chain = [nodes[name]]
            for row in range(nodes[name].row - 1, nodes[use].row, -1):
                chain.append(Node(None, row, nodes[name].is_engine, LINE_GAP))
                rows[row].append(chain[-1])
            chain.append(nodes[use])
            for upper, lower in zip(chain, chain[1:]):
                connect(upper, lower)
            chains.append(chain)
    return nodes, rows, chains


def mean(numbers, otherwise):
    numbers = list(numbers)
    return sum(numbers) / len(numbers) if numbers else otherwise


def crossings(rows):
    count = 0
    for row in rows[1:]:
        order = {id(node): i for i, node in enumerate(rows[row[0].row - 1])}
        ends = [(i, order[id(lower)]) for i, upper in enumerate(row) for lower in upper.below]
        count += sum(1 for a in ends for b in ends if a[0] < b[0] and a[1] > b[1])
    return count


def swap_neighbours(rows, row):
    for i in range(len(row) - 1):
        before = crossings(rows)
        row[i], row[i + 1] = row[i + 1], row[i]
        if crossings(rows) >= before:
            row[i], row[i + 1] = row[i + 1], row[i]


def put_in_order(rows):
    """Reduces crossings: sorts each row by the mean place of its neighbours, up and down, and keeps the best order."""
    best = None
    for sweep in range(24):
        for row in rows if sweep % 2 else rows[::-1]:
            places = {id(node): i / max(len(other) - 1, 1) for other in rows for i, node in enumerate(other)}
            sides = (lambda node: node.below, lambda node: node.above)
            row.sort(key=lambda node: mean((places[id(other)] for other in sides[sweep % 2 == 0](node)), places[id(node)]))
            swap_neighbours(rows, row)
        if best is None or crossings(rows) < crossings(best):
            best = [list(row) for row in rows]
    for row, order in zip(rows, best):
        row[:] = order


def spread(row, wanted):
    """The places without overlaps that are nearest to the wanted ones; neighbours that touch are moved as one block."""
    blocks = []
    offset = 0.0
    for i, node in enumerate(row):
        if i > 0:
            offset += (row[i - 1].width + node.width) / 2.0 + GAP
        blocks.append([1, wanted[i] - offset, [(node, offset)]])
        while len(blocks) > 1 and blocks[-2][1] > blocks[-1][1]:
            count, start, members = blocks.pop()
            whole = blocks[-1]
            whole[1] = (whole[0] * whole[1] + count * start) / (whole[0] + count)
            whole[0] += count
            whole[2] += members
    for _, start, members in blocks:
        for node, offset in members:
            node.x = start + offset


def wanted_place(node):
    """The middle of the node's neighbours. For a line through a row, its straight part counts more than its ends."""
    neighbours = node.below + node.above
    if node.name is None:
        neighbours = neighbours + 6 * [other for other in neighbours if other.name is None]
    return mean((other.x for other in neighbours), node.x)


def place(rows):
    for row in rows:
        spread(row, [0.0] * len(row))
    for sweep in range(200):
        for row in rows if sweep % 2 else rows[::-1]:
            spread(row, [wanted_place(node) for node in row])
    left = min(node.x - node.width / 2.0 for row in rows for node in row)
    for row in rows:
        for node in row:
            node.x -= left


def words(text, width):
    lines = textwrap.wrap(text, width)
    if len(lines) > 2:
        lines = textwrap.wrap(text, 2 * width, max_lines=1, placeholder=" …")
        lines = textwrap.wrap(lines[0], width + 2)[:2]
    return lines


def text_at(x, y, size, colour, text, more=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" fill="{colour}"{more}>{html.escape(text)}</text>'


def draw(found, mains, texts):
    nodes, rows, chains = lay_out(found, mains)
    put_in_order(rows)
    place(rows)
    margin, bold = 24, ' font-weight="bold"'
    height = ROW * (len(rows) - 1) + BOX_HEIGHT + 2 * margin
    width = max(node.x + node.width / 2.0 for row in rows for node in row) + 2 * margin

    def x_of(node):
        return node.x + margin

    def y_of(node):
        return height - margin - BOX_HEIGHT / 2.0 - ROW * node.row

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height:.0f}" '
             f'viewBox="0 0 {width:.0f} {height:.0f}" font-family="Helvetica, Arial, Liberation Sans, sans-serif" '
             'text-anchor="middle">',
             f'<rect width="{width:.0f}" height="{height:.0f}" fill="#ffffff"/>']
    for chain in chains:
        path = f"M{x_of(chain[0]):.1f},{y_of(chain[0]):.1f}"
        for upper, lower in zip(chain, chain[1:]):
            # Lines are straight within a row and bent between two.
            start, end = y_of(upper) + BOX_HEIGHT / 2.0, y_of(lower) - BOX_HEIGHT / 2.0
            middle = (start + end) / 2.0
            path += (f" V{start:.1f} C{x_of(upper):.1f},{middle:.1f} {x_of(lower):.1f},{middle:.1f} "
                     f"{x_of(lower):.1f},{end:.1f}")
        parts.append(f'<path d="{path}" fill="none" stroke="{PALE}" stroke-width="1.6"/>')
    by_name = {each.name: each for each in found}
    for name, node in nodes.items():
        x, y = x_of(node), y_of(node)
        box = f'x="{x - BOX / 2.0:.1f}" width="{BOX}"'
        if name in mains:
            colour = ENGINE[1] if node.is_engine else PROGRAM
            parts.append(f'<rect {box} y="{y - 19:.1f}" height="38" rx="19" fill="{colour}"/>')
            parts.append(text_at(x, y + 5, 15, "#ffffff", name, bold))
            continue
        fill, edge = ENGINE if node.is_engine else MACHINE
        parts.append(f'<rect {box} y="{y - BOX_HEIGHT / 2.0:.1f}" height="{BOX_HEIGHT}" rx="6" fill="{fill}" '
                     f'stroke="{edge}" stroke-width="1.4"/>')
        lines = words(texts[name], 29) + ([", ".join(by_name[name].libraries)] if by_name[name].libraries else [])
        first = y + 5 - 6.5 * len(lines)
        parts.append(text_at(x, first, 15, INK, name, bold))
        for i, line in enumerate(lines):
            parts.append(text_at(x, first + 16 + 13 * i, 10.5, GREY, line))
    legend = ((MACHINE, "uses files, terminal, fonts"), (ENGINE, "the engine: uses none of them"))
    for i, ((fill, edge), text) in enumerate(legend):
        y = height - margin - 44 + 26 * i
        parts.append(f'<rect x="{margin}" y="{y}" width="26" height="16" rx="4" fill="{fill}" stroke="{edge}"/>')
        parts.append(text_at(margin + 36, y + 12, 12, GREY, text, ' text-anchor="start"'))
    return "\n".join(parts) + "\n</svg>\n"


def main():
    found = components()
    Path(sys.argv[1], "layers.svg").write_text(draw(found, programs(), descriptions()))


if __name__ == "__main__":
    main()
