"""The Python package beside numpy, in one process: ratios of the shortest of many runs."""

import timeit

import dataprocessing as dp
import numpy as np

SIZES = (10, 1000, 1_000_000)


def shortest(function):
    timer = timeit.Timer(function)
    rounds, _ = timer.autorange()
    rounds = max(1, rounds // 10)
    return min(timer.repeat(15, rounds)) / rounds


def cases(n):
    rng = np.random.default_rng(1)
    f, g = rng.random(n, dtype="f4"), rng.random(n, dtype="f4")
    u, v = (rng.integers(0, 1000, n).astype("u2") for _ in range(2))
    a, b, c, d = map(dp.Array1D, (f, g, u, v))
    # The same values before the same time.
    assert np.array_equal((a + b).values, f + g) and np.array_equal((5.0 - a).values, np.float32(5) - f)
    assert np.array_equal((a * 2.0).values, f * 2) and np.array_equal((c + d).values, u.astype("i4") + v)
    return {
        "a + b, f4": (lambda: a + b, lambda: f + g),
        "a * 2.0": (lambda: a * 2.0, lambda: f * 2.0),
        "u2 + u2": (lambda: c + d, lambda: u.astype("i4") + v.astype("i4")),
        "a + ndarray": (lambda: a + g, lambda: f + g),
        "5.0 - a": (lambda: 5.0 - a, lambda: 5.0 - f),
        "a > b": (lambda: a > b, lambda: f > g),
        "np.asarray(a)": (lambda: np.asarray(a), lambda: np.asarray(f)),
        "Array1D(f)": (lambda: dp.Array1D(f), lambda: np.copy(f)),
    }


def main():
    print(f"{'case':16}" + "".join(f"{f'n = {n}':>24}" for n in SIZES))
    tables = [cases(n) for n in SIZES]
    for name in tables[0]:
        cells = []
        for table in tables:
            ours, theirs = (shortest(function) for function in table[name])
            cells.append(f"{ours * 1e6:9.2f} us {ours / theirs:7.2f}".rjust(24))
        print(f"{name:16}" + "".join(cells))


if __name__ == "__main__":
    main()
