"""Images of one field that drifts: the drift is measured, taken back, and the images are added up."""

import dataprocessing as dp
import numpy as np


def frame(drift_x, drift_y):
    y, x = np.mgrid[:64, :64] * 0.5
    spots = [(8, 9, 900), (20, 14, 500), (12, 23, 700)]
    values = sum(h * np.exp(-((x - a - drift_x) ** 2 + (y - b - drift_y) ** 2) / 6) for a, b, h in spots)
    return dp.Array2D(np.floor(values + 10.5), (dp.Axis(0, 0.5, unit="um"), dp.Axis(0, 0.5, unit="um")))


series = [frame(1.5 * k, -k) for k in range(4)]
total = series[0]
for image in series[1:]:
    shift = dp.register(image, series[0])
    print(f"moved by {shift.x:.2f}, {shift.y:.2f} um")
    total = total + image.moved(-shift.x, -shift.y)
print(f"the sum is {total.max() / series[0].max():.2f} times as high as one image")

total.plot().figure.savefig("register_series.png")
