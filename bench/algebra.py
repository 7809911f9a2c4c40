#!/usr/bin/python3
"""Linear systems and singular values by numpy (LAPACK), the peer of bench_algebra."""
from peer import compare, double, np, of_largest

for name, rows, columns in (("solve", 20, 10), ("solve", 200, 50), ("solve", 2000, 20), ("svd", 50, 50), ("svd", 200, 200)):
    a, b = double(rows * columns, 1).reshape(rows, columns) - 1, double(rows, 2) - 1
    calls = {"solve": lambda: np.linalg.lstsq(a, b, rcond=None)[0],
             "svd": lambda: np.linalg.svd(a, full_matrices=False)[1]}
    compare({name: calls[name]}, agrees=of_largest(1e-11), count=rows * columns)
