#!/usr/bin/python3
"""Correlations, convolutions and bands by OpenCV on one thread, the peer of bench_correlate.

usage: correlate.py DIRECTORY   (where bench_correlate left samples of its results)

Compares the samples first, then prints times in the same form. The transforms of both sides are in
single precision and differ by a constant factor.
"""
import sys

from peer import ours, real, report

import numpy as np

try:
    import cv2
except ImportError:
    print("note absent OpenCV is not installed (Debian: python3-opencv)")
    sys.exit(0)

cv2.setNumThreads(1)
cv2.setUseOptimized(True)
BACK = cv2.DFT_SCALE | cv2.DFT_REAL_OUTPUT


def cross(a, b):
    product = cv2.mulSpectrums(cv2.dft(a), cv2.dft(b), 0, conjB=True)
    return np.fft.fftshift(cv2.idft(product, flags=BACK))


def auto(a, _):
    spectrum = cv2.dft(a)
    power = cv2.mulSpectrums(spectrum, spectrum, 0, conjB=True)
    return np.fft.fftshift(cv2.idft(power, flags=BACK))


def convolute(a, b):
    return cv2.idft(cv2.mulSpectrums(cv2.dft(a), cv2.dft(b), 0), flags=BACK)


def band(a, _):
    """Of a centred spectrum; positions are fractions of the Nyquist frequency."""
    x = np.arange(a.shape[0], dtype=np.float32) * np.float32(2 / a.shape[0]) - np.float32(1)
    distance = np.hypot(x[np.newaxis, :], x[:, np.newaxis])
    return ((0.1 < distance) & (distance < 0.5)).astype(np.float32)


def cross_in_band(a, b):
    mask = np.fft.ifftshift(band(a, b))
    spectra = (cv2.dft(image, flags=cv2.DFT_COMPLEX_OUTPUT) for image in (a, b))
    product = cv2.mulSpectrums(*spectra, 0, conjB=True) * mask[:, :, np.newaxis]
    return np.fft.fftshift(cv2.idft(product, flags=BACK))


def agrees(directory, name, result):
    """Up to the factor, and to the rounding of transforms in single precision."""
    sample = ours(directory, name, result.size, np.complex64 if name == "auto" else np.float32)
    if name == "auto":  # ours is of the centred spectrum, which changes every other sign
        signs = 1 - 2 * (np.arange(result.shape[0]) % 2)
        result = result * signs * signs[:, np.newaxis]
    theirs = result.reshape(-1)[::max(1, result.size // 4096)]
    if name == "band":
        return np.mean(sample == theirs) > 0.999  # the edges are rounded differently
    if sample.shape != theirs.shape:
        return False
    factor = np.dot(sample.real.astype(np.float64), theirs) / np.dot(theirs, theirs)
    return factor != 0 and bool(
        np.max(np.abs(sample / factor - theirs)) <= 1e-5 * np.max(np.abs(theirs)))


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer OpenCV", cv2.__version__)
    for side in (512, 2048):
        a, b = (real(side * side, which).reshape(side, side) for which in (1, 2))
        for call in (cross, auto, convolute, cross_in_band, band):
            good = agrees(directory, call.__name__, call(a, b))
            report(call.__name__, a.size, good, lambda: call(a, b))


main()
