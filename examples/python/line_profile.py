"""A profile across an image, between two points, averaged over a width."""

import dataprocessing as dp
import numpy as np

axes = dp.Axis(0.0, 0.5, unit="um"), dp.Axis(0.0, 0.5, unit="um")
image = dp.Array2D(np.loadtxt("image.txt"), axes, unit="counts")
profile = dp.line_scan(dp.smooth_median(image, 3), (5.0, 4.0), (25.0, 18.0), width=2.0)
print(f"{profile.size} elements, highest {profile.max():.0f} at {profile.idxmax():.1f} um")
