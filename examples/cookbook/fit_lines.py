"""Two lines over a sloping background, fitted together by the likelihood of counts, with their errors."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
model = dp.fitting.PeakModel()
model.peak("gaussian", 6.40, 800, 0.06, name="Fe Ka")  # position, height, deviation
model.peak("gaussian", 7.06, 100, 0.06, name="Fe Kb")
model.polynomial([20, 0], reference=6.7)
fit = dp.fitting.peaks(spectrum, model, over=(6.05, 7.25))
for line in fit.peaks:
    print(f"{line.name} {line.position:.3f} +- {line.position_error:.3f} keV, "
          f"{line.area / 0.01:.0f} +- {line.area_error / 0.01:.0f} counts")
print(f"chi-squared per degree of freedom {fit.reduced:.2f}")

ax = spectrum.sel(6.05, 7.25).plot()
fit.eval(spectrum.sel(6.05, 7.25)).plot(ax).figure.savefig("fit_lines.png")
