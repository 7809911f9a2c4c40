#!/usr/bin/python3
"""Polynomial fits by numpy, the peer of bench_fitting.

usage: fitting.py DIRECTORY   (where bench_fitting left samples of its results)

Compares the coefficients first, then prints times in the same form. The matrix of powers is made
beforehand and not timed; our times contain gathering the points and making their powers.
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


def nanoseconds(statement, names):
    timer = timeit.Timer(statement, timer=time.process_time, globals=names)
    calls = 1
    while timer.timeit(calls) < 2e-3:
        calls *= 2
    return statistics.median(t / calls for t in timer.repeat(15, calls)) * 1e9


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    for count in (1024, 100000):
        y = real(count, 1).astype(np.float64)
        x = -1 + np.arange(count) * (2.0 / count)
        for order in (3, 5, 8):
            name = f"order_{order}"
            names = {"np": np, "y": y, "a": np.vander(x, order + 1, increasing=True)}
            statement = "np.linalg.lstsq(a, y, rcond=1e-5)[0]"
            theirs = eval(statement, names)
            ours = np.fromfile(os.path.join(directory, f"{name}.{count}"), dtype=np.float64)
            # Positions are accumulated by addition on our side; the rest is the condition.
            good = ours.shape == theirs.shape and bool(
                np.all(np.abs(ours - theirs) <= 1e-9 * np.abs(theirs).max()))
            print("check", name, count, "agree" if good else "DIFFER")
            print("time", name, count, f"{nanoseconds(statement, names):.4g}", flush=True)


main()
