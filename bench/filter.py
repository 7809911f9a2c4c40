#!/usr/bin/python3
"""Smoothing and peaks by scipy, the peer of bench_filter, which has no such background; its peer is the same loop in
numpy. Peaks agree to the order of adding, medians exactly, averages to a few epsilon of the values, backgrounds to that
of their scale, which is steep."""
from peer import compare, double, needed, np, of_largest, real, within

needed("scipy", "scipy", "python3-scipy")
from scipy import ndimage, signal


def spectrum(count):
    i = np.arange(count)
    t = (i % 300 - 150.0) / 12
    return 400 * np.exp(-t * t) + 50 * double(count, 1)


def peaks(array, **options):
    found, figures = signal.find_peaks(array, width=0, **options)
    return np.array([found.size, found.sum(), figures["prominences"].sum(), figures["widths"].sum()])


def background(y, iterations):
    v = np.log(np.log(np.sqrt(y + 1) + 1) + 1)
    for p in range(iterations, 0, -1):
        v[p:-p] = np.minimum(v[p:-p], 0.5 * v[:-2 * p] + 0.5 * v[2 * p:])
    return np.minimum(y, (np.exp(np.exp(v) - 1) - 1) ** 2 - 1)


single = np.finfo(np.float32).eps
for count in (4096, 1 << 20):
    lines, noise, a = spectrum(count), double(count, 2), real(count, 1)
    compare({"peaks_prominent": lambda: peaks(lines, prominence=100),
             "peaks_apart": lambda: peaks(lines, prominence=100, distance=20),
             "peaks_of_noise": lambda: peaks(noise, prominence=0.5)},
            agrees=within(lambda theirs: 1e-12 * np.abs(theirs)), count=count)
    compare({"polynomial_5_2": lambda: signal.savgol_filter(a, 5, 2),
             "polynomial_21_3": lambda: signal.savgol_filter(a, 21, 3),
             "gauss_line_2": lambda: ndimage.gaussian_filter1d(a, 2)}, agrees=of_largest(8 * single))
    compare({"median_line_5": lambda: ndimage.median_filter(a, 5)})
    compare({"background_24": lambda: background(lines, 24)}, agrees=of_largest(4096 * np.finfo(float).eps))
for side in (256, 1024):
    image = real(side * side, 3).reshape(side, side)
    compare({f"gauss_image_{sigma}": lambda sigma=sigma: ndimage.gaussian_filter(image, sigma) for sigma in (1, 4)},
            agrees=of_largest(8 * single))
    compare({f"median_image_{width}": lambda width=width: ndimage.median_filter(image, width) for width in (3, 9)})
