"""One run: launches of some subsystems, as a document."""
import datetime
import sys

from report import document as documents
from report import launch, library, machine


def measure(names, launches, bench, build):
    """Launch after launch of everything, so that what disturbs one minute disturbs one launch."""
    now = datetime.datetime.now(datetime.timezone.utc)
    about = machine.describe() | {"load_before": machine.load()}
    sides = {name: [] for name in names}
    failures = {name: [] for name in names}
    for number in range(1, launches + 1):
        for name in names:
            print(f"-- launch {number} of {launches}: {name}", file=sys.stderr, flush=True)
            sides[name].append(launch.launch(name, bench, build, failures[name]))
    about["load_after"] = machine.load()
    notes = next((ours.notes for pairs in sides.values() for ours, _ in pairs if ours.notes), {})
    return {
        "schema": documents.SCHEMA,
        "taken": now.strftime("%Y-%m-%d %H:%M UTC"),
        "launches": launches,
        "machine": about,
        "library": library.describe(bench.parent, build)
        | {"compiler": notes.get("compiler"), "level": notes.get("level")},
        "subsystems": [documents.subsystem(name, sides[name], failures[name]) for name in names],
    }
