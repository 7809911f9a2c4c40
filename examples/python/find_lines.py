"""The lines of a spectrum, by their significance above the background."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
net = spectrum - dp.snip(spectrum, 24)
for line in dp.find_peaks(dp.smooth_savgol(net, 9, 2), prominence=25, distance=0.1):
    print(f"{line.position:.3f} keV, {line.height:.0f} counts high")
