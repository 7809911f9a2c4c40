"""What is in windows over two lines, above a power law that is fitted just below each."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
# The background 0.35 keV long, up to 0.2 keV below the line; the window from 0.2 below to 0.2 above it.
windows = [dp.fitting.Window(at, 0.2, 0.35, -0.2, 0.4, name) for name, at in (("Cr Ka", 5.415), ("Fe Ka", 6.404))]
fit = dp.fitting.windowed_power_law(spectrum, windows)
for line in fit.peaks:
    print(f"{line.name} {line.area / 0.01:.0f} +- {line.area_error / 0.01:.0f} counts")

ax = spectrum.sel(4.5, 7.0).plot()
fit.eval(spectrum).sel(4.5, 7.0).plot(ax).figure.savefig("power_law.png")
