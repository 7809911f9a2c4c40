#!/usr/bin/python3
"""Linear systems and singular values by numpy (LAPACK), the peer of bench_algebra.

usage: algebra.py DIRECTORY   (where bench_algebra left samples of its results)

Compares the results first, then prints times in the same form.
"""
import sys

from peer import ours, real, report

import numpy as np


def element(count, which):
    return real(count, which).astype(np.float64) - 1.0


def solve(a, b):
    return np.linalg.lstsq(a, b, rcond=None)[0]


def svd(a):
    return np.linalg.svd(a, full_matrices=False)[1]


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    cases = [("solve", solve, shape) for shape in ((20, 10), (200, 50), (2000, 20))]
    cases += [("svd", svd, shape) for shape in ((50, 50), (200, 200))]
    for name, call, (rows, columns) in cases:
        arguments = [element(rows * columns, 1).reshape(rows, columns)]
        if name == "solve":
            arguments.append(element(rows, 2))
        theirs = call(*arguments)
        sample = ours(directory, name, rows * columns, np.float64)
        good = sample.shape == theirs.shape and bool(
            np.all(np.abs(sample - theirs) <= 1e-11 * np.abs(theirs).max()))
        report(name, rows * columns, good, lambda: call(*arguments))


main()
