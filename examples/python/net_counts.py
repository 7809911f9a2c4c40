"""What was counted in a line above a straight background, with its error."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
line = spectrum.sel(6.2, 6.6)
background = dp.fitting.polynomial(spectrum, [(6.05, 6.2), (6.6, 6.8)], deviations="counts").eval(line)
net = line - background
print(f"{net.sum():.0f} +- {np.sqrt(line.sum() + background.sum()):.0f} counts")
