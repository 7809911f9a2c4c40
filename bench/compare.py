#!/usr/bin/python3
"""Comparisons, mask logic and selection by numpy, the peer of bench_compare.

usage: compare.py DIRECTORY   (where bench_compare left samples of its results)

Compares the samples first, then prints times in the same form.
"""
import sys

from peer import bits, ours, real, report

import numpy as np


CASES = {
    "greater_number": "a > one",
    "less_arrays": "a < b",
    "equal_u16_number": "u == seven",
    "and": "bright & other",
    "select_arrays": "np.where(bright, a, b)",
    "select_number": "np.where(bright, a, zero)",
    "minimum_arrays": "np.minimum(a, b)",
    "clip_number": "np.maximum(a, one)",
}


def inputs(count):
    a, b = real(count, 1), real(count, 2)
    one = np.float32(1)
    return {
        "np": np, "a": a, "b": b, "one": one, "zero": np.float32(0),
        "u": (bits(count, 3) >> np.uint32(16)).astype(np.uint16), "seven": np.uint16(7),
        "bright": a > one, "other": b > one,
    }


def agrees(directory, name, count, result):
    """Nothing is rounded here, so every bit agrees; a truth value is a byte, 0 or 1."""
    kind = np.uint8 if result.dtype == bool else result.dtype
    return np.array_equal(ours(directory, name, count, kind),
                          result[::max(1, count // 4096)].astype(kind))


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    for count in (100000, 1 << 24):
        names = inputs(count)
        for name, statement in CASES.items():
            good = agrees(directory, name, count, eval(statement, names))
            report(name, count, good, statement, names)


main()
