#!/usr/bin/python3
"""Sums, windows and fits of a map by numpy and scipy, the peers of bench_maps. What takes one spectrum at a time is timed
on a few of them."""
from five_peaks import PARAMETERS, agree, model, scored, slopes
from peer import check, compare, needed, np, of_largest, ours, report

needed("scipy", "scipy", "python3-scipy")
from scipy.interpolate import CubicSpline
from scipy.optimize import curve_fit, lsq_linear, nnls
from scipy.signal import savgol_filter

SPECTRA, CHANNELS, FEW = 1024, 2048, 8
counts = ours("map", SPECTRA, np.uint16).reshape(SPECTRA, CHANNELS)
few = counts[:FEW].astype(float)
shapes = ours("shapes", SPECTRA, float).reshape(-1, CHANNELS)
x = 1 + np.arange(CHANNELS, dtype=float)


def fit_of(name, parameters):
    """Our values and their errors."""
    return ours(name, SPECTRA, float).reshape(2, parameters, SPECTRA)


def report_fit(name, parameters, peers, call, tolerance=1e-4):
    """The peer's values and errors, of all spectra or of a few."""
    count = peers[0].shape[-1]
    report(name, SPECTRA, agree(name, *fit_of(name, parameters)[:, :, :count], *peers, tolerance), call,
           scale=SPECTRA / count)


def columns(found):
    """Of a list with (values, errors) for each spectrum."""
    return np.array(found).transpose(1, 2, 0)


def weights(y):
    return 1 / np.sqrt(np.maximum(y, 1))


compare({"sum_image": lambda: counts.sum(axis=1), "sum_spectrum": lambda: counts.sum(axis=0)}, count=SPECTRA, kind=float)


for name, call in {"rebin": lambda: counts.reshape(SPECTRA, -1, 2).sum(axis=2, dtype=float),
                   "smooth": lambda: savgol_filter(counts, 9, 2, axis=1)}.items():
    report(name, SPECTRA, of_largest(1e-14)(ours(name, SPECTRA, float), call().ravel()), call)


def shifts():
    """As is usual, spectrum by spectrum: where a curve through the reference fits best."""
    nodes = np.arange(CHANNELS)
    total = counts.sum(axis=0, dtype=float)
    curve = CubicSpline(nodes, total)
    inner, found = nodes[13:-13], []
    deviations = np.sqrt(total[13:-13] / SPECTRA)  # counts themselves would draw the shift to where they are low
    for y in few[:, 13:-13]:
        (shift, factor), covariance = curve_fit(
            lambda k, shift, factor: factor * curve(k - shift), inner, y, (0, 1 / SPECTRA), deviations,
            absolute_sigma=True)
        found.append((shift, np.sqrt(covariance[0, 0])))
    return np.array(found).T


# Ours takes the noise of the reference into account, the peer does not.
own = fit_of("align", 2)[:, 0, :FEW]
report("align", SPECTRA, np.max(np.abs(own - shifts()) / own[1]) < 0.3, shifts, scale=SPECTRA / FEW)


def windows():
    """By least squares on logarithms, as is usual, without errors."""
    before = slice(250, 550)
    powers = np.column_stack([np.ones(300), np.log(x[before])])
    law = np.linalg.pinv(powers) @ np.log(np.maximum(counts[:, before], 0.5)).T
    curve = np.exp(law[0][:, None] + law[1][:, None] * np.log(x))
    return np.array([counts[:, a:b].sum(axis=1) - curve[:, a:b].sum(axis=1) for a, b in ((620, 661), (790, 821))])


# The logarithm of counts is low: the peer is for the time, and agrees as far as that lets it.
own = fit_of("windows_power_law", 2)[0]
report("windows_power_law", SPECTRA, np.max(np.abs(own - windows()) / own) < 0.05, windows)


def weighted():
    y = counts.astype(float)
    w = 1 / np.maximum(y, 1)
    n = len(shapes)
    sides = [(i, j) for i in range(n) for j in range(i + 1)]
    products = w @ np.array([shapes[i] * shapes[j] for i, j in sides]).T
    equations = np.empty((len(y), n, n))
    for k, (i, j) in enumerate(sides):
        equations[:, i, j] = equations[:, j, i] = products[:, k]
    inverse = np.linalg.inv(equations)
    return (np.einsum("qij,qj->iq", inverse, (w * y) @ shapes.T),
            np.sqrt(np.einsum("qii->iq", inverse)))


def equal():
    inverse, y = np.linalg.pinv(shapes.T), counts.astype(float)
    return inverse @ y.T, np.sqrt((inverse**2) @ y.T)


report_fit("linear_weighted", len(shapes), weighted(), weighted)
report_fit("linear_equal", len(shapes), equal(), equal)


def nonnegative():
    free = np.vstack([shapes, -shapes[5:]])
    found = np.array([nnls((free * weights(y)).T, y * weights(y))[0] for y in few])
    return np.hstack([found[:, :5], found[:, 5:7] - found[:, 7:]]).T


# The results of nnls, which knows no free factors, are off by a standard error here and there.
own = fit_of("linear_nonnegative", len(shapes))[:, :, :FEW]
limits = [0] * 5 + [-np.inf] * 2, np.inf
bounded = np.array([lsq_linear((shapes * weights(y)).T, y * weights(y), limits, "bvls", 1e-14).x for y in few]).T
report("linear_nonnegative", SPECTRA, np.max(np.abs(own[0] - bounded) / own[1]) < 1e-6, nonnegative, scale=SPECTRA / FEW)

START = [value for position, height, width in ((174, 200, 2.12), (590, 400, 4.67), (640, 1000, 4.86), (706, 170, 5.1),
                                               (804, 300, 5.46))
         for value in (position + 1.5, height * 1.1, width * 1.06)] + [20, 0]


def curve_fits(tolerance=1e-8):
    found = []
    for y in few:
        p, covariance = curve_fit(model, x, y, START, 1 / weights(y), absolute_sigma=True, jac=slopes, ftol=tolerance,
                                  xtol=tolerance, gtol=tolerance)
        found.append((p, np.sqrt(np.diag(covariance))))
    return columns(found)


# The windows of the peaks alone are 1e-4 standard errors.
report_fit("five_free_peaks", PARAMETERS, curve_fits(1e-14), curve_fits, 3e-4)
likely = fit_of("five_free_peaks_likelihood", PARAMETERS)[:, :, :FEW]
check("five_free_peaks_likelihood", SPECTRA, agree(
    "likelihood", *likely, *columns([scored(x, y, likely[0, :, q], 8) for q, y in enumerate(few)]), 3e-4))
