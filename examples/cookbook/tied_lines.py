"""Mn Ka lies on Cr Kb. What is known, one width and the ratio of the chromium lines, tells them apart."""

import dataprocessing as dp
import numpy as np

LINES = {"Cr Ka": (5.415, 2000), "Cr Kb": (5.947, 260), "Mn Ka": (5.895, 150)}


def model_of(heights):
    model = dp.fitting.PeakModel()
    lines = {name: model.peak("gaussian", LINES[name][0], height, 0.06, name=name) for name, height in heights.items()}
    model.polynomial([20])
    return model, lines


axis = dp.Axis(5.0, 0.01, unit="keV")
truth, _ = model_of({name: height for name, (_, height) in LINES.items()})
spectrum = dp.Array1D(np.floor(truth.eval(axis.positions(150)) + 0.5), axis)

for is_tied in (False, True):
    model, lines = model_of({"Cr Ka": 1800, "Cr Kb": 200, "Mn Ka": 200})
    chromium = lines["Cr Ka"]
    if is_tied:
        model.tie(lines["Cr Kb"].height, chromium.height, 0.13)
        model.tie(lines["Cr Kb"].position, chromium.position, 1, 0.532)
        model.tie(lines["Cr Kb"].width, chromium.width)
        model.tie(lines["Mn Ka"].width, chromium.width)
    manganese = dp.fitting.peaks(spectrum, model).peaks[2]
    what = "tied" if is_tied else "free"
    print(f"{what}: Mn Ka {manganese.area / 0.01:.0f} +- {manganese.area_error / 0.01:.2g} counts")

spectrum.plot().figure.savefig("tied_lines.png")
