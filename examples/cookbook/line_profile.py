"""A profile between two points of an image, averaged over a width of 2 um."""

import dataprocessing as dp
import numpy as np

axes = dp.Axis(0.0, 0.5, unit="um"), dp.Axis(0.0, 0.5, unit="um")
image = dp.Array2D(np.loadtxt("image.txt"), axes, unit="counts")
profile = dp.line_scan(image, (5.0, 4.0), (25.0, 18.0), width=2.0)
print(f"{profile.size} elements over {profile.size * profile.axis.delta:.1f} um")
print(f"highest {profile.max():.1f} at {profile.idxmax():.1f} um, mean {profile.mean():.2f}")

profile.plot().figure.savefig("line_profile.png")
