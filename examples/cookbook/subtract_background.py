"""A blank in channels four times as wide is taken away: as counts, and as densities."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
blank = dp.Array1D(np.loadtxt("blank.txt"), dp.Axis(0.0, 0.04, unit="keV"))

# Counts are contents of channels: shared out to the narrow ones, so that their sum stays.
net = spectrum - dp.rebin(blank, spectrum)
print(f"counts: {spectrum.sum():.0f} - {blank.sum():.0f} = {net.sum():.0f}")

# Densities, counts per keV, are values at positions: brought to one grid by the subtraction itself.
density = spectrum / 0.01 - blank / 0.04
print(f"densities: {density.sum() * 0.01:.0f} on {density.size} channels")

ax = spectrum.plot()
net.plot(ax).figure.savefig("subtract_background.png")
