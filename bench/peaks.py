#!/usr/bin/python3
"""Runs bench_peaks_ceres, the peer of bench_peaks, which is built where Ceres is installed, and compares
with scipy and lmfit where they are.

usage: peaks.py DIRECTORY   (where bench_peaks left its solutions)
"""
import pathlib
import subprocess
import sys

samples = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()


def compare(name, ours, found, errors):
    away = np.max(np.abs(ours[:17] - found) / errors)
    relative = np.max(np.abs(ours[17:] / errors - 1))
    print(f"{name}: optimum within {away:.1e} standard errors, errors within {relative:.1e}", file=sys.stderr)
    return away < 1e-6 and relative < 1e-6


try:
    import numpy as np
    from scipy.optimize import curve_fit
except ImportError:
    np = None

if np is not None:
    y = np.fromfile(samples / "counts.2048")
    x = np.arange(2048.0)
    t = (x - 1023.5) / 1024
    sigma = np.sqrt(np.maximum(y, 1))

    def model(_, *p):
        total = p[15] + p[16] * t
        for k in range(5):
            total = total + p[3 * k + 1] * np.exp(-0.5 * ((x - p[3 * k]) / p[3 * k + 2]) ** 2)
        return total

    def slopes(_, *p):
        columns = np.empty((2048, 17))
        columns[:, 15] = 1
        columns[:, 16] = t
        for k in range(5):
            z = (x - p[3 * k]) / p[3 * k + 2]
            e = np.exp(-0.5 * z * z)
            columns[:, 3 * k] = p[3 * k + 1] * e * z / p[3 * k + 2]
            columns[:, 3 * k + 1] = e
            columns[:, 3 * k + 2] = p[3 * k + 1] * e * z * z / p[3 * k + 2]
        return columns

    ours = np.fromfile(samples / "five_free_peaks.34")
    found, covariance = curve_fit(model, x, y, ours[:17] * 1.001, sigma, absolute_sigma=True, jac=slopes,
                                  ftol=1e-15, xtol=1e-15, gtol=1e-15)
    good = compare("scipy", ours, found, np.sqrt(np.diag(covariance)))
    try:
        import lmfit

        names = [f"p{i}" for i in range(17)]
        parameters = lmfit.Parameters()
        for name, value in zip(names, ours[:17] * 1.001):
            parameters.add(name, value=value)
        values = lambda p: [p[name].value for name in names]
        fit = lmfit.Minimizer(lambda p: (model(x, *values(p)) - y) / sigma, parameters, scale_covar=False)
        result = fit.minimize("leastsq", Dfun=lambda p: (slopes(x, *values(p)) / sigma[:, None]).T,
                              col_deriv=1, ftol=1e-15, xtol=1e-15, gtol=0)
        good &= compare("lmfit", ours, np.array(values(result.params)),
                        np.array([result.params[name].stderr for name in names]))
    except ImportError:
        print("note absent lmfit is not installed (Debian: python3-lmfit)")
    print("check five_free_peaks 2048", "agree" if good else "DIFFER")

    # The maximum of the likelihood by scoring, which is the peer's arithmetic and no fit of its own.
    likely = np.fromfile(samples / "five_free_peaks_likelihood.34")
    p = likely[:17].copy()
    for _ in range(20):
        mean = model(x, *p)
        columns = slopes(x, *p)
        information = columns.T @ (columns / mean[:, None])
        p += np.linalg.solve(information, columns.T @ (y / mean - 1))
    good = compare("likelihood by numpy", likely, p, np.sqrt(np.diag(np.linalg.inv(information))))
    print("check five_free_peaks_likelihood 2048", "agree" if good else "DIFFER")

program = samples.parent.parent / "bench_peaks_ceres"
if program.exists():
    subprocess.run([program, samples], check=True)
else:
    print("note absent Ceres is not installed (Debian: libceres-dev)")
