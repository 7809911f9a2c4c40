#!/usr/bin/python3
"""The same optimum by scipy and, where it is, lmfit, which bench_peaks is compared with and not timed beside."""
from five_peaks import PARAMETERS, agree, model, scored, slopes
from peer import check, needed, np, ours

needed("scipy", "scipy", "python3-scipy")
from scipy.optimize import curve_fit

y = ours("counts", 2048, float)
x = np.arange(2048.0)
sigma = np.sqrt(np.maximum(y, 1))
fitted, errors = ours("five_free_peaks", 2 * PARAMETERS, float).reshape(2, PARAMETERS)
start = fitted * 1.001
found, covariance = curve_fit(model, x, y, start, sigma, absolute_sigma=True, jac=slopes, ftol=1e-15, xtol=1e-15,
                              gtol=1e-15)
good = agree("scipy", fitted, errors, found, np.sqrt(np.diag(covariance)), 1e-6)
likely = ours("five_free_peaks_likelihood", 2 * PARAMETERS, float).reshape(2, PARAMETERS)
check("five_free_peaks_likelihood", 2048, agree("likelihood by numpy", *likely, *scored(x, y, likely[0], 20), 1e-6))
check("five_free_peaks", 2048, good)
lmfit = needed("lmfit", "lmfit", "python3-lmfit")
parameters = lmfit.Parameters()
for index, value in enumerate(start):
    parameters.add(f"p{index}", value=value)


def values(p):
    return [parameter.value for parameter in p.values()]


fit = lmfit.Minimizer(lambda p: (model(x, *values(p)) - y) / sigma, parameters, scale_covar=False)
result = fit.minimize("leastsq", Dfun=lambda p: (slopes(x, *values(p)) / sigma[:, None]).T, col_deriv=1, ftol=1e-15,
                      xtol=1e-15, gtol=0)
check("five_free_peaks", 2048, agree("lmfit", fitted, errors, np.array(values(result.params)),
                                     np.array([p.stderr for p in result.params.values()]), 1e-6))
