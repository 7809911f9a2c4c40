"""A slow and a fast wave, parted by their frequencies."""

import dataprocessing as dp
import numpy as np

axis = dp.Axis(0.0, 0.01, unit="s")
t = axis.positions(256)
slow = np.sin(2 * np.pi * 12 / 2.56 * t)
fast = 0.5 * np.sin(2 * np.pi * 64 / 2.56 * t)
mixed = dp.Array1D(slow + fast, axis)
low = dp.band_pass(mixed, 0, 10)  # up to 10 per second
print(f"off the slow wave by {np.abs(low.values - slow).max():.3f} at most")
print(f"what was taken away is {(mixed - low).max():.3f} high")

ax = mixed.plot()
low.plot(ax).figure.savefig("band_pass.png")
