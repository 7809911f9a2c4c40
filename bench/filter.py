#!/usr/bin/python3
"""Smoothing and peaks by scipy, the peer of bench_filter.

usage: filter.py DIRECTORY   (where bench_filter left samples of its results)

Compares the samples first, then prints times in the same form. scipy has no such background; its peer
is the same loop in numpy.
"""
import sys

from peer import ours, real, report

import numpy as np

try:
    import scipy
    from scipy import ndimage, signal
except ImportError:
    print("note absent scipy is not installed (Debian: python3-scipy)")
    sys.exit(0)


def spectrum(count):
    i = np.arange(count)
    t = (i % 300 - 150.0) / 12
    return 400 * np.exp(-t * t) + 50 * real(count, 1).astype(np.float64)


def peaks(array, **options):
    found, figures = signal.find_peaks(array, width=0, **options)
    return np.array([found.size, found.sum(), figures["prominences"].sum(), figures["widths"].sum()])


def scale(y):
    return np.log(np.log(np.sqrt(y + 1) + 1) + 1)


def background(y, iterations):
    v = scale(y)
    for p in range(iterations, 0, -1):
        v[p:-p] = np.minimum(v[p:-p], 0.5 * v[:-2 * p] + 0.5 * v[2 * p:])
    return np.minimum(y, (np.exp(np.exp(v) - 1) - 1) ** 2 - 1)


LINES = {
    "peaks_prominent": "peaks(lines, prominence=100)",
    "peaks_apart": "peaks(lines, prominence=100, distance=20)",
    "peaks_of_noise": "peaks(noise, prominence=0.5)",
    "polynomial_5_2": "signal.savgol_filter(a, 5, 2)",
    "polynomial_21_3": "signal.savgol_filter(a, 21, 3)",
    "gauss_line_2": "ndimage.gaussian_filter1d(a, 2)",
    "median_line_5": "ndimage.median_filter(a, 5)",
    "background_24": "background(lines, 24)",
}
IMAGES = {
    "gauss_image_1": "ndimage.gaussian_filter(a, 1)",
    "gauss_image_4": "ndimage.gaussian_filter(a, 4)",
    "median_image_3": "ndimage.median_filter(a, 3)",
    "median_image_9": "ndimage.median_filter(a, 9)",
}


def agrees(directory, name, count, result):
    """Peaks agree to the order of adding, medians exactly, averages to 8 epsilon of the values,
    backgrounds to that of their scale, which is steep."""
    if name.startswith("peaks"):
        return bool(np.allclose(ours(directory, name, count, np.float64), result, rtol=1e-12, atol=0))
    result = result.ravel()
    sample = ours(directory, name, count, result.dtype)
    theirs = result[:: max(1, result.size // 4096)]
    if name.startswith("median"):
        return np.array_equal(sample, theirs)
    tolerance = (4096 if name.startswith("background") else 8) * np.finfo(result.dtype).eps
    return bool(np.all(np.abs(sample - theirs) <= tolerance * np.abs(result).max()))


def compare(directory, cases, count, names):
    for name, statement in cases.items():
        report(name, count, agrees(directory, name, count, eval(statement, names)), statement, names)


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer scipy", scipy.__version__)
    shared = {"signal": signal, "ndimage": ndimage, "peaks": peaks, "background": background}
    for count in (4096, 1 << 20):
        compare(directory, LINES, count, shared | {
            "lines": spectrum(count), "noise": real(count, 2).astype(np.float64),
            "a": real(count, 1)})
    for side in (256, 1024):
        compare(directory, IMAGES, side * side,
                shared | {"a": real(side * side, 3).reshape(side, side)})


main()
