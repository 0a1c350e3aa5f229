"""The performance table as a bar chart: how many times as fast as a peer we are, on a logarithmic
scale, in SVG that follows the reader's choice of a light or a dark page.
"""

import math
from html import escape

LABELS = 330  # width of the column of titles
PLOT = 560  # width of the scale
VALUES = 60  # room for a number behind the longest bar
WIDTH = LABELS + PLOT + VALUES
NUMBER = 32  # width of a number
BAR = 9
GAP = 8
HEAD = 84
FOOT = 34
SPEEDS = (1 / 20, 1 / 10, 1 / 5, 1 / 2, 1, 2, 5, 10, 20)

STYLE = """
:root { color-scheme: light dark; }
svg { font: 12px system-ui, -apple-system, "Segoe UI", Roboto, sans-serif; }
.page { fill: #ffffff; }
text { fill: #1f2328; }
.soft { fill: #656d76; }
.small { font-size: 10px; }
.title { font-size: 17px; font-weight: 600; }
.grid { stroke: #d8dee4; }
.one { stroke: #656d76; stroke-width: 1.5; }
.b64 { fill: #0969da; }
.b32 { fill: #1b7c83; }
.slow { opacity: 0.45; }
.goal { stroke: #bc4c00; stroke-width: 2; }
@media (prefers-color-scheme: dark) {
  .page { fill: #0d1117; }
  text { fill: #e6edf3; }
  .soft { fill: #8d96a0; }
  .grid { stroke: #30363d; }
  .one { stroke: #8d96a0; }
  .b64 { fill: #58a6ff; }
  .b32 { fill: #39c5cf; }
  .goal { stroke: #f0883e; }
}
"""


def x_of(speed):
    """Where a speed stands; speeds beyond the ends of the scale stand at its ends."""
    low, high = math.log(SPEEDS[0]), math.log(SPEEDS[-1])
    place = (math.log(speed) - low) / (high - low)
    return LABELS + PLOT * min(max(place, 0), 1)


def number(speed):
    return f"{speed:.2f}" if speed < 10 else f"{speed:.0f}"


def text(x, y, content, classes="", anchor="start"):
    return (
        f'<text x="{x:.1f}" y="{y:.1f}" class="{classes}" text-anchor="{anchor}">'
        f"{escape(content)}</text>"
    )


def line(x, top, bottom, classes):
    return f'<line x1="{x:.1f}" y1="{top:.1f}" x2="{x:.1f}" y2="{bottom:.1f}" class="{classes}"/>'


def label_x(right, comparison):
    """Where the number stands: behind the bar, and behind the goal where that would cross it."""
    goal = x_of(comparison.goal) if comparison.goal else 0
    return 5 + (goal if right - 2 <= goal < right + NUMBER else right)


def bar(comparison, y):
    """The bar of one comparison, from 1 to its speed, with its goal and its number."""
    speed = comparison.speed
    left, right = sorted((x_of(1), x_of(speed)))
    classes = f"b{comparison.bits}" + (" slow" if speed < 1 else "")
    label = f"{comparison.row.title}, {comparison.bits} bit: {number(speed)} x {comparison.peer}"
    parts = [
        f'<rect x="{left:.1f}" y="{y:.1f}" width="{max(right - left, 1):.1f}" height="{BAR}" rx="2"'
        f' class="{classes}"><title>{escape(label)}</title></rect>'
    ]
    if comparison.goal:
        parts.append(line(x_of(comparison.goal), y - 1, y + BAR + 1, "goal"))
    parts.append(text(label_x(right, comparison), y + BAR - 1, number(speed), "small soft"))
    return "".join(parts)


def groups_of(lines):
    """What is shown: of each row the first comparison in each pointer size, by row."""
    groups = {}
    for comparison in lines:
        sizes = groups.setdefault(comparison.row.id, {})
        sizes.setdefault(comparison.bits, comparison)
    return [list(sizes.values()) for sizes in groups.values()]


def scale(bottom):
    parts = []
    for speed in SPEEDS:
        x = x_of(speed)
        name = f"{speed:.0f}" if speed >= 1 else f"1/{1 / speed:.0f}"
        parts.append(line(x, HEAD - 8, bottom, "one" if speed == 1 else "grid"))
        parts.append(text(x, HEAD - 14, name, "small soft", "middle"))
        parts.append(text(x, bottom + 14, name, "small soft", "middle"))
    return parts


def legend():
    parts = [text(16, 28, "Speed relative to a peer", "title")]
    parts.append(text(16, 48, "right of 1: nuriccl is faster; each row names the peer", "soft"))
    x = LABELS + PLOT - 250
    for classes, name, width in (("b64", "64 bit", 70), ("b32", "32 bit", 70)):
        parts.append(f'<rect x="{x}" y="20" width="14" height="{BAR}" rx="2" class="{classes}"/>')
        parts.append(text(x + 20, 29, name))
        x += width
    parts.append(line(x + 6, 18, 31, "goal"))
    parts.append(text(x + 14, 29, "goal"))
    return parts


def group(comparisons, y):
    """The title of a row with its peer, and its bars."""
    height = len(comparisons) * (BAR + 1)
    peers = list(dict.fromkeys(comparison.peer for comparison in comparisons))
    middle = y + height / 2
    return [
        text(LABELS - 10, middle - 1, comparisons[0].row.title, "", "end"),
        text(LABELS - 10, middle + 10, " / ".join(peers), "small soft", "end"),
        *(bar(comparison, y + i * (BAR + 1)) for i, comparison in enumerate(comparisons)),
    ]


def draw(lines):
    """The chart of the table's lines."""
    y = HEAD
    bars = []
    for comparisons in groups_of(lines):
        bars += group(comparisons, y)
        y += 2 * (BAR + 1) + GAP
    height = y + FOOT
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}"'
        f' height="{height}" role="img" aria-label="Speed of nuriccl relative to its peers">',
        f"<style>{STYLE}</style>",
        f'<rect class="page" width="{WIDTH}" height="{height}"/>',
        *legend(),
        *scale(y),
        *bars,
        "</svg>",
    ]
    return "\n".join(parts) + "\n"
