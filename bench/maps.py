#!/usr/bin/python3
"""Sums, windows and fits of a map by numpy and scipy, the peers of bench_maps.

usage: maps.py DIRECTORY   (where bench_maps left the map and its results)

What takes one spectrum at a time is timed on a few of them.
"""
import sys

from peer import nanoseconds, report

import numpy as np

try:
    from scipy.optimize import curve_fit, lsq_linear, nnls
except ImportError:
    print("note absent scipy is not installed (Debian: python3-scipy)")
    sys.exit(0)

SPECTRA, CHANNELS, FEW = 1024, 2048, 8
directory = sys.argv[1] if len(sys.argv) > 1 else "."


def read(name, kind=float):
    return np.fromfile(f"{directory}/{name}.{SPECTRA}", dtype=kind)


counts = read("map", np.uint16).reshape(SPECTRA, CHANNELS)
shapes = read("shapes").reshape(-1, CHANNELS)
x = np.arange(CHANNELS, dtype=float)


def fit_of(name, parameters):
    return read(name).reshape(2, parameters, SPECTRA)


def within(ours, values, errors, tolerance=1e-4):
    """Whether values agree within so many standard errors, and errors within that part."""
    few = values.shape[-1]
    away = np.max(np.abs(ours[0][:, :few] - values) / errors)
    relative = np.max(np.abs(ours[1][:, :few] / errors - 1))
    print(f"within {away:.1e} standard errors, errors within {relative:.1e}", file=sys.stderr)
    return away < tolerance and relative < tolerance


def report_few(name, good, call):
    """The time of a call that takes FEW spectra, as that of all."""
    print("check", name, SPECTRA, "agree" if good else "DIFFER")
    print("time", name, SPECTRA, f"{nanoseconds(call) * SPECTRA / FEW:.4g}", flush=True)


report("sum_image", SPECTRA, np.array_equal(read("sum_image"), counts.sum(axis=1)), lambda: counts.sum(axis=1))
report("sum_spectrum", SPECTRA, np.array_equal(read("sum_spectrum"), counts.sum(axis=0)),
       lambda: counts.sum(axis=0))


def windows():
    """By least squares on logarithms, as is usual, without errors."""
    before = slice(250, 550)
    columns = np.column_stack([np.ones(300), np.log(x[before] + 1)])
    law = np.linalg.pinv(columns) @ np.log(np.maximum(counts[:, before], 0.5)).T
    curve = np.exp(law[0][:, None] + law[1][:, None] * np.log(x + 1))
    return np.array([counts[:, a:b].sum(axis=1) - curve[:, a:b].sum(axis=1) for a, b in ((620, 661), (790, 821))])


# The logarithm of counts is low: the peer is for the time, and agrees as far as that lets it.
ours = fit_of("windows_power_law", 2)
report("windows_power_law", SPECTRA, np.max(np.abs(ours[0] - windows()) / ours[0]) < 0.05, windows)


def weighted(y=counts):
    y = y.astype(float)
    w = 1 / np.maximum(y, 1)
    n = len(shapes)
    pairs = [(i, j) for i in range(n) for j in range(i + 1)]
    products = w @ np.array([shapes[i] * shapes[j] for i, j in pairs]).T
    equations = np.empty((len(y), n, n))
    for k, (i, j) in enumerate(pairs):
        equations[:, i, j] = equations[:, j, i] = products[:, k]
    inverse = np.linalg.inv(equations)
    return (np.einsum("qij,qj->iq", inverse, (w * y) @ shapes.T),
            np.sqrt(np.einsum("qii->iq", inverse)))


def equal(y=counts):
    inverse = np.linalg.pinv(shapes.T)
    y = y.astype(float)
    return inverse @ y.T, np.sqrt((inverse**2) @ y.T)


report("linear_weighted", SPECTRA, within(fit_of("linear_weighted", 7), *weighted()), weighted)
report("linear_equal", SPECTRA, within(fit_of("linear_equal", 7), *equal()), equal)


def nonnegative():
    found = []
    for y in counts[:FEW].astype(float):
        root = 1 / np.sqrt(np.maximum(y, 1))
        free = np.vstack([shapes, -shapes[5:]])
        p = nnls((free * root).T, y * root)[0]
        found.append(np.concatenate([p[:5], p[5:7] - p[7:]]))
    return np.array(found).T


def bounded():
    found = []
    for y in counts[:FEW].astype(float):
        root = 1 / np.sqrt(np.maximum(y, 1))
        found.append(lsq_linear((shapes * root).T, y * root, ([0] * 5 + [-np.inf] * 2, np.inf), "bvls", 1e-14).x)
    return np.array(found).T


# The results of nnls, which knows no free factors, are off by a standard error here and there.
ours = fit_of("linear_nonnegative", 7)
report_few("linear_nonnegative", np.max(np.abs(ours[0][:, :FEW] - bounded()) / ours[1][:, :FEW]) < 1e-6,
           nonnegative)

t = (x - 1023.5) / 1024


def model(_, *p):
    total = p[15] + p[16] * t
    for k in range(5):
        total = total + p[3 * k + 1] * np.exp(-0.5 * ((x + 1 - p[3 * k]) / p[3 * k + 2]) ** 2)
    return total


def slopes(_, *p):
    columns = np.empty((CHANNELS, 17))
    columns[:, 15] = 1
    columns[:, 16] = t
    for k in range(5):
        z = (x + 1 - p[3 * k]) / p[3 * k + 2]
        e = np.exp(-0.5 * z * z)
        columns[:, 3 * k] = p[3 * k + 1] * e * z / p[3 * k + 2]
        columns[:, 3 * k + 1] = e
        columns[:, 3 * k + 2] = p[3 * k + 1] * e * z * z / p[3 * k + 2]
    return columns


start = []
for position, height, width in ((174, 200, 2.12), (590, 400, 4.67), (640, 1000, 4.86), (706, 170, 5.1),
                                (804, 300, 5.46)):
    start += [position + 1.5, height * 1.1, width * 1.06]
start += [20, 0]


def curve_fits(tolerance=1e-8):
    found, errors = [], []
    for y in counts[:FEW].astype(float):
        p, covariance = curve_fit(model, x, y, start, np.sqrt(np.maximum(y, 1)), absolute_sigma=True, jac=slopes,
                                  ftol=tolerance, xtol=tolerance, gtol=tolerance)
        found.append(p)
        errors.append(np.sqrt(np.diag(covariance)))
    return np.array(found).T, np.array(errors).T


# The windows of the peaks alone are 1e-4 standard errors.
report_few("five_free_peaks", within(fit_of("five_free_peaks", 17), *curve_fits(1e-14), 3e-4), curve_fits)


def scored():
    """The maximum of the likelihood by scoring, from where it was found: arithmetic, and no fit of its own."""
    found, errors = [], []
    for q, y in enumerate(counts[:FEW].astype(float)):
        p = fit_of("five_free_peaks_likelihood", 17)[0][:, q].copy()
        for _ in range(8):
            columns, mean = slopes(x, *p), model(x, *p)
            information = columns.T @ (columns / mean[:, None])
            p += np.linalg.solve(information, columns.T @ (y / mean - 1))
        found.append(p)
        errors.append(np.sqrt(np.diag(np.linalg.inv(information))))
    return np.array(found).T, np.array(errors).T


print("check five_free_peaks_likelihood", SPECTRA,
      "agree" if within(fit_of("five_free_peaks_likelihood", 17), *scored(), 3e-4) else "DIFFER")
