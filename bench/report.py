"""What the benchmarks and their peers say, as one document, one table and one figure.

A side prints lines; what is none of these is skipped:

    note peer numpy 1.24.2        whose figures follow
    note absent OpenCV ...        a peer that is not installed
    note level v3                 anything else about the side that speaks
    check add_float 1000 agree    whether the results are ours (agree, DIFFER)
    time add_float 1000 123.4     nanoseconds
    memory add_float 1000 1.00    peak memory over that of the result
"""
import math
import statistics

SCHEMA = 3


def number(text):
    """A positive finite number, or None: nothing takes no time, and NaN is no measurement."""
    try:
        value = float(text)
    except ValueError:
        return None
    return value if math.isfinite(value) and value > 0 else None


def side(lines):
    """What one side said in one launch; cases are named by (name, elements)."""
    said = {"notes": {}, "absent": [], "peer": {}, "time": {}, "check": {}, "memory": {}}
    for words in map(str.split, lines):
        if len(words) >= 3 and words[0] == "note":
            text = " ".join(words[2:])
            if words[1] == "absent":
                said["absent"].append(text)
            else:
                said["notes"][words[1]] = text
        elif len(words) == 4 and words[0] in ("time", "check", "memory") and words[2].isdigit():
            key = (words[1], int(words[2]))
            if words[0] == "check":  # of several peers, each has to agree
                said["check"][key] = words[3] == "agree" and said["check"].get(key, True)
            else:
                said[words[0]][key] = number(words[3])
            said["peer"].setdefault(key, said["notes"].get("peer"))
    return said


def median(values):
    known = [value for value in values if value is not None]
    return statistics.median(known) if known else None


def verdict(ratios):
    """Whether we are faster, as far as all launches say the same; None without a figure."""
    known = [ratio for ratio in ratios if ratio is not None]
    if not known:
        return None
    return "faster" if max(known) < 1 else "slower" if min(known) > 1 else "undecided"


def case(key, launches):
    """One case from the launches' (ours, peer's) sides; a launch without a figure keeps its place."""
    ours = [mine["time"].get(key) for mine, _ in launches]
    peers = [peer["time"].get(key) for _, peer in launches]
    ratios = [a / b if a and b else None for a, b in zip(ours, peers)]
    agree = [peer["check"][key] for _, peer in launches if key in peer["check"]]
    return {"name": key[0], "elements": key[1],
            "peer": next((peer["peer"][key] for _, peer in launches if key in peer["time"]), None),
            "ours_ns": median(ours), "peer_ns": median(peers), "ratio": median(ratios),
            "launches": ratios, "verdict": verdict(ratios), "agree": all(agree) if agree else None,
            "memory": median(mine["memory"].get(key) for mine, _ in launches)}


def subsystem(name, taken, launches, failures):
    """One subsystem: when and how it was measured, its launches, and what went wrong in them."""
    keys = dict.fromkeys(key for pair in launches for said in pair for key in said["time"])
    cases = [case(key, launches) for key in keys]
    differ = [f"{row['name']} {row['elements']}: the results differ from those of {row['peer']}"
              for row in cases if row["agree"] is False]
    return {"name": name, "taken": taken, "cases": cases, "failures": list(dict.fromkeys(failures)) + differ,
            "absent": list(dict.fromkeys(text for _, peer in launches for text in peer["absent"]))}


def merged(document, earlier):
    """A document with the subsystems that only an earlier one has, if that is of the same circumstances."""
    if earlier.get("schema") != SCHEMA or earlier["about"] != document["about"]:
        return document
    parts = {part["name"]: part for part in earlier["subsystems"] + document["subsystems"]}
    return document | {"subsystems": [parts[name] for name in sorted(parts)]}


def failures(document):
    return [f"{part['name']}: {text}" for part in document["subsystems"] for text in part["failures"]]


def time(ns):
    for limit, unit in ((1e6, "ms"), (1e3, "us")):
        if ns is not None and ns >= limit:
            return f"{ns / limit:.2f} {unit}"
    return "-" if ns is None else f"{ns:.0f} ns"


def ratio(value):
    return "-" if value is None else f"{value:.2f}" if value >= 0.1 else f"{value:.2g}"


HEAD = ("case", "elements", "ours", "peer", "ratio", "launches", "verdict", "results", "memory", "peer's name")


def cells(row):
    known = [value for value in row["launches"] if value is not None]
    return (row["name"], f"{row['elements']:,}", time(row["ours_ns"]), time(row["peer_ns"]), ratio(row["ratio"]),
            f"{ratio(min(known))}..{ratio(max(known))}" if len(known) > 1 else "-", row["verdict"] or "-",
            {None: "-", True: "agree", False: "DIFFER"}[row["agree"]], ratio(row["memory"]), row["peer"] or "-")


def table(document):
    """The figures as Markdown that reads well as it stands: circumstances, then a table per subsystem."""
    peers = [row["peer"] for part in document["subsystems"] for row in part["cases"] if row["peer"]]
    lines = [f"- {word}: {what}" for word, what in document["about"].items()]
    lines += [f"- absent: {text}" for part in document["subsystems"] for text in part["absent"]]
    lines += [f"- **failed**: {text}" for text in failures(document)]
    lines.append(f"- peers: {', '.join(dict.fromkeys(peers)) or 'none'}")
    rows = [[HEAD, *map(cells, part["cases"])] for part in document["subsystems"]]
    widths = [max(map(len, column)) for column in zip(*sum(rows, []))]
    left = [0, 6, 7, 9]  # columns of words
    for part, (head, *body) in zip(document["subsystems"], rows):
        rule = ["-" * (width - 1) + ("-" if i in left else ":") for i, width in enumerate(widths)]
        lines += ["", f"## {part['name']}", "", f"Taken {part['taken']}.", ""]
        for row in (head, rule, *body):
            padded = (text.ljust(width) if i in left else text.rjust(width)
                      for i, (text, width) in enumerate(zip(row, widths)))
            lines.append(f"| {' | '.join(padded)} |")
    verdicts = [row["verdict"] for part in document["subsystems"] for row in part["cases"] if row["verdict"]]
    counts = ", ".join(f"{word}: {verdicts.count(word)}" for word in ("faster", "undecided", "slower"))
    return "\n".join([*lines, "", f"Cases with a peer's figure: {len(verdicts)}; {counts}."]) + "\n"


COLOURS = {"faster": "#2f81c7", "undecided": "#8c959f", "slower": "#d9822b"}


def draw(document, path):
    """The ratios on a logarithmic axis, with the range of the launches; False where there is nothing to
    draw or nothing to draw it with."""
    parts = [(part["name"], [row for row in part["cases"] if row["verdict"]]) for part in document["subsystems"]]
    parts = [(name, rows) for name, rows in parts if rows]
    try:
        import matplotlib
    except ImportError:
        return False
    if not parts:
        return False
    matplotlib.use("svg")
    matplotlib.rcParams.update({"svg.hashsalt": "ratios", "svg.fonttype": "none", "font.size": 8})
    from matplotlib import pyplot
    counts = [len(rows) for _, rows in parts]
    figure, axes = pyplot.subplots(len(parts), sharex=True, squeeze=False, figsize=(8, 0.16 * sum(counts) + 0.5 * len(parts)),
                                   gridspec_kw={"height_ratios": [count + 0.5 for count in counts]}, layout="constrained")
    for axis, (name, rows) in zip(axes[:, 0], parts):
        known = [[value for value in row["launches"] if value is not None] for row in rows]
        colours = [COLOURS[row["verdict"]] for row in rows]
        axis.hlines(range(len(rows)), list(map(min, known)), list(map(max, known)), colours, linewidth=3, alpha=0.5)
        axis.scatter([row["ratio"] for row in rows], range(len(rows)), s=16, c=colours, zorder=3)
        axis.axvline(1, color="black", linewidth=0.8)
        axis.set(xscale="log", title=name, yticks=range(len(rows)),
                 yticklabels=[f"{row['name']} {row['elements']:,}" for row in rows])
        axis.set_ylim(len(rows) - 0.25, -0.75)
        axis.grid(axis="x", linewidth=0.3)
        axis.minorticks_off()
    axes[-1, 0].set_xlabel("our time / the peer's, below 1 we are faster; grey: launches on both sides of 1")
    figure.savefig(path, metadata={"Date": None})
    pyplot.close(figure)
    return True
