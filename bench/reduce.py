#!/usr/bin/python3
"""Reductions by numpy, the peer of bench_reduce.

usage: reduce.py DIRECTORY   (where bench_reduce left samples of its results)

Compares the samples first, then prints times in the same form.
"""
import sys

from peer import bits, ours, real, report

import numpy as np


def minimum(a):
    index = a.argmin()
    return a[index], index


def maximum(image):
    y, x = np.unravel_index(image.argmax(), image.shape)
    return image[y, x], x, y


CASES = {
    "sum_float": "a.sum(dtype=np.float64)",
    "min_position_float": "minimum(a)",
    "mean_variance_float": "(a.mean(dtype=np.float64), a.var(dtype=np.float64, ddof=1))",
    "sum_u8": "u.sum()",
    "sum_u16": "v.sum()",
    "minmax_u16": "(v.min(), v.max())",
}


def inputs(count):
    return {
        "np": np, "minimum": minimum,
        "a": real(count, 1),
        "u": (bits(count, 3) >> np.uint32(24)).astype(np.uint8),
        "v": (bits(count, 4) >> np.uint32(16)).astype(np.uint16),
    }


def agrees(directory, name, count, result):
    """Integers and positions agree exactly; sums of reals as far as any order of adding goes."""
    sample = ours(directory, name, count, np.float64)
    theirs = np.atleast_1d(np.array(result, dtype=np.float64))
    if name.startswith(("sum_u", "min", "max")):
        return np.array_equal(sample, theirs)
    return sample.shape == theirs.shape and bool(
        np.all(np.abs(sample - theirs) <= count * np.finfo(np.float64).eps * np.abs(theirs)))


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    for count in (100000, 1 << 24):
        names = inputs(count)
        for name, statement in CASES.items():
            report(name, count, agrees(directory, name, count, eval(statement, names)), statement,
                   names)
    side = 2048
    image = real(side * side, 1).reshape(side, side)
    name = "max_position_image"
    report(name, image.size, agrees(directory, name, image.size, maximum(image)),
           lambda: maximum(image))


main()
