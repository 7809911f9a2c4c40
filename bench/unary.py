#!/usr/bin/python3
"""Functions of every element, and scans, by numpy, the peer of bench_unary.

usage: unary.py DIRECTORY   (where bench_unary left samples of its results)

Compares the samples first, then prints times in the same form.
"""
import sys

from peer import ours, real, report

import numpy as np

PEERS = {"asin": "arcsin(y)", "acos": "arccos(y)", "atan": "arctan(x)", "pow": "power(x, np.float32(2.5))"}
FUNCTIONS = ("exp", "log", "log10", "sin", "cos", "tan", "asin", "acos", "atan", "sinh", "cosh", "tanh", "pow")
# x and y, which is x less a half, are f and fy, or d and dy.
CASES = {f"{name}_{kind}": "np." + PEERS.get(name, name + "(x)").replace("(x", f"({x}").replace("(y", f"({x}y")
         for kind, x in (("float", "f"), ("double", "d")) for name in FUNCTIONS}
CASES |= {
    "sqrt_float": "np.sqrt(a)",
    "abs_float": "np.abs(a)",
    "sqr_complex": "np.square(c)",
    "sqrt_complex": "np.sqrt(c)",
    "norm_complex": "np.square(c.real) + np.square(c.imag)",
    "arg_complex": "np.angle(c)",
    "modulus_complex": "np.abs(c)",
}
SCANS = {
    "is_zero": "not half.all()",
    "is_negative": "(half < 0).any()",
    "is_beyond_unity": "(np.abs(half) > 1).any()",
}


def inputs(count):
    a = real(count, 1)
    f = real(count, 5)
    d = f.astype(np.float64)
    return {
        "np": np, "a": a, "half": a / 2, "f": f, "fy": f - np.float32(0.5), "d": d, "dy": d - 0.5,
        "c": real(count, 6) + np.complex64(1j) * real(count, 7),
    }


def agrees(directory, name, count, result):
    """Within a few roundings of each value; square roots and magnitudes are the same in every bit."""
    sample = ours(directory, name, count, result.dtype)
    theirs = result[::max(1, count // 4096)]
    if name in ("sqrt_float", "abs_float"):
        return np.array_equal(sample, theirs)
    # What the peer computes in vectors may be off by a few units of the last place.
    return sample.shape == theirs.shape and bool(
        np.all(np.abs(sample - theirs) <= 4 * np.finfo(result.dtype).eps * np.abs(theirs)))


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    for count in (100000, 1 << 24):
        names = inputs(count)
        for name, statement in CASES.items():
            good = agrees(directory, name, count, eval(statement, names))
            report(name, count, good, statement, names)
        for name, statement in SCANS.items():
            sample = ours(directory, name, count, np.float64)
            report(name, count, sample[0] == eval(statement, names), statement, names)


main()
