"""A profile between two points of an image, averaged over a width of 2 um."""

import math

import dataprocessing as dp
import numpy as np

axes = dp.Axis(0.0, 0.5, unit="um"), dp.Axis(0.0, 0.5, unit="um")
image = dp.Array2D(np.loadtxt("image.txt"), axes, unit="counts")
profile = dp.line_scan(image, (5.0, 4.0), (25.0, 18.0), width=2.0)
print(f"{profile.size} elements over {profile.size * profile.axis.delta:.1f} um")
print(f"highest {profile.max():.1f} at {profile.idxmax():.1f} um, mean {profile.mean():.2f}")

# Interpolated: turned about the first point onto a grid along the line.
step, width = 0.25, 8
length = int(math.hypot(25 - 5, 18 - 4) / step)
along = dp.Axis(4 - step * (width - 1) / 2, step), dp.Axis(5.0, step)
grid = dp.empty((width, length), axes=along)
band = dp.rotate_to(image, -math.atan2(18 - 4, 25 - 5), (5.0, 4.0), grid=grid)
finer = band.mean(axis=0).with_axes(dp.Axis(0.0, step, unit="um"))
print(f"interpolated: highest {finer.max():.1f} at {finer.idxmax():.1f} um, mean {finer.mean():.2f}")

profile.plot().figure.savefig("line_profile.png")
