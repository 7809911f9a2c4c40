#!/usr/bin/python3
"""Polynomial and power-law fits by numpy, the peer of bench_fitting.

usage: fitting.py DIRECTORY   (where bench_fitting left samples of its results)

Compares the coefficients first, then prints times in the same form. The matrix of powers is made
beforehand and not timed; our times contain gathering the points and making their powers.
"""
import sys

from peer import ours, real, report

import numpy as np


def power_law(directory, y):
    """A straight line in logarithms, which are timed, as ours are."""
    x = 1 + np.arange(y.size) * (2.0 / y.size)
    ones = np.ones(y.size)
    names = {"np": np, "x": x, "y": y, "ones": ones}
    statement = "np.linalg.lstsq(np.column_stack([ones, np.log(x)]), np.log(y), rcond=1e-5)[0]"
    theirs = eval(statement, names)
    sample = ours(directory, "power_law", y.size, np.float64)
    good = sample.shape == theirs.shape and np.allclose(sample, theirs, rtol=0, atol=1e-9)
    report("power_law", y.size, good, statement, names)


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
        power_law(directory, y)


main()
