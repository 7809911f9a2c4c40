"""A mask from a threshold, what lies under it, and an image with the rest taken out."""

import dataprocessing as dp
import numpy as np

image = dp.Array2D(np.loadtxt("image.txt"), (dp.Axis(0, 0.5, unit="um"), dp.Axis(0, 0.5, unit="um")), unit="counts")
bright = image > 40
inside = bright.values.sum()
print(f"{inside} of {image.size} elements, {0.25 * inside:.2f} um^2")
print(f"mean {image.mean(where=bright):.2f}, deviation {image.std(ddof=1, where=bright):.2f}, "
      f"sum {image.sum(where=bright):.0f}")
print(f"the others: mean {image.mean(where=~bright):.2f}")
kept = dp.where(bright, image, 0.0)
print(f"without them: mean {kept.mean():.2f}")

kept.plot().figure.savefig("mask_statistics.png")
