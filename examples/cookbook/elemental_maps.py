"""A map of 12 by 16 spectra: counts of two elements in each, above a straight background, with errors."""

import dataprocessing as dp
import numpy as np

axis = dp.Axis(5.0, 0.01, unit="keV")
energies = axis.positions(200)


def line(position):
    return np.exp(-0.5 * ((energies - position) / 0.06) ** 2)


y, x = np.mgrid[:12, :16]
spectra = 20 + 10 * x[..., None] * line(5.415) + 15 * y[..., None] * line(6.404)
counts = np.floor(spectra + 0.5).astype("u2")
windows = {"Cr": (5.215, 5.615), "Fe": (6.204, 6.604)}
maps = dp.maps.integrate(counts, windows, axis, background="polynomial", ranges=[(5.0, 5.2), (5.8, 6.1), (6.7, 6.98)])
for row, column in ((0, 0), (0, 15), (11, 15)):
    told = [f"{name} {maps[name][row, column]:.0f} +- {maps.errors[name][row, column]:.0f}" for name in ("Cr", "Fe")]
    print(f"row {row}, column {column}: {', '.join(told)}")
print(f"{(maps.status == dp.maps.Status.GOOD).sum()} of {maps.status.size} spectra have a result")

dp.Array2D(maps["Fe"], name="Fe").plot().figure.savefig("elemental_maps.png")
