"""Images of one field that drifts: the drift is measured, taken back, and the images are added up."""

import dataprocessing as dp
import numpy as np


def frame(drift_x, drift_y):
    y, x = np.mgrid[:64, :64] * 0.5
    spots = [(8, 9, 900), (20, 14, 500), (12, 23, 700)]
    values = sum(h * np.exp(-((x - a - drift_x) ** 2 + (y - b - drift_y) ** 2) / 6) for a, b, h in spots)
    return dp.Array2D(np.floor(values + 10.5), (dp.Axis(0, 0.5, unit="um"), dp.Axis(0, 0.5, unit="um")))


first, *others = [frame(1.4 * k, -0.9 * k) for k in range(4)]
total = common = first
for image in others:
    shift = dp.register(image, first)
    print(f"moved by {shift.x:.2f}, {shift.y:.2f} um")
    total = total + dp.map_to(image, [[1, 0, -shift.x], [0, 1, -shift.y]], interpolation="cubic")
    common = common.sel(image.moved(-shift.x, -shift.y).rect)  # where every image has something
total = total.sel(common.rect)
print(f"{total.shape[1]} x {total.shape[0]} elements in common")
print(f"highest {total.max():.0f}; 4 times the first is met within {abs(total - 4 * common).max():.0f}")

total.plot().figure.savefig("register_series.png")
