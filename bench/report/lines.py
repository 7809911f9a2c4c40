"""The lines that a benchmark program or its peer prints, and what they say.

    note peer numpy 1.24.2        whose figures follow
    note absent OpenCV ...        a peer that is not installed
    note level v3                 anything else about the side that speaks
    check add_float 1000 agree    whether the results are ours (agree, DIFFER)
    time add_float 1000 123.4     nanoseconds
    memory add_float 1000 1.00    peak memory over that of the result
"""
import math


class Side:
    """What one side said in one launch. Cases are named by (name, elements)."""

    def __init__(self):
        self.notes = {}
        self.absent = []
        self.times = {}
        self.agree = {}
        self.memory = {}
        self.peers = {}


def figure(text):
    """A positive finite number, or None: nothing takes no time, and NaN is no measurement."""
    try:
        value = float(text)
    except ValueError:
        return None
    return value if math.isfinite(value) and value > 0 else None


def read(lines):
    side = Side()
    for line in lines:
        words = line.split()
        if len(words) >= 3 and words[0] == "note":
            text = " ".join(words[2:])
            if words[1] == "absent":
                side.absent.append(text)
            else:
                side.notes[words[1]] = text
        elif len(words) == 4 and words[2].isdigit():
            key = (words[1], int(words[2]))
            if words[0] == "time":
                side.times[key] = figure(words[3])
                side.peers[key] = side.notes.get("peer")
            elif words[0] == "check":
                side.agree[key] = words[3] == "agree"
            elif words[0] == "memory":
                side.memory[key] = figure(words[3])
    return side
