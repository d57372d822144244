#!/usr/bin/env python3
"""Draws docs/house.svg: the folders of src/ and their includes, one floor of tests/policy above the other.

An arrow leads from a folder to one that it includes. An arrow that follows from others is left out:
what a folder reaches through two arrows it may include, too. The script fails when an include points
up or within a floor, so the drawing can only show arrows that go down.

Usage: docs/draw-house.py            writes docs/house.svg
       docs/draw-house.py --check    fails when docs/house.svg is not what would be drawn
"""

import re
import sys
from html import escape
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
POLICY = ROOT / "tests/policy/PolicyTests.cpp"
DRAWING = ROOT / "docs/house.svg"
ENTRY_POINT = ROOT / "src/ui/app/main.cpp"  # wires the layers together, so it alone sees them all
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)/[^"/]*"', re.MULTILINE)

BOX_WIDTH, BOX_HEIGHT, COLUMN, ROW, MARGIN = 156, 34, 182, 78, 24
COLORS = {"ui": "#2f6f8f", "platform_qt": "#2f6f8f", "cli": "#8a5a2b"}
CORE = "#3d5a3d"


def floors():
    """The rooms of each floor from the ground up, as the policy test lists them, and the annexes."""
    text = POLICY.read_text()
    listed = re.search(r"kFloors = \{(.*?)\n\};", text, re.DOTALL).group(1)
    annexes = re.search(r"kAnnexes = \{(.*?)\n\};", text, re.DOTALL).group(1)
    found = [re.findall(r'"([^"]+)"', line) for line in listed.splitlines()]
    return [floor for floor in found if floor], re.findall(r'\{"([^"]+)", \{', annexes)


def includes():
    """The rooms that each room includes."""
    targets = {}
    for file in sorted((ROOT / "src").rglob("*")):
        if file.suffix not in (".h", ".cpp"):
            continue
        room = file.parent.relative_to(ROOT / "src").as_posix()
        named = set() if file == ENTRY_POINT else set(INCLUDE.findall(file.read_text()))
        targets.setdefault(room, set()).update(named - {room})
    return targets


def reached(room, targets):
    found, waiting = set(), list(targets[room])
    while waiting:
        other = waiting.pop()
        if other not in found:
            found.add(other)
            waiting.extend(targets[other])
    return found


def arrows(targets):
    """The includes that do not follow from others."""
    below = {room: reached(room, targets) for room in targets}
    circles = [room for room in targets if room in below[room]]
    if circles:
        sys.exit(f"these folders include each other in a circle: {', '.join(circles)}")
    return sorted((room, other) for room in targets for other in targets[room]
                  if not any(other in below[between] for between in targets[room] - {other}))


def check_direction(levels, targets):
    for room, others in targets.items():
        for other in others:
            if levels[other] >= levels[room]:
                sys.exit(f"src/{room} includes src/{other}, which is no floor below it")


def rank_rooms(rooms, edges):
    """As low as each room can stand above all that it includes; more rooms fit beside each other."""
    ranks = {}
    for room in rooms:  # from the ground up
        ranks[room] = max((ranks[other] + 1 for start, other in edges if start == room), default=0)
    return ranks


class Layout:
    """Rooms in rows, and each arrow as a way through a free place in every row that it passes."""

    def __init__(self, ranks, edges):
        self.rows = [[] for _ in range(max(ranks.values()) + 1)]
        for room, rank in ranks.items():
            self.rows[rank].append(room)
        self.ways = {edge: self.way(edge, ranks) for edge in edges}
        self.above, self.below = {}, {}
        for way in self.ways.values():
            for upper, lower in zip(way, way[1:]):
                self.below.setdefault(upper, []).append(lower)
                self.above.setdefault(lower, []).append(upper)
        self.order_rows()
        self.place()

    def way(self, edge, ranks):
        start, end = edge
        between = [(edge, rank) for rank in range(ranks[start] - 1, ranks[end], -1)]
        for passing in between:
            self.rows[passing[1]].append(passing)
        return [start, *between, end]

    def order_rows(self):
        """Sorts every row by the middle of its neighbours, up and down, and keeps the order with the fewest crossings."""
        best = None
        for turn in range(60):
            upward = turn % 2 == 0
            rows = self.rows[1:] if upward else self.rows[-2::-1]
            neighbours = self.below if upward else self.above
            positions = {node: i for row in self.rows for i, node in enumerate(row)}
            for row in rows:
                def middle(node):
                    near = [positions[other] for other in neighbours.get(node, [])]
                    return sum(near) / len(near) if near else positions[node]
                # Rooms that share a middle change sides every other time, for another try.
                row.sort(key=lambda node: (middle(node), positions[node] * (1 if turn % 4 < 2 else -1)))
                positions.update({node: i for i, node in enumerate(row)})
            count = self.crossings()
            if best is None or count < best[0]:
                best = count, [list(row) for row in self.rows]
        self.rows = best[1]
        self.swap_neighbours()

    def swap_neighbours(self):
        count, improved = self.crossings(), True
        while improved:
            improved = False
            for row in self.rows:
                for i in range(len(row)):
                    for j in range(i + 1, len(row)):
                        row[i], row[j] = row[j], row[i]
                        now = self.crossings()
                        if now < count:
                            count, improved = now, True
                        else:
                            row[i], row[j] = row[j], row[i]

    def crossings(self):
        positions = {node: i for row in self.rows for i, node in enumerate(row)}
        count = 0
        for row in self.rows:
            lines = [(positions[node], positions[other]) for node in row for other in self.below.get(node, [])]
            count += sum((a - c) * (b - d) < 0 for i, (a, b) in enumerate(lines) for c, d in lines[:i])
        return count

    @staticmethod
    def width(node):
        return COLUMN if isinstance(node, str) else 26

    def place(self):
        self.x = {}
        for row in self.rows:
            at = 0
            for node in row:
                self.x[node] = at + self.width(node) / 2
                at += self.width(node)
        for turn in range(200):
            for row in self.rows if turn % 2 else reversed(self.rows):
                self.pull(row)
        left = min(x - self.width(node) / 2 for node, x in self.x.items())
        self.x = {node: x - left + MARGIN for node, x in self.x.items()}

    def pull(self, row):
        """Moves each node of a row to the middle of its neighbours, as far as there is room."""
        for i, node in enumerate(row):
            near = self.above.get(node, []) + self.below.get(node, [])
            if not near:
                continue
            x = sum(self.x[other] for other in near) / len(near)
            gap = lambda other: (self.width(node) + self.width(other)) / 2
            if i > 0:
                x = max(x, self.x[row[i - 1]] + gap(row[i - 1]))
            if i + 1 < len(row):
                x = min(x, self.x[row[i + 1]] - gap(row[i + 1]))
            self.x[node] = x

    def y(self, rank):
        return MARGIN + (len(self.rows) - 1 - rank) * ROW

    def size(self):
        right = max(x + self.width(node) / 2 for node, x in self.x.items())
        return right + MARGIN, len(self.rows) * ROW - (ROW - BOX_HEIGHT) + 2 * MARGIN


def ports(layout):
    """Where each arrow leaves and meets its rooms: side by side, in the order of where they lead."""
    leaving, meeting = {}, {}
    for edge, way in layout.ways.items():
        leaving.setdefault(edge[0], []).append((layout.x[way[1]], edge))
        meeting.setdefault(edge[1], []).append((layout.x[way[-2]], edge))

    def spread(arrows_of_rooms):
        found = {}
        for room, ends in arrows_of_rooms.items():
            step = min(34, (BOX_WIDTH - 30) / max(len(ends) - 1, 1))
            for i, (_, edge) in enumerate(sorted(ends)):
                found[edge] = layout.x[room] + (i - (len(ends) - 1) / 2) * step
        return found

    return spread(leaving), spread(meeting)


def draw_way(layout, edge, ranks, leaving, meeting):
    way = layout.ways[edge]
    points = [(leaving[edge], layout.y(ranks[edge[0]]) + BOX_HEIGHT)]
    for node in way[1:-1]:
        top = layout.y(node[1])
        points += [(layout.x[node], top), (layout.x[node], top + BOX_HEIGHT)]
    points.append((meeting[edge], layout.y(ranks[edge[1]]) - 7))
    path = f"M{points[0][0]:.0f},{points[0][1]:.0f}"
    for (x0, y0), (x1, y1) in zip(points, points[1:]):
        half = (y0 + y1) / 2
        path += f" C{x0:.0f},{half:.0f} {x1:.0f},{half:.0f} {x1:.0f},{y1:.0f}"
    return f'<path d="{path}"/>'


def draw_room(layout, room, rank):
    x, y = layout.x[room], layout.y(rank)
    color = COLORS.get(room.split("/")[0], CORE)
    return (f'<rect x="{x - BOX_WIDTH / 2:.0f}" y="{y:.0f}" width="{BOX_WIDTH}" height="{BOX_HEIGHT}" rx="5" fill="{color}"/>'
            f'<text x="{x:.0f}" y="{y + 22:.0f}" class="room">{escape(room)}</text>')


def drawing():
    listed, annexes = floors()
    levels = {room: level for level, floor in enumerate(listed) for room in floor}
    levels |= {annex: len(listed) for annex in annexes}
    targets = includes()
    check_direction(levels, targets)
    edges = arrows(targets)
    rooms = sorted(targets, key=lambda room: (levels[room], room))
    ranks = rank_rooms(rooms, edges)
    layout = Layout(ranks, edges)
    width, height = layout.size()
    legend = [("the core: standard library, POSIX, no Qt", CORE), ("Qt", COLORS["ui"]), ("quillmor-cli", COLORS["cli"])]
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height + 30:.0f}" '
             f'font-family="DejaVu Sans, sans-serif" text-anchor="middle">',
             '<style>.room{font-size:13px;fill:#fff;font-weight:bold}'
             '.legend{font-size:12px;fill:#333;text-anchor:start}</style>',
             '<defs><marker id="tip" viewBox="0 0 8 8" refX="1" refY="4" markerWidth="7" markerHeight="7" orient="auto">'
             '<path d="M0,0 L8,4 L0,8 z" fill="#666"/></marker></defs>',
             f'<rect width="{width:.0f}" height="{height + 30:.0f}" fill="#fbfaf7"/>',
             '<g fill="none" stroke="#666" stroke-width="1.4" marker-end="url(#tip)">',
             *(draw_way(layout, edge, ranks, *ports(layout)) for edge in edges), "</g>",
             *(draw_room(layout, room, ranks[room]) for room in rooms)]
    at = MARGIN
    for text, color in legend:
        parts.append(f'<rect x="{at}" y="{height:.0f}" width="14" height="14" rx="3" fill="{color}"/>'
                     f'<text x="{at + 20}" y="{height + 12:.0f}" class="legend">{text}</text>')
        at += 44 + 7 * len(text)
    return "\n".join([*parts, "</svg>", ""])


if __name__ == "__main__":
    drawn = drawing()
    if sys.argv[1:] == ["--check"]:
        if DRAWING.read_text() != drawn:
            sys.exit("docs/house.svg is out of date; run docs/draw-house.py")
    else:
        DRAWING.write_text(drawn)
