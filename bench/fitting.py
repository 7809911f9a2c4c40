#!/usr/bin/python3
"""Polynomial fits by numpy, the peer of bench_fitting.

usage: fitting.py DIRECTORY   (where bench_fitting left samples of its results)

Compares the coefficients first, then prints times in the same form. The matrix of powers is made
beforehand and not timed; our times contain gathering the points and making their powers.
"""
import sys

from peer import ours, real, report

import numpy as np


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
            sample = ours(directory, name, count, np.float64)
            # Positions are accumulated by addition on our side; the rest is the condition.
            good = sample.shape == theirs.shape and bool(
                np.all(np.abs(sample - theirs) <= 1e-9 * np.abs(theirs).max()))
            report(name, count, good, statement, names)


main()
