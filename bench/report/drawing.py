"""The ratios as a drawing: a bar per case on a logarithmic axis, with a line at 1."""
import math
from xml.sax.saxutils import escape

LEFT, WIDTH, RIGHT = 250, 560, 70  # of the bars' field, and beside it
ROW, TOP = 16, 62
STYLE = """
text { font: 11px sans-serif; fill: #24292f }
.head { font-weight: bold }
.value { fill: #57606a }
.grid { stroke: #d0d7de }
.one { stroke: #24292f; stroke-width: 1.5 }
.faster { fill: #2f81c7 }
.slower { fill: #d9822b }
.launches { stroke: #24292f }
.page { fill: #ffffff }
@media (prefers-color-scheme: dark) {
  text { fill: #e6edf3 }
  .value { fill: #9da7b1 }
  .grid { stroke: #30363d }
  .one, .launches { stroke: #e6edf3 }
  .page { fill: #0d1117 }
}
"""


class Axis:
    """A logarithmic axis that holds all values and 1, from one of 1, 2, 5 to another."""

    def __init__(self, values):
        lowest, highest = min([*values, 0.5]), max([*values, 2])
        steps = [step * 10.0**power for power in range(-6, 7) for step in (1, 2, 5)]
        first = max(value for value in steps if value <= max(lowest, steps[0]))
        last = min(value for value in steps if value >= min(highest, steps[-1]))
        self.ticks = [value for value in steps if first <= value <= last]

    def position(self, value):
        first, last = math.log(self.ticks[0]), math.log(self.ticks[-1])
        part = (math.log(value) - first) / (last - first)
        return LEFT + WIDTH * min(max(part, 0), 1)


def label(x, y, text, anchor, kind):
    return f'<text x="{x:.1f}" y="{y}" text-anchor="{anchor}" class="{kind}">{escape(text)}</text>'


def line(x1, y1, x2, y2, kind):
    return f'<line x1="{x1:.1f}" y1="{y1}" x2="{x2:.1f}" y2="{y2}" class="{kind}"/>'


def grid(axis, bottom):
    for tick in axis.ticks:
        x = axis.position(tick)
        yield line(x, TOP - 8, x, bottom, "one" if tick == 1 else "grid")
        yield label(x, TOP - 14, f"{tick:g}", "middle", "value")


def bar(axis, case, y):
    ratio = case["ratio"]
    one, end = axis.position(1), axis.position(ratio["median"])
    known = [value for value in ratio["launches"] if value is not None]
    yield label(LEFT - 8, y + 11, f"{case['name']} {case['elements']:,}", "end", "case")
    yield (f'<rect x="{min(one, end):.1f}" y="{y + 2}" width="{abs(end - one):.1f}" '
           f'height="{ROW - 5}" class="{"faster" if ratio["median"] < 1 else "slower"}"/>')
    if len(known) > 1:
        middle = y + ROW / 2 - 0.5
        yield line(axis.position(min(known)), middle, axis.position(max(known)), middle, "launches")
    right = max(one, *map(axis.position, known)) + 6
    yield label(right, y + 11, f"{ratio['median']:.2f}", "start", "value")


def svg(document):
    parts = [(part["name"], [case for case in part["cases"] if case["ratio"]["median"] is not None])
             for part in document["subsystems"]]
    axis = Axis([value for _, cases in parts for case in cases
                 for value in case["ratio"]["launches"] if value is not None])
    marks, y = [], TOP
    for name, cases in parts:
        if not cases:
            continue
        marks.append(label(8, y + 11, name, "start", "head"))
        y += ROW
        for case in cases:
            marks += bar(axis, case, y)
            y += ROW
        y += ROW // 2
    machine = document["machine"]
    head = [label(8, 18, "our time / the peer's, below 1 we are faster", "start", "head"),
            label(8, 34, f"{machine['cpu']}, level {document['library']['level']}, "
                  f"{document['taken']}", "start", "value")]
    width = LEFT + WIDTH + RIGHT
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {y + 8}" '
                      f'width="{width}" height="{y + 8}">', f"<style>{STYLE}</style>",
                      '<rect width="100%" height="100%" class="page"/>',
                      *head, *grid(axis, y), *marks, "</svg>"]) + "\n"
