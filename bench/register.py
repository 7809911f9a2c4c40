#!/usr/bin/python3
"""Registration by scikit-image, the peer of bench_register.

usage: register.py DIRECTORY   (where bench_register left samples of its results)

Both are compared with the shift that the images were made with, to a tenth of an element, then timed.
"""
import sys

from peer import ours, real, report

import numpy as np

try:
    import skimage
    from skimage.registration import phase_cross_correlation
except ImportError:
    print("note absent scikit-image is not installed (Debian: python3-skimage)")
    sys.exit(0)

SHIFT = (12.3, -7.6)


def scene(size_x, size_y, x, y, which):
    columns, rows = np.meshgrid(x + np.arange(size_x), y + np.arange(size_y))
    waves = 0.6 * (real(80, 9).astype(np.float64) - 1)
    value = sum(np.cos(waves[2 * k] * columns + waves[2 * k + 1] * rows + k) for k in range(40))
    return value.astype(np.float32) + 4 * (real(value.size, which).reshape(value.shape) - 1)


def register(fixed, moved):
    return phase_cross_correlation(moved, fixed, upsample_factor=20, normalization=None)[0][::-1]


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer scikit-image", skimage.__version__)
    for size_x, size_y in ((150, 110), (300, 200), (700, 613)):
        fixed = scene(size_x, size_y, 0, 0, 1)
        moved = scene(size_x, size_y, -SHIFT[0], -SHIFT[1], 2)
        sample = ours(directory, "register", fixed.size, np.float64)
        good = bool(np.all(np.abs(sample - SHIFT) <= 0.1))
        report("register", fixed.size, good, lambda: register(fixed, moved))


main()
