"""An image turned by 30 degrees round its centre, and the middle cut out."""

import math

import dataprocessing as dp
import numpy as np

values = np.loadtxt("image.txt")
rows, columns = values.shape
axes = dp.Axis(-0.25 * rows, 0.5, unit="um"), dp.Axis(-0.25 * columns, 0.5, unit="um")
image = dp.Array2D(values, axes, unit="counts")
turned = dp.rotate_to(image, math.radians(30))
part = turned.sel(dp.Rect(-6, -4, 6, 4))
print(f"{part.shape[1]} x {part.shape[0]} of {columns} x {rows} elements, mean {part.mean():.2f}")
print(f"highest {part.max():.0f} at {part.idxmax()[0]:.2f}, {part.idxmax()[1]:.2f} um")

part.plot().figure.savefig("rotate_crop.png")
