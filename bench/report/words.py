"""Figures and the circumstances of a run in words, for the table and for RESULTS.md."""
from report import document as documents

NONE = "-"


def time(ns):
    if ns is None:
        return NONE
    for limit, unit in ((1e6, "ms"), (1e3, "us")):
        if ns >= limit:
            return f"{ns / limit:.2f} {unit}"
    return f"{ns:.0f} ns"


def ratio(value):
    return NONE if value is None else f"{value:.2f}"


def spread(summary):
    """The lowest and the highest of several launches."""
    if summary["spread"] is None:
        return NONE
    known = [value for value in summary["launches"] if value is not None]
    return f"{ratio(min(known))}..{ratio(max(known))}"


def results(agree):
    return NONE if agree is None else "agree" if agree else "DIFFER"


def size(text):
    """The kernel's "32768K" as "32 MiB"."""
    kibibytes = int(text.removesuffix("K")) if text.endswith("K") else 0
    if not kibibytes:
        return text
    return f"{kibibytes} KiB" if kibibytes % 1024 else f"{kibibytes // 1024} MiB"


def circumstances(document):
    """Pairs of a word and what it stands for."""
    machine, library = document["machine"], document["library"]
    caches = ", ".join(f"{name} {size(what)}" for name, what in machine["caches"].items())
    commit = f"commit {library['commit']}" if library["commit"] else "commit unknown"
    yield "taken", f"{document['taken']}, launches: {document['launches']}"
    yield "machine", ", ".join(filter(None, [
        machine["cpu"], f"processors: {machine['processors']}", caches]))
    yield "load", f"{machine['load_before']} before, {machine['load_after']} after"
    yield "system", f"{machine['kernel']}, {machine['system']}"
    yield "library", (f"{library['version']}, {commit}"
                      + (" with changes" if library["modified"] else ""))
    yield "compiler", f"{library['compiler']}, {library['flags']}"
    yield "level", f"{library['level']}; this machine can run {', '.join(machine['levels'])}"
    yield "peers", ", ".join(documents.peers(document)) or "none"
    for text in documents.absent(document):
        yield "absent", text


def verdict(document):
    """How many of the compared cases are faster than their peers, in a sentence."""
    known = [row["ratio"]["median"] for part in document["subsystems"] for row in part["cases"]
             if row["ratio"]["median"] is not None]
    faster = sum(value < 1 for value in known)
    return f"Cases with a peer's figure: {len(known)}; faster than it: {faster}."
