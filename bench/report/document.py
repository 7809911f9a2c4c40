"""The document that is written as JSON: bench/README.md describes it."""
import json

from report import figures

SCHEMA = 1


def case(key, launches):
    """One row from the launches' (ours, peer) sides."""
    ours = [side.times.get(key) for side, _ in launches]
    peer = [side.times.get(key) for _, side in launches]
    agree = [side.agree[key] for _, side in launches if key in side.agree]
    memory = [side.memory[key] for side, _ in launches if side.memory.get(key) is not None]
    name, elements = key
    return {
        "name": name,
        "elements": elements,
        "peer": next((side.peers[key] for _, side in launches if key in side.peers), None),
        "ours_ns": figures.summary(ours),
        "peer_ns": figures.summary(peer),
        "ratio": figures.summary(figures.ratios(ours, peer)),
        "agree": all(agree) if agree else None,
        "memory": figures.summary(memory)["median"],
    }


def subsystem(name, launches, failures):
    """One subsystem from its launches, and what went wrong in them."""
    keys = list(dict.fromkeys(key for pair in launches for side in pair for key in side.times))
    cases = [case(key, launches) for key in keys]
    failures = list(dict.fromkeys(failures))
    failures += [f"{row['name']} {row['elements']}: the results differ from those of {row['peer']}"
                 for row in cases if row["agree"] is False]
    return {
        "name": name,
        "absent": list(dict.fromkeys(text for _, side in launches for text in side.absent)),
        "failures": failures,
        "cases": cases,
    }


def peers(document):
    """All peers with their versions, in the order of their first case."""
    return list(dict.fromkeys(row["peer"] for part in document["subsystems"]
                              for row in part["cases"] if row["peer"]))


def absent(document):
    return list(dict.fromkeys(text for part in document["subsystems"] for text in part["absent"]))


def failures(document):
    return [f"{part['name']}: {text}" for part in document["subsystems"]
            for text in part["failures"]]


def write(document, path):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(json.dumps(document, indent=1, allow_nan=False) + "\n")


def read(path):
    document = json.loads(path.read_text())
    if document.get("schema") != SCHEMA:
        raise ValueError(f"{path} has schema {document.get('schema')}, not {SCHEMA}")
    return document
