"""Three ways to smooth: a local parabola, a Gaussian, a median; what they do to noise and to a line."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
smoothed = {
    "as it was": spectrum,
    "Savitzky-Golay": dp.smooth_savgol(spectrum, 9, 2),  # elements, order
    "Gauss": dp.smooth_gauss(spectrum, 0.03),  # keV
    "median": dp.smooth_median(spectrum, 9),  # elements
}
for name, curve in smoothed.items():
    print(f"{name}: noise {curve.sel(8.5, 9.5).std(ddof=1):.1f}, highest {curve.max():.0f}")

ax = spectrum.sel(6.0, 7.5).plot()
smoothed["Savitzky-Golay"].sel(6.0, 7.5).plot(ax).figure.savefig("smooth.png")
