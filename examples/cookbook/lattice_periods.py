"""The period and the direction of a lattice, from the brightest spot of its power spectrum."""

import math

import dataprocessing as dp
import numpy as np

y, x = np.mgrid[:64, :64] * 0.25  # nm
lattice = 100 + 40 * np.cos(2 * np.pi * (0.5 * x + 0.25 * y))
image = dp.Array2D(lattice, (dp.Axis(0, 0.25, unit="nm"), dp.Axis(0, 0.25, unit="nm")))
power = dp.norm(dp.fft(image - image.mean()))
fx, fy = power.idxmax()
fx, fy = max((fx, fy), (-fx, -fy))  # both are the same wave
print(f"{fx:.4f} and {fy:.4f} per nm")
print(f"rows {1 / math.hypot(fx, fy):.3f} nm apart, {math.degrees(math.atan2(fy, fx)):.1f} degrees")

image.plot().figure.savefig("lattice_periods.png")
