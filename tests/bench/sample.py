"""Made-up figures: three launches of a subsystem beside its peer, and one without a peer."""
from report import lines

OURS = """\
note level v3
note compiler g++ 12.2.0
time add 1000 {add}
time bare 1000 50
memory add 1000 1.5
"""
PEER = """\
note peer numpy 1.0
check add 1000 agree
time add 1000 {add}
"""


def launches(*times):
    """A launch per pair of our and the peer's time of the case "add"."""
    return [(lines.read(OURS.format(add=ours).splitlines()),
             lines.read(PEER.format(add=peer).splitlines())) for ours, peer in times]


def alone():
    """A launch whose peer is not installed."""
    return [(lines.read(["time fit 20 3e6"]), lines.read(["note absent Ceres is not installed"]))]


def document(*subsystems):
    return {
        "schema": 1,
        "taken": "2030-01-02 03:04 UTC",
        "launches": 3,
        "machine": {"cpu": "Some CPU", "processors": 2, "caches": {"L1d": "32K", "L3": "32768K"},
                    "kernel": "Linux 6.1", "system": "Debian", "levels": ["baseline", "v3"],
                    "load_before": 0.1, "load_after": 1.0},
        "library": {"version": "1.2.3", "commit": "abc1234", "modified": True, "flags": "-O3",
                    "compiler": "g++ 12.2.0", "level": "v3"},
        "subsystems": list(subsystems),
    }
