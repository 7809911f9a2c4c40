#!/usr/bin/python3
"""Element-wise arithmetic by numpy, the peer of bench_binary.

usage: binary.py DIRECTORY   (where bench_binary left samples of its results)

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

SMALLEST = np.float32(2.0**-126)


def bits(count, which):
    h = np.arange(count, dtype=np.uint32) * np.uint32(2654435761) + np.uint32(which * 40503)
    h = (h ^ (h >> np.uint32(15))) * np.uint32(2246822519)
    return h ^ (h >> np.uint32(13))


def real(count, which):
    part = (bits(count, which) >> np.uint32(9)).astype(np.float32)
    return np.float32(0.5) + part * np.float32(2.0**-23)


def short(count, which):
    return (bits(count, which) >> np.uint32(16)).astype(np.uint16)


def divide(a, b):
    if not np.all(np.abs(b) >= SMALLEST):
        raise ZeroDivisionError
    return a / b


CASES = {
    "add_float": "a + b",
    "divide_float": "divide(a, b)",
    "add_u16": "np.add(u, v, dtype=np.int32)",
    "multiply_u16_float": "u * b",
    "multiply_complex": "c * d",
}


def inputs(count):
    return {
        "np": np, "divide": divide,
        "a": real(count, 1), "b": real(count, 2),
        "u": short(count, 3), "v": short(count, 4),
        "c": real(count, 5) + np.complex64(1j) * real(count, 6),
        "d": real(count, 7) + np.complex64(1j) * real(count, 8),
    }


def check(directory, name, count, result):
    """Integers agree exactly; reals within two roundings of the largest part."""
    stride = max(1, count // 4096)
    ours = np.fromfile(os.path.join(directory, f"{name}.{count}"), dtype=result.dtype)
    theirs = result[::stride]
    if result.dtype.kind == "i":
        good = np.array_equal(ours, theirs)
    else:
        scale = np.abs(theirs).astype(np.float64)
        good = ours.shape == theirs.shape and bool(
            np.all(np.abs(ours.astype(np.complex128) - theirs) <= 2 * 2.0**-23 * scale))
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
    for count in (1000, 100000, 1 << 24):
        names = inputs(count)
        for name, statement in CASES.items():
            if count == 1000 and name != "add_float":
                continue
            check(directory, name, count, eval(statement, names))
            print("time", name, count, f"{nanoseconds(statement, names):.4g}", flush=True)


main()
