#!/usr/bin/python3
"""Element-wise arithmetic by numpy, the peer of bench_binary.

usage: binary.py DIRECTORY   (where bench_binary left samples of its results)

Compares the samples first, then prints times in the same form.
"""
import sys

from peer import bits, ours, real, report

import numpy as np

SMALLEST = np.float32(2.0**-126)


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


def agrees(sample, result):
    """Integers agree exactly; reals within two roundings of the largest part."""
    if result.dtype.kind == "i":
        return np.array_equal(sample, result)
    scale = np.abs(result).astype(np.float64)
    return sample.shape == result.shape and bool(
        np.all(np.abs(sample.astype(np.complex128) - result) <= 2 * 2.0**-23 * scale))


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    for count in (1000, 100000, 1 << 24):
        names = inputs(count)
        for name, statement in CASES.items():
            if count == 1000 and name != "add_float":
                continue
            result = eval(statement, names)
            sample = ours(directory, name, count, result.dtype)
            report(name, count, agrees(sample, result[::max(1, count // 4096)]), statement, names)


main()
