"""A user drags a range; the fit and the figures that depend on it follow."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
window = dp.Range(6.2, 6.6)


def show(moved):
    print(f"{moved.start:.2f} to {moved.end:.2f} keV: ", end="")
    try:
        model = dp.fitting.PeakModel()
        model.peak("gaussian", 6.4, 800, 0.06)
        model.polynomial([20])
        print(f"line at {dp.fitting.peaks(spectrum, model, over=moved).peaks[0].position:.3f} keV")
    except dp.DataProcessingError as refusal:  # of every kind: see errors
        print(f"no line, {refusal}")


with window.on_change(show):
    window.set(6.2, 6.7)  # dragged
    window.end = 6.75  # one end of it
    window.end = 6.75  # nothing changes, nobody is told
    window.set(11.2, 11.7)  # beyond the spectrum
window.set(0, 10)  # nobody listens any more

spectrum.sel(6.0, 7.0).plot().figure.savefig("dragged_range.png")
