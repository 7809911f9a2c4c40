"""RESULTS.md: the figures of a run for those who have not run it."""
from report import words

HEAD = """# Figures

Our times beside those of established libraries, one processor each: a ratio below 1 means that we
are faster. Both sides' results were compared before the times were taken. What was measured and how
is said in [README.md](README.md); this page is written by `./dev bench --results`.

![Ratios on a logarithmic axis](results.svg)
"""
TABLE = """
| case | elements | ours | peer | ratio | launches | results | memory | peer's name |
|---|--:|--:|--:|--:|--:|---|--:|---|"""
LEGEND = """
Times and ratios are medians over the launches; "launches" holds the lowest and the highest ratio of
them. "memory" is the peak of memory during a call over the size of its result, where that is large.
"""


def row(case):
    cells = (case["name"], f"{case['elements']:,}", words.time(case["ours_ns"]["median"]),
             words.time(case["peer_ns"]["median"]), words.ratio(case["ratio"]["median"]),
             words.spread(case["ratio"]), words.results(case["agree"]),
             words.ratio(case["memory"]), case["peer"] or words.NONE)
    return f"| {' | '.join(cells)} |"


def text(document):
    lines = [HEAD, "| | |", "|---|---|"]
    lines += [f"| {word} | {what} |" for word, what in words.circumstances(document)]
    lines += [LEGEND, words.verdict(document)]
    for part in document["subsystems"]:
        lines += ["", f"## {part['name']}"]
        lines += [f"\n**Failed:** {failure}" for failure in part["failures"]]
        lines += [TABLE, *(row(case) for case in part["cases"])]
    return "\n".join(lines) + "\n"
