#!/usr/bin/python3
"""Unary functions and reductions by numpy, the peer of bench_reduce.

usage: reduce.py DIRECTORY   (where bench_reduce left samples of its results)

Compares the samples first, then prints times in the same form.
"""
import os
import statistics
import sys
import time
import timeit

for variable in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[variable] = "1"

import numpy as np


def bits(count, which):
    h = np.arange(count, dtype=np.uint32) * np.uint32(2654435761) + np.uint32(which * 40503)
    h = (h ^ (h >> np.uint32(15))) * np.uint32(2246822519)
    return h ^ (h >> np.uint32(13))


def real(count, which):
    part = (bits(count, which) >> np.uint32(9)).astype(np.float32)
    return np.float32(0.5) + part * np.float32(2.0**-23)


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


def read(directory, name, count, kind):
    return np.fromfile(os.path.join(directory, f"{name}.{count}"), dtype=kind)


def is_near(ours, theirs, tolerance):
    return ours.shape == theirs.shape and bool(
        np.all(np.abs(ours - theirs) <= tolerance * np.abs(theirs)))


def check_map(directory, name, count, result):
    """Within two roundings of each element; a square root is the same in every bit."""
    ours = read(directory, name, count, result.dtype)
    theirs = result[::max(1, count // 4096)]
    if name == "sqrt_float":
        return np.array_equal(ours, theirs)
    # What the peer computes in vectors may be off by a few units of the last place.
    return is_near(ours, theirs, 4 * np.finfo(result.dtype).eps)


def check_reduction(directory, name, count, result):
    """Integers and positions agree exactly; sums of reals as far as any order of adding goes."""
    ours = read(directory, name, count, np.float64)
    theirs = np.atleast_1d(np.array(result, dtype=np.float64))
    if name.startswith(("sum_u", "min_")):
        return np.array_equal(ours, theirs)
    return is_near(ours, theirs, count * np.finfo(np.float64).eps)


def nanoseconds(statement, names):
    timer = timeit.Timer(statement, timer=time.process_time, globals=names)
    calls = 1
    while timer.timeit(calls) < 2e-3:
        calls *= 2
    return statistics.median(t / calls for t in timer.repeat(15, calls)) * 1e9


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    for count in (100000, 1 << 24):
        names = inputs(count)
        for cases, check in ((MAPS, check_map), (REDUCTIONS, check_reduction)):
            for name, statement in cases.items():
                good = check(directory, name, count, eval(statement, names))
                print("check", name, count, "agree" if good else "DIFFER")
                print("time", name, count, f"{nanoseconds(statement, names):.4g}", flush=True)


main()
