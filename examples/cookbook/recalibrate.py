"""Two lines whose energies are known make energies of channel numbers."""

import dataprocessing as dp
import numpy as np

counts = dp.Array1D(np.loadtxt("spectrum.txt"))  # at 0, 1, 2 ...: channels
found = []
for channel in (541, 640):
    model = dp.fitting.PeakModel()
    model.peak("gaussian", channel, 300, 6)
    model.polynomial([20, 0], reference=channel)
    found.append(dp.fitting.peaks(counts, model, over=(channel - 20, channel + 20)).peaks[0].position)

known = (5.415, 6.404)  # keV
delta = (known[1] - known[0]) / (found[1] - found[0])
spectrum = counts.with_axes(dp.Axis(known[0] - delta * found[0], delta, unit="keV"))
print(f"lines in channels {found[0]:.2f} and {found[1]:.2f}")
print(f"{1000 * delta:.2f} eV per channel, channel 0 at {1000 * spectrum.axis.offset:.0f} eV")

spectrum.plot().figure.savefig("recalibrate.png")
