"""A user drags a range; the fit and the figures that depend on it follow."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
window = dp.Range(6.2, 6.6)


def show(moved):
    print(f"{spectrum.sel(moved).sum():.0f} counts from {moved.start:.2f} to {moved.end:.2f} keV")


with window.on_change(show):
    window.set(6.3, 6.5)  # dragged
    window.end = 6.55  # one end of it
    window.end = 6.55  # nothing changes, nobody is told
window.set(0, 10)  # nobody listens any more

spectrum.sel(6.0, 7.0).plot().figure.savefig("dragged_range.png")
