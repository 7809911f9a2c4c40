"""The lines of a spectrum: what is below them taken away, what is noise smoothed, what stands out found."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
background = dp.snip(spectrum, 24)
net = dp.smooth_savgol(spectrum - background, 9, 2)
for line in dp.find_peaks(net, prominence=25, distance=0.1):
    print(f"{line.position:.2f} keV, {line.height:.0f} high, {1000 * line.width:.0f} eV wide")

ax = spectrum.plot()
background.plot(ax).figure.savefig("find_lines.png")
