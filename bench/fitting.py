#!/usr/bin/python3
"""Polynomial and power-law fits by numpy, the peer of bench_fitting. The matrix of powers is made beforehand and not
timed; our times contain gathering the points and making their powers. The logarithms of a power law, which is a straight
line in them, are timed on both sides. Positions are accumulated by addition on our side; the rest is the condition."""
from peer import compare, double, np, of_largest, within

for count in (1024, 100000):
    y, x, ones = double(count, 1), np.arange(count) * (2.0 / count), np.ones(count)
    for order in (3, 5, 8):
        a = np.vander(x - 1, order + 1, increasing=True)
        compare({f"order_{order}": lambda: np.linalg.lstsq(a, y, rcond=1e-5)[0]}, agrees=of_largest(1e-9), count=count)
    x += 1
    compare({"power_law": lambda: np.linalg.lstsq(np.column_stack([ones, np.log(x)]), np.log(y), rcond=1e-5)[0]},
            agrees=within(1e-9), count=count)
