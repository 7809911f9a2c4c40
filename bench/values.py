#!/usr/bin/python3
"""Conversions, resampling and selections by numpy, the peer of bench_values.

usage: values.py DIRECTORY   (where bench_values left samples of its results)

Compares the samples first, then prints times in the same form. Numpy interpolates in double
precision and wants the positions, which are made beforehand and not timed.
"""
import sys

from peer import bits, ours, real, report

import numpy as np

SIDE = 2048


def positions(count, delta):
    """Where the rescaled elements lie, on the indices of the stored ones; the last value is held."""
    return np.arange(int(np.floor(count / delta + 0.5))) * delta


def between(x, axis_size):
    """The two neighbours of each position and how far it is from the first."""
    first = np.minimum(np.floor(x).astype(np.intp), axis_size - 1)
    second = np.minimum(first + 1, axis_size - 1)
    return first, second, (x - first).astype(np.float32)


def rescale_image(image, x):
    """Along each axis in turn."""
    first, second, part = between(x, SIDE)
    rows = image[first] + (image[second] - image[first]) * part[:, np.newaxis]
    return rows[:, first] + (rows[:, second] - rows[:, first]) * part


def rebin(counts, delta):
    """Contents shared out to wider elements: differences of the sum up to each edge."""
    edges = np.arange(int(np.ceil(counts.size / delta)) + 1) * delta
    upto = np.concatenate(([0.0], np.cumsum(counts, dtype=np.float64)))
    return np.diff(np.interp(edges, np.arange(counts.size + 1.0), upto)).astype(np.float32)


CASES = {
    "u16_to_float": "u.astype(np.float32)",
    "double_to_float": "d.astype(np.float32)",
    "float_to_u8": "np.clip(np.rint(f), 0, 255).astype(np.uint8)",
    "complex_modulus": "np.abs(c)",
    "select_half": "a[quarter:quarter + half].copy()",
    "rescale_line": "np.interp(fine, stored, a).astype(np.float32)",
    "rebin_line": "rebin(a, 1.75)",
    "subtract_coarse": "a - np.interp(stored, coarse_positions, coarse).astype(np.float32)",
}
IMAGE_CASES = {
    "select_window": "image[512:1536, 512:1536].copy()",
    "rescale_image": "rescale_image(image, x)",
}


def inputs(count):
    stored = np.arange(count, dtype=np.float64)
    return {
        "np": np, "rebin": rebin, "a": real(count, 1), "coarse": real(count // 2, 2),
        "u": (bits(count, 1) >> np.uint32(16)).astype(np.uint16),
        "d": real(count, 2).astype(np.float64), "f": np.float32(200) * real(count, 3),
        "c": real(count, 4) + np.complex64(1j) * real(count, 5),
        "quarter": count // 4, "half": count // 2, "stored": stored,
        "fine": positions(count, 0.75), "coarse_positions": stored[::2].copy(),
    }


def image_inputs():
    return {"np": np, "rescale_image": rescale_image, "x": positions(SIDE, 0.75),
            "image": real(SIDE * SIDE, 1).reshape(SIDE, SIDE)}


def compare_and_time(directory, name, statement, names):
    result = eval(statement, names).reshape(-1)
    theirs = result[::max(1, result.size // 4096)]
    sample = ours(directory, name, result.size, result.dtype)
    if name in ("complex_modulus", "rescale_line", "rebin_line", "subtract_coarse", "rescale_image"):
        # Elements are about 1; each step of the interpolation rounds once.
        good = sample.shape == theirs.shape and bool(np.all(np.abs(sample - theirs) <= 1e-6))
    else:
        good = np.array_equal(sample, theirs)
    report(name, result.size, good, statement, names)


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer numpy", np.__version__)
    for count in (100000, 1 << 24):
        names = inputs(count)
        for name, statement in CASES.items():
            compare_and_time(directory, name, statement, names)
    names = image_inputs()
    for name, statement in IMAGE_CASES.items():
        compare_and_time(directory, name, statement, names)


main()
