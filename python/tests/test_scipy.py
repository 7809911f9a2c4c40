"""Peaks and smoothing beside scipy's, over many random arrays: the same sets, and the same values but for rounding."""

from fractions import Fraction

import dataprocessing as dp
import numpy as np
import pytest

signal = pytest.importorskip("scipy.signal")
ndimage = pytest.importorskip("scipy.ndimage")

EPSILON = np.finfo(float).eps


def arrays(seed, count):
    """Noise, random walks, counts with many equal neighbours, and lines on a background, of 3 to 400 elements."""
    rng = np.random.default_rng(seed)
    for i in range(count):
        size = int(rng.integers(3, 400))
        x = np.arange(size)
        if i % 4 == 0:
            y = rng.normal(size=size)
        elif i % 4 == 1:
            y = rng.normal(size=size).cumsum()
        elif i % 4 == 2:
            y = rng.poisson(rng.uniform(0.5, 5), size)
        else:
            lines = (100 * np.exp(-((x - at) ** 2) / 18) for at in rng.uniform(0, size, 5))
            y = rng.poisson(sum(lines) + 10)
        yield rng, y


def test_peaks_are_the_same_sets_on_ten_thousand_arrays():
    found = 0
    for rng, y in arrays(1, 10_000):
        spread = float(np.ptp(y))
        prominence = rng.choice([0.0, rng.uniform(0, 0.6) * spread])
        distance = rng.choice([0.0, float(rng.integers(1, 20)), rng.uniform(1, 20)])
        width = rng.choice([0.0, rng.uniform(0, 8)])
        tops = signal.find_peaks(y)[0]
        if np.unique(y[tops]).size < tops.size:
            distance = 0.0  # of equal peaks scipy keeps those that an unstable sort puts last
        expected, figures = signal.find_peaks(y, prominence=prominence, distance=distance or None, width=width)
        peaks = dp.find_peaks(dp.Array1D(y), prominence, distance, width)
        assert [p.index for p in peaks] == expected.tolist(), (y.tolist(), prominence, distance, width)
        assert [p.prominence for p in peaks] == figures["prominences"].tolist()
        assert np.allclose([p.width for p in peaks], figures["widths"], rtol=1e-12, atol=1e-12)
        found += len(peaks)
    assert found > 50_000


def exact_weights(width, order):
    """The polynomial's value in the middle, of each element, by the normal equations in fractions."""
    places = range(-(width // 2), width // 2 + 1)
    n = order + 1
    rows = [[Fraction(sum(x ** (i + j) for x in places)) for j in range(n)] + [Fraction(i == 0)] for i in range(n)]
    for i in range(n):
        pivot = next(r for r in range(i, n) if rows[r][i])
        rows[i], rows[pivot] = rows[pivot], rows[i]
        rows[i] = [value / rows[i][i] for value in rows[i]]
        for r in set(range(n)) - {i}:
            rows[r] = [a - rows[r][i] * b for a, b in zip(rows[r], rows[i])]
    return [sum(row[n] * x**i for i, row in enumerate(rows)) for x in places]


@pytest.mark.parametrize("width, order", [(5, 2), (7, 0), (9, 3), (11, 4), (21, 3), (21, 5), (25, 4), (51, 6)])
def test_polynomials_are_within_eight_epsilon_of_exact_ones(width, order):
    rng = np.random.default_rng(width)
    weights = exact_weights(width, order)
    y = rng.normal(size=150).cumsum() + 20
    exact = [float(sum(w * Fraction(v) for w, v in zip(weights, y[i:]))) for i in range(y.size - width + 1)]
    inner = dp.smooth_savgol(dp.Array1D(y), width, order).values[width // 2 : y.size - width // 2]
    assert np.abs(inner - exact).max() <= 8 * EPSILON * np.abs(y).max()
    # scipy's own weights are off by more: by 1e-13 for (11, 4), by 1e-8 for (51, 6).
    theirs = signal.savgol_filter(y, width, order)
    assert np.abs(dp.smooth_savgol(dp.Array1D(y), width, order).values - theirs).max() <= 1e-6


@pytest.mark.parametrize("kind", [np.float64, np.float32])
def test_smoothing_is_within_eight_epsilon(kind):
    epsilon = np.finfo(kind).eps
    for rng, y in arrays(2, 300):
        y = y.astype(kind)
        bound = 8 * epsilon * np.abs(y).max()
        width = 2 * int(rng.integers(1, max(2, min(13, (y.size - 1) // 2)))) + 1
        if kind == np.float32 and width <= y.size:
            order = int(rng.integers(0, min(width, 4)))
            theirs = signal.savgol_filter(y.astype(float), width, order)
            assert np.abs(dp.smooth_savgol(dp.Array1D(y), width, order).values - theirs).max() <= bound, (width, order)
        sigma = rng.uniform(0.3, 4)
        theirs = ndimage.gaussian_filter1d(y.astype(float), sigma, mode="reflect", radius=int(4 * sigma + 0.5))
        assert np.abs(dp.smooth_gauss(dp.Array1D(y), sigma).values - theirs).max() <= bound, sigma
        theirs = ndimage.median_filter(y, width, mode="reflect")
        assert np.array_equal(dp.smooth_median(dp.Array1D(y), width).values, theirs)


def test_images_are_smoothed_within_eight_epsilon():
    rng = np.random.default_rng(3)
    for _ in range(40):
        image = rng.normal(size=rng.integers(1, 60, 2))
        bound = 8 * EPSILON * np.abs(image).max()
        sigma_x, sigma_y = rng.uniform(0.3, 4, 2)
        theirs = ndimage.gaussian_filter(image, (sigma_y, sigma_x), mode="reflect")
        assert np.abs(dp.smooth_gauss(dp.Array2D(image), sigma_x, sigma_y).values - theirs).max() <= bound
        width_x, width_y = (int(2 * n + 1) for n in rng.integers(0, 5, 2))
        theirs = ndimage.median_filter(image, (width_y, width_x), mode="reflect")
        assert np.array_equal(dp.smooth_median(dp.Array2D(image), width_x, width_y).values, theirs)
