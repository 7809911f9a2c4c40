"""Two lines of one width over a background, fitted together by the likelihood of counts."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
model = dp.fitting.PeakModel()
alpha, beta = (model.peak("gaussian", at, 100, 0.05, name=f"Fe {at}") for at in (6.40, 7.06))
model.tie(beta.width, alpha.width)
model.polynomial([10, 0], reference=6.7)
print(dp.fitting.peaks(spectrum, model, over=(6.05, 7.25)).report())
