#!/usr/bin/python3
"""Comparisons, mask logic and selection by numpy, the peer of bench_compare.

usage: compare.py DIRECTORY   (where bench_compare left samples of its results)

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


def check(directory, name, count, result):
    """Nothing is rounded here, so every bit agrees; a truth value is a byte, 0 or 1."""
    stride = max(1, count // 4096)
    ours = np.fromfile(os.path.join(directory, f"{name}.{count}"),
                       dtype=np.uint8 if result.dtype == bool else result.dtype)
    good = np.array_equal(ours, result[::stride].astype(ours.dtype))
    print("check", name, count, "agree" if good else "DIFFER")


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
        for name, statement in CASES.items():
            check(directory, name, count, eval(statement, names))
            print("time", name, count, f"{nanoseconds(statement, names):.4g}", flush=True)


main()
