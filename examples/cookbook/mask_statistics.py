"""A mask from a threshold, what lies under it, and an image with the rest taken out."""

import dataprocessing as dp
import numpy as np

image = dp.Array2D(np.loadtxt("image.txt"), (dp.Axis(0, 0.5, unit="um"), dp.Axis(0, 0.5, unit="um")), unit="counts")
bright = image > 40
inside = image.values[bright.values]
print(f"{inside.size} of {image.size} elements, {0.25 * inside.size:.2f} um^2")
print(f"mean {inside.mean():.2f}, deviation {inside.std(ddof=1):.2f}, sum {inside.sum():.0f}")
print(f"the others: mean {image.values[~bright.values].mean():.2f}")

dp.where(bright, image, 0.0).plot().figure.savefig("mask_statistics.png")
