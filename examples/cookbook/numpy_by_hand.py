"""One subtraction by hand and by the library: a coarse array under a fine one, aligned by positions."""

import dataprocessing as dp
import numpy as np

fine_x, coarse_x = 2.0 + 0.25 * np.arange(17), 2.0 + 0.5 * np.arange(9)
fine_y, coarse_y = np.sin(fine_x) + 2, 0.1 * coarse_x

# By hand: where do they lie, which is finer, what is between the coarse ones?
by_hand = fine_y - np.interp(fine_x, coarse_x, coarse_y)

# By the library: the arrays know.
fine = dp.Array1D(fine_y, dp.Axis(2.0, 0.25, unit="mm"))
coarse = dp.Array1D(coarse_y, dp.Axis(2.0, 0.5, unit="mm"))
difference = fine - coarse
common = difference.values[:17]
print(f"largest difference below 1e-12: {'yes' if np.abs(common - by_hand).max() < 1e-12 else 'no'}")
print(f"highest {difference.sel(2.0, 6.25).max():.4f} at {difference.sel(2.0, 6.25).idxmax():.2f} mm")

difference.plot().figure.savefig("numpy_by_hand.png")
