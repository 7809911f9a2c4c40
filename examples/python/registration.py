"""An image moved back to where another one lies, and both added."""

import dataprocessing as dp
import numpy as np

first, second = (dp.Array2D(np.loadtxt(f), (dp.Axis(0.0, 0.5), dp.Axis(0.0, 0.5))) for f in ("image.txt", "moved.txt"))
shift = dp.register(second, first)
total = first + second.moved(-shift.x, -shift.y)
print(f"moved by {shift.x:.2f}, {shift.y:.2f}; {total.sum():.0f} counts in all")
