#!/usr/bin/python3
"""Unary functions and reductions by numpy, the peer of bench_reduce.

usage: reduce.py DIRECTORY   (where bench_reduce left samples of its results)

Compares the samples first, then prints times in the same form.
"""
import sys

from peer import bits, ours, real, report

import numpy as np


def minimum(a):
    index = a.argmin()
    return a[index], index


MAPS = {
    "sqrt_float": "np.sqrt(a)",
    "exp_double": "np.exp(d)",
    "log_double": "np.log(d)",
    "sin_double": "np.sin(d)",
    "pow_double": "np.power(d, 2.5)",
}
REDUCTIONS = {
    "sum_float": "a.sum(dtype=np.float64)",
    "min_position_float": "minimum(a)",
    "mean_variance_float": "(a.mean(dtype=np.float64), a.var(dtype=np.float64, ddof=1))",
    "sum_u8": "u.sum()",
    "sum_u16": "v.sum()",
}


def inputs(count):
    return {
        "np": np, "minimum": minimum,
        "a": real(count, 1),
        "u": (bits(count, 3) >> np.uint32(24)).astype(np.uint8),
        "v": (bits(count, 4) >> np.uint32(16)).astype(np.uint16),
        "d": real(count, 5).astype(np.float64),
    }


def is_near(sample, theirs, tolerance):
    return sample.shape == theirs.shape and bool(
        np.all(np.abs(sample - theirs) <= tolerance * np.abs(theirs)))


def check_map(directory, name, count, result):
    """Within two roundings of each element; a square root is the same in every bit."""
    sample = ours(directory, name, count, result.dtype)
    theirs = result[::max(1, count // 4096)]
    if name == "sqrt_float":
        return np.array_equal(sample, theirs)
    # What the peer computes in vectors may be off by a few units of the last place.
    return is_near(sample, theirs, 4 * np.finfo(result.dtype).eps)


def check_reduction(directory, name, count, result):
    """Integers and positions agree exactly; sums of reals as far as any order of adding goes."""
    sample = ours(directory, name, count, np.float64)
    theirs = np.atleast_1d(np.array(result, dtype=np.float64))
    if name.startswith(("sum_u", "min_")):
        return np.array_equal(sample, theirs)
    return is_near(sample, theirs, count * np.finfo(np.float64).eps)


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    for count in (100000, 1 << 24):
        names = inputs(count)
        for cases, check in ((MAPS, check_map), (REDUCTIONS, check_reduction)):
            for name, statement in cases.items():
                good = check(directory, name, count, eval(statement, names))
                report(name, count, good, statement, names)


main()
