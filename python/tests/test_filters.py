"""Smoothing, backgrounds, peaks, bins, registration."""

import dataprocessing as dp
import numpy as np
import pytest

AXIS = dp.Axis(5.0, 0.1, unit="keV")


def test_peaks_agree_with_scipy():
    signal = pytest.importorskip("scipy.signal")
    y = np.random.default_rng(1).normal(size=500).cumsum()
    for prominence, distance in [(0, 0), (2, 0), (0, 7), (1.5, 5)]:
        found = dp.find_peaks(dp.Array1D(y), prominence, distance)
        expected, _ = signal.find_peaks(y, prominence=prominence or None, distance=distance or None)
        assert [p.index for p in found] == expected.tolist()


def test_peaks_have_figures_in_units_of_the_axis():
    y = np.array([0, 0, 4, 8, 4, 0, 0, 2, 0.0])
    first, second = dp.find_peaks(dp.Array1D(y, AXIS))
    assert first.position == pytest.approx(5.3) and first.width == pytest.approx(0.2) and first.prominence == 8
    assert second.index == 7
    with pytest.raises(dp.ProgramError):
        dp.find_peaks(dp.Array1D(y), prominence=-1)


def test_savgol_agrees_with_scipy():
    signal = pytest.importorskip("scipy.signal")
    y = np.random.default_rng(2).normal(size=100)
    a = dp.Array1D(y, AXIS, name="n", unit="counts")
    found = dp.smooth_savgol(a, 9, 2)
    assert found.values == pytest.approx(signal.savgol_filter(y, 9, 2), abs=1e-12)
    assert found.axis == AXIS and (found.name, found.unit) == ("n", "counts")
    slope = dp.smooth_savgol(a, 9, 2, derivative=1)
    assert slope.values == pytest.approx(signal.savgol_filter(y, 9, 2, deriv=1, delta=0.1), abs=1e-11)
    assert slope.unit == ""


def test_averages_and_medians_agree_with_scipy():
    ndimage = pytest.importorskip("scipy.ndimage")
    image = np.random.default_rng(3).normal(size=(20, 30))
    a = dp.Array2D(image, axes=(dp.Axis(0, 0.5), dp.Axis(0, 0.25)))
    expected = ndimage.gaussian_filter(image, (2, 4), mode="reflect", truncate=4)
    assert dp.smooth_gauss(a, 1.0).values == pytest.approx(expected, abs=1e-12)
    median = ndimage.median_filter(image, (5, 3), mode="reflect")
    assert np.array_equal(dp.smooth_median(a, 3, 5).values, median)
    line = ndimage.median_filter(image[0], 7, mode="reflect")
    assert np.array_equal(dp.smooth_median(a[0], 7).values, line)
    with pytest.raises(ValueError, match="no y"):
        dp.smooth_median(a[0], 3, 3)
    with pytest.raises(dp.ProgramError):
        dp.smooth_gauss(a, -1)


def test_snip_takes_lines_away():
    x = np.arange(200)
    background = 100 * np.exp(-x / 80)
    y = background + 500 * np.exp(-(((x - 90) / 3) ** 2))
    found = dp.snip(dp.Array1D(y, AXIS), 12)
    assert np.all(found.values <= y) and np.abs(found.values - background).max() < 6
    with pytest.raises(ValueError, match="order"):
        dp.snip(dp.Array1D(y), 3, order="upward")


def test_rebinning_keeps_the_sum():
    counts = np.random.default_rng(4).poisson(50, 120)
    a = dp.Array1D(counts, dp.Axis(0, 0.1), unit="counts")
    wide = dp.rebin(a, 0.25)
    assert wide.size == 48 and wide.sum() == pytest.approx(counts.sum()) and wide.unit == "counts"
    assert np.array_equal(dp.rebin(a, 0.3).values, counts.reshape(-1, 3).sum(axis=1))
    grid = dp.Array1D(np.zeros(10), dp.Axis(1.0, 0.2))
    assert np.array_equal(dp.rebin(a, grid).values, counts[10:30].reshape(-1, 2).sum(axis=1))
    image = dp.rebin(dp.Array2D(np.ones((4, 6))), 2.0, 4.0)
    assert image.values.tolist() == [[8, 8, 8]]


def test_registration_of_images():
    rng = np.random.default_rng(5)
    world = dp.smooth_gauss(dp.Array2D(rng.normal(size=(140, 150))), 2.0).values
    axes = (dp.Axis(0, 0.5), dp.Axis(0, 0.5))
    ref, moved = dp.Array2D(world[:100, :100], axes=axes), dp.Array2D(world[7:107, 11:111], axes=axes)
    shift = dp.register(moved, ref)
    assert (shift.x, shift.y) == (pytest.approx(-5.5, abs=0.01), pytest.approx(-3.5, abs=0.01))
    assert shift.peak > 0.99 and shift.second < 0.9
    with pytest.raises(dp.DataError):
        dp.register(dp.Array2D(np.zeros((8, 8))), dp.Array2D(np.zeros((8, 8))))
    with pytest.raises(ValueError, match="sub"):
        dp.register(moved, ref, sub="pixel")


def test_the_sigmas_of_an_image_are_along_x_and_along_y():
    point = np.zeros((9, 9))
    point[4, 4] = 1
    image = dp.Array2D(point)
    wide = dp.smooth_gauss(image, 1.5, 0.5).values
    assert wide[4, 6] > 2 * wide[6, 4] and dp.smooth_gauss(image, 1.0).identical(dp.smooth_gauss(image, 1.0, 1.0))
    with pytest.raises(ValueError, match="no y"):
        dp.smooth_gauss(dp.Array1D(point[4]), 1.0, 1.0)
