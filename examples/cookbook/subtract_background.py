"""A blank in channels four times as wide is taken away."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
blank = dp.Array1D(np.loadtxt("blank.txt"), dp.Axis(0.0, 0.04, unit="keV"))

# Counts are contents of channels: shared out to the narrow ones, so that their sum stays.
net = spectrum - dp.rebin(blank, spectrum)
print(f"counts: {spectrum.sum():.0f} - {blank.sum():.0f} = {net.sum():.0f}")

# A density, counts per keV, is what is left over the width of its channels.
density = net / spectrum.axis.delta
print(f"highest {density.max():.0f} counts per keV at {density.idxmax():.2f} keV, on {density.size} channels")

ax = spectrum.plot()
net.plot(ax).figure.savefig("subtract_background.png")
