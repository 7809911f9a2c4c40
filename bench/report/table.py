"""The one table that a run prints."""
from report import document as documents
from report import words

ROW = "{:<24} {:>9} {:>10} {:>10} {:>7} {:>13}  {:<7} {:>6}  {}"
HEAD = ROW.format("case", "elements", "ours", "peer", "ratio", "launches", "results", "memory",
                  "peer")


def row(case):
    return ROW.format(
        case["name"], case["elements"], words.time(case["ours_ns"]["median"]),
        words.time(case["peer_ns"]["median"]), words.ratio(case["ratio"]["median"]),
        words.spread(case["ratio"]), words.results(case["agree"]), words.ratio(case["memory"]),
        case["peer"] or words.NONE).rstrip()


def text(document):
    lines = [f"{word:<9} {what}" for word, what in words.circumstances(document)]
    lines += ["", HEAD]
    for part in document["subsystems"]:
        lines += ["", part["name"]] + [row(case) for case in part["cases"]]
    lines += ["", words.verdict(document),
              "ratio: our time over the peer's; memory: peak over the size of the result"]
    lines += [f"FAILED    {failure}" for failure in documents.failures(document)]
    return "\n".join(lines)
